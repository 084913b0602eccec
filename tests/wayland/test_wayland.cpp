// Sonvo in a native Wayland session as a user meets it: headless sway, the real sonvo started in
// it, `sonvo alternar` bound as a user would bind it, speech played into the virtual microphone,
// and the text landing in native Wayland applications (Qt, GTK 3, the foot terminal) while the
// user's clipboard, set with wl-copy, comes back byte for byte.
#include "../desktop/ApoioDesktop.h"

#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "support/ServidorTeste.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

const QString kFrase = "abri o vs code para testar o ditado do sonvo"_t;

// The app_id of the window sway has focused, from its tree.
QString focado()
{
    const auto r = rodar("swaymsg"_t, {"-t"_t, "get_tree"_t, "-r"_t});
    std::function<QString(const QJsonObject&)> procurar = [&](const QJsonObject& no) -> QString {
        if (no.value("focused"_t).toBool()) {
            const QString id = no.value("app_id"_t).toString();
            return id.isEmpty() ? no.value("window_properties"_t).toObject().value("class"_t).toString() : id;
        }
        for (const char* filhos : {"nodes", "floating_nodes"})
            for (const QJsonValue& f : no.value(QLatin1String(filhos)).toArray())
                if (QString achado = procurar(f.toObject()); !achado.isNull())
                    return achado;
        return QString();
    };
    return procurar(QJsonDocument::fromJson(r.saida).object());
}

class SonvoNoWayland : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const char* v : {"WAYLAND_DISPLAY", "DISPLAY", "XDG_RUNTIME_DIR", "XDG_SESSION_TYPE", "XDG_CURRENT_DESKTOP",
                              "DBUS_SESSION_BUS_ADDRESS", "PULSE_SERVER", "SWAYSOCK"})
            if (qEnvironmentVariableIsSet(v))
                amb.definir(QString::fromLatin1(v), qEnvironmentVariable(v));
        amb.definir("SONVO_OPENAI_BASE_URL"_t, servidor.url().toString());
        servidor.definirPadrao(Resposta::json(200, R"({"text":")" + kFrase.toUtf8() + R"("})"));
        ASSERT_FALSE(KeychainService(amb.pastaDados()).salvarChave("openai_api_key"_t, "sk-wayland"_t));
        config.definir("hasOnboarded"_t, true);
        ASSERT_TRUE(config.sincronizar());
        ASSERT_EQ(rodar("espeak-ng"_t, {"-v"_t, "pt-br"_t, "-w"_t, fala, kFrase}).codigo, 0);
    }
    void TearDown() override
    {
        if (sonvo.state() != QProcess::NotRunning) {
            sonvo.terminate();
            EXPECT_TRUE(sonvo.waitForFinished(5000) && sonvo.exitStatus() == QProcess::NormalExit && sonvo.exitCode() == 0);
            sonvo.kill();
            sonvo.waitForFinished(2000);
        }
    }
    qsizetype contar(const QString& trecho) const { return QString::fromUtf8(amb.lerLog()).count(trecho); }
    std::string logInteiro() const { return amb.lerLog().toStdString(); }
    QString arquivo(const QString& nome) const { return amb.raiz() + u'/' + nome; }

    void iniciarSonvo()
    {
        sonvo.setProcessEnvironment(amb.ambiente());
        sonvo.start(QStringLiteral(SONVO_BIN), QStringList{});
        ASSERT_TRUE(sonvo.waitForStarted());
        ASSERT_TRUE(girarAte([&] { return contar("notification auth granted="_t) == 1; }, 15000)) << logInteiro();
        girarPor(300);
    }
    void alternar(const QStringList& extra = {}) { ASSERT_EQ(rodarSonvo(amb, QStringList{"alternar"_t} + extra).codigo, 0); }
    // One dictation through the command a user binds in sway: start, the phrase, stop.
    void ditar(const QStringList& extra = {})
    {
        const qsizetype antes = contar("[HotKey] trigger"_t);
        alternar(extra);
        ASSERT_TRUE(girarAte([&] { return contar("[HotKey] trigger"_t) > antes; })) << logInteiro();
        girarPor(300);
        ASSERT_EQ(rodar("paplay"_t, {"-d"_t, "vsink"_t, fala}, 20000).codigo, 0);
        girarPor(300);
        alternar(extra);
    }
    void abrirAlvoQt(QProcess& alvo)
    {
        abrir(alvo, QStringLiteral(SONVO_ALVO_TEXTO), {"--classe"_t, "alvo-qt"_t, "--saida"_t, arquivo("alvo"_t)}, "alvo-qt"_t);
    }
    bool chegou() { return girarAte([&] { return lerArquivo(arquivo("alvo"_t)) == kFrase.toUtf8(); }, 20000); }
    // A native Wayland application writing what it receives to `saida`, focused once this returns.
    void abrir(QProcess& alvo, const QString& programa, const QStringList& args, const QString& appId)
    {
        QProcessEnvironment env = amb.ambiente();
        env.insert("QT_QPA_PLATFORM"_t, "wayland"_t);
        env.insert("GDK_BACKEND"_t, "wayland"_t);
        alvo.setProcessEnvironment(env);
        alvo.start(programa, args);
        ASSERT_TRUE(girarAte([&] { return focado() == appId; }, 15000)) << focado().toStdString();
        girarPor(300);
    }

    AmbienteTemporario amb;
    ServidorTeste servidor;
    Configuracoes config{amb.arquivoConfig()};
    QString fala = amb.raiz() + "/fala.wav"_t;
    QProcess sonvo;
};

