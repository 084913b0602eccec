#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "core/Log.h"
#include "dictation/DeteccaoFala.h"
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
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QSignalSpy>
#include <QtEndian>
#include <gtest/gtest.h>

#include <sndfile.h>

#include <atomic>
#include <random>
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
    std::atomic<float> amplitude{0.5f};
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
                            amplitude * static_cast<float>(std::sin(2 * M_PI * 440.0 * static_cast<double>(n) / fmt.taxa));
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
    DitadosPendentes pendentes{pastaDados};
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
            [this] { return reconhecedor; }, 5s, prazoLocal, &pendentes});
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
        blocos = std::max(blocos, mic.blocos + 12); // 0.28 s of tone: speech, not silence
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
    // An uploaded audio part as libsndfile reads it (no frames when it cannot).
    SF_INFO audioRecebido(const QByteArray& dados)
    {
        SF_INFO info{};
        const QString f = amb.raiz() + u"/recebido"_s;
        SNDFILE* s = gravarArquivo(f, dados) ? sf_open(QFile::encodeName(f).constData(), SFM_READ, &info) : nullptr;
        if (s)
            sf_close(s);
        return info;
    }
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
    const int minimo = mic.blocos + 12;
    while (mic.blocos < minimo)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    sm->alternar(); // recording -> stops
    EXPECT_EQ(sm->recordingState().caso, Caso::transcribing);
    sm->alternar(); // transcribing -> ignored
    EXPECT_EQ(sm->recordingState().caso, Caso::transcribing);
    ASSERT_TRUE(esperar(Caso::completed));

    // A hundred quick toggles: every dictation ends (too short ones as silence), none leaves a file behind.
    for (int i = 0; i < 100; ++i) {
        sm->alternar();
        QCoreApplication::processEvents();
    }
    girarAte([&] { return sm->recordingState().caso != Caso::transcribing; }, 10000);
    if (sm->recordingState().caso == Caso::recording)
        sm->alternar();
    ASSERT_TRUE(girarAte([&] { return sm->recordingState() == RecordingState::completed()
                                   || sm->recordingState() == RecordingState::error(u"Nenhuma fala detectada"_s); }));
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

// ---- failed dictations kept ----

