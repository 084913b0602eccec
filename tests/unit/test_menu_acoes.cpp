// After a dictation: which pill shows when, where a Super+Shift+R dictation goes (intent modal
// or action menu), the AI action streamed or in one request against a loopback server speaking
// OpenAI's wire format, and what closing the menu inserts, where, and what it teaches.
#include "ai/AIService.h"
#include "ai/IntentDetectionService.h"
#include "ai/KeychainService.h"
#include "app/AppDelegate.h"
#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "app/Paineis.h"
#include "app/RecordingViewModel.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/null/PlataformaNula.h"
#include "support/Ambiente.h"
#include "support/PilhaDeDitado.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyService.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <gtest/gtest.h>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
QT_END_NAMESPACE

using namespace sonvo;
using namespace sonvo::teste;
using Caso = RecordingState::Caso;

namespace {

class PaineisFalsos : public PaineisFlutuantes {
public:
    QStringList chamadas;
    EventosMenu menu;
    EventosIntencao modal;
    bool menuAberto = false;
    bool modalAberto = false;
    bool ocupado = false;
    QList<QuickAction> acoesOferecidas;
    std::optional<QuickAction> acaoDoModal;
    QList<QPair<QString, QString>> alertas;

    void showPanelAnimated() override { chamadas << QStringLiteral("mostrar gravação"); }
    void hidePanelAnimated() override { chamadas << QStringLiteral("esconder gravação"); }
    void showProcessingPanelAnimated() override { chamadas << QStringLiteral("mostrar processamento"); }
    void hideProcessingPanelAnimated() override { chamadas << QStringLiteral("esconder processamento"); }
    void abrirMenuAcoes(const QList<QuickAction>& acoes, EventosMenu ev) override
    {
        chamadas << QStringLiteral("abrir menu");
        acoesOferecidas = acoes;
        menu = std::move(ev);
        menuAberto = true;
    }
    void fecharMenuAcoes() override
    {
        if (menuAberto)
            chamadas << QStringLiteral("fechar menu");
        menuAberto = false;
    }
    bool menuAcoesVisivel() const override { return menuAberto; }
    void menuOcupado(bool o) override { ocupado = o; }
    void mostrarGerando(bool g) override { chamadas << (g ? QStringLiteral("gerando") : QStringLiteral("fim gerando")); }
    void abrirModalIntencao(QuickAction acao, EventosIntencao ev) override
    {
        chamadas << QStringLiteral("abrir modal");
        acaoDoModal = acao;
        modal = std::move(ev);
        modalAberto = true;
    }
    void fecharModalIntencao() override
    {
        if (modalAberto)
            chamadas << QStringLiteral("fechar modal");
        modalAberto = false;
    }
    bool modalIntencaoVisivel() const override { return modalAberto; }
    void exibirAlerta(const QString& m, const QString& i) override { alertas << qMakePair(m, i); }
};

class JanelasComAtivacao : public JanelasNulas {
public:
    std::optional<AppJanela> frente;
    QList<AppJanela> ativadas;
    std::optional<AppJanela> daFrente() override { return frente; }
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds) override
    {
        ativadas << app;
        frente = app;
        co_return true;
    }
};

constexpr qint64 kPidSonvo = 4242;
const AppJanela kKate{0x400001, QStringLiteral("kate"), 77};
const AppJanela kSonvo{0x600001, QStringLiteral("sonvo"), kPidSonvo};

struct MenuAcoes : ::testing::Test, PilhaDeDitado {
    ServidorTeste servidor;
    JanelasComAtivacao janelas;
    AreaTransferenciaNula clipboard;
    AtalhosNulos atalhos;
    NotificacoesNulas notificacoes;
    IntentDetectionService intencao{config, rede, pasta};
    PaineisFalsos paineis;
    std::unique_ptr<AppDelegate> delegate;

    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        config.registrarPadroes(Configuracoes::padroesDoApp());
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")).has_value());
        delegate = std::make_unique<AppDelegate>(AppDelegate::Dependencias{
            config, vm, janelas, clipboard, atalhos, notificacoes, vocab, kPidSonvo, std::chrono::steady_clock::now,
            &insercao, &intencao, [this] { return AIService::currentProvider(config, rede, pasta); }, &paineis});
        delegate->observeRecordingState();
        janelas.frente = kKate;
        insercao.frente = [this] { return janelas.frente ? janelas.frente->id : std::nullopt; };
    }
    void TearDown() override
    {
        delegate.reset();
        Log::enviarParaArquivo(QStringLiteral("/dev/null"));
    }
    QStringList log() const { return QString::fromUtf8(amb.lerLog()).split(u'\n', Qt::SkipEmptyParts); }
    bool noLog(const QString& linha) const { return log().contains(linha); }

    // The menu open over a dictated text, with Sonvo's own panel in front (it took the focus).
    void abrirMenu(const QString& texto)
    {
        vm.setTextoEditadoAtual(QString());
        delegate->showActionMenu(texto);
        ASSERT_TRUE(paineis.menuAberto);
        janelas.frente = kSonvo;
    }
    static Resposta sse(const QStringList& pedacos, int intervaloMs = 0)
    {
        return Resposta::sse(Resposta::eventosOpenAI(pedacos), intervaloMs);
    }
};

} // namespace

