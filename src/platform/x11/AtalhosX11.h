#pragma once

#include "platform/Atalhos.h"

#include <QHash>
#include <QSet>

#include <memory>

#include <xcb/xcb.h>

class QSocketNotifier;
class QTimer;

namespace sonvo::x11 {

// Global hotkeys on X11, over a connection of their own read from the event loop:
// - grabs on the root window of Super+Shift+<key> with every CapsLock/NumLock combination, so
//   the keys reach Sonvo and not the focused client; a combination another client holds fails
//   with BadAccess;
// - the fallback: XInput 2 raw key events on the root window, which every client may watch and
//   none consumes, matched against the modifier keys seen down.
class AtalhosX11 : public AtalhosGlobais {
    Q_OBJECT
public:
    explicit AtalhosX11(QObject* parent = nullptr);
    ~AtalhosX11() override;

    int instalarTratador() override;
    int registrar(const AtalhoGlobal& atalho) override;
    void removerRegistros() override;
    bool instalarMonitor(const QList<AtalhoGlobal>& atalhos) override;
    void removerMonitor() override;

    // The status when there is no usable X display (Wayland without XWayland, no $DISPLAY).
    static constexpr int kSemDisplay = -1;

private:
    struct Agarrado {
        xcb_keycode_t tecla = 0;
        uint16_t modificadores = 0;
        int id = 0;
    };
    void lerEventos();
    void tratar(xcb_generic_event_t* e);
    void tratarBruto(xcb_generic_event_t* e);
    void carregarTeclado();
    xcb_keycode_t teclaDe(uint32_t keysym) const;
    QList<xcb_keycode_t> teclasDe(uint32_t keysym) const;

    xcb_connection_t* m_c = nullptr;
    xcb_window_t m_raiz = XCB_NONE;
    QSocketNotifier* m_leitor = nullptr;
    bool m_tratador = false;

    // The keyboard: keysyms per keycode, and the modifier bit of Super and of NumLock.
    xcb_keycode_t m_primeira = 0;
    int m_porTecla = 0;
    QList<uint32_t> m_keysyms;
    uint16_t m_super = XCB_MOD_MASK_4;
    uint16_t m_numLock = XCB_MOD_MASK_2;

    QList<Agarrado> m_agarrados;
    // A held key repeats as release+press pairs with one timestamp; only the first press counts,
    // and a release is one when no press of the same time follows it within a moment.
    QSet<xcb_keycode_t> m_abaixadas;
    QHash<xcb_keycode_t, xcb_timestamp_t> m_soltaEm;
    QHash<xcb_keycode_t, int> m_idDaTecla; // the key of a combination pressed, until let go
    QSet<xcb_keycode_t> m_solturas;        // releases waiting for that moment
    QTimer* m_confirmarSoltura = nullptr;

    // The fallback monitor.
    uint8_t m_opcodeXi = 0;
    bool m_monitor = false;
    QHash<xcb_keycode_t, int> m_monitoradas; // key → hotkey id
    QSet<xcb_keycode_t> m_brutasAbaixadas;
    QSet<xcb_keycode_t> m_teclasShift, m_teclasControl, m_teclasAlt, m_teclasSuper;
};

} // namespace sonvo::x11
