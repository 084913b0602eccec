// The shell without a display: what a hotkey press does, how registration failures fall back,
// the vocabulary suggestions as notifications, the migration from the former folder, the tray's
// look per state.
#include "ai/KeychainService.h"
#include "app/AppDelegate.h"
#include "app/Configuracoes.h"
#include "app/Inicializacao.h"
#include "app/Log.h"
#include "app/RecordingViewModel.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/null/PlataformaNula.h"
#include "support/Ambiente.h"
#include "support/PilhaDeDitado.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyNotifications.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkAccessManager>
#include <gtest/gtest.h>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
QT_END_NAMESPACE

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;

namespace {

class AtalhosFalsos : public AtalhosGlobais {
public:
    int statusTratador = 0;
    QHash<int, int> statusPorId; // id → status of its registration (absent: 0)
    bool monitorPossivel = true;
    QList<int> registrados;
    int monitores = 0;
    bool removidos = false;

    int instalarTratador() override { return statusTratador; }
    int registrar(const AtalhoGlobal& a) override
    {
        const int s = statusPorId.value(a.id, 0);
        if (!s)
            registrados << a.id;
        return s;
    }
    void removerRegistros() override { removidos = true; }
    bool instalarMonitor(const QList<AtalhoGlobal>&) override
    {
        ++monitores;
        return monitorPossivel;
    }
    void removerMonitor() override {}
};

class JanelasFalsas : public JanelasNulas {
public:
    std::optional<AppJanela> frente;
    std::optional<AppJanela> daFrente() override { return frente; }
};

class SelecaoFalsa : public AreaTransferenciaNula {
public:
    std::optional<QString> selecao;
    int leituras = 0;
    std::optional<QString> textoSelecionado(const AppJanela&) override
    {
        ++leituras;
        return selecao;
    }
};

class NotificacoesFalsas : public NotificacoesUsuario {
public:
    bool autorizada = true;
    QString erroAutorizacao;
    std::optional<QString> erroAoAdicionar;
    QList<CategoriaNotificacao> categorias;
    QList<PedidoNotificacao> pedidos;

    QCoro::Task<bool> solicitarAutorizacao(QString* erro) override
    {
        if (erro)
            *erro = erroAutorizacao;
        co_return autorizada;
    }
    QCoro::Task<bool> autorizado() override { co_return autorizada; }
    void registrarCategorias(const QList<CategoriaNotificacao>& c) override { categorias = c; }
    QCoro::Task<std::optional<QString>> adicionar(PedidoNotificacao p) override
    {
        pedidos << p;
        // A copy: the member must survive for the next call.
        std::optional<QString> erro = erroAoAdicionar;
        co_return erro;
    }
};

constexpr qint64 kPidSonvo = 4242;

struct Shell : ::testing::Test, PilhaDeDitado {
    AtalhosFalsos atalhos;
    JanelasFalsas janelas;
    SelecaoFalsa clipboard;
    NotificacoesFalsas notificacoes;
    std::chrono::steady_clock::time_point agora{std::chrono::seconds(1000)};
    AppDelegate delegate{AppDelegate::Dependencias{config, vm, janelas, clipboard, atalhos, notificacoes, vocab, kPidSonvo,
                                                   [this] { return agora; }, nullptr, nullptr, {}, nullptr}};

    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        config.registrarPadroes(Configuracoes::padroesDoApp());
    }
    void TearDown() override { Log::enviarParaArquivo(QStringLiteral("/dev/null")); }
    QStringList log() const { return QString::fromUtf8(amb.lerLog()).split(u'\n', Qt::SkipEmptyParts); }
    void girar() { QCoreApplication::processEvents(); QCoreApplication::processEvents(); }
};

} // namespace

