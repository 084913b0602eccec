// The tray application as a user meets it: the real sonvo started on the test desktop, the
// hotkeys pressed with xdotool while another client's text widget has the focus, speech played
// into the virtual microphone, and the corrected text landing in that widget.
#include "SonvoNoDesktop.h"

#include "ai/KeychainService.h"
#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "platform/x11/JanelasX11.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

class Bandeja : public SonvoNoDesktop {
protected:
    void SetUp() override
    {
        SonvoNoDesktop::SetUp();
        VocabularyService vocab(pasta, config);
        vocab.bootstrapSeNecessario();
        ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("vs code"), QStringLiteral("VS Code")).has_value());
        gravarFala(QStringLiteral("abri o vs code"));
    }
};

} // namespace

TEST_F(Bandeja, SuperShiftTDitaNoOutroAplicativoSemQueEleVejaOAtalho)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o vs code"})"));
    Auxiliar alvo(QStringLiteral(SONVO_ALVO_TEXTO), {QStringLiteral("--saida"), arquivo(QStringLiteral("alvo"))});
    ASSERT_TRUE(alvo.pronto());
    iniciarSonvo();
    // Window facts only: the microphone is Sonvo's, not this process's.
    x11::JanelasX11 janelas(x11::ConexaoX11::abrir());
    ASSERT_TRUE(esperarAte([&] {
        const auto f = janelas.daFrente();
        return f && f->pid == alvo.pid();
    }));

    tecla("super+shift+t");
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("trigger Super+Shift+T (actionMenu=0) state=idle")) == 1; }))
        << QString::fromUtf8(amb.lerLog()).toStdString();
    esperarAte([] { return false; }, 300);
    tocarFala();
    esperarAte([] { return false; }, 300);
    tecla("super+shift+t");
    ASSERT_TRUE(esperarAte([&] { return !lerArquivo(arquivo(QStringLiteral("alvo"))).isEmpty(); }, 20000))
        << QString::fromUtf8(amb.lerLog()).toStdString();
    esperarAte([] { return false; }, 300);
    // Exactly the corrected text: no "T" typed by the hotkey reached the widget.
    EXPECT_EQ(QString::fromUtf8(lerArquivo(arquivo(QStringLiteral("alvo")))), QStringLiteral("abri o VS Code"));
    EXPECT_EQ(contar(QStringLiteral("capturado bundleID=Sonvo-alvo")), 2) << QString::fromUtf8(amb.lerLog()).toStdString();
    EXPECT_EQ(contar(QStringLiteral("Vozel: ")), 0) << "every grab succeeded, no fallback";
    ASSERT_EQ(servidor.requisicoes().size(), 1);
}

TEST_F(Bandeja, SegundaPressaoEm200msEIgnoradaESegundoInicioAvisaOPrimeiro)
{
    iniciarSonvo();
    // Two presses within a few milliseconds: only the first counts.
    ASSERT_EQ(rodar(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("super+shift+r"), QStringLiteral("super+shift+r")}).codigo, 0);
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("[HotKey] trigger Super+Shift+R")) >= 1; }));
    esperarAte([] { return false; }, 500);
    EXPECT_EQ(contar(QStringLiteral("[HotKey] trigger Super+Shift+R (actionMenu=1) state=idle")), 1);
    EXPECT_EQ(contar(QStringLiteral("[HotKey] trigger")), 1);

    // A second start leaves at once, telling the user; the first one stays.
    const auto segundo = rodarSonvo(amb, {}, {}, 15000);
    EXPECT_EQ(segundo.codigo, 0);
    EXPECT_TRUE(QString::fromUtf8(segundo.erro).startsWith(QStringLiteral("O Sonvo já está aberto (pid ")))
        << segundo.erro.constData();
    EXPECT_EQ(sonvo.state(), QProcess::Running);
    EXPECT_EQ(contar(QStringLiteral("=== Sonvo BOOT")), 1);
}

TEST_F(Bandeja, AtalhosDeOutroProgramaLevamAoMonitorEAoAlternar)
{
    Auxiliar dono(QStringLiteral(SONVO_PEGA_ATALHOS), {});
    ASSERT_TRUE(dono.pronto());
    iniciarSonvo();
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("usando fallback")) == 1; }));
    const QStringList linhas = log().filter(QStringLiteral("Vozel: "));
    EXPECT_EQ(linhas, (QStringList{QStringLiteral("Vozel: falha ao registrar hotkey Super+Shift+R (status 10)."),
                                   QStringLiteral("Vozel: falha ao registrar hotkey Super+Shift+T (status 10)."),
                                   QStringLiteral("Vozel: usando fallback de monitor de teclado para atalhos.")}));

    // The monitor sees the keys the other client grabbed.
    tecla("super+shift+t");
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("trigger Super+Shift+T (actionMenu=0) state=idle")) == 1; }))
        << QString::fromUtf8(amb.lerLog()).toStdString();
    // With Alt also held it is not the combination.
    esperarAte([] { return false; }, 400);
    tecla("super+shift+alt+t");
    esperarAte([] { return false; }, 400);
    EXPECT_EQ(contar(QStringLiteral("[HotKey] trigger")), 1);

    // And `sonvo alternar` reaches the running Sonvo over the session bus.
    const auto r = rodarSonvo(amb, {QStringLiteral("alternar"), QStringLiteral("--menu")});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("trigger Super+Shift+R (actionMenu=1)")) == 1; }))
        << QString::fromUtf8(amb.lerLog()).toStdString();
}
