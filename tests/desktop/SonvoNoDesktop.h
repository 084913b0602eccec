#pragma once

#include "ApoioDesktop.h"

#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "support/ServidorTeste.h"

#include <QDir>
#include <gtest/gtest.h>

namespace sonvo::teste::desktop {

// The real sonvo on the test desktop: a throw-away home, the OpenAI endpoint on a loopback
// server, a key, the first run already behind it, and a recorded phrase for the microphone.
class SonvoNoDesktop : public ::testing::Test {
protected:
    void SetUp() override
    {
        // The test desktop's own session, for the processes started from here.
        for (const char* v : {"DISPLAY", "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "PULSE_SERVER", "QT_QPA_PLATFORM"})
            if (qEnvironmentVariableIsSet(v))
                amb.definir(QString::fromLatin1(v), qEnvironmentVariable(v));
        amb.definir("SONVO_OPENAI_BASE_URL"_t, servidor.url().toString());
        amb.definir("TMPDIR"_t, temporaria);
        ASSERT_TRUE(QDir().mkpath(temporaria));
        ASSERT_FALSE(KeychainService(amb.pastaDados()).salvarChave("openai_api_key"_t, "sk-desktop"_t));
        // Past the first run: the welcome window would take the focus from the target.
        config.definir("hasOnboarded"_t, true);
        ASSERT_TRUE(config.sincronizar());
    }
    void TearDown() override
    {
        if (sonvo.state() != QProcess::NotRunning) {
            sonvo.terminate(); // the session ending: Sonvo quits as from its menu
            EXPECT_TRUE(sonvo.waitForFinished(5000) && sonvo.exitStatus() == QProcess::NormalExit && sonvo.exitCode() == 0);
            sonvo.kill();
            sonvo.waitForFinished(2000);
        }
        soltarTeclas();
        tocador.kill();
        tocador.waitForFinished(2000);
    }

    QString arquivo(const QString& nome) const { return amb.raiz() + u'/' + nome; }
    qsizetype contar(const QString& trecho) const { return QString::fromUtf8(amb.lerLog()).count(trecho); }
    std::string logInteiro() const { return amb.lerLog().toStdString(); }
    QString textoDoAlvo() const { return QString::fromUtf8(lerArquivo(arquivo("alvo"_t))); }
    std::unique_ptr<Auxiliar> abrirAlvo(const QStringList& extra = {}) { return desktop::abrirAlvo(arquivo("alvo"_t), extra); }

    void gravarFala(const QString& texto) { ASSERT_EQ(rodar("espeak-ng"_t, {"-v"_t, "pt-br"_t, "-w"_t, fala, texto}).codigo, 0); }
    // A steady tone in the virtual microphone for a minute (until the test ends), for tests
    // where the words do not matter but silence would not be sent.
    void tocarTom()
    {
        const QString tom = arquivo("tom.wav"_t);
        EXPECT_EQ(rodar("sox"_t, {"-n"_t, "-r"_t, "48000"_t, "-c"_t, "2"_t, tom, "synth"_t, "60"_t, "sine"_t, "300"_t, "vol"_t, "0.2"_t}).codigo, 0);
        tocador.start("paplay"_t, {"-d"_t, "vsink"_t, tom});
        EXPECT_TRUE(tocador.waitForStarted());
    }
    void tecla(const char* combinacao) { ASSERT_TRUE(xdotool({"key"_t, QString::fromLatin1(combinacao)})); }
    // Starts the tray application and waits until its start-up has run (the notification server
    // answered) and its hotkeys are set up.
    void iniciarSonvo()
    {
        sonvo.setProcessEnvironment(amb.ambiente());
        sonvo.start(QStringLiteral(SONVO_BIN), QStringList{});
        ASSERT_TRUE(sonvo.waitForStarted());
        ASSERT_TRUE(girarAte([&] { return contar("notification auth granted="_t) == 1; }, 15000))
            << logInteiro() << sonvo.readAllStandardError().toStdString();
        girarPor(300);
    }
    // Once the log shows that a hotkey press was taken, the phrase is played into the virtual microphone.
    void falar()
    {
        ASSERT_TRUE(girarAte([&] { return contar("[HotKey] trigger"_t) >= 1; })) << logInteiro();
        girarPor(300);
        ASSERT_EQ(rodar("paplay"_t, {"-d"_t, "vsink"_t, fala}, 20000).codigo, 0);
        girarPor(300);
    }
    // A whole dictation: `combinacao`, the phrase, `combinacao` again.
    void ditar(const char* combinacao)
    {
        tecla(combinacao);
        falar();
        tecla(combinacao);
    }
    // Waits for the paste into the target (and, a moment later, all of it); expects exactly `texto`.
    void conferirColado(const QString& texto, int prazoMs = 20000)
    {
        ASSERT_TRUE(girarAte([&] { return !textoDoAlvo().isEmpty(); }, prazoMs)) << logInteiro();
        girarPor(300);
        EXPECT_EQ(textoDoAlvo(), texto);
    }

    AmbienteTemporario amb;
    ServidorTeste servidor;
    Configuracoes config{amb.arquivoConfig()};
    QString temporaria = amb.raiz() + "/tmp"_t;
    QString fala = amb.raiz() + "/fala.wav"_t;
    QProcess sonvo;
    QProcess tocador;
};

} // namespace sonvo::teste::desktop