TEST_F(Shell, RegistroCompletoMostraOsDoisRotulosSemFallback)
{
    QStringList titulos;
    QObject::connect(&delegate, &AppDelegate::recordMenuTitleChanged, [&](const QString& t) { titulos << t; });
    EXPECT_EQ(delegate.recordMenuTitle(), QStringLiteral("Gravar  Super+Shift+R / Super+Shift+T"));
    delegate.setupGlobalHotkey();
    EXPECT_EQ(atalhos.registrados, (QList<int>{1, 2}));
    EXPECT_EQ(atalhos.monitores, 0);
    EXPECT_EQ(titulos, QStringList{QStringLiteral("Gravar  Super+Shift+R / Super+Shift+T")});
    EXPECT_TRUE(log().isEmpty()) << log().join(u'\n').toStdString();
}

TEST_F(Shell, UmAtalhoRecusadoFicaForaDoTituloESemFallback)
{
    atalhos.statusPorId = {{1, 10}};
    delegate.setupGlobalHotkey();
    EXPECT_EQ(delegate.recordMenuTitle(), QStringLiteral("Gravar  Super+Shift+T"));
    EXPECT_EQ(atalhos.monitores, 0);
    EXPECT_EQ(log(), QStringList{QStringLiteral("Vozel: falha ao registrar hotkey Super+Shift+R (status 10).")});
}

TEST_F(Shell, NenhumAtalhoRegistradoUsaOMonitorUmaVezSo)
{
    atalhos.statusPorId = {{1, 10}, {2, 10}};
    delegate.setupGlobalHotkey();
    delegate.setupEventMonitorFallback();
    EXPECT_EQ(atalhos.monitores, 1);
    EXPECT_TRUE(delegate.monitorDeTeclado());
    // No label registered: the title falls back to both.
    EXPECT_EQ(delegate.recordMenuTitle(), QStringLiteral("Gravar  Super+Shift+R / Super+Shift+T"));
    EXPECT_EQ(log(), (QStringList{QStringLiteral("Vozel: falha ao registrar hotkey Super+Shift+R (status 10)."),
                                  QStringLiteral("Vozel: falha ao registrar hotkey Super+Shift+T (status 10)."),
                                  QStringLiteral("Vozel: usando fallback de monitor de teclado para atalhos.")}));
}

TEST_F(Shell, TratadorQueNaoInstalaVaiDiretoAoFallback)
{
    atalhos.statusTratador = -1;
    atalhos.monitorPossivel = false;
    delegate.setupGlobalHotkey();
    EXPECT_TRUE(atalhos.registrados.isEmpty());
    EXPECT_FALSE(delegate.monitorDeTeclado());
    EXPECT_EQ(log(), (QStringList{QStringLiteral("Vozel: falha ao instalar handler de hotkey global (status -1)."),
                                  QStringLiteral("Vozel: usando fallback de monitor de teclado para atalhos.")}));
}

TEST_F(Shell, PressionarDuasVezesEm150msIgnoraASegunda250msAlterna)
{
    janelas.frente = AppJanela{0x400001, QStringLiteral("kate"), 77};
    const auto t0 = agora;
    delegate.handleHotKeyTrigger(false);
    // No microphone: the start fails at once, which is still a toggle from idle.
    EXPECT_EQ(sm.recordingState().caso, RecordingState::Caso::error);
    const qsizetype linhas = log().size();
    agora = t0 + 150ms;
    delegate.handleHotKeyTrigger(true);
    EXPECT_EQ(log().size(), linhas) << "a press within 0.2 s leaves no trace";
    EXPECT_FALSE(delegate.lastHotkeyWasActionMenu());
    agora = t0 + 200ms; // exactly 0.2 s: still ignored
    delegate.handleHotKeyTrigger(true);
    EXPECT_EQ(log().size(), linhas);
    agora = t0 + 250ms;
    delegate.handleHotKeyTrigger(true);
    EXPECT_GT(log().size(), linhas);
    EXPECT_TRUE(delegate.lastHotkeyWasActionMenu());
    // The debounce counts from the last accepted press, not from the ignored ones.
    agora = t0 + 400ms;
    const qsizetype depois = log().size();
    delegate.handleHotKeyTrigger(false);
    EXPECT_EQ(log().size(), depois);
}

