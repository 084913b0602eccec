#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include <xcb/xcb.h>

namespace sonvo::x11 {

// Sonvo's own connection to the X server, apart from Qt's: window facts, selection transfers and
// the bell. Every wait on it is bounded, so a client that never answers cannot hang the caller.
// Used from the main thread only (the bell excepted, which xcb allows from any thread).
class ConexaoX11 {
public:
    using Relogio = std::chrono::steady_clock;

    // The display in $DISPLAY; nothing when there is none or it refuses the connection.
    static std::shared_ptr<ConexaoX11> abrir();
    ~ConexaoX11();
    ConexaoX11(const ConexaoX11&) = delete;
    ConexaoX11& operator=(const ConexaoX11&) = delete;

    xcb_connection_t* conexao() const { return m_c; }
    xcb_window_t raiz() const { return m_raiz; }
    // An unmapped window of ours that receives selection transfers (PropertyChange selected).
    xcb_window_t janelaAuxiliar() const { return m_auxiliar; }

    xcb_atom_t atomo(const char* nome);
    QByteArray nomeDoAtomo(xcb_atom_t atomo);
    bool temExtensao(const char* nome);

    struct Propriedade {
        xcb_atom_t tipo = XCB_NONE; // XCB_NONE when the property does not exist
        uint8_t formato = 0;        // 8, 16 or 32
        QByteArray dados;
    };
    // The whole property; nothing when the window is gone (or the request failed).
    std::optional<Propriedade> propriedade(xcb_window_t janela, xcb_atom_t nome, bool apagar = false);
    std::optional<xcb_window_t> janelaDaPropriedade(xcb_window_t janela, const char* nome);
    bool janelaExiste(xcb_window_t janela);

    // The next event for which `aceita` holds, waiting no later than `prazo`; other events are
    // dropped. Nothing on time-out or a broken connection. The caller frees the event.
    xcb_generic_event_t* aguardarEvento(const std::function<bool(const xcb_generic_event_t*)>& aceita,
                                        Relogio::time_point prazo);
    // Drops every event already received (left over from a transfer that timed out).
    void descartarEventos();
    bool quebrada() const;

private:
    ConexaoX11(xcb_connection_t* c, xcb_window_t raiz);

    xcb_connection_t* m_c = nullptr;
    xcb_window_t m_raiz = XCB_NONE;
    xcb_window_t m_auxiliar = XCB_NONE;
    QHash<QByteArray, xcb_atom_t> m_atomos;
    QHash<QByteArray, bool> m_extensoes;
};

} // namespace sonvo::x11
