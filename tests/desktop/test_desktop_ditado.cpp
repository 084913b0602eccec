// A whole dictation on the test desktop: speech played into the virtual microphone is recorded
// through the real capture path, transcribed by the loopback server, corrected with the user's
// vocabulary and pasted into another client's text widget, with the user's clipboard put back.
#include "ApoioDesktop.h"

#include "ai/KeychainService.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "capture/InsertBuffer.h"
#include "capture/InsertionService.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/Plataforma.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "vocabulary/VocabularyService.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QtEndian>

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

struct Sinal {
    int taxa = 0;
    int canais = 0;
    std::vector<float> canal0;
};

Sinal lerWav(const QString& caminho)
{
    SF_INFO info{};
    Sinal s;
    SNDFILE* f = sf_open(QFile::encodeName(caminho).constData(), SFM_READ, &info);
    if (!f)
        return s;
    s.taxa = info.samplerate;
    s.canais = info.channels;
    std::vector<float> tudo(static_cast<size_t>(info.frames * info.channels));
    sf_readf_float(f, tudo.data(), info.frames);
    sf_close(f);
    for (sf_count_t i = 0; i < info.frames; ++i)
        s.canal0.push_back(tudo[static_cast<size_t>(i * info.channels)]);
    return s;
}

// Where the speech is: from the first to the last 10 ms window louder than -40 dBFS.
struct Trecho {
    double segundos = 0;
    double rms = 0;
};

Trecho trechoFalado(const Sinal& s)
{
    const size_t janela = static_cast<size_t>(s.taxa / 100);
    long long primeiro = -1, ultimo = -1;
    for (size_t i = 0; janela && i + janela <= s.canal0.size(); i += janela) {
        double soma = 0;
        for (size_t k = i; k < i + janela; ++k)
            soma += double(s.canal0[k]) * s.canal0[k];
        if (std::sqrt(soma / janela) > 0.01) {
            if (primeiro < 0)
                primeiro = static_cast<long long>(i);
            ultimo = static_cast<long long>(i + janela);
        }
    }
    Trecho t;
    if (primeiro < 0)
        return t;
    double soma = 0;
    for (long long k = primeiro; k < ultimo; ++k)
        soma += double(s.canal0[static_cast<size_t>(k)]) * s.canal0[static_cast<size_t>(k)];
    t.segundos = double(ultimo - primeiro) / s.taxa;
    t.rms = std::sqrt(soma / double(ultimo - primeiro));
    return t;
}

class Ditado : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        QDir().mkpath(temporaria);
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-desktop")).has_value());
        vocab.bootstrapSeNecessario();
        ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("vs code"), QStringLiteral("VS Code")).has_value());
        // The speech, as espeak-ng says it, at its own rate (22050 Hz); PulseAudio resamples it.
        const auto r = rodar(QStringLiteral("espeak-ng"), {QStringLiteral("-v"), QStringLiteral("pt-br"), QStringLiteral("-w"), fala,
                                                           QStringLiteral("abri o vs code para testar o ditado do sonvo")});
        ASSERT_EQ(r.codigo, 0);
    }
    void TearDown() override { Log::enviarParaArquivo(QStringLiteral("/dev/null")); }

    QString arquivo(const QString& nome) const { return amb.raiz() + u'/' + nome; }
    void tocarFala()
    {
        const auto r = rodar(QStringLiteral("paplay"), {QStringLiteral("-d"), QStringLiteral("vsink"), fala}, 20000);
        ASSERT_EQ(r.codigo, 0);
    }

    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{amb.arquivoConfig()};
    QString pasta = Caminhos::pastaDados();
    QString temporaria = amb.raiz() + QStringLiteral("/tmp");
    QString fala = amb.raiz() + QStringLiteral("/fala.wav");
    VocabularyService vocab{pasta, config};
    TranscriptionHistory historico{pasta};
    InsertBuffer buffer;
};

} // namespace

