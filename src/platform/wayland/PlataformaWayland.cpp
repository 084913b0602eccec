#include "platform/wayland/PlataformaWayland.h"

#include "platform/dbus/NotificacoesDBus.h"
#include "platform/dbus/AtalhosPortal.h"
#include "platform/dbus/PedidoPortal.h"
#include "platform/dbus/TeclasPortal.h"
#include "platform/Sessao.h"
#include "platform/wayland/AreaTransferenciaWayland.h"
#include "platform/wayland/ConexaoWayland.h"
#include "platform/wayland/JanelasWayland.h"
#include "platform/wayland/TeclasWayland.h"
#include "platform/x11/AreaTransferenciaX11.h"
#include "platform/x11/JanelasX11.h"
#include "platform/x11/PlataformaX11.h"
#include "platform/x11/SomX11.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace sonvo::wayland {

namespace {

// XWayland's window facts, with the answer to "can keys reach the window" taken from the Wayland
// side: XTest there reaches X11 windows only.
class JanelasPeloXWayland : public Janelas {
public:
    JanelasPeloXWayland(std::shared_ptr<x11::ConexaoX11> x, bool podeColar) : m_x(std::move(x)), m_podeColar(podeColar) {}
    std::optional<AppJanela> daFrente() override { return m_x.daFrente(); }
    QList<AppJanela> normaisEmOrdem() override { return m_x.normaisEmOrdem(); }
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) override
    {
        return m_x.ativar(app, limite);
    }
    bool acessoConcedido() override { return m_podeColar; }

private:
    x11::JanelasX11 m_x;
    bool m_podeColar;
};

} // namespace

Plataforma criarPlataformaWayland(const QString& pastaPortal)
{
    Plataforma p = criarPlataformaNula();
    p.audio = criarEntradaAudio();
    p.notificacoes = std::make_unique<NotificacoesDBus>();
    auto c = ConexaoWayland::abrir();
    if (!c) {
        p.formas = {{QStringLiteral("Sessão"), QStringLiteral("Wayland (sem conexão com o compositor)"), false}};
        return p;
    }
    auto x = x11::ConexaoX11::abrir();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    OfertasWayland ofertas{c->globais(), x != nullptr, x && x11::qtNoXcb(),
                           Portal::versao(bus, QStringLiteral("org.freedesktop.portal.RemoteDesktop")) > 0};
    const EscolhasWayland e = escolherWayland(ofertas);

    // Each way may still fail to start (a keymap that does not compile): the next one is used.
    FormaClipboard clipboard = FormaClipboard::nenhuma;
    if (e.clipboard == FormaClipboard::extDataControl || e.clipboard == FormaClipboard::wlrDataControl) {
        if (auto a = AreaTransferenciaWayland::criar(c)) {
            p.clipboard = std::move(a);
            clipboard = e.clipboard;
        }
    }
    if (clipboard == FormaClipboard::nenhuma && ofertas.clipboardX11) {
        p.clipboard = std::make_unique<x11::AreaTransferenciaX11>(x);
        clipboard = FormaClipboard::x11;
    }

    FormaColar colar = FormaColar::nenhuma;
    if (e.colar == FormaColar::tecladoVirtual) {
        if (auto t = TeclasWayland::criar(c)) {
            p.teclas = std::move(t);
            colar = FormaColar::tecladoVirtual;
        }
    }
    if (colar == FormaColar::nenhuma && ofertas.portal) {
        p.teclas = std::make_unique<TeclasPortal>(bus, QDir(pastaPortal).filePath(QStringLiteral("remotedesktop-token")));
        colar = FormaColar::portalRemoteDesktop;
    }
    const bool podeColar = colar != FormaColar::nenhuma;

    FormaJanelas janelas = FormaJanelas::nenhuma;
    const QStringList proprios{QStringLiteral("sonvo"), QCoreApplication::applicationName()};
    if (e.janelas == FormaJanelas::foreignToplevel) {
        if (auto j = JanelasWayland::criar(c, proprios, QCoreApplication::applicationPid(), podeColar)) {
            p.janelas = std::move(j);
            janelas = FormaJanelas::foreignToplevel;
        }
    }
    if (janelas == FormaJanelas::nenhuma && x) {
        p.janelas = std::make_unique<JanelasPeloXWayland>(x, podeColar);
        janelas = FormaJanelas::x11;
    }
    if (x)
        p.som = std::make_unique<x11::SomX11>(x);
    // X11 key grabs on XWayland fire only while an X11 window has the focus: they are not global
    // shortcuts here. The desktop binds them through the portal, or the user binds
    // `sonvo alternar` in the compositor.
    const bool portalAtalhos = Portal::versao(bus, QStringLiteral("org.freedesktop.portal.GlobalShortcuts")) > 0;
    const QString recusa = QDir(pastaPortal).filePath(QStringLiteral("atalhos-recusados"));
    const bool recusados = portalAtalhos && QFileInfo::exists(recusa);
    if (portalAtalhos)
        p.atalhos = std::make_unique<AtalhosPortal>(bus, recusa);

    const bool selecao = clipboard == FormaClipboard::extDataControl || clipboard == FormaClipboard::wlrDataControl;
    p.formas = {
        {QStringLiteral("Sessão"), QStringLiteral("Wayland"), true},
        {QStringLiteral("Colar"), Formas::descrever(colar), podeColar},
        {QStringLiteral("Área de transferência"), Formas::descrever(clipboard), clipboard != FormaClipboard::nenhuma},
        {QStringLiteral("Atalhos"),
         recusados      ? QStringLiteral("portal GlobalShortcuts recusado — associe um atalho do ambiente a: sonvo alternar")
         : portalAtalhos ? QStringLiteral("portal GlobalShortcuts")
                         : QStringLiteral("indisponível — associe um atalho do ambiente a: sonvo alternar"),
         portalAtalhos && !recusados},
        {QStringLiteral("Janela ativa"), Formas::descrever(janelas), janelas != FormaJanelas::nenhuma},
        {QStringLiteral("Texto selecionado"), selecao ? QStringLiteral("seleção primária (data-control)") : Formas::kIndisponivel,
         selecao},
    };
    return p;
}

} // namespace sonvo::wayland
