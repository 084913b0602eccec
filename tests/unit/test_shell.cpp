// The shell without a display: what a hotkey press does and how registration failures fall back,
// the vocabulary suggestions as notifications, and what follows a dictation: which pill shows, where
// a Super+Shift+R dictation goes (intent modal or action menu), the AI action streamed or in one
// request against a loopback server speaking OpenAI's wire format, and what closing the menu
// inserts, where, and what it teaches.
#include "ai/AIService.h"
#include "ai/IntentDetectionService.h"
#include "core/KeychainService.h"
#include "core/Log.h"
#include "shell/AppDelegate.h"
#include "shell/Inicializacao.h"
#include "shell/Paineis.h"
#include "support/Falsos.h"
#include "support/PilhaDeDitado.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
QT_END_NAMESPACE

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;

namespace {

constexpr qint64 kPidSonvo = 4242;
const AppJanela kKate{0x400001, u"kate"_s, 77};
const AppJanela kSonvo{0x600001, u"sonvo"_s, kPidSonvo};

struct Shell : ::testing::Test, PilhaDeDitado {
    ServidorTeste servidor;
    AtalhosFalsos atalhos;
    JanelasFalsas janelas;
    ClipboardFalso clipboard;
    NotificacoesFalsas notificacoes;
    IntentDetectionService intencao{config, rede, pasta};
    PaineisFalsos paineis;
    std::chrono::steady_clock::time_point agora{std::chrono::seconds(1000)};
    AppDelegate delegate{AppDelegate::Dependencias{
        config, vm, janelas, clipboard, atalhos, notificacoes, vocab, kPidSonvo, [this] { return agora; }, &insercao,
        &intencao, [this] { return AIService::currentProvider(config, rede, pasta); }, &paineis}};
    RoteadorAtalhos& teclas = delegate.atalhos();
    FluxoMenuAcoes& menu = delegate.menu();

    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        config.registrarPadroes(Configuracoes::padroesDoApp());
        amb.definir(u"SONVO_OPENAI_BASE_URL"_s, servidor.url().toString());
        ASSERT_FALSE(KeychainService(pasta).salvarChave(u"openai_api_key"_s, u"sk-teste"_s));
        delegate.posDitado().observeRecordingState();
        janelas.frente = kKate;
        insercao.frente = [this] { return janelas.frente ? janelas.frente->id : std::nullopt; };
    }
    void TearDown() override { Log::enviarParaArquivo(u"/dev/null"_s); }
    QStringList log() const { return QString::fromUtf8(amb.lerLog()).split(u'\n', Qt::SkipEmptyParts); }
    void estados(std::initializer_list<RecordingState> es)
    {
        for (const RecordingState& e : es)
            delegate.posDitado().observarEstado(e);
    }
    // The menu open over a dictated text, with Sonvo's own panel in front (it took the focus).
    void abrirMenu(const QString& texto)
    {
        vm.setTextoEditadoAtual(QString());
        menu.showActionMenu(texto);
        ASSERT_TRUE(paineis.menuAberto);
        janelas.frente = kSonvo;
    }
    void confirmarModal(const QString& texto)
    {
        vm.setTextoEditadoAtual(texto);
        delegate.intencao().showIntentConfirmModal(QuickAction::email);
        janelas.frente = kSonvo;
        paineis.modal.confirmar(QuickAction::email);
    }
    bool inserido() { return girarAte([&] { return !insercao.insercoes.isEmpty(); }); }
    static Resposta sse(const QStringList& pedacos, int intervaloMs = 0)
    {
        return Resposta::sse(Resposta::eventosOpenAI(pedacos), intervaloMs);
    }
};

} // namespace

// ---- hotkeys ----

