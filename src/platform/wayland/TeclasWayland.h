#pragma once

#include "platform/Janelas.h"
#include "platform/wayland/ConexaoWayland.h"

#include <memory>

struct zwp_virtual_keyboard_v1;

namespace sonvo::wayland {

// The paste keys through a virtual keyboard (wlroots compositors). The keyboard carries a whole
// US keymap: GTK 3 ignores a shortcut on the highest keycode of a keymap, so a minimal one that
// ends at V would never paste there. It has its own modifier state, so the hotkey's modifiers,
// still held on the real keyboard, do not change the shortcut.
class TeclasWayland : public TeclasSinteticas {
public:
    // Null when the compositor offers no virtual keyboard or the keymap cannot be built.
    static std::unique_ptr<TeclasWayland> criar(std::shared_ptr<ConexaoWayland> c);
    ~TeclasWayland() override;

    void soltarModificadores() override {}
    // Resolves after the compositor has handled the keys (a roundtrip, bounded).
    QCoro::Task<bool> colar(TeclaColar teclaColar) override;
    QString forma() const override;

private:
    TeclasWayland(std::shared_ptr<ConexaoWayland> c, zwp_virtual_keyboard_v1* t, uint32_t ctrl, uint32_t shift);
    void tecla(uint32_t codigo, bool pressionada);

    std::shared_ptr<ConexaoWayland> m_c;
    zwp_virtual_keyboard_v1* m_teclado = nullptr;
    uint32_t m_mascaraCtrl = 0;
    uint32_t m_mascaraShift = 0;
};

} // namespace sonvo::wayland
