#pragma once

#include "platform/Janelas.h"
#include "platform/x11/ConexaoX11.h"

#include <memory>

namespace sonvo::x11 {

// Window facts from the window manager's EWMH properties: the active window
// (_NET_ACTIVE_WINDOW), its application (WM_CLASS class) and process (_NET_WM_PID), the managed
// windows in _NET_CLIENT_LIST order, and activation by a _NET_ACTIVE_WINDOW request.
class JanelasX11 : public Janelas {
public:
    explicit JanelasX11(std::shared_ptr<ConexaoX11> x);

    std::optional<AppJanela> daFrente() override;
    QList<AppJanela> normaisEmOrdem() override;
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) override;
    // X11 asks no permission; synthetic keys need the XTEST extension.
    bool acessoConcedido() override;

private:
    std::optional<AppJanela> descrever(xcb_window_t janela);
    bool ehNormal(xcb_window_t janela);

    std::shared_ptr<ConexaoX11> m_x;
};

} // namespace sonvo::x11
