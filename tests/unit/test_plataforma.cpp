// Which backend a session gets and, in a Wayland session, which way each service goes (from the
// globals the compositor advertises); and the RemoteDesktop portal's consent, against a faithful
// fake portal on a private session bus.
#include "platform/Sessao.h"
#include "platform/dbus/PedidoPortal.h"
#include "platform/dbus/TeclasPortal.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QDBusConnection>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace Qt::StringLiterals;

TEST(Sessao, TipoPeloAmbienteEAEscolhaExplicita)
{
    struct Caso {
        QStringList variaveis; // NAME=VALUE
        TipoSessao esperado;
    } casos[] = {
        {{u"XDG_SESSION_TYPE=wayland"_s, u"WAYLAND_DISPLAY=wayland-0"_s, u"DISPLAY=:0"_s}, TipoSessao::wayland},
        // XWayland's DISPLAY does not make a session X11.
        {{u"XDG_SESSION_TYPE=x11"_s, u"DISPLAY=:0"_s}, TipoSessao::x11},
        {{u"XDG_SESSION_TYPE=wayland"_s, u"DISPLAY=:0"_s}, TipoSessao::x11}, // no compositor to talk to
        {{u"WAYLAND_DISPLAY=wayland-1"_s}, TipoSessao::wayland},             // a compositor started by hand
        {{u"SONVO_PLATAFORMA=x11"_s, u"XDG_SESSION_TYPE=wayland"_s, u"WAYLAND_DISPLAY=w"_s}, TipoSessao::x11},
        {{u"SONVO_PLATAFORMA=nula"_s, u"DISPLAY=:0"_s}, TipoSessao::nula},
        {{u"SONVO_PLATAFORMA=macos"_s, u"DISPLAY=:0"_s}, TipoSessao::x11}, // unknown: as if unset
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.variaveis.join(u' ').toStdString());
        QProcessEnvironment env;
        for (const QString& v : c.variaveis)
            env.insert(v.section(u'=', 0, 0), v.section(u'=', 1));
        EXPECT_EQ(tipoDeSessao(env), c.esperado);
    }
}

TEST(Sessao, CadaServicoTentaOMelhorCaminhoEDepoisOsRecursos)
{
    const QSet<QString> sway{u"wl_seat"_s, u"zwlr_data_control_manager_v1"_s, u"zwp_virtual_keyboard_manager_v1"_s,
                             u"zwlr_foreign_toplevel_manager_v1"_s, u"zwlr_layer_shell_v1"_s};
    const QSet<QString> mutter{u"wl_seat"_s, u"xdg_wm_base"_s, u"zwp_primary_selection_device_manager_v1"_s};
    using C = FormaClipboard;
    using K = FormaColar;
    using J = FormaJanelas;
    struct Caso {
        const char* nome;
        OfertasWayland ofertas;
        EscolhasWayland esperado;
    } casos[] = {
        {"sway", {sway, true, true, false}, {C::wlrDataControl, K::tecladoVirtual, J::foreignToplevel, true}},
        {"ext-data-control vence o do wlroots", {sway + QSet{u"ext_data_control_manager_v1"_s}, false, false, true},
         {C::extDataControl, K::tecladoVirtual, J::foreignToplevel, true}},
        {"GNOME: XWayland e o portal", {mutter, true, true, true}, {C::x11, K::portalRemoteDesktop, J::x11, false}},
        {"GNOME sem XWayland nem portal", {mutter, false, false, false}, {C::nenhuma, K::nenhuma, J::nenhuma, false}},
        // Protocols bound to a seat are nothing without one.
        {"sem assento", {sway - QSet{u"wl_seat"_s}, false, false, true}, {C::nenhuma, K::portalRemoteDesktop, J::foreignToplevel, false}},
        // XWayland answering is not enough for the clipboard: this process must own it through Qt on xcb.
        {"XWayland sem Qt no xcb", {mutter, true, false, false}, {C::nenhuma, K::nenhuma, J::x11, false}},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome);
        EXPECT_EQ(escolherWayland(c.ofertas), c.esperado);
    }
    EXPECT_EQ(Formas::descrever(K::nenhuma), u"indisponível — o texto fica na área de transferência"_s);
}