TEST_F(Shell, PressaoCapturaContextoEDefineComoODitadoTermina)
{
    janelas.frente = AppJanela{0x400001, QStringLiteral("kate"), 77};
    clipboard.selecao = QStringLiteral("olá 👋🏽");
    delegate.handleHotKeyTrigger(true);
    EXPECT_EQ(delegate.selectionContextCaptured(), QStringLiteral("olá 👋🏽"));
    EXPECT_EQ(delegate.lastRecordingBundleID(), QStringLiteral("kate"));
    EXPECT_TRUE(sm.pularInsercao);
    EXPECT_EQ(sm.contextoBundleID, QStringLiteral("kate"));
    EXPECT_EQ(log().mid(0, 3), (QStringList{QStringLiteral("Vozel [Phase7/SelectionCtx] capturado 5 chars"),
                                            QStringLiteral("Vozel [HotKey] capturado bundleID=kate"),
                                            QStringLiteral("Vozel [HotKey] trigger Super+Shift+R (actionMenu=1) state=idle")}));
}

TEST_F(Shell, MenuDesligadoSuperShiftRInsereDiretoMasLembraQueFoiR)
{
    config.definir(QStringLiteral("toggleShowActionMenu"), false);
    delegate.handleHotKeyTrigger(true);
    EXPECT_FALSE(sm.pularInsercao);
    EXPECT_TRUE(delegate.lastHotkeyWasActionMenu());
}

TEST_F(Shell, SemSelecaoOuComOToggleDesligadoOContextoSome)
{
    janelas.frente = AppJanela{0x400001, QStringLiteral("kate"), 77};
    clipboard.selecao = QStringLiteral("antes");
    delegate.handleHotKeyTrigger(false);
    ASSERT_TRUE(delegate.selectionContextCaptured().has_value());

    clipboard.selecao = QString(); // an empty selection is no selection
    agora += 1s;
    delegate.handleHotKeyTrigger(false);
    EXPECT_FALSE(delegate.selectionContextCaptured().has_value());
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Phase7/SelectionCtx] sem selecao (toggle ON)")));

    config.definir(QStringLiteral("toggleSelectionContext"), false);
    clipboard.selecao = QStringLiteral("de novo");
    const int leituras = clipboard.leituras;
    agora += 1s;
    delegate.handleHotKeyTrigger(false);
    EXPECT_FALSE(delegate.selectionContextCaptured().has_value());
    EXPECT_EQ(clipboard.leituras, leituras) << "the selection is not even read";
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Phase7/SelectionCtx] toggle OFF, nao capturado")));
}

TEST_F(Shell, OProprioSonvoOuNadaNaFrenteDaoBundleNil)
{
    janelas.frente = AppJanela{0x600001, QStringLiteral("sonvo"), kPidSonvo};
    sm.contextoBundleID = QStringLiteral("antigo");
    delegate.handleHotKeyTrigger(false);
    EXPECT_FALSE(delegate.lastRecordingBundleID().has_value());
    EXPECT_FALSE(sm.contextoBundleID.has_value());
    janelas.frente.reset();
    agora += 1s;
    delegate.handleHotKeyTrigger(false);
    EXPECT_EQ(log().filter(QStringLiteral("capturado bundleID=nil")).size(), 2);
}

