#include "platform/x11/PlataformaX11.h"

#include "platform/dbus/NotificacoesDBus.h"
#include "platform/Sessao.h"
#include "platform/x11/AreaTransferenciaX11.h"
#include "platform/x11/AtalhosX11.h"
#include "platform/x11/JanelasX11.h"
#include "platform/x11/SomX11.h"
#include "platform/x11/TeclasX11.h"

#include <QGuiApplication>

namespace sonvo::x11 {

bool qtNoXcb()
{
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance())
        && QGuiApplication::platformName() == QLatin1String("xcb");
}

// Without an X display (a terminal over SSH) each service stays inert and the microphone still
// works: Sonvo then records and transcribes, and the text is printed or left to the caller
// instead of pasted.
Plataforma criarPlataformaX11()
{
    Plataforma p = criarPlataformaNula();
    p.audio = criarEntradaAudio();
    p.notificacoes = std::make_unique<NotificacoesDBus>();
    auto x = ConexaoX11::abrir();
    if (!x) {
        p.formas = {{QStringLiteral("Sessão"), QStringLiteral("X11 (sem conexão com o servidor X)"), false}};
        return p;
    }
    p.janelas = std::make_unique<JanelasX11>(x);
    if (auto teclas = TeclasX11::criar())
        p.teclas = std::move(teclas);
    p.som = std::make_unique<SomX11>(x);
    p.atalhos = std::make_unique<AtalhosX11>();
    // The clipboard is served by Qt's own X connection, which only a QGuiApplication on xcb has.
    if (qtNoXcb())
        p.clipboard = std::make_unique<AreaTransferenciaX11>(x);
    const bool xtest = x->temExtensao("XTEST");
    p.formas = {
        {QStringLiteral("Sessão"), QStringLiteral("X11"), true},
        {QStringLiteral("Colar"), xtest ? p.teclas->forma() : Formas::descrever(FormaColar::nenhuma), xtest},
        {QStringLiteral("Área de transferência"), Formas::descrever(FormaClipboard::x11), true},
        {QStringLiteral("Atalhos"), QStringLiteral("X11 (teclas reservadas no servidor X)"), true},
        {QStringLiteral("Janela ativa"), QStringLiteral("X11 (_NET_ACTIVE_WINDOW)"), true},
        {QStringLiteral("Texto selecionado"), QStringLiteral("X11 (PRIMARY)"), true},
    };
    return p;
}

} // namespace sonvo::x11
