#include "ai/KeychainService.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "capture/Insercao.h"
#include "capture/NivelAudio.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/Plataforma.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyNotifications.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QThread>
#include <QtEndian>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;
using Caso = RecordingState::Caso;

namespace {

// A microphone on a thread of its own, like the real one: a 440 Hz tone at half scale.
class MicrofoneFalso : public EntradaAudio {
public:
    FormatoAudio fmt{44100, 2};
    std::optional<QString> erroFormato, erroInicio;
    std::atomic<int> blocos{0};

    ~MicrofoneFalso() override { parar(); }
    Resultado<FormatoAudio, QString> formato() override
    {
        if (erroFormato)
            return *erroFormato;
        return fmt;
    }
    std::optional<QString> iniciar(Bloco bloco) override
    {
        if (erroInicio)
            return erroInicio;
        m_rodando = true;
        m_thread = std::thread([this, bloco] {
            std::vector<float> buf(1024 * static_cast<size_t>(fmt.canais));
            long long n = 0;
            while (m_rodando) {
                for (size_t i = 0; i < 1024; ++i, ++n)
                    for (int c = 0; c < fmt.canais; ++c)
                        buf[i * static_cast<size_t>(fmt.canais) + static_cast<size_t>(c)] =
                            0.5f * static_cast<float>(std::sin(2 * M_PI * 440.0 * static_cast<double>(n) / fmt.taxa));
                bloco(buf.data(), 1024);
                ++blocos;
                std::this_thread::sleep_for(2ms);
            }
        });
        return std::nullopt;
    }
    void parar() override
    {
        m_rodando = false;
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    std::atomic<bool> m_rodando{false};
    std::thread m_thread;
};

class InsercaoFalsa : public Insercao {
public:
    QStringList inseridos;
    QList<SugestaoFuzzy> sugestoes;
    QCoro::Task<> inserir(QString texto) override
    {
        inseridos << texto;
        co_return;
    }
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString&) override { return sugestoes; }
};

class SomContado : public SomEvento {
public:
    int vezes = 0;
    void tocarConclusao() override { ++vezes; }
};

struct Pipeline : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{amb.arquivoConfig()};
    MicrofoneFalso mic;
    InsercaoFalsa insercao;
    SomContado som;
    QString pastaDados = Caminhos::pastaDados();
    VocabularyService vocab{pastaDados, config};
    TranscriptionHistory historico{pastaDados};
    QString temporaria = amb.raiz() + QStringLiteral("/tmp");
    std::optional<FallbackTranscriptionService::Reconhecedor> reconhecedor;
    std::unique_ptr<SpeechManager> sm;

    void SetUp() override
    {
        QDir().mkpath(temporaria);
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        Log::enviarParaArquivo(amb.arquivoLog());
        criar();
    }
    void TearDown() override
    {
        sm.reset();
        Log::enviarParaArquivo(QStringLiteral("/dev/null"));
    }
    void criar(std::chrono::milliseconds prazoLocal = 10s)
    {
        sm = std::make_unique<SpeechManager>(SpeechManager::Dependencias{
            config, rede, pastaDados, mic, insercao, som, vocab, historico, temporaria,
            [this] { return reconhecedor; }, 5s, prazoLocal});
    }
    void chave(const QString& k) { ASSERT_FALSE(KeychainService(pastaDados).salvarChave(AIProviderID::openai, k).has_value()); }
    // A stand-in for whisper-cli: checks its arguments and the file it is given, then answers.
    void reconhecedorFalso(const QByteArray& corpo)
    {
        const QString programa = amb.raiz() + QStringLiteral("/whisper-cli");
        const QString modelo = amb.raiz() + QStringLiteral("/ggml-base.bin");
        gravarArquivo(modelo, "modelo");
        gravarArquivo(programa, "#!/bin/sh\n"
                                "[ \"$1\" = -m ] && [ -f \"$2\" ] && [ \"$3\" = -l ] && [ \"$4\" = pt ] && [ \"$5\" = -f ] && [ \"$7\" = -nt ] && [ \"$8\" = -np ] || exit 9\n"
                                // 16 kHz mono PCM: bytes 22-23 channels=1, 24-27 rate=16000 (0x3e80)
                                "[ \"$(od -An -tx1 -j22 -N6 \"$6\" | tr -d ' \\n')\" = 0100803e0000 ] || exit 8\n"
                                + corpo);
        QFile::setPermissions(programa, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        reconhecedor = FallbackTranscriptionService::Reconhecedor{programa, modelo};
    }
    // Spins until the speech manager reaches `caso` (tests only).
    bool esperar(Caso caso, int ms = 10000)
    {
        QElapsedTimer t;
        t.start();
        while (sm->recordingState().caso != caso && t.elapsed() < ms) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            QThread::msleep(2);
        }
        return sm->recordingState().caso == caso;
    }
    void gravarPor(int blocos)
    {
        sm->startRecording();
        ASSERT_EQ(sm->recordingState().caso, Caso::recording) << sm->recordingState().mensagem.toStdString();
        while (mic.blocos < blocos)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        sm->stopRecording();
    }
    QString erroFinal()
    {
        EXPECT_TRUE(esperar(Caso::error)) << "estado: " << static_cast<int>(sm->recordingState().caso);
        return sm->recordingState().mensagem;
    }
    bool semWavTemporario() { return QDir(temporaria).isEmpty(); }
    QString log() { return QString::fromUtf8(amb.lerLog()); }
};

