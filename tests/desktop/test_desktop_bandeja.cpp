// The tray application as a user meets it: the real sonvo started on the test desktop, the
// hotkeys pressed with xdotool while another client's text widget has the focus, speech played
// into the virtual microphone, and the corrected text landing in that widget.
#include "SonvoNoDesktop.h"

#include "dictation/DitadosPendentes.h"
#include "vocabulary/VocabularyService.h"

#include <QFile>

#include <sndfile.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

const QString kFrase = "abri o vs code para testar o ditado do sonvo"_t;

class Bandeja : public SonvoNoDesktop {
protected:
    void SetUp() override
    {
        SonvoNoDesktop::SetUp();
        gravarFala(kFrase);
        servidor.enfileirar(Resposta::json(200, R"({"text":")" + kFrase.toUtf8() + R"("})"));
    }
    // The recording the service received, checked against the phrase played: the microphone's
    // own rate, mono, the whole phrase at its loudness (a recording cut short or started late,
    // resampled twice or scaled, would differ).
    void conferirAudioRecebido()
    {
        ASSERT_EQ(servidor.requisicoes().size(), 1);
        const auto partes = servidor.requisicoes()[0].partes();
        ASSERT_TRUE(partes && gravarArquivo(arquivo("recebido.wav"_t), partes->value(0).dados));
        const Trecho recebido = trechoFalado(arquivo("recebido.wav"_t)), falado = trechoFalado(fala);
        EXPECT_EQ(recebido.taxa, 48000);
        EXPECT_EQ(recebido.canais, 1);
        ASSERT_GT(falado.segundos, 2.0);
        EXPECT_NEAR(recebido.segundos, falado.segundos, falado.segundos * 0.05);
        EXPECT_NEAR(recebido.rms, falado.rms, falado.rms * 0.05);
        EXPECT_TRUE(QDir(temporaria).isEmpty()) << QDir(temporaria).entryList().join(u' ').toStdString();
    }
};

} // namespace

TEST_F(Bandeja, SuperShiftTDitaColaComOVocabularioDoAlvoEDevolveOClipboard)
{
    VocabularyService vocab(amb.pastaDados(), config);
    vocab.documento().bootstrapSeNecessario();
    ASSERT_FALSE(vocab.documento().importarCorrecaoAprovada("vs code"_t, "VS Code"_t));
    // Only for the target's window class: proves the application in front was captured.
    ASSERT_FALSE(vocab.porApp().registrar("Sonvo-alvo"_t, "sonvo"_t, "Sonvo"_t));
    const ClipboardDoUsuario usuario;
    auto dono = usuario.servir(amb.raiz());
    auto alvo = abrirAlvo();
    iniciarSonvo();
    ditar("super+shift+t");
    // Exactly the corrected text: no "T" typed by the hotkey reached the widget.
    conferirColado("abri o VS Code para testar o ditado do Sonvo"_t);
    conferirAudioRecebido();
    // At the keystroke the clipboard held the dictated text, marked for clipboard managers.
    const QStringList teclas = QString::fromUtf8(lerArquivo(arquivo("alvo.teclas"_t))).trimmed().split(u' ');
    for (const char* esperado : {"Ctrl+V", "text/plain", "org.nspasteboard.TransientType", "x-kde-passwordManagerHint", "dica=secret"})
        EXPECT_TRUE(teclas.contains(QString::fromLatin1(esperado))) << esperado << teclas.join(u' ').toStdString();
    // The owner that set the clipboard is gone: only the restore can answer now.
    dono.reset();
    usuario.conferir();
}