TEST_F(Shell, RegistroDosAtalhosEOFallbackDoMonitor)
{
    const QString falhaR = u"Vozel: falha ao registrar hotkey Super+Shift+R (status 10)."_s;
    const QString falhaT = u"Vozel: falha ao registrar hotkey Super+Shift+T (status 10)."_s;
    const QString monitor = u"Vozel: usando fallback de monitor de teclado para atalhos."_s;
    struct Caso {
        int tratador;
        QHash<int, int> status;
        QString titulo;
        int monitores;
        QStringList log;
    } casos[] = {
        {0, {}, u"Gravar  Super+Shift+R / Super+Shift+T"_s, 0, {}},
        {0, {{1, 10}}, u"Gravar  Super+Shift+T"_s, 0, {falhaR}},
        // No label registered: the title names both, the monitor sees both.
        {0, {{1, 10}, {2, 10}}, u"Gravar  Super+Shift+R / Super+Shift+T"_s, 1, {falhaR, falhaT, monitor}},
        {-1, {}, u"Gravar  Super+Shift+R / Super+Shift+T"_s, 1,
         {u"Vozel: falha ao instalar handler de hotkey global (status -1)."_s, monitor}},
    };
    for (const Caso& c : casos) {
        AmbienteTemporario outro;
        ASSERT_TRUE(Log::enviarParaArquivo(outro.arquivoLog()));
        AtalhosFalsos a;
        a.statusTratador = c.tratador;
        a.statusPorId = c.status;
        RoteadorAtalhos r({config, vm, janelas, clipboard, a, kPidSonvo});
        r.setupGlobalHotkey();
        if (r.monitorDeTeclado())
            r.setupEventMonitorFallback(); // a second call never installs a second monitor
        SCOPED_TRACE(c.titulo.toStdString());
        EXPECT_EQ(r.recordMenuTitle(), c.titulo);
        EXPECT_EQ(a.monitores, c.monitores);
        EXPECT_EQ(QString::fromUtf8(outro.lerLog()).split(u'\n', Qt::SkipEmptyParts), c.log);
    }
}

TEST_F(Shell, SegundaPressaoEm200msEIgnoradaContandoDaUltimaAceita)
{
    const auto t0 = agora;
    Q_EMIT atalhos.pressionado(2); // from the platform: handled on the next turn of the loop
    Q_EMIT atalhos.pressionado(7); // not ours
    EXPECT_EQ(sm.recordingState().caso, RecordingState::Caso::idle);
    girarPor(20);
    // No microphone: the start fails at once, which is still a toggle from idle.
    EXPECT_EQ(sm.recordingState().caso, RecordingState::Caso::error);
    const std::pair<std::chrono::milliseconds, bool> passos[] = {{150ms, false}, {200ms, false}, {250ms, true}, {400ms, false}};
    for (auto [dt, aceita] : passos) {
        agora = t0 + dt;
        teclas.handleHotKeyTrigger(true);
        EXPECT_EQ(teclas.contexto().foiMenu, aceita || dt > 250ms) << dt.count();
    }
}

TEST_F(Shell, SegurarParaFalarToqueCurtoEComandosDeApertarESoltar)
{
    using Caso = RecordingState::Caso;
    audio.presente = true; // records silence
    auto caso = [&] { return sm.recordingState().caso; };
    auto pressionar = [&](int id, std::chrono::milliseconds segurar) {
        Q_EMIT atalhos.pressionado(id);
        girarPor(5);
        agora += segurar;
        Q_EMIT atalhos.solto(id);
        girarPor(5);
        agora += 1s; // past the debounce
    };
    auto terminou = [&] { return girarAte([&] { return caso() != Caso::recording && caso() != Caso::transcribing; }); };
    pressionar(2, 2s);
    EXPECT_EQ(caso(), Caso::recording) << "by default a release changes nothing";
    pressionar(2, 0ms);
    ASSERT_TRUE(terminou());

    config.definir(u"modoAtalho"_s, u"segurar"_s); // read at every press
    pressionar(2, 2s);
    ASSERT_TRUE(terminou()) << "the release ends a held press";
    pressionar(1, RoteadorAtalhos::kToqueMaximo - 1ms);
    EXPECT_EQ(caso(), Caso::recording) << "a tap toggles, as by default";
    pressionar(1, 2s); // it ends the dictation; its release has nothing more to end
    ASSERT_TRUE(terminou());

    EXPECT_FALSE(teclas.parar()) << "nothing records";
    teclas.iniciar(true);
    teclas.iniciar(false); // while recording: nothing
    EXPECT_EQ(caso(), Caso::recording);
    EXPECT_TRUE(teclas.parar());
    EXPECT_TRUE(teclas.contexto().foiMenu && sm.pularInsercao) << "ended as it was started: for the menu";
    ASSERT_TRUE(terminou());

    // The desktop binds the keys and names them; a refusal brings the default labels back.
    QSignalSpy recusa(&teclas, &RoteadorAtalhos::atalhosIndisponiveis);
    Q_EMIT atalhos.rotulosDefinidos({{1, u"Press <Super>R"_s}, {2, u"Press <Super>T"_s}});
    EXPECT_EQ(teclas.recordMenuTitle(), u"Gravar  Press <Super>R / Press <Super>T"_s);
    Q_EMIT atalhos.indisponivel(u"o usuário recusou os atalhos"_s);
    EXPECT_EQ(teclas.recordMenuTitle(), u"Gravar  Super+Shift+R / Super+Shift+T"_s);
    EXPECT_EQ(recusa.size(), 1);
}