quint32 le32(const QByteArray& b, int pos) { return qFromLittleEndian<quint32>(b.constData() + pos); }
quint16 le16(const QByteArray& b, int pos) { return qFromLittleEndian<quint16>(b.constData() + pos); }

} // namespace

TEST_F(Pipeline, DitadoCompletoPelaNuvem)
{
    chave(QStringLiteral("sk-teste"));
    vocab.bootstrapSeNecessario();
    ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("vs code"), QStringLiteral("VS Code")).has_value());
    sm->contextoBundleID = QStringLiteral("kate");
    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o vs code"})"));
    QList<RecordingState> estados;
    QObject::connect(sm.get(), &SpeechManager::recordingStateChanged, [&](const RecordingState& e) { estados << e; });
    float maiorNivel = 0;
    QObject::connect(sm.get(), &SpeechManager::audioLevelChanged, [&](float n) { maiorNivel = std::max(maiorNivel, n); });

    gravarPor(20);
    ASSERT_TRUE(esperar(Caso::completed)) << sm->recordingState().mensagem.toStdString();
    EXPECT_EQ(estados.first(), RecordingState::recording());
    EXPECT_EQ(estados.value(1), RecordingState::transcribing());
    EXPECT_EQ(estados.last(), RecordingState::completed());
    EXPECT_GT(maiorNivel, 0.9f); // a half-scale tone is loud
    EXPECT_EQ(sm->audioLevel(), 0.0f);

    // The WAV that reached the service has the device's own format and everything captured.
    const auto partes = servidor.requisicoes().value(0).partes();
    ASSERT_TRUE(partes.has_value());
    const QByteArray wav = partes->value(0).dados;
    ASSERT_GE(wav.size(), 44);
    EXPECT_EQ(wav.left(4), QByteArray("RIFF"));
    EXPECT_EQ(le16(wav, 20), 3);   // IEEE float
    EXPECT_EQ(le16(wav, 22), 2);   // channels
    EXPECT_EQ(le32(wav, 24), 44100u);
    const int blocos = mic.blocos;
    EXPECT_GE(wav.size() - 44, 20 * 1024 * 2 * 4 - 1024);
    EXPECT_LE(wav.size(), 80 + blocos * 1024 * 2 * 4 + 1024);

    EXPECT_EQ(insercao.inseridos, QStringList{QStringLiteral("abri o VS Code")});
    EXPECT_EQ(sm->ultimaTranscricao(), QStringLiteral("abri o VS Code"));
    const auto hist = historico.lerUltimas(5);
    ASSERT_EQ(hist.size(), 1);
    EXPECT_EQ(hist[0].texto, QStringLiteral("abri o vs code")); // raw, before corrections
    EXPECT_EQ(hist[0].bundleID, QStringLiteral("kate"));
    EXPECT_EQ(som.vezes, 1);
    EXPECT_TRUE(semWavTemporario());
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Speech] vocab bruto.count=14 corrigido.count=14 app=kate\n"
                                              "Vozel [Speech] inserção direta (pularInsercao=false)\n")));
}

TEST_F(Pipeline, InsercaoAdiadaAindaCorrigeEGuarda)
{
    chave(QStringLiteral("sk"));
    sm->pularInsercao = true;
    servidor.enfileirar(Resposta::json(200, R"({"text":"faz um resumo"})"));
    gravarPor(3);
    ASSERT_TRUE(esperar(Caso::completed));
    EXPECT_TRUE(insercao.inseridos.isEmpty());
    EXPECT_EQ(sm->ultimaTranscricao(), QStringLiteral("faz um resumo"));
    EXPECT_EQ(historico.lerUltimas(1).size(), 1);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Speech] inserção adiada (action menu)\n")));
    EXPECT_TRUE(log().contains(QStringLiteral("app=nil")));
    EXPECT_EQ(som.vezes, 1);
}