// Hold-to-talk with real key events: auto-repeat's release-and-press pairs while held are not
// releases; the letter's release ends it even after Shift went up first; a tap toggles.
TEST_F(Bandeja, SegurarParaFalarTerminaAoSoltarEUmToqueAlterna)
{
    config.definir("modoAtalho"_t, "segurar"_t);
    ASSERT_TRUE(config.sincronizar());
    servidor.definirPadrao(Resposta::json(200, R"({"text":"mais"})"));
    auto alvo = abrirAlvo();
    iniciarSonvo();
    tocarTom();
    auto enviados = [&] { return servidor.requisicoes().size(); };
    auto segundos = [&](qsizetype i) {
        const auto partes = servidor.requisicoes()[i].partes();
        SF_INFO info{};
        if (!partes || !gravarArquivo(arquivo("enviado.wav"_t), partes->value(0).dados))
            return 0.0;
        SNDFILE* f = sf_open(QFile::encodeName(arquivo("enviado.wav"_t)).constData(), SFM_READ, &info);
        sf_close(f);
        return f ? double(info.frames) / info.samplerate : 0.0;
    };
    girarPor(1500); // the microphone probed (a moment after start), as a user's first dictation finds it
    ASSERT_TRUE(xdotool({"keydown"_t, "super+shift+t"_t}));
    girarPor(2000);
    ASSERT_TRUE(xdotool({"keyup"_t, "t"_t, "shift"_t, "super"_t}));
    conferirColado(kFrase);
    EXPECT_NEAR(segundos(0), 2.0, 0.4);

    tecla("super+shift+t"); // a tap: recording until the next press
    girarPor(1500);
    EXPECT_EQ(enviados(), 1);
    tecla("super+shift+t");
    ASSERT_TRUE(girarAte([&] { return enviados() == 2; }, 10000));
    EXPECT_NEAR(segundos(1), 1.5, 0.4);

    girarPor(500); // past the debounce
    ASSERT_TRUE(xdotool({"keydown"_t, "super+shift+t"_t}));
    girarPor(1000);
    ASSERT_TRUE(xdotool({"keyup"_t, "shift"_t}));
    girarPor(200);
    ASSERT_TRUE(xdotool({"keyup"_t, "t"_t, "super"_t}));
    ASSERT_TRUE(girarAte([&] { return enviados() == 3; }, 10000)) << logInteiro();
    EXPECT_NEAR(segundos(2), 1.2, 0.4);
}

// The hotkey that ends a dictation still held when an instant server's text is ready: its grab
// would take the paste keys, so the paste waits for the keys to go up.
TEST_F(Bandeja, AtalhoAindaApertadoNaoComeOTexto)
{
    servidor.definirPadrao(Resposta::json(200, R"({"text":")" + kFrase.toUtf8() + R"("})"));
    auto alvo = abrirAlvo();
    iniciarSonvo();
    tocarTom();
    girarPor(1500);
    QString esperado;
    for (int segurar : {300, 1000}) {
        SCOPED_TRACE(segurar);
        tecla("super+shift+t");
        girarPor(700);
        ASSERT_TRUE(xdotool({"keydown"_t, "super+shift+t"_t}));
        girarPor(segurar);
        ASSERT_TRUE(xdotool({"keyup"_t, "t"_t, "shift"_t, "super"_t}));
        esperado += kFrase;
        ASSERT_TRUE(girarAte([&] { return textoDoAlvo() == esperado; }, 10000)) << textoDoAlvo().toStdString() << logInteiro();
        girarPor(1500);
    }
}

// The microphone chosen by name records; one that is gone gives way to the system's default.
TEST_F(Bandeja, MicrofoneEscolhidoGravaEOAusenteCaiNoPadrao)
{
    EXPECT_EQ(rodarSonvo(amb, {"microfones"_t}).saida, "* VirtualMic (vmic)\n  SegundoMic (vmic2)\n");
    ASSERT_EQ(rodarSonvo(amb, {"config"_t, "microfone"_t, "vmic2"_t}).codigo, 0);
    EXPECT_EQ(rodarSonvo(amb, {"microfones"_t}).saida, "  VirtualMic (vmic)\n* SegundoMic (vmic2)\n");
    auto alvo = abrirAlvo();
    iniciarSonvo();
    girarPor(1500); // the microphone probed
    auto falado = [&](qsizetype i) {
        const auto partes = servidor.requisicoes()[i].partes();
        return partes && gravarArquivo(arquivo("recebido.wav"_t), partes->value(0).dados)
            ? trechoFalado(arquivo("recebido.wav"_t)).segundos : -1.0;
    };
    // The phrase goes to vsink: vmic2 hears the silence of a real quiet microphone, which is not sent.
    ditar("super+shift+t");
    ASSERT_TRUE(girarAte([&] { return contar("[Speech] sem fala: "_t) == 1; }, 20000)) << logInteiro();
    girarPor(300);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_TRUE(QDir(amb.pastaDados() + "/pendentes"_t).isEmpty()) << "silence is not kept either";

    config.definir("microfone"_t, "mic-desligado"_t);
    ASSERT_TRUE(config.sincronizar());
    girarPor(500);
    ditar("super+shift+t");
    ASSERT_TRUE(girarAte([&] { return servidor.requisicoes().size() == 1; }, 20000)) << logInteiro();
    EXPECT_GT(falado(0), 2.0) << "the default microphone heard the phrase";
    EXPECT_EQ(contar("microfone mic-desligado ausente — usando o padrão do sistema"_t), 1);
}