TEST_F(Shell, PressaoCapturaAplicativoESelecaoConformeOsInterruptores)
{
    clipboard.selecao = u"olá 👋🏽"_s;
    teclas.handleHotKeyTrigger(true);
    EXPECT_EQ(teclas.contexto().selecao, u"olá 👋🏽"_s);
    EXPECT_EQ(teclas.contexto().bundleID, u"kate"_s);
    EXPECT_TRUE(sm.pularInsercao);
    EXPECT_EQ(sm.contextoBundleID, u"kate"_s);

    // An empty selection is none; Sonvo itself in front is no application.
    clipboard.selecao = QString();
    janelas.frente = kSonvo;
    agora += 1s;
    teclas.handleHotKeyTrigger(false);
    EXPECT_FALSE(teclas.contexto().selecao);
    EXPECT_FALSE(sm.contextoBundleID);

    // Switch off: the selection is not even read; menu off: Super+Shift+R inserts directly.
    config.definir(Interruptores::selecao, false);
    config.definir(Interruptores::actionMenu, false);
    clipboard.selecao = u"de novo"_s;
    const int leituras = clipboard.leiturasDaSelecao;
    agora += 1s;
    teclas.handleHotKeyTrigger(true);
    EXPECT_FALSE(teclas.contexto().selecao);
    EXPECT_EQ(clipboard.leiturasDaSelecao, leituras);
    EXPECT_FALSE(sm.pularInsercao);
    EXPECT_TRUE(teclas.contexto().foiMenu);
    // The tray menu's entry: nothing would route a held-back text, so it is a plain dictation.
    config.definir(Interruptores::actionMenu, true);
    agora += 1s;
    teclas.handleHotKeyTrigger(true);
    teclas.startStopRecording();
    EXPECT_FALSE(teclas.contexto().foiMenu);
    EXPECT_FALSE(sm.pularInsercao);
}

TEST_F(Shell, PressaoDuranteATranscricaoAtualizaOContextoSemAlternar)
{
    Resposta lenta = Resposta::json(200, R"({"text":"ok"})");
    lenta.atrasoMs = 1500;
    servidor.enfileirar(lenta);
    const QString wav = amb.raiz() + u"/a.wav"_s;
    ASSERT_TRUE(gravarArquivo(wav, wavSintetico(16000, 1, 0.5)));
    sm.transcreverArquivo(wav);
    ASSERT_TRUE(girarAte([&] { return servidor.requisicoes().size() == 1; }));
    janelas.frente = AppJanela{0x400002, u"firefox"_s, 91};
    teclas.handleHotKeyTrigger(true);
    EXPECT_EQ(sm.recordingState().caso, RecordingState::Caso::transcribing);
    EXPECT_EQ(sm.contextoBundleID, u"firefox"_s);
    EXPECT_TRUE(sm.pularInsercao);
    EXPECT_TRUE(girarAte([&] { return sm.recordingState().caso == RecordingState::Caso::completed; }, 10000));
}

// ---- suggestion notifications ----