TEST_F(MenuAcoes, PilulasSeguemOEstado)
{
    delegate->observarEstado(RecordingState::recording());
    delegate->observarEstado(RecordingState::transcribing());
    delegate->observarEstado(RecordingState::completed());
    delegate->observarEstado(RecordingState::idle());
    EXPECT_EQ(paineis.chamadas, (QStringList{QStringLiteral("mostrar gravação"), QStringLiteral("esconder gravação"),
                                             QStringLiteral("mostrar processamento"),
                                             QStringLiteral("esconder gravação"),
                                             QStringLiteral("esconder processamento")}));
    // The 0.5 s dismissal of the processing pill still comes.
    paineis.chamadas.clear();
    ASSERT_TRUE(girarAte([&] { return !paineis.chamadas.isEmpty(); }, 2000));
    EXPECT_EQ(paineis.chamadas, QStringList{QStringLiteral("esconder processamento")});

    // A recording started while an error is on display keeps the pill hidden.
    paineis.chamadas.clear();
    delegate->observarEstado(RecordingState::error(QStringLiteral("Sem microfone")));
    delegate->observarEstado(RecordingState::recording());
    EXPECT_TRUE(paineis.chamadas.isEmpty()) << paineis.chamadas.join(u',').toStdString();
}

TEST_F(MenuAcoes, ConcluidoSemTranscrevendoNaoEncaminha)
{
    delegate->handleHotKeyTrigger(true); // no microphone: error, but the press counts as Super+Shift+R
    ASSERT_TRUE(delegate->lastHotkeyWasActionMenu());
    delegate->observarEstado(RecordingState::idle());
    delegate->observarEstado(RecordingState::completed());
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_TRUE(log().filter(QStringLiteral("handlePostTranscription")).isEmpty());
}

TEST_F(MenuAcoes, DitadoComMenuVaiAoMenuEFecharInsereEEnsina)
{
    config.definir(QStringLiteral("toggleShowIntentModal"), false);
    servidor.enfileirar(Resposta::json(200, R"({"text":"reuniao amanha"})"));
    const QString wav = amb.raiz() + QStringLiteral("/fala.wav");
    ASSERT_TRUE(gravarArquivo(wav, wavSintetico(16000, 1, 0.5)));
    delegate->handleHotKeyTrigger(true); // kate in front; the start fails without a microphone
    girarPor(50);
    sm.transcreverArquivo(wav);
    ASSERT_TRUE(girarAte([&] { return paineis.menuAberto; }));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [.completed] → handlePostTranscription (⌘⇧R + mode permite) texto.count=14")));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [Phase7] mode-aware: showIntentModal=false → showActionMenu direto")));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [ActionMenu] showActionMenu — texto.count=14 alvo=kate")));
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("reuniao amanha"));
    EXPECT_EQ(paineis.acoesOferecidas, QuickActions::padrao());
    EXPECT_TRUE(insercao.insercoes.isEmpty()) << "the dictation waits for the menu";

    // The user fixes a word in the preview and presses Escape.
    janelas.frente = kSonvo;
    vm.setTextoEditadoAtual(QStringLiteral("reunião amanha"));
    paineis.menu.inserirComoEsta();
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [ActionMenu] dismiss inserting=1 texto.count=14 alvo=kate")));
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("reunião amanha"));
    EXPECT_EQ(insercao.insercoes.first().second, QStringLiteral("kate")) << "kate is brought back before pasting";
    EXPECT_EQ(janelas.ativadas, QList<AppJanela>{kKate});
    EXPECT_EQ(vocab.pendingCorrections().value(QStringLiteral("reuniao|reunião")), 1) << "the edit taught Tier 1";
}