TEST_F(Shell, PressaoDuranteATranscricaoAtualizaContextoSemAlternar)
{
    // A slow server keeps the dictation transcribing meanwhile.
    ServidorTeste servidor;
    Resposta lenta = Resposta::json(200, R"({"text":"ok"})");
    lenta.atrasoMs = 1500;
    servidor.enfileirar(lenta);
    amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
    ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")).has_value());
    const QString wav = amb.raiz() + QStringLiteral("/a.wav");
    ASSERT_TRUE(gravarArquivo(wav, wavSintetico(16000, 1, 0.5)));
    sm.transcreverArquivo(wav);
    QElapsedTimer t;
    t.start();
    while (servidor.requisicoes().size() < 1 && t.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    ASSERT_EQ(servidor.requisicoes().size(), 1);
    ASSERT_EQ(sm.recordingState().caso, RecordingState::Caso::transcribing);

    janelas.frente = AppJanela{0x400001, QStringLiteral("firefox"), 91};
    delegate.handleHotKeyTrigger(true);
    EXPECT_EQ(sm.recordingState().caso, RecordingState::Caso::transcribing);
    EXPECT_EQ(sm.contextoBundleID, QStringLiteral("firefox"));
    EXPECT_TRUE(sm.pularInsercao);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [HotKey] trigger Super+Shift+R (actionMenu=1) state=transcribing")));
    while (sm.recordingState().caso == RecordingState::Caso::transcribing && t.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_EQ(sm.recordingState().caso, RecordingState::Caso::completed);
}

TEST_F(Shell, PressionadoDaPlataformaChegaPeloLacoDeEventos)
{
    Q_EMIT atalhos.pressionado(2);
    EXPECT_TRUE(log().isEmpty()) << "never handled inside the platform's call";
    Q_EMIT atalhos.pressionado(7); // not ours
    girar();
    EXPECT_EQ(log().filter(QStringLiteral("[HotKey] trigger")).size(), 1);
    EXPECT_TRUE(log().filter(QStringLiteral("[HotKey] trigger")).first().contains(QStringLiteral("Super+Shift+T (actionMenu=0)")));
}

TEST_F(Shell, MenuDaBandejaLimpaOFlagDoMenuDeAcoes)
{
    delegate.handleHotKeyTrigger(true);
    ASSERT_TRUE(delegate.lastHotkeyWasActionMenu());
    ASSERT_TRUE(sm.pularInsercao);
    delegate.startStopRecording();
    EXPECT_FALSE(delegate.lastHotkeyWasActionMenu());
    // Nothing would route a held-back text now: the menu entry's dictation is pasted directly.
    EXPECT_FALSE(sm.pularInsercao);
}

// ---- notifications ----

TEST_F(Shell, AutorizacaoCategoriasELinhasDeLog)
{
    notificacoes.autorizada = false;
    notificacoes.erroAutorizacao = QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown");
    delegate.configurarNotificacoes();
    girar();
    EXPECT_EQ(log(), (QStringList{QStringLiteral("Vozel [Vocab/Tier1] requestAuthorization erro: org.freedesktop.DBus.Error.ServiceUnknown"),
                                  QStringLiteral("Vozel [Vocab/Tier1] notification auth granted=0")}));
    ASSERT_EQ(notificacoes.categorias.size(), 2);
    EXPECT_EQ(notificacoes.categorias[0].identificador, QStringLiteral("VOCAB_TIER1_CANDIDATE"));
    EXPECT_EQ(notificacoes.categorias[0].acoes[0].identificador, QStringLiteral("VOCAB_ADD"));
    EXPECT_EQ(notificacoes.categorias[0].acoes[0].titulo, QStringLiteral("Adicionar ao vocabulário"));
    EXPECT_EQ(notificacoes.categorias[0].acoes[1].titulo, QStringLiteral("Ignorar"));
    EXPECT_EQ(notificacoes.categorias[1].identificador, QStringLiteral("VOCAB_TIER2_CANDIDATE"));
    EXPECT_EQ(notificacoes.categorias[1].acoes[0].identificador, QStringLiteral("VOCAB_TIER2_SAVE"));
    EXPECT_EQ(notificacoes.categorias[1].acoes[0].titulo, QStringLiteral("Salvar correção"));
    EXPECT_EQ(notificacoes.categorias[1].acoes[1].identificador, QStringLiteral("VOCAB_TIER2_SKIP"));
}

TEST_F(Shell, CandidatoTier1ViraNotificacaoComIdentificadorEstavelNaExecucao)
{
    delegate.configurarNotificacoes();
    girar();
    VocabularyNotifications::postar(QLatin1String(VocabularyNotifications::candidatoNotification),
                                    {{QStringLiteral("ouvido"), QStringLiteral("cloud")}, {QStringLiteral("escrever"), QStringLiteral("Claude")}});
    VocabularyNotifications::postar(QLatin1String(VocabularyNotifications::candidatoNotification),
                                    {{QStringLiteral("ouvido"), QStringLiteral("cloud")}, {QStringLiteral("escrever"), QStringLiteral("Claude")}});
    girar();
    ASSERT_EQ(notificacoes.pedidos.size(), 2);
    const auto& p = notificacoes.pedidos[0];
    EXPECT_EQ(p.titulo, QStringLiteral("Adicionar ao vocabulário?"));
    EXPECT_EQ(p.corpo, QStringLiteral("Notei que você corrige 'cloud' → 'Claude' frequentemente."));
    EXPECT_TRUE(p.som);
    EXPECT_EQ(p.categoria, QStringLiteral("VOCAB_TIER1_CANDIDATE"));
    EXPECT_EQ(p.userInfo.value(QStringLiteral("escrever")).toString(), QStringLiteral("Claude"));
    EXPECT_TRUE(p.identificador.startsWith(QStringLiteral("vocab-tier1-")));
    EXPECT_EQ(notificacoes.pedidos[1].identificador, p.identificador) << "the same pair replaces its notification";
    EXPECT_NE(AppDelegate::identificadorNotificacao("vocab-tier1-", QStringLiteral("cloud"), QStringLiteral("Cloude")),
              p.identificador);
}

TEST_F(Shell, Tier2AutorizadoSilenciosoNegadoSoLoga)
{
    delegate.dispararNotificacaoTier2(QStringLiteral("jason"), QStringLiteral("JSON"), 4);
    girar();
    ASSERT_EQ(notificacoes.pedidos.size(), 1);
    EXPECT_EQ(notificacoes.pedidos[0].titulo, QStringLiteral("Sonvo — Sugestão de vocabulário"));
    EXPECT_EQ(notificacoes.pedidos[0].corpo, QStringLiteral("Notei 'jason' em vez de 'JSON' (4x). Salvar?"));
    EXPECT_FALSE(notificacoes.pedidos[0].som);
    EXPECT_TRUE(notificacoes.pedidos[0].identificador.startsWith(QStringLiteral("vocab-tier2-")));

    notificacoes.autorizada = false;
    delegate.dispararNotificacaoTier2(QStringLiteral("jason"), QStringLiteral("JSON"), 5);
    girar();
    EXPECT_EQ(notificacoes.pedidos.size(), 1);
    EXPECT_EQ(log(), QStringList{QStringLiteral("Vozel [Vocab/Tier2] notification denied — fallback to NSLog only: 'jason' → 'JSON' (5x)")});
}

TEST_F(Shell, FalhaAoMostrarELogada)
{
    notificacoes.erroAoAdicionar = QStringLiteral("sem servidor");
    delegate.dispararNotificacaoTier1(QStringLiteral("a"), QStringLiteral("b"));
    delegate.dispararNotificacaoTier2(QStringLiteral("c"), QStringLiteral("d"), 2);
    girar();
    EXPECT_EQ(log(), (QStringList{QStringLiteral("Vozel [Vocab/Tier1] notif add erro: sem servidor"),
                                  QStringLiteral("Vozel [Vocab/Tier2] notif add erro: sem servidor")}));
}

TEST_F(Shell, RespostasSoAprovacoesGravamNoVocabulario)
{
    const QVariantMap info{{QStringLiteral("ouvido"), QStringLiteral("sonvo")}, {QStringLiteral("escrever"), QStringLiteral("Sonvo")}};
    for (const char* acao : {"VOCAB_DISMISS", "default", "dismiss", "VOCAB_TIER2_SKIP"})
        Q_EMIT notificacoes.respondida(QString::fromLatin1(acao), info);
    EXPECT_FALSE(vocab.carregaGlobal().correcoes.contains(QStringLiteral("sonvo")));
    Q_EMIT notificacoes.respondida(QStringLiteral("VOCAB_ADD"), info);
    EXPECT_EQ(vocab.carregaGlobal().correcoes.value(QStringLiteral("sonvo")), QStringLiteral("Sonvo"));
    EXPECT_EQ(log(), (QStringList{QStringLiteral("Vozel [Vocab/Tier1] dismiss: sonvo → Sonvo"),
                                  QStringLiteral("Vozel [Vocab/Tier1] dismiss: sonvo → Sonvo"),
                                  QStringLiteral("Vozel [Vocab/Tier1] dismiss: sonvo → Sonvo"),
                                  QStringLiteral("Vozel [Vocab/Tier2] dismiss: sonvo → Sonvo"),
                                  QStringLiteral("Vozel [Vocab] importarCorrecao aprovada: sonvo -> Sonvo"),
                                  QStringLiteral("Vozel [Vocab/Tier1] aprovado e adicionado ao .md: sonvo → Sonvo")}));
    Q_EMIT notificacoes.respondida(QStringLiteral("VOCAB_TIER2_SAVE"),
                                   {{QStringLiteral("ouvido"), QStringLiteral("jason")}, {QStringLiteral("escrever"), QStringLiteral("JSON")}});
    EXPECT_EQ(vocab.carregaGlobal().correcoes.value(QStringLiteral("jason")), QStringLiteral("JSON"));
    EXPECT_EQ(log().last(), QStringLiteral("Vozel [Vocab/Tier2] aprovado e adicionado ao .md: jason → JSON"));
}

// ---- start-up ----

namespace {
struct Migracao : ::testing::Test {
    AmbienteTemporario amb;
    QString sonvo = amb.raiz() + QStringLiteral("/dados/Sonvo");
    QString vozel = amb.raiz() + QStringLiteral("/dados/Vozel");
    const QStringList arquivos{QStringLiteral("credentials.json"), QStringLiteral("vocabulary.md"),
                               QStringLiteral("transcription-history.json"), QStringLiteral("vocabulary-by-app.json")};

    void SetUp() override { ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog())); }
    void TearDown() override { Log::enviarParaArquivo(QStringLiteral("/dev/null")); }
    static void escrever(const QString& caminho, const QByteArray& dados)
    {
        QDir().mkpath(QFileInfo(caminho).absolutePath());
        QFile f(caminho);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(dados);
    }
    static QByteArray ler(const QString& caminho)
    {
        QFile f(caminho);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<ausente>");
    }
};
} // namespace