TEST_F(Shell, CandidatosDosDoisNiveisViramNotificacoesESoAprovacoesGravam)
{
    delegate.sugestoes().configurarNotificacoes();
    girarPor(10);
    QStringList acoes;
    for (const CategoriaNotificacao& c : notificacoes.categorias)
        for (const auto& a : c.acoes)
            acoes << c.identificador + u' ' + a.identificador + u' ' + a.titulo;
    EXPECT_EQ(acoes, (QStringList{u"VOCAB_TIER1_CANDIDATE VOCAB_ADD Adicionar ao vocabulário"_s,
                                  u"VOCAB_TIER1_CANDIDATE VOCAB_DISMISS Ignorar"_s,
                                  u"VOCAB_TIER2_CANDIDATE VOCAB_TIER2_SAVE Salvar correção"_s,
                                  u"VOCAB_TIER2_CANDIDATE VOCAB_TIER2_SKIP Ignorar"_s}));

    // The third edit of the same pair in the action menu is a Tier 1 candidate.
    for (int i = 0; i < 3; ++i)
        vocab.aprendizado().aprenderCorrecao(u"usei o cloude"_s, u"usei o Claude"_s, std::nullopt);
    Q_EMIT sm.candidatoTier2(u"jason"_s, u"JSON"_s, 4);
    girarPor(10);
    ASSERT_EQ(notificacoes.pedidos.size(), 2);
    const auto& t1 = notificacoes.pedidos[0];
    EXPECT_EQ(t1.titulo, u"Adicionar ao vocabulário?"_s);
    EXPECT_EQ(t1.corpo, u"Notei que você corrige 'cloude' → 'Claude' frequentemente."_s);
    EXPECT_TRUE(t1.som);
    EXPECT_EQ(t1.categoria, u"VOCAB_TIER1_CANDIDATE"_s);
    EXPECT_EQ(t1.identificador, NotificacoesSugestoes::identificadorNotificacao("vocab-tier1-", u"cloude"_s, u"Claude"_s));
    EXPECT_NE(t1.identificador, NotificacoesSugestoes::identificadorNotificacao("vocab-tier1-", u"cloude"_s, u"Claudio"_s));
    const auto& t2 = notificacoes.pedidos[1];
    EXPECT_EQ(t2.titulo, u"Sonvo — Sugestão de vocabulário"_s);
    EXPECT_EQ(t2.corpo, u"Notei 'jason' em vez de 'JSON' (4x). Salvar?"_s);
    EXPECT_FALSE(t2.som);
    EXPECT_TRUE(t2.identificador.startsWith(u"vocab-tier2-"_s));

    // Denied: Tier 2 is only logged (its only trace); a failing server is logged too.
    notificacoes.autorizada = false;
    delegate.sugestoes().dispararNotificacaoTier2(u"jason"_s, u"JSON"_s, 5);
    notificacoes.autorizada = true;
    notificacoes.erroAoAdicionar = u"sem servidor"_s;
    delegate.sugestoes().dispararNotificacaoTier1(u"a"_s, u"b"_s);
    girarPor(10);
    EXPECT_EQ(notificacoes.pedidos.size(), 3);
    EXPECT_TRUE(log().contains(u"Vozel [Vocab/Tier2] notification denied — fallback to NSLog only: 'jason' → 'JSON' (5x)"_s));
    EXPECT_TRUE(log().contains(u"Vozel [Vocab/Tier1] notif add erro: sem servidor"_s));

    // Only the approvals write into vocabulary.md.
    const QVariantMap info{{u"ouvido"_s, u"sonvo"_s}, {u"escrever"_s, u"Sonvo"_s}};
    for (const char* acao : {"VOCAB_DISMISS", "default", "dismiss", "VOCAB_TIER2_SKIP"})
        Q_EMIT notificacoes.respondida(QString::fromLatin1(acao), info);
    EXPECT_FALSE(vocab.documento().carregar().correcoes.contains(u"sonvo"_s));
    Q_EMIT notificacoes.respondida(u"VOCAB_ADD"_s, info);
    Q_EMIT notificacoes.respondida(u"VOCAB_TIER2_SAVE"_s,
                                   {{u"ouvido"_s, u"jason"_s}, {u"escrever"_s, u"JSON"_s}});
    const auto correcoes = vocab.documento().carregar().correcoes;
    EXPECT_EQ(correcoes.value(u"sonvo"_s), u"Sonvo"_s);
    EXPECT_EQ(correcoes.value(u"jason"_s), u"JSON"_s);
}

// ---- after a dictation ----