class Colagem : public SonvoNoWayland {};

// The desktop binds the hotkeys through the GlobalShortcuts portal (the fake one on this session's
// bus), and the test presses them through it.
class AtalhosDoDesktop : public SonvoNoWayland {
protected:
    void TearDown() override
    {
        SonvoNoWayland::TearDown();
        portal.kill();
        portal.waitForFinished();
    }
    void abrirPortal(const QStringList& extra = {})
    {
        portal.setProcessEnvironment(amb.ambiente());
        portal.start("/usr/bin/python3"_t, QStringList{QStringLiteral(SONVO_FONTES "/tests/portal/portal_falso.py"),
                                                       "--registro"_t, registro} + extra);
        ASSERT_TRUE(portal.waitForStarted() && portal.waitForReadyRead(10000)) << portal.readAllStandardError().toStdString();
    }
    void desktop(const QString& metodo, const QStringList& textos)
    {
        QStringList args{"--session"_t, "--print-reply"_t, "--dest=org.freedesktop.portal.Desktop"_t,
                         "/org/freedesktop/portal/desktop"_t, "br.com.sonvo.PortalFalso."_t + metodo};
        for (const QString& t : textos)
            args << "string:"_t + t;
        ASSERT_EQ(rodar("dbus-send"_t, args).codigo, 0);
    }
    qsizetype vinculos() const { return QString::fromUtf8(lerArquivo(registro)).count("\"BindShortcuts\""_t); }

    QProcess portal;
    QString registro = arquivo("portal.jsonl"_t);
};

} // namespace