TEST_F(Migracao, CopiaOsQuatroArquivosEDeixaOAntigoIntacto)
{
    for (const QString& a : arquivos)
        escrever(vozel + u'/' + a, "vozel:" + a.toUtf8());
    QDir().mkpath(sonvo);
    EXPECT_TRUE(migrarDadosVozelSeNecessario(sonvo, vozel));
    for (const QString& a : arquivos) {
        EXPECT_EQ(ler(sonvo + u'/' + a), "vozel:" + a.toUtf8()) << a.toStdString();
        EXPECT_EQ(ler(vozel + u'/' + a), "vozel:" + a.toUtf8()) << "copied, not moved";
    }
    EXPECT_EQ(amb.lerLog(), QByteArray("Sonvo [Boot] migração Vozel→Sonvo concluída\n"));
}

TEST_F(Migracao, SemCredenciaisNoAntigoNadaMuda)
{
    escrever(vozel + QStringLiteral("/vocabulary.md"), "x");
    QDir().mkpath(sonvo);
    EXPECT_FALSE(migrarDadosVozelSeNecessario(sonvo, vozel));
    EXPECT_FALSE(QFile::exists(sonvo + QStringLiteral("/vocabulary.md")));
    EXPECT_TRUE(amb.lerLog().isEmpty());
}

