#pragma once

#include "dictation/RecordingState.h"

#include <QString>

#include <optional>

namespace sonvo {

// Copies the user's files from the product's former folder, once: only when the new folder has no
// "credentials.json" (the mark of a folder in use) and the former one has. Copies, never moves;
// a copy that fails is skipped. The new folder is not created here: while it does not exist every
// copy fails and the former files stay where they are until the services have created it.
// True when the former folder was migrated (the completion line is logged then).
bool migrarDadosVozelSeNecessario(const QString& pastaSonvo, const QString& pastaVozel);

// The image asset the application icon is drawn from.
QString iconeDoApp(const std::optional<QString>& iconVariant); // "AppIconDark" or "AppIcon"

// How the tray icon shows a state: a symbol (one of the bundled icons), the description read
// out by screen readers and shown as the tooltip, and a tint (none: the desktop's own colour).
struct Tinta {
    double r = 0, g = 0, b = 0, a = 1;
    bool operator==(const Tinta&) const = default;
};
struct AparenciaBandeja {
    QString simbolo;
    QString descricao;
    std::optional<Tinta> tinta;
    bool operator==(const AparenciaBandeja&) const = default;
};
AparenciaBandeja aparenciaDoEstado(const RecordingState& estado);

} // namespace sonvo
