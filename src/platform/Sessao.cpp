#include "platform/Sessao.h"

namespace sonvo {

TipoSessao tipoDeSessao(const QProcessEnvironment& env)
{
    const QString escolhida = env.value(QStringLiteral("SONVO_PLATAFORMA")).trimmed().toLower();
    if (escolhida == u"x11")
        return TipoSessao::x11;
    if (escolhida == u"wayland")
        return TipoSessao::wayland;
    if (escolhida == u"nula")
        return TipoSessao::nula;
    const bool wayland = !env.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty();
    if (wayland && env.value(QStringLiteral("XDG_SESSION_TYPE")) == u"wayland")
        return TipoSessao::wayland;
    if (!env.value(QStringLiteral("DISPLAY")).isEmpty())
        return TipoSessao::x11;
    // A compositor without XWayland that did not set XDG_SESSION_TYPE (started by hand).
    return wayland ? TipoSessao::wayland : TipoSessao::nula;
}

EscolhasWayland escolherWayland(const OfertasWayland& o)
{
    auto tem = [&](const char* nome) { return o.globais.contains(QLatin1String(nome)); };
    const bool assento = tem("wl_seat");
    EscolhasWayland e;
    if (assento && tem("ext_data_control_manager_v1"))
        e.clipboard = FormaClipboard::extDataControl;
    else if (assento && tem("zwlr_data_control_manager_v1"))
        e.clipboard = FormaClipboard::wlrDataControl;
    else if (o.clipboardX11)
        e.clipboard = FormaClipboard::x11; // Mutter bridges the X11 clipboard to Wayland
    e.selecaoPrimaria = e.clipboard == FormaClipboard::extDataControl || e.clipboard == FormaClipboard::wlrDataControl;

    if (assento && tem("zwp_virtual_keyboard_manager_v1"))
        e.colar = FormaColar::tecladoVirtual;
    else if (o.portal)
        e.colar = FormaColar::portalRemoteDesktop;

    if (tem("zwlr_foreign_toplevel_manager_v1"))
        e.janelas = FormaJanelas::foreignToplevel;
    else if (o.x11)
        e.janelas = FormaJanelas::x11; // names the focused window only when it is an X11 one
    return e;
}

namespace Formas {

QString descrever(FormaClipboard f)
{
    switch (f) {
    case FormaClipboard::extDataControl: return QStringLiteral("ext-data-control");
    case FormaClipboard::wlrDataControl: return QStringLiteral("wlr-data-control");
    case FormaClipboard::x11: return QStringLiteral("X11");
    case FormaClipboard::nenhuma: break;
    }
    return kIndisponivel;
}

QString descrever(FormaColar f)
{
    switch (f) {
    case FormaColar::tecladoVirtual: return QStringLiteral("teclado virtual do Wayland");
    case FormaColar::portalRemoteDesktop: return QStringLiteral("portal RemoteDesktop");
    case FormaColar::nenhuma: break;
    }
    return QStringLiteral("indisponível — o texto fica na área de transferência");
}

QString descrever(FormaJanelas f)
{
    switch (f) {
    case FormaJanelas::foreignToplevel: return QStringLiteral("wlr-foreign-toplevel");
    case FormaJanelas::x11: return QStringLiteral("X11 (só janelas X11)");
    case FormaJanelas::nenhuma: break;
    }
    return kIndisponivel;
}

} // namespace Formas

} // namespace sonvo