TEST_F(Colagem, ChegaEmAppsNativosEDevolveOClipboardByteAByte)
{
    const QByteArray png = ClipboardDoUsuario::pngDeTeste();
    struct Caso {
        const char* nome;
        QString appId;
        QString programa;
        QStringList args;
        QString tipo; // what the user had on the clipboard, set with wl-copy
        QByteArray dados;
    } casos[] = {
        {"Qt", "alvo-qt"_t, QStringLiteral(SONVO_ALVO_TEXTO), {"--classe"_t, "alvo-qt"_t, "--saida"_t}, "text/plain;charset=utf-8"_t,
         QByteArrayLiteral("Texto do usuário\nsegunda linha \xF0\x9F\x99\x82 fim")},
        {"GTK 3", "alvo-gtk"_t, "/usr/bin/python3"_t, {QStringLiteral(SONVO_FONTES "/tests/wayland/alvo_gtk.py"), "--app-id"_t, "alvo-gtk"_t, "--saida"_t},
         "text/html"_t, QByteArrayLiteral("<meta charset=\"utf-8\"><b>negrito</b> e <i>ação</i>")},
        // foot pastes on Ctrl+Shift+V; Ctrl+V would arrive as the byte 0x16.
        {"foot", "foot"_t, "bash"_t, {QStringLiteral(SONVO_FONTES "/tests/wayland/wayland.sh"), "terminal"_t}, "image/png"_t, png},
        // xterm through XWayland pastes PRIMARY on Shift+Insert: the text goes there, and comes back.
        {"xterm", "XTerm"_t, "xterm"_t, {"-e"_t, "sh"_t, "-c"_t, "stty raw -echo; exec cat >\"$1\""_t, "sh"_t}, "text/plain"_t, "ls -la"},
    };
    iniciarSonvo();
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome);
        ASSERT_TRUE(gravarArquivo(arquivo("antes"_t), c.dados));
        ASSERT_EQ(rodar("sh"_t, {"-c"_t, "wl-copy --type \"$0\" < \"$1\""_t, c.tipo, arquivo("antes"_t)}).codigo, 0);
        // What the user last selected: left alone, or put back for xterm.
        ASSERT_EQ(rodar("sh"_t, {"-c"_t, "printf 'sele\\303\\247\\303\\243o' | wl-copy --primary --type text/plain"_t}).codigo, 0);
        const QString saida = arquivo(c.appId);
        QProcess alvo;
        abrir(alvo, c.programa, c.args + QStringList{saida}, c.appId);

        ditar();
        ASSERT_TRUE(girarAte([&] { return lerArquivo(saida).contains(kFrase.toUtf8()); }, 20000))
            << lerArquivo(saida).toStdString() << logInteiro();
        girarPor(300);
        EXPECT_EQ(QString::fromUtf8(lerArquivo(saida)), kFrase);
        // The pills never took the keyboard.
        EXPECT_EQ(focado(), c.appId);
        const auto depois = rodar("wl-paste"_t, {"--no-newline"_t, "--type"_t, c.tipo});
        EXPECT_EQ(depois.saida, c.dados);
        EXPECT_EQ(rodar("wl-paste"_t, {"--primary"_t, "--no-newline"_t, "--type"_t, "text/plain"_t}).saida, "sele\xC3\xA7\xC3\xA3o");
    }
}

// The menu takes the keyboard (an ordinary window); closed with Esc, it gives it back to the
// application, which receives the text.
TEST_F(Colagem, MenuDeAcoesDevolveOFocoAoAppEColaNele)
{
    iniciarSonvo();
    QProcess alvo;
    abrirAlvoQt(alvo);
    // As sway's bindsym and bindsym --release would: a press starts it for the menu, the release ends it.
    ASSERT_EQ(rodarSonvo(amb, {"iniciar"_t, "--menu"_t}).codigo, 0);
    ASSERT_TRUE(girarAte([&] { return contar("[HotKey] trigger Super+Shift+R"_t) == 1; })) << logInteiro();
    ASSERT_EQ(rodar("paplay"_t, {"-d"_t, "vsink"_t, fala}, 20000).codigo, 0);
    ASSERT_EQ(rodarSonvo(amb, {"parar"_t}).codigo, 0);
    ASSERT_TRUE(girarAte([&] { return focado() == "Sonvo"_t; }, 20000)) << focado().toStdString() << logInteiro();
    girarPor(300);
    ASSERT_EQ(rodar("wtype"_t, {"-k"_t, "Escape"_t}).codigo, 0);
    ASSERT_TRUE(chegou()) << logInteiro();
    EXPECT_EQ(focado(), "alvo-qt"_t);
}