TEST_F(Pipeline, FalhaGuardaOAudioETentarDeNovoColaEApaga)
{
    chave(u"sk"_s);
    sm->contextoBundleID = u"kate"_s;
    sm->atalhoUsado = u"Super+Shift+T"_s;
    QStringList ordem;
    QObject::connect(sm.get(), &SpeechManager::ditadoGuardado, [&](const DitadoPendente& d) { ordem << u"guardado "_s + d.erro; });
    QObject::connect(sm.get(), &SpeechManager::recordingStateChanged, [&](const RecordingState& e) { ordem << (e.ehErro() ? u"erro"_s : QString()); });
    servidor.enfileirar(Resposta::texto(503, "indisponível"));
    gravarPor(2);
    const QString kErro = u"Transcrição indisponível (sem conexão e sem reconhecimento local)"_s;
    EXPECT_EQ(erroFinal(), kErro);
    ordem.removeAll(QString());
    EXPECT_EQ(ordem, (QStringList{u"guardado "_s + kErro, u"erro"_s})) << "the notification's item exists before the error shows";
    EXPECT_TRUE(semWavTemporario());
    ASSERT_EQ(pendentes.listar().size(), 1);
    const DitadoPendente d = pendentes.listar().first();
    EXPECT_EQ(d.app, u"kate"_s);
    EXPECT_EQ(d.erro, kErro);
    EXPECT_EQ(d.atalho, u"Super+Shift+T"_s);
    EXPECT_GT(d.duracao, 0.25);
    EXPECT_EQ(QFile::permissions(d.audio) & 0x7077, QFile::ReadOwner | QFile::WriteOwner) << "0600";
    EXPECT_EQ(QFile::permissions(pendentes.pasta()) & 0x7077, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) << "0700";
    EXPECT_TRUE(QJsonDocument::fromJson(lerArquivo(pendentes.pasta() + u'/' + d.id + u".json"_s))["quando"].toString().endsWith(u'Z'));

    // The retry succeeds (its failing again is the command line's test): pasted, in the history, and gone.
    sm->contextoBundleID = u"firefox"_s;
    servidor.enfileirar(Resposta::json(200, R"({"text":"texto recuperado"})"));
    ASSERT_TRUE(sm->retentar(d));
    ASSERT_TRUE(esperar(Caso::completed)) << sm->recordingState().mensagem.toStdString();
    EXPECT_EQ(insercao.textos(), QStringList{u"texto recuperado"_s});
    EXPECT_EQ(historico.lerUltimas(1).value(0).bundleID, u"firefox"_s);
    EXPECT_TRUE(pendentes.listar().isEmpty());
    EXPECT_TRUE(QDir(pendentes.pasta()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

TEST_F(Pipeline, LimitesDosPendentesDescartamOsMaisAntigos)
{
    QDateTime agora = QDateTime(QDate(2026, 11, 23), QTime(10, 0), Qt::UTC);
    DitadosPendentes p(pastaDados, [&] { return agora; });
    auto guardar = [&](qint64 bytes) {
        const QString f = temporaria + u"/a.wav"_s;
        QFile arquivo(f); // sparse: the byte limit is tested without writing 500 MB
        EXPECT_TRUE(arquivo.open(QIODevice::WriteOnly) && arquivo.resize(bytes));
        agora = agora.addSecs(60);
        return p.guardar(f, DitadoPendente{{}, {}, {}, std::nullopt, u"Erro: sem conexão"_s, std::nullopt, 0}).valor().id;
    };
    QStringList ids;
    for (int i = 0; i < DitadosPendentes::kMaximo + 2; ++i)
        ids << guardar(10);
    QStringList restantes;
    for (const DitadoPendente& d : p.listar())
        restantes.prepend(d.id);
    EXPECT_EQ(restantes, ids.mid(2)) << "20 at most, the two oldest dropped";
    EXPECT_EQ(p.listar().first().erro, u"Erro: sem conexão"_s);

    // Bytes: one recording over the limit drops everything older, never itself.
    const QString grande = guardar(DitadosPendentes::kBytesMaximos / 2);
    EXPECT_EQ(p.listar().size(), DitadosPendentes::kMaximo);
    guardar(DitadosPendentes::kBytesMaximos / 2 + 1);
    ASSERT_EQ(p.listar().size(), 1);
    EXPECT_NE(p.listar().first().id, grande);
    EXPECT_TRUE(log().contains(u"ditado pendente mais antigo descartado (limite de 20 ditados ou 500 MB): "_s + ids.first()));

    // A copy interrupted before its rename leaves only a hidden temporary, never a listed dictation;
    // an audio whose JSON is gone is still listed.
    ASSERT_TRUE(gravarArquivo(p.pasta() + u"/.x.wav.AbC123"_s, "meio"));
    QFile::remove(p.pasta() + u'/' + p.listar().first().id + u".json"_s);
    ASSERT_EQ(p.listar().size(), 1);
    EXPECT_TRUE(p.listar().first().erro.isEmpty());
}

// ---- silence ----

namespace {
bool gravarWavFloat(const QString& caminho, int taxa, const std::vector<float>& amostras)
{
    SF_INFO info{};
    info.samplerate = taxa;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* f = sf_open(QFile::encodeName(caminho).constData(), SFM_WRITE, &info);
    if (!f)
        return false;
    const auto n = static_cast<sf_count_t>(amostras.size());
    const bool ok = sf_writef_float(f, amostras.data(), n) == n;
    sf_close(f);
    return ok;
}

std::vector<float> sinal(double segundos, const std::function<float(double)>& f, int taxa = 48000)
{
    std::vector<float> v(static_cast<size_t>(segundos * taxa));
    for (size_t i = 0; i < v.size(); ++i)
        v[i] = f(static_cast<double>(i) / taxa);
    return v;
}
} // namespace

TEST(DeteccaoDeFala, SinaisGeradosEVozDoEspeak)
{
    AmbienteTemporario amb;
    std::mt19937 gerador(7);
    const double amplitudeRuido = std::pow(10.0, -50.0 / 20.0) * std::sqrt(3.0); // uniform noise at -50 dBFS RMS
    std::uniform_real_distribution<float> ruido(static_cast<float>(-amplitudeRuido), static_cast<float>(amplitudeRuido));
    auto tom = [](double db) { return [a = std::pow(10.0, db / 20.0) * std::sqrt(2.0)](double t) { return static_cast<float>(a * std::sin(2 * M_PI * 220 * t)); }; };
    struct Caso {
        const char* nome;
        std::vector<float> amostras;
        bool fala;
    };
    const Caso casos[] = {
        {"silêncio digital", sinal(3, [](double) { return 0.0f; }), false},
        {"ruído de sala a -50 dBFS", sinal(3, [&](double) { return ruido(gerador); }), false},
        {"estalo de 60 ms", sinal(3, [&](double t) { return t > 1 && t < 1.06 ? 0.8f : ruido(gerador); }), false},
        {"tom a -35 dBFS", sinal(3, tom(-35)), true},
        {"meio segundo de voz no ruído", sinal(3, [&](double t) { return (t > 1 && t < 1.5 ? tom(-25)(t) : 0.0f) + ruido(gerador); }), true},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome);
        const QString f = amb.raiz() + u"/s.wav"_s;
        ASSERT_TRUE(gravarWavFloat(f, 48000, c.amostras));
        const auto a = analisarFala(f);
        ASSERT_TRUE(a.ok());
        EXPECT_NEAR(a.valor().duracao, 3.0, 0.001);
        EXPECT_EQ(a.valor().temFala(), c.fala) << a.valor().segundosComFala;
    }
    EXPECT_FALSE(analisarFala(amb.raiz() + u"/nao-existe.wav"_s).ok());

    // Real speech: espeak-ng's Brazilian voice.
    const QString voz = amb.raiz() + u"/voz.wav"_s;
    ASSERT_EQ(QProcess::execute(u"espeak-ng"_s, {u"-v"_s, u"pt-br"_s, u"-w"_s, voz, u"Bom dia, vamos ditar um texto curto."_s}), 0);
    const auto a = analisarFala(voz);
    ASSERT_TRUE(a.ok());
    EXPECT_TRUE(a.valor().segundosComFala > 1.0 && a.valor().segundosComFala < a.valor().duracao) << a.valor().segundosComFala;
}

TEST(DeteccaoDeFala, RespostasTipicasDeSilencio)
{
    const AnaliseFala pouca{3.0, 0.5}, muita{10.0, 6.0};
    struct Caso {
        const char* texto;
        std::optional<QString> prompt;
        AnaliseFala analise;
        bool alucinacao;
    };
    const Caso casos[] = {
        {"Obrigado.", std::nullopt, pouca, true},
        {"  obrigada!  ", std::nullopt, pouca, true},
        {"Obrigado.", std::nullopt, muita, false}, // a real thank-you, said at length
        {"Legendas pela comunidade Amara.org", std::nullopt, pouca, true},
        {"Obrigado pela ajuda com o relatório", std::nullopt, pouca, false},
        {"Kubernetes, Sonvo, Hyprland.", u"Kubernetes, Sonvo, Hyprland"_s, muita, true},
        {"Kubernetes no Hyprland", u"Kubernetes, Sonvo, Hyprland"_s, pouca, false},
        {"", u""_s, pouca, false},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.texto);
        EXPECT_EQ(pareceAlucinacao(QString::fromUtf8(c.texto), c.prompt, c.analise), c.alucinacao);
    }
}

TEST_F(Pipeline, SilencioOuRespostaDeSilencioNaoColaNemGuarda)
{
    chave(u"sk"_s);
    mic.amplitude = 0.0f;
    gravarPor(20);
    EXPECT_EQ(erroFinal(), u"Nenhuma fala detectada"_s);
    EXPECT_TRUE(servidor.requisicoes().isEmpty()) << "silence is never uploaded";

    // Speech under a second answered with a stock phrase: dropped the same way.
    mic.amplitude = 0.5f;
    servidor.enfileirar(Resposta::json(200, R"({"text":"Legendas pela comunidade Amara.org"})"));
    gravarPor(2);
    EXPECT_EQ(erroFinal(), u"Nenhuma fala detectada"_s);
    EXPECT_EQ(servidor.requisicoes().size(), 1);
    EXPECT_TRUE(insercao.textos().isEmpty());
    EXPECT_TRUE(historico.lerUltimas(5).isEmpty());
    EXPECT_TRUE(pendentes.listar().isEmpty());
    EXPECT_TRUE(semWavTemporario());
}

// ---- long recordings ----

TEST_F(Pipeline, GravacoesLongasVaoEmOpusDecodificavelComADuracaoCerta)
{
    chave(u"sk"_s);
    for (const double minutos : {3.0, 20.0}) {
        SCOPED_TRACE(minutos);
        // Half a second of "speech" (a tone) in every two seconds, at 48 kHz float like the microphone.
        const QString wav = temporaria + u"/longa.wav"_s;
        ASSERT_TRUE(gravarWavFloat(wav, 48000, sinal(minutos * 60, [](double t) {
            return std::fmod(t, 2.0) < 0.5 ? 0.3f * static_cast<float>(std::sin(2 * M_PI * 330 * t)) : 0.0f;
        })));
        ASSERT_GT(QFileInfo(wav).size(), SpeechManager::kLimiteEnvioWav);
        servidor.enfileirar(Resposta::json(200, R"({"text":"longo"})"));
        sm->transcreverArquivo(wav);
        ASSERT_TRUE(esperar(Caso::completed, 240000)) << sm->recordingState().mensagem.toStdString();

        const Requisicao r = servidor.requisicoes().last();
        EXPECT_LT(r.corpo.size(), 25'000'000);
        const auto partes = r.partes();
        ASSERT_TRUE(partes.has_value());
        EXPECT_EQ(partes->value(0).nomeArquivo, QByteArray("audio.ogg"));
        EXPECT_EQ(partes->value(0).tipoConteudo, QByteArray("audio/ogg"));
        const SF_INFO info = audioRecebido(partes->value(0).dados);
        EXPECT_TRUE(info.samplerate == 16000 && info.channels == 1);
        EXPECT_NEAR(static_cast<double>(info.frames) / info.samplerate, minutos * 60, 0.05);
        EXPECT_NEAR(analisarFala(amb.raiz() + u"/recebido"_s).valor().segundosComFala, minutos * 60 / 4, minutos * 60 / 40) << "the tone survived";
        EXPECT_TRUE(semWavTemporario()) << "the recording and its compact copy are both gone";
    }
}

// ---- the transcription service chosen ----

TEST_F(Pipeline, ServicoEscolhidoModeloEnvioCompactoEVariavelDeAmbiente)
{
    // A server of one's own without a key: the request goes, with no Authorization, to its address.
    config.definir(u"transcricaoServico"_s, u"proprio"_s);
    config.definir(u"transcricaoURL"_s, servidor.url().toString() + u"/meu"_s);
    config.definir(u"transcricaoModelo"_s, u"gpt-4o-mini-transcribe"_s);
    config.definir(u"envioAudio"_s, u"opus"_s);
    servidor.enfileirar(Resposta::json(200, R"({"text":"do meu servidor"})"));
    gravarPor(40);
    ASSERT_TRUE(esperar(Caso::completed)) << sm->recordingState().mensagem.toStdString();
    Requisicao r = servidor.requisicoes().last();
    EXPECT_EQ(r.caminho, QByteArray("/meu/v1/audio/transcriptions"));
    EXPECT_TRUE(r.cabecalho("Authorization").isEmpty());
    auto partes = r.partes();
    ASSERT_TRUE(partes.has_value());
    EXPECT_EQ(partes->value(1).dados, QByteArray("gpt-4o-mini-transcribe"));
    EXPECT_EQ(partes->value(0).tipoConteudo, QByteArray("audio/ogg"));
    // The Opus body decodes at 16 kHz to the recording's length (the blocks the 44.1 kHz microphone gave).
    const SF_INFO info = audioRecebido(partes->value(0).dados);
    EXPECT_EQ(info.samplerate, 16000);
    EXPECT_NEAR(static_cast<double>(info.frames) / 16000, mic.blocos * 1024.0 / 44100, 0.1);

    // Groq with its key; the environment's model wins over the setting.
    config.definir(u"transcricaoServico"_s, u"groq"_s);
    config.definir(u"envioAudio"_s, u"wav"_s);
    ASSERT_FALSE(KeychainService(pastaDados).salvarChave(u"groq_api_key"_s, u"gsk"_s).has_value());
    amb.definir(u"SONVO_TRANSCRICAO_MODELO"_s, u"whisper-large-v3"_s);
    servidor.enfileirar(Resposta::json(200, R"({"text":"do groq"})"));
    gravarPor(2);
    ASSERT_TRUE(esperar(Caso::completed));
    r = servidor.requisicoes().last();
    EXPECT_EQ(r.cabecalho("Authorization"), QByteArray("Bearer gsk"));
    EXPECT_EQ(r.partes()->value(1).dados, QByteArray("whisper-large-v3"));
    EXPECT_EQ(r.partes()->value(0).tipoConteudo, QByteArray("audio/wav"));
    EXPECT_EQ(insercao.textos(), (QStringList{u"do meu servidor"_s, u"do groq"_s}));
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
