#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "core/Log.h"
#include "dictation/Insercao.h"
#include "dictation/NivelAudio.h"
#include "dictation/SpeechManager.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/Plataforma.h"
#include "support/Ambiente.h"
#include "support/Falsos.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QtEndian>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

using namespace Qt::StringLiterals;

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

struct Pipeline : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{amb.arquivoConfig()};
    MicrofoneFalso mic;
    InsercaoGravada insercao;
    SomContado som;
    QString pastaDados = Caminhos::pastaDados();
    VocabularyService vocab{pastaDados, config};
    TranscriptionHistory historico{pastaDados};
    QString temporaria = amb.raiz() + u"/tmp"_s;
    std::optional<FallbackTranscriptionService::Reconhecedor> reconhecedor;
    std::unique_ptr<SpeechManager> sm;

    void SetUp() override
    {
        QDir().mkpath(temporaria);
        amb.definir(u"SONVO_OPENAI_BASE_URL"_s, servidor.url().toString());
        Log::enviarParaArquivo(amb.arquivoLog());
        criar();
    }
    void TearDown() override
    {
        sm.reset();
        Log::enviarParaArquivo(u"/dev/null"_s);
    }
    void criar(std::chrono::milliseconds prazoLocal = 10s)
    {
        sm = std::make_unique<SpeechManager>(SpeechManager::Dependencias{
            config, rede, pastaDados, mic, insercao, som, vocab, historico, temporaria,
            [this] { return reconhecedor; }, 5s, prazoLocal});
    }
    void chave(const QString& k) { ASSERT_FALSE(KeychainService(pastaDados).salvarChave(u"openai_api_key"_s, k).has_value()); }
    // A stand-in for whisper-cli: checks its arguments and the file it is given, then answers.
    void reconhecedorFalso(const QByteArray& corpo)
    {
        const QString programa = amb.raiz() + u"/whisper-cli"_s;
        const QString modelo = amb.raiz() + u"/ggml-base.bin"_s;
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
    bool esperar(Caso caso, int ms = 10000) { return girarAte([&] { return sm->recordingState().caso == caso; }, ms); }
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
    chave(u"sk-teste"_s);
    vocab.documento().bootstrapSeNecessario();
    ASSERT_FALSE(vocab.documento().importarCorrecaoAprovada(u"vs code"_s, u"VS Code"_s).has_value());
    sm->contextoBundleID = u"kate"_s;
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

    EXPECT_EQ(insercao.textos(), QStringList{u"abri o VS Code"_s});
    EXPECT_EQ(sm->ultimaTranscricao(), u"abri o VS Code"_s);
    const auto hist = historico.lerUltimas(5);
    ASSERT_EQ(hist.size(), 1);
    EXPECT_EQ(hist[0].texto, u"abri o vs code"_s); // raw, before corrections
    EXPECT_EQ(hist[0].bundleID, u"kate"_s);
    EXPECT_EQ(som.vezes, 1);
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, InsercaoAdiadaAindaCorrigeEGuarda)
{
    chave(u"sk"_s);
    sm->pularInsercao = true;
    servidor.enfileirar(Resposta::json(200, R"({"text":"faz um resumo"})"));
    gravarPor(3);
    ASSERT_TRUE(esperar(Caso::completed));
    EXPECT_TRUE(insercao.textos().isEmpty());
    EXPECT_EQ(sm->ultimaTranscricao(), u"faz um resumo"_s);
    EXPECT_EQ(historico.lerUltimas(1).size(), 1);
    EXPECT_EQ(som.vezes, 1);
}

TEST_F(Pipeline, ErroDaNuvemQueNaoEDeServidorNaoCaiNoLocal)
{
    chave(u"   "_s); // only an empty key counts as missing: this one is sent
    reconhecedorFalso("echo nao deveria rodar; exit 0\n");
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"));
    gravarPor(2);
    EXPECT_EQ(erroFinal(), u"API key inválida"_s);
    EXPECT_TRUE(semWavTemporario());
    EXPECT_EQ(servidor.requisicoes().value(0).cabecalho("Authorization"), QByteArray("Bearer    "));
    EXPECT_TRUE(insercao.textos().isEmpty());
    EXPECT_EQ(som.vezes, 0);
}

