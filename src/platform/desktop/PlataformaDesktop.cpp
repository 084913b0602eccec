#include "core/Arquivos.h"
#include "platform/Plataforma.h"
#include "platform/Sessao.h"
#include "platform/dbus/NotificacoesDBus.h"
#include "platform/wayland/PlataformaWayland.h"
#include "platform/x11/PlataformaX11.h"


namespace sonvo {

Plataforma criarPlataformaDesktop()
{
    switch (tipoDeSessao(QProcessEnvironment::systemEnvironment())) {
    case TipoSessao::wayland:
        return wayland::criarPlataformaWayland(Caminhos::pastaDados());
    case TipoSessao::x11:
        return x11::criarPlataformaX11();
    case TipoSessao::nula:
        break;
    }
    // No desktop: the microphone and the notifications still work.
    Plataforma p = criarPlataformaNula();
    p.audio = criarEntradaAudio();
    p.notificacoes = std::make_unique<NotificacoesDBus>();
    p.formas = {{QStringLiteral("Sessão"), QStringLiteral("nenhuma sessão gráfica"), false}};
    return p;
}

} // namespace sonvo
