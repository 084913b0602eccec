#pragma once

#include <QString>

#include <optional>

namespace sonvo {

// What the last accepted hotkey press captured for its dictation; the post-dictation flows read it.
struct ContextoDitado {
    bool foiMenu = false;               // Super+Shift+R (the action menu's hotkey)
    std::optional<QString> bundleID;    // the application in front, never Sonvo itself
    std::optional<QString> selecao;     // its selected text, when that switch is on
};

} // namespace sonvo