TEST_F(MenuAcoes, IntencaoAltaAbreOModalMediaAbreOMenu)
{
    vm.setTextoEditadoAtual(QString());
    delegate->handlePostTranscription(QStringLiteral("transforma em email: a reunião mudou para sexta"));
    ASSERT_TRUE(girarAte([&] { return paineis.modalAberto || paineis.menuAberto; }));
    EXPECT_TRUE(paineis.modalAberto);
    EXPECT_EQ(paineis.acaoDoModal, QuickAction::email);
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [Intent] resultado=alta acao=email")));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [Intent] showConfirmModal acao=email alvo=kate")));

    // Escape on the modal: the full menu, aimed at the application in front before the modal.
    janelas.frente = kSonvo;
    paineis.modal.escape();
    EXPECT_FALSE(paineis.modalAberto);
    EXPECT_TRUE(paineis.menuAberto);
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [Intent] ESC → Ver Opções")));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [Intent] VER OPÇÕES → showActionMenu")));
    EXPECT_EQ(delegate->actionMenuTargetApp(), kKate);

    // A keyword without the imperative verb is unsure: the menu, never the modal (the model is
    // asked and fails here: nothing is configured to answer it).
    paineis.menu.descartar();
    paineis.chamadas.clear();
    servidor.definirPadrao(Resposta::json(500, R"({"error":{"message":"x"}})"));
    delegate->handlePostTranscription(QStringLiteral("o email da reunião chegou"));
    ASSERT_TRUE(girarAte([&] { return paineis.menuAberto; }, 5000));
    EXPECT_FALSE(paineis.chamadas.contains(QStringLiteral("abrir modal")));
}

TEST_F(MenuAcoes, ConfirmarAplicaAAcaoEInsereNoAlvoDoModal)
{
    servidor.enfileirar(sse({QStringLiteral("Olá,\n\n"), QStringLiteral("a reunião mudou.")}));
    vm.setTextoEditadoAtual(QStringLiteral("a reunião mudou"));
    delegate->showIntentConfirmModal(QuickAction::email, vm.textoEditadoAtual());
    janelas.frente = kSonvo;
    paineis.modal.confirmar(QuickAction::email);
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [Intent] CONFIRMAR acao=email")));
    EXPECT_FALSE(paineis.menuAberto) << "confirming shows no menu";
    // No menu on screen: the processing pill says an answer is coming, and the dictation's return
    // to idle meanwhile does not take it away.
    EXPECT_EQ(paineis.chamadas.filter(QStringLiteral("gerando")), QStringList{QStringLiteral("gerando")});
    delegate->observarEstado(RecordingState::completed());
    delegate->observarEstado(RecordingState::idle());
    EXPECT_FALSE(paineis.chamadas.contains(QStringLiteral("esconder processamento")));
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first(), qMakePair(QStringLiteral("Olá,\n\na reunião mudou."),
                                                    std::optional<QString>(QStringLiteral("kate"))));
    EXPECT_EQ(paineis.chamadas.filter(QStringLiteral("gerando")),
              (QStringList{QStringLiteral("gerando"), QStringLiteral("fim gerando")}));
    EXPECT_FALSE(paineis.chamadas.contains(QStringLiteral("esconder processamento")));
}

TEST_F(MenuAcoes, StreamCresceNoPreviewEInsereDepoisDe200ms)
{
    servidor.enfileirar(sse({QStringLiteral("Resumo"), QStringLiteral(": reunião"), QStringLiteral(" na sexta.")}, 30));
    abrirMenu(QStringLiteral("a reunião que era hoje foi para sexta"));
    QStringList vistos;
    QObject::connect(&vm, &RecordingViewModel::textoEditadoAtualChanged, [&](const QString& t) { vistos << t; });
    paineis.menu.acaoEscolhida(QuickAction::resumir);
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [ActionMenu] ação selecionada: resumir")));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [AI/Stream] provider=openai action=resumir texto.count=37 ctx=nil")));
    EXPECT_TRUE(paineis.ocupado);
    ASSERT_TRUE(girarAte([&] { return noLog(QStringLiteral("Vozel [AI/Stream] OK action=resumir resultado.count=25")); }))
        << log().join(u'\n').toStdString();
    EXPECT_EQ(vistos, (QStringList{QString(), QStringLiteral("Resumo"), QStringLiteral("Resumo: reunião"),
                                   QStringLiteral("Resumo: reunião na sexta.")}));
    EXPECT_TRUE(paineis.menuAberto) << "the finished text stays in view for a moment";
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }, 2000));
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("Resumo: reunião na sexta."));
    const auto corpo = QJsonDocument::fromJson(servidor.requisicoes().first().corpo).object();
    EXPECT_TRUE(corpo.value(QStringLiteral("stream")).toBool());
}