namespace {

// A private session bus with the fake portal on it; the portal's calls recorded one per line.
class PortalFalso : public ::testing::Test {
protected:
    void SetUp() override
    {
        barramento.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s,
                                             u"--address=unix:path="_s + amb.raiz() + u"/bus"_s});
        ASSERT_TRUE(barramento.waitForStarted() && barramento.waitForReadyRead(5000));
        endereco = QString::fromUtf8(barramento.readLine()).trimmed();
        conexao = QDBusConnection::connectToBus(endereco, u"portal-falso"_s);
        ASSERT_TRUE(conexao.isConnected());
    }
    void TearDown() override
    {
        pararPortal();
        QDBusConnection::disconnectFromBus(u"portal-falso"_s);
        barramento.kill();
        barramento.waitForFinished();
    }
    void iniciarPortal(QStringList extra = {})
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, endereco);
        portal.setProcessEnvironment(env);
        portal.start(u"/usr/bin/python3"_s, QStringList{QStringLiteral(SONVO_FONTES "/tests/portal/portal_falso.py"), u"--registro"_s, registro,
                                                u"--tokens"_s, amb.raiz() + u"/tokens"_s} + extra);
        ASSERT_TRUE(portal.waitForStarted() && portal.waitForReadyRead(10000)) << portal.readAllStandardError().toStdString();
    }
    void pararPortal()
    {
        portal.kill();
        portal.waitForFinished();
    }
    // The calls of one method, in order.
    QList<QJsonObject> chamadas(const QString& metodo) const
    {
        QList<QJsonObject> r;
        for (const QByteArray& linha : lerArquivo(registro).split('\n'))
            if (const QJsonObject o = QJsonDocument::fromJson(linha).object(); o.value(u"metodo"_s) == metodo)
                r << o;
        return r;
    }
    QList<int> teclas() const
    {
        QList<int> r; // key code, negative when released
        for (const QJsonObject& o : chamadas(u"NotifyKeyboardKeycode"_s))
            r << (o.value(u"state"_s).toInt() ? 1 : -1) * o.value(u"keycode"_s).toInt();
        return r;
    }
    std::unique_ptr<TeclasPortal> teclado()
    {
        return std::make_unique<TeclasPortal>(conexao, amb.raiz() + u"/remotedesktop-token"_s,
                                              TeclasPortal::Prazos{std::chrono::milliseconds(3000), std::chrono::milliseconds(5000)});
    }

    AmbienteTemporario amb;
    QProcess barramento, portal;
    QString endereco;
    QDBusConnection conexao{u"nenhuma"_s};
    QString registro = amb.raiz() + u"/registro.jsonl"_s;
};

} // namespace

TEST_F(PortalFalso, ConsentimentoPedidoUmaVezETokenReusadoNaProximaExecucao)
{
    iniciarPortal();
    EXPECT_TRUE(Portal::alcancavel(conexao));
    {
        auto t = teclado();
        for (TeclaColar tecla : {TeclaColar::ctrlV, TeclaColar::ctrlShiftV, TeclaColar::shiftInsert})
            EXPECT_TRUE(aguardar(t->colar(tecla)));
    }
    // Ctrl+V, Ctrl+Shift+V, Shift+Insert: evdev codes, pressed and released in order.
    EXPECT_EQ(teclas(), (QList<int>{29, 47, -47, -29, 29, 42, 47, -47, -42, -29, 42, 110, -110, -42}));
    ASSERT_EQ(chamadas(u"Start"_s).size(), 1);
    EXPECT_TRUE(chamadas(u"Start"_s)[0].value(u"dialogo"_s).toBool());
    const auto selecao = chamadas(u"SelectDevices"_s);
    ASSERT_EQ(selecao.size(), 1);
    EXPECT_EQ(selecao[0].value(u"types"_s).toInt(), 1);
    EXPECT_EQ(selecao[0].value(u"persist_mode"_s).toInt(), 2);
    const QByteArray token = lerArquivo(amb.raiz() + u"/remotedesktop-token"_s);
    ASSERT_FALSE(token.isEmpty());

    // Sonvo restarted: the kept token spares the user the dialog, and the new one replaces it.
    auto depois = teclado();
    EXPECT_TRUE(aguardar(depois->colar(TeclaColar::ctrlV)));
    ASSERT_EQ(chamadas(u"Start"_s).size(), 2);
    EXPECT_FALSE(chamadas(u"Start"_s)[1].value(u"dialogo"_s).toBool());
    EXPECT_EQ(chamadas(u"SelectDevices"_s)[1].value(u"restore_token"_s).toString().toUtf8(), token);
    EXPECT_NE(lerArquivo(amb.raiz() + u"/remotedesktop-token"_s), token);
}

TEST_F(PortalFalso, RecusaNaoPerguntaDeNovoERevogacaoPedeNovaSessao)
{
    iniciarPortal({u"--recusar"_s});
    auto t = teclado();
    EXPECT_FALSE(aguardar(t->colar(TeclaColar::ctrlV)));
    EXPECT_FALSE(aguardar(t->colar(TeclaColar::ctrlV)));
    EXPECT_EQ(chamadas(u"Start"_s).size(), 1) << "a refusal is not asked again";
    EXPECT_TRUE(teclas().isEmpty());
    pararPortal();

    // Granted, then revoked from the desktop's settings: the next paste starts a new session.
    iniciarPortal();
    auto outro = teclado();
    EXPECT_TRUE(aguardar(outro->colar(TeclaColar::ctrlV)));
    ::kill(static_cast<pid_t>(portal.processId()), SIGUSR1);
    ASSERT_TRUE(girarAte([&] { return aguardar(outro->colar(TeclaColar::ctrlV)) && chamadas(u"Start"_s).size() == 3; }));
    EXPECT_TRUE(chamadas(u"Start"_s)[2].value(u"dialogo"_s).toBool()) << "the revoked token asks again";
}

TEST_F(PortalFalso, TokenRecusadoPeloPortalEDescartadoEOProximoColarPergunta)
{
    ASSERT_TRUE(gravarArquivo(amb.raiz() + u"/remotedesktop-token"_s, "nao-e-um-uuid"));
    iniciarPortal();
    auto t = teclado();
    EXPECT_FALSE(aguardar(t->colar(TeclaColar::ctrlV)));
    EXPECT_TRUE(aguardar(t->colar(TeclaColar::ctrlV)));
    ASSERT_EQ(chamadas(u"Start"_s).size(), 1);
    EXPECT_TRUE(chamadas(u"Start"_s)[0].value(u"dialogo"_s).toBool());
    EXPECT_NE(lerArquivo(amb.raiz() + u"/remotedesktop-token"_s), "nao-e-um-uuid");
}