TEST_F(Shell, PilulasSeguemOEstado)
{
    estados({RecordingState::recording(), RecordingState::transcribing(), RecordingState::completed(), RecordingState::idle()});
    EXPECT_EQ(paineis.chamadas, (QStringList{u"mostrar gravação"_s, u"esconder gravação"_s,
                                             u"mostrar processamento"_s, u"esconder gravação"_s,
                                             u"esconder processamento"_s}));
    // The 0.5 s dismissal of the processing pill still comes.
    paineis.chamadas.clear();
    ASSERT_TRUE(girarAte([&] { return !paineis.chamadas.isEmpty(); }, 2000));
    EXPECT_EQ(paineis.chamadas, QStringList{u"esconder processamento"_s});
    // A recording started while an error is on display keeps the pill hidden; completed without
    // transcribing routes nothing.
    paineis.chamadas.clear();
    estados({RecordingState::error(u"Sem microfone"_s), RecordingState::recording()});
    EXPECT_TRUE(paineis.chamadas.isEmpty());
    teclas.handleHotKeyTrigger(true);
    estados({RecordingState::idle(), RecordingState::completed()});
    EXPECT_FALSE(paineis.menuAberto);
}

TEST_F(Shell, DitadoComMenuVaiAoMenuEFecharInsereNoAlvoEEnsina)
{
    config.definir(Interruptores::intentModal, false);
    servidor.enfileirar(Resposta::json(200, R"({"text":"reuniao amanha"})"));
    const QString wav = amb.raiz() + u"/fala.wav"_s;
    ASSERT_TRUE(gravarArquivo(wav, wavSintetico(16000, 1, 0.5)));
    teclas.handleHotKeyTrigger(true); // kate in front; the start fails without a microphone
    girarPor(50);
    sm.transcreverArquivo(wav);
    ASSERT_TRUE(girarAte([&] { return paineis.menuAberto; }));
    EXPECT_EQ(vm.textoEditadoAtual(), u"reuniao amanha"_s);
    EXPECT_EQ(paineis.acoesOferecidas, QuickActions::padrao());
    EXPECT_TRUE(insercao.insercoes.isEmpty()) << "the dictation waits for the menu";

    // The user fixes a word in the preview and presses Escape.
    janelas.frente = kSonvo;
    vm.setTextoEditadoAtual(u"reunião amanha"_s);
    paineis.menu.inserirComoEsta();
    EXPECT_FALSE(paineis.menuAberto);
    ASSERT_TRUE(inserido());
    EXPECT_EQ(insercao.insercoes.first(), qMakePair(u"reunião amanha"_s, std::optional<QString>(u"kate"_s)));
    EXPECT_EQ(janelas.ativadas, QList<AppJanela>{kKate});
    EXPECT_EQ(vocab.aprendizado().pendingCorrections().value(u"reuniao|reunião"_s), 1);
}

TEST_F(Shell, IntencaoAltaAbreOModalEscapeLevaAoMenuIncertaVaiDiretoAoMenu)
{
    vm.setTextoEditadoAtual(QString());
    delegate.posDitado().handlePostTranscription(u"transforma em email: a reunião mudou para sexta"_s);
    ASSERT_TRUE(girarAte([&] { return paineis.modalAberto || paineis.menuAberto; }));
    EXPECT_TRUE(paineis.modalAberto);
    EXPECT_EQ(paineis.acaoDoModal, QuickAction::email);
    janelas.frente = kSonvo;
    paineis.modal.escape();
    EXPECT_FALSE(paineis.modalAberto);
    EXPECT_TRUE(paineis.menuAberto);
    EXPECT_EQ(menu.actionMenuTargetApp(), kKate) << "aimed at the application in front before the modal";

    // A keyword without the imperative verb is unsure: the model is asked (and fails here).
    paineis.menu.descartar();
    paineis.chamadas.clear();
    servidor.definirPadrao(Resposta::json(500, R"({"error":{"message":"x"}})"));
    delegate.posDitado().handlePostTranscription(u"o email da reunião chegou"_s);
    ASSERT_TRUE(girarAte([&] { return paineis.menuAberto; }, 5000));
    EXPECT_FALSE(paineis.chamadas.contains(u"abrir modal"_s));

    // Menu switched off: nothing opens, the speech manager pastes.
    paineis.menu.descartar();
    config.definir(Interruptores::actionMenu, false);
    delegate.posDitado().handlePostTranscription(u"direto"_s);
    EXPECT_FALSE(paineis.menuAberto);
}