TEST_F(MenuAcoes, EscapeDuranteOStreamInsereOParcialECancela)
{
    servidor.enfileirar(sse({QStringLiteral("Primeira parte"), QStringLiteral(" e o resto")}, 1500));
    abrirMenu(QStringLiteral("texto original"));
    paineis.menu.acaoEscolhida(QuickAction::post);
    // Leaving the menu while the answer streams does nothing.
    paineis.menu.ponteiroSaiu();
    ASSERT_TRUE(girarAte([&] { return vm.textoEditadoAtual() == QStringLiteral("Primeira parte"); }, 5000));
    girarPor(200);
    EXPECT_TRUE(paineis.menuAberto);
    paineis.menu.inserirComoEsta();
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [AI/Stream] cancelado durante stream — preview parcial=14 chars")));
    EXPECT_FALSE(delegate->tarefaIAAtiva());
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("Primeira parte"));
    girarPor(1800);
    EXPECT_EQ(insercao.insercoes.size(), 1) << "the rest of the stream never arrives anywhere";
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("Primeira parte"));
}

TEST_F(MenuAcoes, FalhaDoStreamDevolveOTextoEAvisa)
{
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key provided"}})"));
    abrirMenu(QStringLiteral("meu texto"));
    paineis.menu.acaoEscolhida(QuickAction::email);
    ASSERT_TRUE(girarAte([&] { return !paineis.alertas.isEmpty(); }));
    EXPECT_EQ(paineis.alertas.first().first, QStringLiteral("Não foi possível transformar o texto"));
    EXPECT_FALSE(paineis.alertas.first().second.isEmpty());
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("meu texto"));
    EXPECT_TRUE(paineis.menuAberto) << "the user may pick again or discard";
    EXPECT_FALSE(paineis.ocupado);
    EXPECT_EQ(log().filter(QStringLiteral("Vozel [AI/Stream] FALHOU action=email erro=")).size(), 1);
    EXPECT_TRUE(insercao.insercoes.isEmpty());
}

TEST_F(MenuAcoes, PedidoUnicoMostraOMarcadorENaoOInsereSeOMenuFechar)
{
    config.definir(QStringLiteral("toggleStreamingInline"), false);
    Resposta lenta = Resposta::json(200, R"({"choices":[{"message":{"role":"assistant","content":" • sexta "}}]})");
    lenta.atrasoMs = 800;
    servidor.enfileirar(lenta);
    abrirMenu(QStringLiteral("reunião sexta"));
    paineis.menu.acaoEscolhida(QuickAction::bulletPoints);
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("✨ Aplicando Bullet Points…"));
    // While the request runs the pointer may leave without closing anything.
    paineis.menu.ponteiroSaiu();
    girarPor(300);
    EXPECT_TRUE(paineis.menuAberto);
    // Escape now inserts the dictated text, not the placeholder, and drops the late answer.
    paineis.menu.inserirComoEsta();
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("reunião sexta"));
    girarPor(900);
    EXPECT_EQ(insercao.insercoes.size(), 1);
    EXPECT_TRUE(log().filter(QStringLiteral("Vozel [AI] OK")).isEmpty());
}

TEST_F(MenuAcoes, PedidoUnicoTrocaOTextoPeloResultado)
{
    config.definir(QStringLiteral("toggleStreamingInline"), false);
    servidor.enfileirar(Resposta::json(200, R"({"choices":[{"message":{"role":"assistant","content":"• sexta"}}]})"));
    abrirMenu(QStringLiteral("reunião sexta"));
    janelas.frente = kKate; // the target is already in front: no activation
    paineis.menu.acaoEscolhida(QuickAction::bulletPoints);
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [AI] OK provider=openai action=bulletPoints resultado.count=7")));
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("• sexta"));
    EXPECT_TRUE(janelas.ativadas.isEmpty());
}

TEST_F(MenuAcoes, TextoVazioNaoChamaOProvedor)
{
    abrirMenu(QStringLiteral("x"));
    vm.setTextoEditadoAtual(QString());
    paineis.menu.acaoEscolhida(QuickAction::resumir);
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [AI] texto vazio — abortando")));
    girarPor(100);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
}

TEST_F(MenuAcoes, SairDoMenuOciosoInsereDepoisDe150msSalvoSeVoltar)
{
    abrirMenu(QStringLiteral("fica"));
    paineis.menu.ponteiroSaiu();
    girarPor(80);
    paineis.menu.ponteiroEntrou();
    girarPor(250);
    EXPECT_TRUE(paineis.menuAberto) << "the pointer came back in time";

    paineis.menu.ponteiroSaiu();
    ASSERT_TRUE(girarAte([&] { return !paineis.menuAberto; }, 1000));
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("fica"));
}

