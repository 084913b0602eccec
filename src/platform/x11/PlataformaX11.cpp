#include "platform/Plataforma.h"
#include "platform/dbus/NotificacoesDBus.h"
#include "platform/x11/AreaTransferenciaX11.h"
#include "platform/x11/AtalhosX11.h"
#include "platform/x11/ConexaoX11.h"
#include "platform/x11/JanelasX11.h"
#include "platform/x11/SomX11.h"
#include "platform/x11/TeclasX11.h"

#include <QGuiApplication>

namespace sonvo {

// Without an X display (a Wayland session without XWayland, a terminal over SSH) each service
// stays inert and the microphone still works: Sonvo then records and transcribes, and the text
// is printed or left to the caller instead of pasted.
Plataforma criarPlataformaDesktop()
{
    Plataforma p = criarPlataformaNula();
    p.audio = criarEntradaAudio();
    p.notificacoes = std::make_unique<NotificacoesDBus>();
    auto x = x11::ConexaoX11::abrir();
    if (!x)
        return p;
    p.janelas = std::make_unique<x11::JanelasX11>(x);
    if (auto teclas = x11::TeclasX11::criar())
        p.teclas = std::move(teclas);
    p.som = std::make_unique<x11::SomX11>(x);
    p.atalhos = std::make_unique<x11::AtalhosX11>();
    // The clipboard is served by Qt's own X connection, which only a QGuiApplication on xcb has.
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())
        && QGuiApplication::platformName() == QLatin1String("xcb"))
        p.clipboard = std::make_unique<x11::AreaTransferenciaX11>(x);
    return p;
}

} // namespace sonvo