TEST_F(Shell, ConfirmarStreamaSemMenuComPilulaGerandoEInsereNoAlvoDoModal)
{
    servidor.enfileirar(sse({u"Olá,\n\n"_s, u"a reunião mudou."_s}));
    confirmarModal(u"a reunião mudou"_s);
    EXPECT_FALSE(paineis.menuAberto) << "confirming shows no menu";
    EXPECT_EQ(paineis.chamadas.filter(u"gerando"_s), QStringList{u"gerando"_s});
    // The dictation's return to idle meanwhile does not take the pill away.
    estados({RecordingState::completed(), RecordingState::idle()});
    ASSERT_TRUE(inserido());
    EXPECT_EQ(insercao.insercoes.first(), qMakePair(u"Olá,\n\na reunião mudou."_s, std::optional<QString>(u"kate"_s)));
    EXPECT_EQ(paineis.chamadas.filter(u"gerando"_s), (QStringList{u"gerando"_s, u"fim gerando"_s}));
    EXPECT_FALSE(paineis.chamadas.contains(u"esconder processamento"_s));
}

TEST_F(Shell, FalhaDaIAAvisaEDevolveODitadoAoMenuMesmoDepoisDeConfirmar)
{
    // In the menu: the text comes back, the user may pick again or discard.
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key provided"}})"));
    abrirMenu(u"meu texto"_s);
    paineis.menu.acaoEscolhida(QuickAction::email);
    ASSERT_TRUE(girarAte([&] { return !paineis.alertas.isEmpty(); }));
    EXPECT_EQ(paineis.alertas.first(), qMakePair(u"Não foi possível transformar o texto"_s, u"Erro 401"_s));
    EXPECT_EQ(vm.textoEditadoAtual(), u"meu texto"_s);
    EXPECT_FALSE(paineis.ocupado);
    paineis.menu.descartar();

    // After confirming an intent there is no menu: one opens with the dictation, aimed at kate.
    servidor.enfileirar(Resposta::json(500, R"({"error":{"message":"overloaded"}})"));
    janelas.frente = kKate;
    confirmarModal(u"a reunião mudou"_s);
    ASSERT_TRUE(girarAte([&] { return paineis.alertas.size() == 2; }));
    EXPECT_EQ(paineis.alertas.last().second, u"Erro 500"_s);
    EXPECT_TRUE(paineis.menuAberto) << "the dictation is not left nowhere";
    EXPECT_EQ(vm.textoEditadoAtual(), u"a reunião mudou"_s);
    paineis.menu.inserirComoEsta();
    ASSERT_TRUE(inserido());
    EXPECT_EQ(insercao.insercoes.first(), qMakePair(u"a reunião mudou"_s, std::optional<QString>(u"kate"_s)));
}

TEST_F(Shell, StreamCresceNoPreviewEInsereDepoisDe200ms)
{
    servidor.enfileirar(sse({u"Resumo"_s, u": reunião"_s, u" na sexta."_s}, 30));
    abrirMenu(u"a reunião que era hoje foi para sexta"_s);
    QStringList vistos;
    QObject::connect(&vm, &RecordingViewModel::textoEditadoAtualChanged, [&](const QString& t) { vistos << t; });
    paineis.menu.acaoEscolhida(QuickAction::resumir);
    EXPECT_TRUE(paineis.ocupado);
    ASSERT_TRUE(girarAte([&] { return vistos.size() == 4; }));
    EXPECT_EQ(vistos, (QStringList{QString(), u"Resumo"_s, u"Resumo: reunião"_s, u"Resumo: reunião na sexta."_s}));
    EXPECT_TRUE(paineis.menuAberto) << "the finished text stays in view for a moment";
    ASSERT_TRUE(inserido());
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_EQ(insercao.insercoes.first().first, u"Resumo: reunião na sexta."_s);
    EXPECT_TRUE(QJsonDocument::fromJson(servidor.requisicoes().first().corpo).object().value(u"stream"_s).toBool());
}