TEST_F(MenuAcoes, DescartarFechaSemInserir)
{
    abrirMenu(QStringLiteral("não quero"));
    paineis.menu.descartar();
    girarPor(200);
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_TRUE(insercao.insercoes.isEmpty());
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [ActionMenu] dismiss inserting=0 texto.count=9 alvo=kate")));
}

TEST_F(MenuAcoes, SemMenuNosModosQueODesligam)
{
    config.definir(QStringLiteral("toggleShowActionMenu"), false);
    delegate->handlePostTranscription(QStringLiteral("direto"));
    EXPECT_FALSE(paineis.menuAberto);
    EXPECT_TRUE(
        noLog(QStringLiteral("Vozel [Phase7] mode=stealth (no action menu) — paste direto delegado ao SpeechManager")));
}

TEST_F(MenuAcoes, EscapeAntesDoPrimeiroFragmentoInsereODitado)
{
    Resposta lenta = sse({QStringLiteral("tarde demais")});
    lenta.atrasoMs = 3000;
    servidor.enfileirar(lenta);
    abrirMenu(QStringLiteral("meu ditado"));
    paineis.menu.acaoEscolhida(QuickAction::resumir);
    EXPECT_TRUE(vm.textoEditadoAtual().isEmpty()) << "the answer grows in place of the text";
    girarPor(100);
    paineis.menu.inserirComoEsta();
    EXPECT_TRUE(noLog(QStringLiteral("Vozel [AI/Stream] cancelado durante stream — preview parcial=0 chars")));
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first().first, QStringLiteral("meu ditado")) << "an empty preview never wins";
}

TEST_F(MenuAcoes, FalhaDepoisDeConfirmarAbreOMenuComODitado)
{
    servidor.enfileirar(Resposta::json(500, R"({"error":{"message":"overloaded"}})"));
    vm.setTextoEditadoAtual(QStringLiteral("a reunião mudou"));
    delegate->showIntentConfirmModal(QuickAction::email, vm.textoEditadoAtual());
    janelas.frente = kSonvo;
    paineis.modal.confirmar(QuickAction::email);
    ASSERT_TRUE(girarAte([&] { return !paineis.alertas.isEmpty(); }));
    EXPECT_TRUE(paineis.menuAberto) << "the dictation is not left nowhere";
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("a reunião mudou"));
    EXPECT_EQ(delegate->actionMenuTargetApp(), kKate) << "still aimed at where the user was";
    paineis.menu.inserirComoEsta();
    ASSERT_TRUE(girarAte([&] { return !insercao.insercoes.isEmpty(); }));
    EXPECT_EQ(insercao.insercoes.first(), qMakePair(QStringLiteral("a reunião mudou"),
                                                    std::optional<QString>(QStringLiteral("kate"))));
}

TEST_F(MenuAcoes, NovoDitadoEncerraOQueOAnteriorDeixouRodando)
{
    // A confirmed intent streams with no menu; the user dictates again meanwhile.
    servidor.enfileirar(sse({QStringLiteral("Olá,"), QStringLiteral(" tarde demais")}, 1500));
    vm.setTextoEditadoAtual(QStringLiteral("primeiro"));
    delegate->showIntentConfirmModal(QuickAction::email, vm.textoEditadoAtual());
    paineis.modal.confirmar(QuickAction::email);
    ASSERT_TRUE(delegate->tarefaIAAtiva());
    config.definir(QStringLiteral("toggleShowIntentModal"), false);
    vm.setTextoEditadoAtual(QStringLiteral("segundo")); // as the new transcript arrives
    delegate->handlePostTranscription(QStringLiteral("segundo"));
    EXPECT_FALSE(delegate->tarefaIAAtiva());
    ASSERT_TRUE(paineis.menuAberto);
    girarPor(3500);
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("segundo")) << "the old answer never lands in the new menu";
    EXPECT_TRUE(paineis.menuAberto);
    EXPECT_TRUE(insercao.insercoes.isEmpty());
}

TEST_F(MenuAcoes, ReabrirComOMenuNaFrenteMantemOAlvo)
{
    abrirMenu(QStringLiteral("um")); // kate captured, then Sonvo's menu took the focus
    delegate->showActionMenu(QStringLiteral("dois"));
    EXPECT_EQ(delegate->actionMenuTargetApp(), kKate);
}