TEST_F(Pipeline, FalhasDoServidorCaemNoReconhecimentoLocal)
{
    chave(u"sk"_s);
    reconhecedorFalso("printf ' olá do reconhecedor\\n local\\n'\n");
    for (int status : {500, 502, 503}) {
        servidor.enfileirar(Resposta::texto(status, "fora do ar"));
        gravarPor(mic.blocos + 2);
        ASSERT_TRUE(esperar(Caso::completed)) << status << sm->recordingState().mensagem.toStdString();
        EXPECT_TRUE(log().contains(u"Vozel: ativando fallback SFSpeechRecognizer (Erro %1: fora do ar)\n"_s.arg(status)));
        EXPECT_TRUE(semWavTemporario());
    }
    EXPECT_EQ(insercao.textos().value(0), u"olá do reconhecedor local"_s);

    servidor.enfileirar(Resposta::comModo(Resposta::Modo::reset));
    gravarPor(mic.blocos + 2);
    ASSERT_TRUE(esperar(Caso::completed));
    EXPECT_TRUE(log().contains(u"Vozel: ativando fallback SFSpeechRecognizer (Erro: sem conexão)\n"_s));
}

TEST_F(Pipeline, SemChaveSemReconhecedorLocal)
{
    gravarPor(2);
    EXPECT_EQ(erroFinal(), u"Transcrição indisponível (sem conexão e sem reconhecimento local)"_s);
    EXPECT_TRUE(log().contains(u"Vozel: ativando fallback SFSpeechRecognizer (API key não configurada)\n"_s));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, ReconhecedorLocalQueFalhaOuTrava)
{
    reconhecedorFalso("exit 3\n");
    gravarPor(2);
    EXPECT_EQ(erroFinal(), u"Erro na transcrição local: o reconhecedor local terminou com erro (código 3)"_s);
    EXPECT_TRUE(semWavTemporario());

    reconhecedorFalso("sleep 30\n");
    sm.reset();
    criar(300ms);
    gravarPor(mic.blocos + 2);
    EXPECT_EQ(erroFinal(), u"Erro na transcrição local: o reconhecimento local demorou demais"_s);
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, ChavesIlegiveisDaoErroSemFallback)
{
    QDir().mkpath(pastaDados + u"/credentials.json"_s);
    reconhecedorFalso("echo x\n");
    gravarPor(2);
    EXPECT_EQ(erroFinal(), u"Erro: Falha de E/S: ler: é uma pasta"_s);
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, MicrofoneAusenteQueNaoAbreOuPastaQueNaoAceitaArquivos)
{
    mic.erroFormato = u"nenhum dispositivo de entrada de áudio"_s;
    sm->startRecording();
    EXPECT_EQ(sm->recordingState().mensagem, u"Erro no áudio: nenhum dispositivo de entrada de áudio"_s);
    mic.erroFormato.reset();
    mic.erroInicio = u"Device unavailable"_s;
    sm->startRecording();
    EXPECT_EQ(sm->recordingState(), RecordingState::error(u"Erro no áudio: Device unavailable"_s));
    EXPECT_EQ(sm->audioLevel(), 0.0f);
    EXPECT_TRUE(semWavTemporario());
    mic.erroInicio.reset();
    QDir(temporaria).removeRecursively();
    sm->startRecording();
    EXPECT_TRUE(sm->recordingState().mensagem.startsWith(u"Erro ao criar arquivo de áudio: "_s));
}

TEST_F(Pipeline, PararSemGravarEAlternar)
{
    sm->stopRecording();
    EXPECT_EQ(sm->recordingState(), RecordingState::error(u"Arquivo de áudio ausente"_s));

    chave(u"sk"_s);
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
    girarAte([&] { return sm->recordingState().caso != Caso::transcribing; }, 10000);
    if (sm->recordingState().caso == Caso::recording)
        sm->alternar();
    ASSERT_TRUE(esperar(Caso::completed));
    EXPECT_TRUE(semWavTemporario());
}

TEST_F(Pipeline, SugestaoTier2Anunciada)
{
    chave(u"sk"_s);
    insercao.sugestoes = {{u"Klaude"_s, u"claude"_s, 1, 4}, {u"x"_s, u"y"_s, 1, 2}};
    QSignalSpy candidatos(sm.get(), &SpeechManager::candidatoTier2);
    servidor.enfileirar(Resposta::json(200, R"({"text":"o Klaude respondeu"})"));
    gravarPor(2);
    ASSERT_TRUE(esperar(Caso::completed));
    // Only the best suggestion is proposed.
    ASSERT_EQ(candidatos.size(), 1);
    EXPECT_EQ(candidatos[0], (QVariantList{u"Klaude"_s, u"claude"_s, 4}));
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