TEST_F(Shell, EscapeDuranteOStreamInsereOParcialOuODitadoSeNadaChegou)
{
    struct Caso {
        int atrasoMs, intervaloMs;
        QString esperado;
    } casos[] = {{0, 1500, u"Primeira parte"_s}, {3000, 0, u"meu ditado"_s}};
    for (const Caso& c : casos) {
        Resposta r = sse({u"Primeira parte"_s, u" e o resto"_s}, c.intervaloMs);
        r.atrasoMs = c.atrasoMs;
        servidor.enfileirar(r);
        insercao.insercoes.clear();
        abrirMenu(u"meu ditado"_s);
        paineis.menu.acaoEscolhida(QuickAction::post);
        paineis.menu.ponteiroSaiu(); // leaving the menu while the answer streams does nothing
        if (c.atrasoMs == 0) {
            ASSERT_TRUE(girarAte([&] { return vm.textoEditadoAtual() == c.esperado; }, 5000));
        }
        girarPor(200);
        EXPECT_TRUE(paineis.menuAberto);
        paineis.menu.inserirComoEsta();
        EXPECT_FALSE(menu.tarefaIAAtiva());
        ASSERT_TRUE(inserido());
        EXPECT_EQ(insercao.insercoes.first().first, c.esperado);
    }
    girarPor(1800);
    EXPECT_EQ(insercao.insercoes.size(), 1) << "the rest of the stream never arrives anywhere";
}

TEST_F(Shell, PedidoUnicoMostraOMarcadorEEscapeInsereODitadoNuncaOMarcador)
{
    config.definir(Interruptores::streaming, false);
    Resposta lenta = Resposta::json(200, R"({"choices":[{"message":{"role":"assistant","content":" • sexta "}}]})");
    lenta.atrasoMs = 800;
    servidor.enfileirar(lenta);
    servidor.enfileirar(Resposta::json(200, R"({"choices":[{"message":{"role":"assistant","content":"• sexta"}}]})"));
    abrirMenu(u"reunião sexta"_s);
    paineis.menu.acaoEscolhida(QuickAction::bulletPoints);
    EXPECT_EQ(vm.textoEditadoAtual(), u"✨ Aplicando Bullet Points…"_s);
    paineis.menu.ponteiroSaiu(); // while the request runs the pointer may leave
    girarPor(300);
    ASSERT_TRUE(paineis.menuAberto);
    paineis.menu.inserirComoEsta();
    ASSERT_TRUE(inserido());
    EXPECT_EQ(insercao.insercoes.first().first, u"reunião sexta"_s);
    girarPor(900);
    EXPECT_EQ(insercao.insercoes.size(), 1) << "the late answer is dropped";

    // The next answer replaces the text; the target already in front is not activated again.
    abrirMenu(u"reunião sexta"_s);
    janelas.frente = kKate;
    janelas.ativadas.clear();
    paineis.menu.acaoEscolhida(QuickAction::bulletPoints);
    ASSERT_TRUE(girarAte([&] { return insercao.insercoes.size() == 2; }));
    EXPECT_EQ(insercao.insercoes.last().first, u"• sexta"_s);
    EXPECT_TRUE(janelas.ativadas.isEmpty());
}

TEST_F(Shell, PonteiroDescartarETextoVazio)
{
    abrirMenu(u"fica"_s);
    paineis.menu.ponteiroSaiu();
    girarPor(80);
    paineis.menu.ponteiroEntrou();
    girarPor(250);
    EXPECT_TRUE(paineis.menuAberto) << "the pointer came back in time";
    paineis.menu.ponteiroSaiu();
    ASSERT_TRUE(inserido());
    EXPECT_EQ(insercao.insercoes.first().first, u"fica"_s);

    abrirMenu(u"não quero"_s);
    vm.setTextoEditadoAtual(QString());
    paineis.menu.acaoEscolhida(QuickAction::resumir);
    paineis.menu.descartar();
    girarPor(200);
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_EQ(insercao.insercoes.size(), 1);
    EXPECT_TRUE(servidor.requisicoes().isEmpty()) << "an empty text never reaches the provider";
}

TEST_F(Shell, NovoDitadoEncerraOQueOAnteriorDeixouRodandoEReabrirMantemOAlvo)
{
    servidor.enfileirar(sse({u"Olá,"_s, u" tarde demais"_s}, 1500));
    confirmarModal(u"primeiro"_s);
    ASSERT_TRUE(menu.tarefaIAAtiva());
    config.definir(Interruptores::intentModal, false);
    vm.setTextoEditadoAtual(u"segundo"_s); // as the new transcript arrives
    delegate.posDitado().handlePostTranscription(u"segundo"_s);
    EXPECT_FALSE(menu.tarefaIAAtiva());
    ASSERT_TRUE(paineis.menuAberto);
    menu.showActionMenu(u"segundo"_s); // reopened with Sonvo's own menu in front
    EXPECT_EQ(menu.actionMenuTargetApp(), kKate);
    girarPor(3500);
    EXPECT_EQ(vm.textoEditadoAtual(), u"segundo"_s) << "the old answer never lands in the new menu";
    EXPECT_TRUE(insercao.insercoes.isEmpty());
}