TEST_F(Migracao, CredenciaisNoNovoImpedemMesmoComArquivosMaisNovosNoAntigo)
{
    for (const QString& a : arquivos)
        escrever(vozel + u'/' + a, "novo");
    escrever(sonvo + QStringLiteral("/credentials.json"), "{}");
    EXPECT_FALSE(migrarDadosVozelSeNecessario(sonvo, vozel));
    EXPECT_EQ(ler(sonvo + QStringLiteral("/credentials.json")), "{}");
    EXPECT_FALSE(QFile::exists(sonvo + QStringLiteral("/vocabulary.md")));
}

TEST_F(Migracao, PastaNovaAusenteFalhaCadaCopiaMasAindaLoga)
{
    escrever(vozel + QStringLiteral("/credentials.json"), "{}");
    escrever(vozel + QStringLiteral("/vocabulary.md"), "v");
    EXPECT_TRUE(migrarDadosVozelSeNecessario(sonvo, vozel));
    EXPECT_FALSE(QDir(sonvo).exists()) << "the folder belongs to the services that create it";
    EXPECT_EQ(amb.lerLog(), QByteArray("Sonvo [Boot] migração Vozel→Sonvo concluída\n"));
}

TEST_F(Migracao, ArquivoJaExistenteNoNovoNaoESobrescritoEOsOutrosSeguem)
{
    escrever(vozel + QStringLiteral("/credentials.json"), "{\"a\":1}");
    escrever(vozel + QStringLiteral("/vocabulary.md"), "antigo");
    escrever(vozel + QStringLiteral("/vocabulary-by-app.json"), "{}");
    escrever(sonvo + QStringLiteral("/vocabulary.md"), "do usuário");
    EXPECT_TRUE(migrarDadosVozelSeNecessario(sonvo, vozel));
    EXPECT_EQ(ler(sonvo + QStringLiteral("/vocabulary.md")), "do usuário");
    EXPECT_EQ(ler(sonvo + QStringLiteral("/vocabulary-by-app.json")), "{}");
    EXPECT_EQ(ler(sonvo + QStringLiteral("/credentials.json")), "{\"a\":1}");
}