TEST_F(Ditado, DaFalaNoMicrofoneAoTextoNoOutroAplicativo)
{
    Plataforma p = criarPlataformaDesktop();
    const auto formato = p.audio->formato();
    ASSERT_TRUE(formato.ok()) << formato.erro().toStdString();
    // The virtual microphone is mono at the sink's 48 kHz.
    EXPECT_EQ(formato.valor().taxa, 48000);
    EXPECT_EQ(formato.valor().canais, 1);

    // The user's clipboard, and a text widget of another client in front.
    const QByteArray texto = "o que o usuário tinha copiado";
    const QByteArray html = "<b>negrito</b>";
    QByteArray png;
    {
        QImage img(32, 32, QImage::Format_RGB32);
        img.fill(Qt::darkCyan);
        QBuffer b(&png);
        b.open(QIODevice::WriteOnly);
        img.save(&b, "PNG");
    }
    for (const auto& [nome, dados] : {std::pair{QStringLiteral("t"), texto}, std::pair{QStringLiteral("h"), html},
                                      std::pair{QStringLiteral("p"), png}}) {
        QFile f(arquivo(nome));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(dados);
    }
    auto dono = std::make_unique<Auxiliar>(QStringLiteral(SONVO_DONO_CLIPBOARD),
                                           QStringList{QStringLiteral("text/plain=") + arquivo(QStringLiteral("t")),
                                                       QStringLiteral("text/html=") + arquivo(QStringLiteral("h")),
                                                       QStringLiteral("image/png=") + arquivo(QStringLiteral("p"))});
    ASSERT_TRUE(dono->pronto());
    Auxiliar alvo(QStringLiteral(SONVO_ALVO_TEXTO), {QStringLiteral("--saida"), arquivo(QStringLiteral("alvo"))});
    ASSERT_TRUE(alvo.pronto());
    ASSERT_TRUE(esperarAte([&] {
        const auto f = p.janelas->daFrente();
        return f && f->pid == alvo.pid();
    }));

    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o vs code para testar o ditado do sonvo"})"));
    InsertionService insercao(*p.clipboard, *p.janelas, *p.teclas, buffer, QCoreApplication::applicationPid());
    SpeechManager sm(SpeechManager::Dependencias{config, rede, pasta, *p.audio, insercao, *p.som, vocab, historico,
                                                 temporaria, [] { return std::nullopt; }});
    sm.contextoBundleID = QStringLiteral("Sonvo-alvo");

    sm.startRecording();
    ASSERT_EQ(sm.recordingState(), RecordingState::recording()) << sm.recordingState().mensagem.toStdString();
    esperarAte([] { return false; }, 300);
    tocarFala();
    esperarAte([] { return false; }, 400);
    sm.stopRecording();
    ASSERT_TRUE(esperarAte([&] { return sm.recordingState().caso != RecordingState::Caso::transcribing; }, 20000));
    ASSERT_EQ(sm.recordingState(), RecordingState::completed()) << sm.recordingState().mensagem.toStdString();

    // What reached the service: the device's rate and channels, the speech's length and loudness.
    const auto partes = servidor.requisicoes().value(0).partes();
    ASSERT_TRUE(partes.has_value());
    const QString recebido = arquivo(QStringLiteral("recebido.wav"));
    {
        QFile f(recebido);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(partes->value(0).dados);
    }
    const Sinal gravado = lerWav(recebido);
    EXPECT_EQ(gravado.taxa, 48000);
    EXPECT_EQ(gravado.canais, 1);
    const Trecho falado = trechoFalado(gravado);
    const Trecho original = trechoFalado(lerWav(fala));
    ASSERT_GT(original.segundos, 1.0);
    EXPECT_NEAR(falado.segundos, original.segundos, original.segundos * 0.05)
        << "gravado " << falado.segundos << " s, falado " << original.segundos << " s";
    EXPECT_NEAR(falado.rms, original.rms, original.rms * 0.05) << "RMS gravado " << falado.rms << ", original " << original.rms;

    // Corrected and pasted into the other client; the user's clipboard is back, byte for byte.
    EXPECT_TRUE(esperarAte([&] { return !lerArquivo(arquivo(QStringLiteral("alvo"))).isEmpty(); }));
    EXPECT_EQ(QString::fromUtf8(lerArquivo(arquivo(QStringLiteral("alvo")))),
              QStringLiteral("abri o VS Code para testar o ditado do sonvo"));
    dono.reset();
    EXPECT_EQ(lerClipboard(QStringLiteral("text/plain")), texto);
    EXPECT_EQ(lerClipboard(QStringLiteral("text/html")), html);
    EXPECT_EQ(lerClipboard(QStringLiteral("image/png")), png);
    EXPECT_TRUE(QDir(temporaria).isEmpty()) << QDir(temporaria).entryList().join(u' ').toStdString();
    EXPECT_EQ(historico.lerUltimas(1).value(0).texto, QStringLiteral("abri o vs code para testar o ditado do sonvo"));
}

TEST_F(Ditado, LinhaDeComandoDitaPeloMicrofoneVirtual)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o vs code"})"));
    QProcess sonvo;
    QProcessEnvironment env = amb.ambiente();
    env.insert(QStringLiteral("DISPLAY"), qEnvironmentVariable("DISPLAY"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), qEnvironmentVariable("XDG_RUNTIME_DIR"));
    env.insert(QStringLiteral("PULSE_SERVER"), qEnvironmentVariable("PULSE_SERVER"));
    env.insert(QStringLiteral("TMPDIR"), temporaria);
    sonvo.setProcessEnvironment(env);
    sonvo.start(QStringLiteral(SONVO_BIN), {QStringLiteral("ditar"), QStringLiteral("--app"), QStringLiteral("kate")});
    ASSERT_TRUE(sonvo.waitForStarted());
    esperarAte([] { return false; }, 500);
    tocarFala();
    sonvo.write("\n"); // Enter ends the recording
    ASSERT_TRUE(esperarAte([&] { return sonvo.state() == QProcess::NotRunning; }, 20000));
    EXPECT_EQ(sonvo.exitCode(), 0) << sonvo.readAllStandardError().toStdString();
    EXPECT_EQ(QString::fromUtf8(sonvo.readAllStandardOutput()), QStringLiteral("abri o VS Code\n"));
    ASSERT_EQ(servidor.requisicoes().size(), 1);
    EXPECT_TRUE(QDir(temporaria).isEmpty());
}