TEST_F(Pipeline, ErrosDaNuvemSemFallback)
{
    chave(QStringLiteral("   ")); // only an empty key counts as missing: this one is sent
    reconhecedorFalso("echo nao deveria rodar; exit 0\n");
    struct Caso {
        Resposta r;
        QString texto;
    };
    const QList<Caso> casos{
        {Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"), QStringLiteral("API key inválida")},
        {Resposta::json(429, R"({"error":{"message":"Rate limit"}})"), QStringLiteral("Erro 429: Rate limit")},
        {Resposta::texto(400, ""), QStringLiteral("Erro 400")},
        {Resposta::json(200, R"({"sem":"texto"})"), QStringLiteral("Resposta inválida da API")},
    };
    for (const Caso& c : casos) {
        servidor.enfileirar(c.r);
        gravarPor(mic.blocos + 2);
        EXPECT_EQ(erroFinal(), c.texto);
        EXPECT_TRUE(semWavTemporario());
    }
    EXPECT_EQ(servidor.requisicoes().value(0).cabecalho("Authorization"), QByteArray("Bearer    "));
    EXPECT_FALSE(log().contains(QStringLiteral("ativando fallback")));
    EXPECT_TRUE(insercao.inseridos.isEmpty());
    EXPECT_EQ(som.vezes, 0);
}

TEST_F(Pipeline, FalhasDoServidorCaemNoReconhecimentoLocal)
{
    chave(QStringLiteral("sk"));
    reconhecedorFalso("printf ' olá do reconhecedor\\n local\\n'\n");
    for (int status : {500, 502, 503}) {
        servidor.enfileirar(Resposta::texto(status, "fora do ar"));
        gravarPor(mic.blocos + 2);
        ASSERT_TRUE(esperar(Caso::completed)) << status << sm->recordingState().mensagem.toStdString();
        EXPECT_TRUE(log().contains(QStringLiteral("Vozel: ativando fallback SFSpeechRecognizer (Erro %1: fora do ar)\n").arg(status)));
        EXPECT_TRUE(semWavTemporario());
    }
    EXPECT_EQ(insercao.inseridos.value(0), QStringLiteral("olá do reconhecedor local"));

    servidor.enfileirar(Resposta::comModo(Resposta::Modo::reset));
    gravarPor(mic.blocos + 2);
    ASSERT_TRUE(esperar(Caso::completed));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel: ativando fallback SFSpeechRecognizer (Erro: sem conexão)\n")));
}

TEST_F(Pipeline, SemChaveSemReconhecedorLocal)
{
    gravarPor(2);
    EXPECT_EQ(erroFinal(), QStringLiteral("Transcrição indisponível (sem conexão e sem reconhecimento local)"));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel: ativando fallback SFSpeechRecognizer (API key não configurada)\n")));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, ReconhecedorLocalQueFalhaOuTrava)
{
    reconhecedorFalso("exit 3\n");
    gravarPor(2);
    EXPECT_EQ(erroFinal(), QStringLiteral("Erro na transcrição local: o reconhecedor local terminou com erro (código 3)"));
    EXPECT_TRUE(semWavTemporario());

    reconhecedorFalso("sleep 30\n");
    sm.reset();
    criar(300ms);
    gravarPor(mic.blocos + 2);
    EXPECT_EQ(erroFinal(), QStringLiteral("Erro na transcrição local: o reconhecimento local demorou demais"));
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, ChavesIlegiveisDaoErroSemFallback)
{
    QDir().mkpath(pastaDados + QStringLiteral("/credentials.json"));
    reconhecedorFalso("echo x\n");
    gravarPor(2);
    EXPECT_EQ(erroFinal(), QStringLiteral("Erro: Falha de E/S: ler: é uma pasta"));
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, MicrofoneAusenteOuQueNaoAbre)
{
    mic.erroFormato = QStringLiteral("nenhum dispositivo de entrada de áudio");
    sm->startRecording();
    EXPECT_EQ(sm->recordingState(), RecordingState::error(QStringLiteral("Erro no áudio: nenhum dispositivo de entrada de áudio")));
    EXPECT_TRUE(semWavTemporario());

    mic.erroFormato.reset();
    mic.erroInicio = QStringLiteral("Device unavailable");
    sm->startRecording();
    EXPECT_EQ(sm->recordingState(), RecordingState::error(QStringLiteral("Erro no áudio: Device unavailable")));
    EXPECT_EQ(sm->audioLevel(), 0.0f);
    EXPECT_TRUE(semWavTemporario());

    // A folder that cannot take files.
    mic.erroInicio.reset();
    QDir(temporaria).removeRecursively();
    sm->startRecording();
    EXPECT_TRUE(sm->recordingState().mensagem.startsWith(QStringLiteral("Erro ao criar arquivo de áudio: "))) << sm->recordingState().mensagem.toStdString();
}

TEST_F(Pipeline, PararSemGravarEAlternar)
{
    sm->stopRecording();
    EXPECT_EQ(sm->recordingState(), RecordingState::error(QStringLiteral("Arquivo de áudio ausente")));

    chave(QStringLiteral("sk"));
    servidor.definirPadrao(Resposta::json(200, R"({"text":"ok"})"));
    sm->alternar(); // error -> starts
    EXPECT_EQ(sm->recordingState().caso, Caso::recording);
    sm->alternar(); // recording -> stops
    EXPECT_EQ(sm->recordingState().caso, Caso::transcribing);
    sm->alternar(); // transcribing -> ignored
    EXPECT_EQ(sm->recordingState().caso, Caso::transcribing);
    ASSERT_TRUE(esperar(Caso::completed));

    // A hundred quick toggles: every dictation ends, none leaves a file behind.
    for (int i = 0; i < 100; ++i) {
        sm->alternar();
        QCoreApplication::processEvents();
    }
    QElapsedTimer t;
    t.start();
    while ((sm->recordingState().caso == Caso::transcribing) && t.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    if (sm->recordingState().caso == Caso::recording)
        sm->alternar();
    ASSERT_TRUE(esperar(Caso::completed));
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, SugestaoTier2Anunciada)
{
    chave(QStringLiteral("sk"));
    insercao.sugestoes = {{QStringLiteral("Klaude"), QStringLiteral("claude"), 1, 4}, {QStringLiteral("x"), QStringLiteral("y"), 1, 2}};
    QList<QVariantMap> recebidas;
    auto c = QObject::connect(&VocabularyNotifications::instance(), &VocabularyNotifications::notificacao,
                     [&](const QString& nome, const QVariantMap& info) {
                         if (nome == QLatin1String(VocabularyNotifications::tier2Notification))
                             recebidas << info;
                     });
    servidor.enfileirar(Resposta::json(200, R"({"text":"o Klaude respondeu"})"));
    gravarPor(2);
    ASSERT_TRUE(esperar(Caso::completed));
    for (int i = 0; i < 20 && recebidas.isEmpty(); ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QObject::disconnect(c);
    ASSERT_EQ(recebidas.size(), 1);
    EXPECT_EQ(recebidas[0].value(QStringLiteral("ouvido")).toString(), QStringLiteral("Klaude"));
    EXPECT_EQ(recebidas[0].value(QStringLiteral("escrever")).toString(), QStringLiteral("claude"));
    EXPECT_EQ(recebidas[0].value(QStringLiteral("ocorrencias")).toInt(), 4);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Vocab/Tier2] propondo toast: 'Klaude' → 'claude' (4x)\n")));
}

TEST(NivelDeAudio, ExtremosEPortao)
{
    std::vector<float> silencio(1024, 0.0f);
    EXPECT_EQ(nivelDoBuffer(silencio.data(), 1024, 1), 0.0f);
    std::vector<float> cheio(1024, 1.0f);
    EXPECT_EQ(nivelDoBuffer(cheio.data(), 1024, 1), 1.0f);
    // -44 dBFS and quieter map to nothing.
    std::vector<float> baixo(1024, std::pow(10.0f, -44.0f / 20.0f));
    EXPECT_EQ(nivelDoBuffer(baixo.data(), 1024, 1), 0.0f);
    // Just under the gate: curved 0.11 gives 0, not a small value.
    const float norm = std::pow(0.11f, 1.0f / 0.7f);
    std::vector<float> portao(1024, std::pow(10.0f, (norm * 36.0f - 44.0f) / 20.0f));
    EXPECT_EQ(nivelDoBuffer(portao.data(), 1024, 1), 0.0f);
    // Only channel 0 counts.
    std::vector<float> estereo(2048, 0.0f);
    for (size_t i = 1; i < estereo.size(); i += 2)
        estereo[i] = 1.0f;
    EXPECT_EQ(nivelDoBuffer(estereo.data(), 1024, 2), 0.0f);
    EXPECT_EQ(nivelDoBuffer(cheio.data(), 0, 1), 0.0f);
}