TEST(AparenciaDaBandeja, SimboloDescricaoETintaPorEstado)
{
    EXPECT_EQ(aparenciaDoEstado(RecordingState::idle()), (AparenciaBandeja{QStringLiteral("mic.fill"), QStringLiteral("Sonvo"), std::nullopt}));
    EXPECT_EQ(aparenciaDoEstado(RecordingState::recording()),
              (AparenciaBandeja{QStringLiteral("mic.fill"), QStringLiteral("Gravando"), Tinta{0.2, 0.96, 0.38, 1.0}}));
    EXPECT_EQ(aparenciaDoEstado(RecordingState::transcribing()),
              (AparenciaBandeja{QStringLiteral("waveform"), QStringLiteral("Transcrevendo"), Tinta{0.42, 0.58, 0.94, 1.0}}));
    EXPECT_EQ(aparenciaDoEstado(RecordingState::completed()),
              (AparenciaBandeja{QStringLiteral("checkmark.circle.fill"), QStringLiteral("Concluído"), Tinta{0.2, 0.96, 0.38, 1.0}}));
    EXPECT_EQ(aparenciaDoEstado(RecordingState::error(QStringLiteral("x"))),
              (AparenciaBandeja{QStringLiteral("exclamationmark.circle"), QStringLiteral("Erro"), Tinta{0.95, 0.3, 0.3, 1.0}}));
    EXPECT_EQ(iconeDoApp(std::nullopt), QStringLiteral("AppIconDark"));
    EXPECT_EQ(iconeDoApp(QStringLiteral("dark")), QStringLiteral("AppIconDark"));
    EXPECT_EQ(iconeDoApp(QStringLiteral("light")), QStringLiteral("AppIcon"));
    EXPECT_EQ(iconeDoApp(QString()), QStringLiteral("AppIcon"));
}

TEST(ModificadoresDoMonitor, ExatamenteSuperEShift)
{
    EXPECT_TRUE(modificadoresDoAtalho({true, false, false, true}));
    EXPECT_FALSE(modificadoresDoAtalho({true, false, true, true})) << "Alt also held";
    EXPECT_FALSE(modificadoresDoAtalho({true, true, false, true})) << "Control also held";
    EXPECT_FALSE(modificadoresDoAtalho({false, false, false, true}));
    EXPECT_FALSE(modificadoresDoAtalho({true, false, false, false}));
}