// ---- start-up ----

TEST(Migracao, CopiaDaPastaAntigaSoQuandoHaCredenciaisLaENenhumaAqui)
{
    const QStringList arquivos{u"credentials.json"_s, u"vocabulary.md"_s,
                               u"transcription-history.json"_s, u"vocabulary-by-app.json"_s};
    struct Caso {
        QStringList antigos, existentes; // files in Vozel (content "v") and already in Sonvo ("s")
        bool migra;
        const char* esperados; // Sonvo's content per file of `arquivos` after; '-' absent
    } casos[] = {
        {arquivos, {}, true, "vvvv"},
        {{u"vocabulary.md"_s}, {}, false, "----"},
        {arquivos, {u"credentials.json"_s}, false, "s---"},
        {arquivos, {u"vocabulary.md"_s}, true, "vsvv"}, // the user's own file is never overwritten
    };
    for (const Caso& c : casos) {
        AmbienteTemporario amb;
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        const QString sonvo = amb.raiz() + u"/dados/Sonvo"_s, vozel = amb.raiz() + u"/dados/Vozel"_s;
        QDir().mkpath(sonvo);
        QDir().mkpath(vozel);
        for (const QString& a : c.antigos)
            ASSERT_TRUE(gravarArquivo(vozel + u'/' + a, "v"));
        for (const QString& a : c.existentes)
            ASSERT_TRUE(gravarArquivo(sonvo + u'/' + a, "s"));
        EXPECT_EQ(migrarDadosVozelSeNecessario(sonvo, vozel), c.migra);
        for (qsizetype i = 0; i < arquivos.size(); ++i) {
            const QByteArray lido = QFile::exists(sonvo + u'/' + arquivos[i]) ? lerArquivo(sonvo + u'/' + arquivos[i]) : "-";
            EXPECT_EQ(lido, QByteArray(1, c.esperados[i])) << arquivos[i].toStdString();
            if (c.antigos.contains(arquivos[i])) {
                EXPECT_EQ(lerArquivo(vozel + u'/' + arquivos[i]), "v") << "copied, not moved";
            }
        }
        EXPECT_EQ(amb.lerLog(), c.migra ? QByteArray("Sonvo [Boot] migração Vozel→Sonvo concluída\n") : QByteArray());
    }
    Log::enviarParaArquivo(u"/dev/null"_s);
}

TEST(AparenciaDaBandeja, DescricaoPorEstadoIconeEModificadoresDoMonitor)
{
    const QStringList descricoes{aparenciaDoEstado(RecordingState::idle()).descricao, aparenciaDoEstado(RecordingState::recording()).descricao,
                                 aparenciaDoEstado(RecordingState::transcribing()).descricao,
                                 aparenciaDoEstado(RecordingState::completed()).descricao,
                                 aparenciaDoEstado(RecordingState::error(u"x"_s)).descricao};
    EXPECT_EQ(descricoes, (QStringList{u"Sonvo"_s, u"Gravando"_s, u"Transcrevendo"_s, u"Concluído"_s, u"Erro"_s}));
    EXPECT_FALSE(aparenciaDoEstado(RecordingState::idle()).tinta) << "at rest the icon follows the panel's theme";
    EXPECT_EQ(iconeDoApp(std::nullopt), u"AppIconDark"_s);
    EXPECT_EQ(iconeDoApp(u"light"_s), u"AppIcon"_s);
    // The passive monitor takes exactly Super+Shift (super, control, alt, shift).
    EXPECT_TRUE(modificadoresDoAtalho({true, false, false, true}));
    for (const auto& m : {ModificadoresPressionados{true, false, true, true}, {true, true, false, true}, {false, false, false, true}})
        EXPECT_FALSE(modificadoresDoAtalho(m));
}