// A failed dictation is kept; "Tentar de novo" in its notification, once the server is back,
// pastes it into the application in front and forgets it.
TEST_F(Bandeja, FalhaFicaPendenteETentarDeNovoNaNotificacaoCola)
{
    if (rodar("dunstctl"_t, {"is-paused"_t}).codigo != 0)
        GTEST_SKIP() << "sem servidor de notificações (dunst)";
    servidor.esvaziarFila();
    servidor.enfileirar(Resposta::texto(503, "indisponível"));
    auto alvo = abrirAlvo();
    iniciarSonvo();
    ditar("super+shift+t");
    DitadosPendentes pendentes(amb.pastaDados());
    ASSERT_TRUE(girarAte([&] { return pendentes.listar().size() == 1; }, 20000)) << logInteiro();
    const DitadoPendente d = pendentes.listar().first();
    EXPECT_TRUE(d.atalho == "Super+Shift+T"_t && d.duracao > 2.0) << d.duracao;
    ASSERT_TRUE(girarAte([&] {
        const auto r = rodar("dunstctl"_t, {"count"_t, "displayed"_t});
        return r.codigo == 0 && r.saida.trimmed().toInt() >= 1;
    })) << logInteiro();
    EXPECT_TRUE(textoDoAlvo().isEmpty());

    servidor.enfileirar(Resposta::json(200, R"({"text":")" + kFrase.toUtf8() + R"("})"));
    ASSERT_TRUE(gravarArquivo(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/dunst-escolha"_t, "Tentar de novo"));
    ASSERT_EQ(rodar("dunstctl"_t, {"context"_t}).codigo, 0);
    conferirColado(kFrase);
    EXPECT_TRUE(pendentes.listar().isEmpty());
    ASSERT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_EQ(servidor.requisicoes()[1].partes()->value(0).dados, servidor.requisicoes()[0].partes()->value(0).dados)
        << "the same recording went up again";
}

TEST_F(Bandeja, SegundaPressaoEm200msEIgnoradaESegundoInicioAvisaOPrimeiro)
{
    auto alvo = abrirAlvo();
    iniciarSonvo();
    // A second start leaves at once, telling the user; the first one stays.
    const auto segundo = rodarSonvo(amb, {}, {}, 15000);
    EXPECT_EQ(segundo.codigo, 0);
    EXPECT_TRUE(QString::fromUtf8(segundo.erro).startsWith("O Sonvo já está aberto (pid "_t)) << segundo.erro.constData();
    EXPECT_EQ(sonvo.state(), QProcess::Running);
    // Two presses a few milliseconds apart count once: had the second stopped the recording, the
    // phrase would not be in it.
    ASSERT_TRUE(xdotool({"key"_t, "super+shift+t"_t, "super+shift+t"_t}));
    falar();
    tecla("super+shift+t");
    conferirColado(kFrase);
    conferirAudioRecebido();
}

TEST_F(Bandeja, AtalhosDeOutroProgramaLevamAoMonitorEAlternarTermina)
{
    Auxiliar outro(QStringLiteral(SONVO_PEGA_ATALHOS), {});
    ASSERT_TRUE(outro.pronto());
    iniciarSonvo();
    // The grabs failed: only the log tells that the keyboard monitor took over.
    ASSERT_TRUE(girarAte([&] { return contar("Vozel: usando fallback de monitor de teclado para atalhos."_t) == 1; })) << logInteiro();
    // With Alt also held it is not the combination: had it started a recording, the next press
    // would stop it before the phrase. (Pressed before the target opens, which would take the "T".)
    tecla("super+shift+alt+t");
    girarPor(300);
    auto alvo = abrirAlvo();
    tecla("super+shift+t"); // the monitor sees the keys the other client grabbed
    falar();
    // `sonvo alternar` reaches the running Sonvo over the session bus and ends the dictation.
    const auto r = rodarSonvo(amb, {"alternar"_t});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    conferirColado(kFrase);
    conferirAudioRecebido();
}