TEST_F(AtalhosDoDesktop, AtivadoAlternaESegurandoTerminaAoDesativar)
{
    abrirPortal();
    iniciarSonvo();
    ASSERT_TRUE(girarAte([&] { return contar("atalhos do desktop: Gravar  Press Super+Shift+R / Press Super+Shift+T"_t) == 1; }))
        << lerArquivo(registro).toStdString() << logInteiro();
    const QByteArray pedido = lerArquivo(registro);
    EXPECT_TRUE(pedido.contains(R"("ditado": {"description": "Ditar e colar", "preferred_trigger": "LOGO+SHIFT+t"})")) << pedido.toStdString();
    EXPECT_TRUE(pedido.contains(R"("preferred_trigger": "LOGO+SHIFT+r")")) << pedido.toStdString();

    QProcess alvo;
    abrirAlvoQt(alvo);
    auto ditarSegurando = [&](bool segurar, int pressoes) {
        desktop("Ativar"_t, {"ditado"_t});
        if (!segurar)
            desktop("Desativar"_t, {"ditado"_t});
        ASSERT_TRUE(girarAte([&] { return contar("[HotKey] trigger Super+Shift+T"_t) == pressoes; })) << logInteiro();
        ASSERT_EQ(rodar("paplay"_t, {"-d"_t, "vsink"_t, fala}, 20000).codigo, 0);
        if (!segurar)
            desktop("Ativar"_t, {"ditado"_t});
        desktop("Desativar"_t, {"ditado"_t});
    };
    ditarSegurando(false, 1); // by default one press starts, the next ends
    ASSERT_TRUE(chegou()) << logInteiro();
    config.definir("modoAtalho"_t, "segurar"_t); // read at the next press
    ASSERT_TRUE(config.sincronizar());
    girarPor(300); // past the debounce
    ditarSegurando(true, 3); // let go: the dictation ends
    ASSERT_TRUE(girarAte([&] { return lerArquivo(arquivo("alvo"_t)) == (kFrase + kFrase).toUtf8(); }, 20000)) << logInteiro();
    // The user rebinds it in the desktop's settings; the tray's title follows (no tray host here:
    // the log is where it shows).
    desktop("Mudar"_t, {"ditado"_t, "Ctrl+Alt+D"_t});
    EXPECT_TRUE(girarAte([&] { return contar("Press Super+Shift+R / Ctrl+Alt+D"_t) == 1; })) << logInteiro();
}

TEST_F(AtalhosDoDesktop, RecusaAvisaUmaVezESonvoAlternarContinua)
{
    abrirPortal({"--recusar-atalhos"_t});
    iniciarSonvo();
    ASSERT_TRUE(girarAte([&] { // closed, a notification goes to dunst's history
        rodar("dunstctl"_t, {"close-all"_t});
        return rodar("dunstctl"_t, {"history"_t}).saida.contains("Associe um atalho do seu ambiente ao comando: sonvo alternar");
    })) << logInteiro();
    QProcess alvo;
    abrirAlvoQt(alvo);
    ditar();
    ASSERT_TRUE(chegou()) << logInteiro();
    EXPECT_EQ(vinculos(), 1) << "asked once";
    EXPECT_TRUE(rodarSonvo(amb, {"diagnostico"_t}).saida.contains(
        "Atalhos: portal GlobalShortcuts recusado — associe um atalho do ambiente a: sonvo alternar\n"));
}

TEST_F(SonvoNoWayland, DiagnosticoDizComoCadaServicoFuncionaNoSway)
{
    const auto r = rodarSonvo(amb, {"diagnostico"_t});
    const QStringList linhas = QString::fromUtf8(r.saida).split(u'\n');
    for (const char* esperada : {"Sessão: Wayland", "Colar: teclado virtual do Wayland", "Área de transferência: wlr-data-control",
                                 "Atalhos: indisponível — associe um atalho do ambiente a: sonvo alternar",
                                 "Janela ativa: wlr-foreign-toplevel", "Texto selecionado: seleção primária (data-control)",
                                 "Chaves: OpenAI"})
        EXPECT_TRUE(linhas.contains(QString::fromUtf8(esperada))) << esperada << "\n" << r.saida.toStdString();
    EXPECT_TRUE(linhas.contains("Transcrição: "_t + servidor.url().toString() + " responde (HTTP 200)"_t)) << r.saida.toStdString();
    EXPECT_EQ(r.codigo, 0);

    // Nothing to paste with nor a clipboard: a dictation cannot land.
    amb.definir("SONVO_PLATAFORMA"_t, "nula"_t);
    const auto nula = rodarSonvo(amb, {"diagnostico"_t});
    EXPECT_TRUE(nula.saida.startsWith("Sessão: nenhuma sessão gráfica\n")) << nula.saida.toStdString();
    EXPECT_EQ(nula.codigo, 1);
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
