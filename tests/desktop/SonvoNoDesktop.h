#pragma once

#include "ApoioDesktop.h"

#include "ai/KeychainService.h"
#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"

#include <QProcess>
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
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-desktop")).has_value());
        // Past the first run: the welcome window would take the focus from the target.
        config.definir(QStringLiteral("hasOnboarded"), true);
        ASSERT_TRUE(config.sincronizar());
    }
    void TearDown() override
    {
        if (sonvo.state() != QProcess::NotRunning) {
            sonvo.terminate();
            if (!sonvo.waitForFinished(5000))
                sonvo.kill();
            sonvo.waitForFinished(2000);
        }
    }

    QString arquivo(const QString& nome) const { return amb.raiz() + u'/' + nome; }
    QStringList log() const { return QString::fromUtf8(amb.lerLog()).split(u'\n', Qt::SkipEmptyParts); }
    qsizetype contar(const QString& trecho) const { return log().filter(trecho).size(); }
    std::string logInteiro() const { return amb.lerLog().toStdString(); }

    void gravarFala(const QString& texto)
    {
        const auto r = rodar(QStringLiteral("espeak-ng"),
                             {QStringLiteral("-v"), QStringLiteral("pt-br"), QStringLiteral("-w"), fala, texto});
        ASSERT_EQ(r.codigo, 0);
    }
    // Starts the tray application and waits until its start-up has run (the notification server
    // answered) and its hotkeys are set up.
    void iniciarSonvo()
    {
        QProcessEnvironment env = amb.ambiente();
        env.insert(QStringLiteral("TMPDIR"), amb.raiz());
        sonvo.setProcessEnvironment(env);
        sonvo.start(QStringLiteral(SONVO_BIN), QStringList{});
        ASSERT_TRUE(sonvo.waitForStarted());
        ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("notification auth granted=")) == 1; }, 15000))
            << logInteiro() << sonvo.readAllStandardError().toStdString() << " estado " << int(sonvo.state());
        esperarAte([] { return false; }, 300);
    }
    void tecla(const char* combinacao)
    {
        ASSERT_EQ(rodar(QStringLiteral("xdotool"), {QStringLiteral("key"), QString::fromLatin1(combinacao)}).codigo, 0);
    }
    void tocarFala()
    {
        ASSERT_EQ(rodar(QStringLiteral("paplay"), {QStringLiteral("-d"), QStringLiteral("vsink"), fala}, 20000).codigo, 0);
    }

    AmbienteTemporario amb;
    ServidorTeste servidor;
    Configuracoes config{amb.arquivoConfig()};
    QString pasta = Caminhos::pastaDados();
    QString fala = amb.raiz() + QStringLiteral("/fala.wav");
    QProcess sonvo;
};

} // namespace sonvo::teste::desktop
