// What happens to a finished dictation: the pills follow the state, a Super+Shift+R dictation
// goes to the intent modal or to the action menu, an AI action rewrites the text in the preview,
// and closing the menu inserts the text where the user was.
#include "ai/AIService.h"
#include "ai/IntentDetectionService.h"
#include "app/AppDelegate.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "app/OperationMode.h"
#include "app/Paineis.h"
#include "app/RecordingViewModel.h"
#include "capture/Insercao.h"
#include "vocabulary/TextoUnicode.h"
#include "vocabulary/VocabularyService.h"

#include <QPointer>

namespace sonvo {

namespace {
const QString kPrefixoAplicando = QStringLiteral("✨ Aplicando");

long long contar(const QString& s)
{
    return static_cast<long long>(TextoUnicode::contarGrafemas(s));
}

std::optional<QString> idDoAlvo(const std::optional<AppJanela>& alvo)
{
    return alvo ? alvo->id : std::nullopt;
}

// The selection sent as context is the user's text: the log keeps only its length.
std::optional<QString> contextoNoLog(const std::optional<QString>& ctx)
{
    return ctx ? std::optional<QString>(QString::number(contar(*ctx))) : std::nullopt;
}
} // namespace

QString AppDelegate::placeholderAplicando(QuickAction acao)
{
    return kPrefixoAplicando + u' ' + QuickActions::titulo(acao) + QStringLiteral("…");
}

void AppDelegate::observeRecordingState()
{
    m_processingDismiss.setSingleShot(true);
    m_processingDismiss.setTimerType(Qt::PreciseTimer);
    connect(&m_processingDismiss, &QTimer::timeout, this, [this] {
        if (m_d.paineis && !m_gerandoSemMenu)
            m_d.paineis->hideProcessingPanelAnimated();
    });
    m_hoverDismiss.setSingleShot(true);
    m_hoverDismiss.setTimerType(Qt::PreciseTimer);
    m_hoverDismiss.setInterval(kHoverDismiss);
    connect(&m_hoverDismiss, &QTimer::timeout, this, [this] {
        if (m_d.paineis && m_d.paineis->menuAcoesVisivel())
            dismissActionMenu(true);
    });
    m_esperaResultado.setSingleShot(true);
    m_esperaResultado.setTimerType(Qt::PreciseTimer);
    m_esperaResultado.setInterval(kEsperaResultado);
    connect(&m_esperaResultado, &QTimer::timeout, this, [this] { dismissActionMenu(true); });
    // The view model already publishes on the main thread.
    connect(&m_d.viewModel, &RecordingViewModel::stateChanged, this, &AppDelegate::observarEstado);
}

void AppDelegate::observarEstado(const RecordingState& s)
{
    using Caso = RecordingState::Caso;
    const RecordingState p = m_estadoAnterior;
    m_estadoAnterior = s;
    PaineisFlutuantes* paineis = m_d.paineis;
    switch (s.caso) {
    case Caso::idle:
        if (p.caso != Caso::idle && paineis) {
            paineis->hidePanelAnimated();
            // The pill that says an answer is on its way stays until the answer arrives.
            if (!m_gerandoSemMenu)
                paineis->hideProcessingPanelAnimated();
        }
        break;
    case Caso::recording:
        // From an error still on display the pill stays hidden: it would flash and vanish.
        if ((p.caso == Caso::idle || p.caso == Caso::completed) && paineis)
            paineis->showPanelAnimated();
        break;
    case Caso::transcribing:
        if (p.caso == Caso::recording && paineis) {
            paineis->hidePanelAnimated();
            paineis->showProcessingPanelAnimated();
        }
        break;
    case Caso::completed:
        if (p.caso == Caso::transcribing && m_ultimoFoiMenu
            && m_d.config.booleano(Interruptores::actionMenu)) {
            const QString texto = m_d.viewModel.ultimaTranscricao().value_or(m_d.viewModel.textoEditadoAtual());
            Log::tag(".completed", QStringLiteral("→ handlePostTranscription (⌘⇧R + mode permite) texto.count=%d"),
                     {contar(texto)});
            handlePostTranscription(texto);
        }
        scheduleProcessingDismiss(0.5);
        break;
    case Caso::error:
        scheduleProcessingDismiss(2.0);
        break;
    }
}

void AppDelegate::scheduleProcessingDismiss(double segundos)
{
    m_processingDismiss.stop();
    m_processingDismiss.start(static_cast<int>(segundos * 1000));
}

void AppDelegate::handlePostTranscription(const QString& texto)
{
    // A new dictation ends what the previous one left: an answer still streaming for a confirmed
    // intent, a modal nobody answered, a detection still waiting for the model.
    encerrarTarefaIA();
    ++m_geracaoRota;
    if (m_d.paineis && m_d.paineis->modalIntencaoVisivel()) {
        m_escIntencao = false;
        m_d.paineis->fecharModalIntencao();
    }
    if (m_d.viewModel.textoEditadoAtual().isEmpty())
        m_d.viewModel.setTextoEditadoAtual(texto);
    if (!m_d.config.booleano(Interruptores::actionMenu)) {
        Log::tag("Phase7", QStringLiteral("mode=stealth (no action menu) — paste direto delegado ao SpeechManager"));
        return;
    }
    if (!m_d.config.booleano(Interruptores::intentModal) || !m_d.intencao) {
        Log::tag("Phase7", QStringLiteral("mode-aware: showIntentModal=false → showActionMenu direto"));
        showActionMenu(texto);
        return;
    }
    detectarEEncaminhar(texto);
}

QCoro::Task<> AppDelegate::detectarEEncaminhar(QString texto)
{
    QPointer<AppDelegate> self(this);
    const quint64 geracao = m_geracaoRota;
    const IntentResult r = co_await m_d.intencao->detectar(texto);
    if (!self || self->m_geracaoRota != geracao)
        co_return;
    Log::tag("Intent", QStringLiteral("resultado=%@ acao=%@"),
             {Intencao::rawValue(r.confianca),
              r.acao ? std::optional<QString>(QuickActions::rawValue(*r.acao)) : std::nullopt});
    if (r.acao && r.confianca == IntentConfianca::alta)
        showIntentConfirmModal(*r.acao, texto);
    else
        showActionMenu(texto);
}

std::optional<AppJanela> AppDelegate::alvoDaFrente(const std::optional<AppJanela>& anterior)
{
    // With a panel of ours in front (a menu being replaced, the modal), the target is still the
    // application the user came from.
    const auto frente = m_d.janelas.daFrente();
    if (frente && m_d.pidProprio != 0 && frente->pid == m_d.pidProprio)
        return anterior;
    return frente;
}

void AppDelegate::showActionMenu(const QString& transcription)
{
    m_alvoMenu = alvoDaFrente(m_alvoMenu);
    Log::tag("ActionMenu", QStringLiteral("showActionMenu — texto.count=%d alvo=%@"),
             {contar(transcription), idDoAlvo(m_alvoMenu)});
    if (m_d.viewModel.textoEditadoAtual().isEmpty())
        m_d.viewModel.setTextoEditadoAtual(transcription);
    if (!m_d.paineis)
        return;
    if (m_d.paineis->menuAcoesVisivel()) {
        // Reopening keeps the target just captured.
        const auto alvo = m_alvoMenu;
        dismissActionMenu(false);
        m_alvoMenu = alvo;
    }
    QPointer<AppDelegate> self(this);
    PaineisFlutuantes::EventosMenu ev;
    ev.acaoEscolhida = [self](QuickAction a) {
        if (!self)
            return;
        Log::tag("ActionMenu", QStringLiteral("ação selecionada: %@"), {QuickActions::rawValue(a)});
        self->executarAcaoIA(a);
    };
    ev.descartar = [self] {
        if (self)
            self->dismissActionMenu(false);
    };
    ev.inserirComoEsta = [self] {
        if (self && self->m_escMenu && self->m_d.paineis->menuAcoesVisivel())
            self->dismissActionMenu(true);
    };
    ev.ponteiroSaiu = [self] {
        if (self)
            self->actionMenuMouseExited();
    };
    ev.ponteiroEntrou = [self] {
        if (self)
            self->actionMenuMouseEntered();
    };
    m_d.paineis->abrirMenuAcoes(QuickActions::loadOrdered(m_d.config), std::move(ev));
    installActionMenuEscMonitor();
}

void AppDelegate::executarAcaoIA(QuickAction acao)
{
    // One AI task at a time: a second choice replaces the first (and puts back its text).
    encerrarTarefaIA();
    const QString texto = m_d.viewModel.textoEditadoAtual();
    if (texto.isEmpty()) {
        Log::tag("AI", QStringLiteral("texto vazio — abortando"));
        return;
    }
    if (!m_d.provedorIA)
        return;
    m_hoverDismiss.stop();
    if (m_d.config.booleano(Interruptores::streaming))
        executarAcaoIAComStreaming(acao, texto);
    else
        executarAcaoIAUnico(acao, texto);
}

void AppDelegate::executarAcaoIAComStreaming(QuickAction acao, const QString& textoOriginal)
{
    m_d.viewModel.setTextoEditadoAtual(QString());
    m_originalFluxo = textoOriginal;
    m_provedor = m_d.provedorIA();
    Log::tag("AI/Stream", QStringLiteral("provider=%@ action=%@ texto.count=%d ctx=%@"),
             {Provedores::rawValue(m_provedor->id()), QuickActions::rawValue(acao), contar(textoOriginal),
              contextoNoLog(m_selecao)});
    m_fluxo = m_provedor->transformarStream(textoOriginal, acao, m_selecao);
    definirOcupado(true);
    FluxoIA* fluxo = m_fluxo.get();
    connect(fluxo, &FluxoIA::fragmento, this, [this, fluxo](const QString& pedaco) {
        if (m_fluxo.get() == fluxo)
            m_d.viewModel.setTextoEditadoAtual(m_d.viewModel.textoEditadoAtual() + pedaco);
    });
    connect(fluxo, &FluxoIA::terminou, this, [this, fluxo, acao, textoOriginal] {
        if (m_fluxo.get() != fluxo)
            return;
        const std::optional<AIErro> erro = fluxo->erro();
        // Inside the stream's own signal: it is deleted once it has returned.
        m_fluxo.release()->deleteLater();
        definirOcupado(false);
        if (!erro) {
            Log::tag("AI/Stream", QStringLiteral("OK action=%@ resultado.count=%d"),
                     {QuickActions::rawValue(acao), contar(m_d.viewModel.textoEditadoAtual())});
            aposResultado();
            return;
        }
        const QString descricao = erro->errorDescription();
        Log::tag("AI/Stream", QStringLiteral("FALHOU action=%@ erro=%@"), {QuickActions::rawValue(acao), descricao});
        m_d.viewModel.setTextoEditadoAtual(textoOriginal);
        exibirErroIA(descricao);
    });
}

QCoro::Task<> AppDelegate::executarAcaoIAUnico(QuickAction acao, QString textoOriginal)
{
    m_d.viewModel.setTextoEditadoAtual(placeholderAplicando(acao));
    // Owned by this call: a later action must not pull it from under the request.
    const std::unique_ptr<AIProvider> provedor = m_d.provedorIA();
    m_unicoRodando = true;
    m_originalUnico = textoOriginal;
    const quint64 geracao = m_geracaoIA;
    definirOcupado(true);
    QPointer<AppDelegate> self(this);
    const auto r = co_await AIService::transformar(*provedor, textoOriginal, acao, m_selecao);
    // The menu closed (or another action began) meanwhile: the answer has nowhere to go.
    if (!self || self->m_geracaoIA != geracao)
        co_return;
    m_unicoRodando = false;
    definirOcupado(false);
    if (r) {
        Log::tag("AI", QStringLiteral("OK provider=%@ action=%@ resultado.count=%d"),
                 {Provedores::rawValue(provedor->id()), QuickActions::rawValue(acao), contar(r.valor())});
        m_d.viewModel.setTextoEditadoAtual(r.valor());
        aposResultado();
        co_return;
    }
    const QString descricao = r.erro().errorDescription();
    Log::tag("AI", QStringLiteral("FALHOU action=%@ erro=%@"), {QuickActions::rawValue(acao), descricao});
    m_d.viewModel.setTextoEditadoAtual(textoOriginal);
    exibirErroIA(descricao);
}

// While a task runs the menu offers no second action; with no menu on screen (a confirmed
// intent) the processing pill says that an answer is on its way.
void AppDelegate::definirOcupado(bool ocupado)
{
    if (!m_d.paineis)
        return;
    m_d.paineis->menuOcupado(ocupado);
    if (ocupado && !m_d.paineis->menuAcoesVisivel()) {
        m_gerandoSemMenu = true;
        m_d.paineis->mostrarGerando(true);
    } else if (!ocupado && m_gerandoSemMenu) {
        m_gerandoSemMenu = false;
        m_d.paineis->mostrarGerando(false);
    }
}

// The user sees the finished text for a moment before the menu closes and inserts it.
void AppDelegate::aposResultado()
{
    m_esperaResultado.start();
}

void AppDelegate::encerrarTarefaIA()
{
    m_esperaResultado.stop();
    ++m_geracaoIA;
    if (m_fluxo) {
        Log::tag("AI/Stream", QStringLiteral("cancelado durante stream — preview parcial=%d chars"),
                 {contar(m_d.viewModel.textoEditadoAtual())});
        m_fluxo->parar();
        m_fluxo.release()->deleteLater();
        // Cancelled before the first fragment: the dictation itself stands, not an empty text.
        if (m_d.viewModel.textoEditadoAtual().isEmpty())
            m_d.viewModel.setTextoEditadoAtual(m_originalFluxo);
    }
    if (m_unicoRodando) {
        // The placeholder is not the user's text: what stands is the text the action was given.
        m_unicoRodando = false;
        if (m_d.viewModel.textoEditadoAtual().startsWith(kPrefixoAplicando))
            m_d.viewModel.setTextoEditadoAtual(m_originalUnico);
    }
    definirOcupado(false);
}

void AppDelegate::exibirErroIA(const QString& descricao)
{
    if (!m_d.paineis)
        return;
    // A confirmed intent has no menu open: the dictation goes to one, for the same target, so the
    // user can pick again, insert it as it is, or discard it.
    if (!m_d.paineis->menuAcoesVisivel()) {
        const auto alvo = m_alvoMenu;
        showActionMenu(m_d.viewModel.textoEditadoAtual());
        if (alvo)
            m_alvoMenu = alvo;
    }
    m_d.paineis->exibirAlerta(QStringLiteral("Não foi possível transformar o texto"), descricao);
}

void AppDelegate::dismissActionMenu(bool inserting)
{
    encerrarTarefaIA();
    m_hoverDismiss.stop();
    removeActionMenuEscMonitor();

    const QString texto = m_d.viewModel.textoEditadoAtual();
    const std::optional<AppJanela> alvo = m_alvoMenu;
    Log::tag("ActionMenu", QStringLiteral("dismiss inserting=%d texto.count=%d alvo=%@"),
             {inserting ? 1 : 0, contar(texto), idDoAlvo(alvo)});
    if (m_d.paineis)
        m_d.paineis->fecharMenuAcoes();
    m_alvoMenu.reset();

    if (!inserting || texto.isEmpty())
        return;
    const QString original = m_d.viewModel.ultimaTranscricao().value_or(texto);
    if (original != texto)
        m_d.vocabulario.aprenderCorrecao(original, texto, m_ultimoBundle);
    inserirNoAlvo(texto, alvo);
}

QCoro::Task<> AppDelegate::inserirNoAlvo(QString texto, std::optional<AppJanela> alvo)
{
    QPointer<AppDelegate> self(this);
    if (alvo && alvo->janela) {
        // By window: the user may have been in a second window of the same application.
        const auto frente = m_d.janelas.daFrente();
        if (!frente || frente->janela != alvo->janela) {
            co_await m_d.janelas.ativar(*alvo, kEsperaAtivacao);
            if (!self)
                co_return;
        }
    }
    if (m_d.insercao)
        co_await m_d.insercao->inserir(texto);
}

void AppDelegate::actionMenuMouseExited()
{
    // While an action runs the pointer may wander off: the result must not be cut short.
    if (tarefaIAAtiva() || !m_d.paineis || !m_d.paineis->menuAcoesVisivel()) {
        m_hoverDismiss.stop();
        return;
    }
    m_hoverDismiss.start();
}

void AppDelegate::actionMenuMouseEntered()
{
    m_hoverDismiss.stop();
}

void AppDelegate::showIntentConfirmModal(QuickAction acao, const QString& texto)
{
    m_alvoIntencao = alvoDaFrente(std::nullopt);
    Log::tag("Intent", QStringLiteral("showConfirmModal acao=%@ alvo=%@"),
             {QuickActions::rawValue(acao), idDoAlvo(m_alvoIntencao)});
    if (!m_d.paineis)
        return;
    if (m_d.paineis->modalIntencaoVisivel()) {
        m_escIntencao = false;
        m_d.paineis->fecharModalIntencao();
    }
    Q_UNUSED(texto); // the text to transform is the view model's, already filled in
    QPointer<AppDelegate> self(this);
    PaineisFlutuantes::EventosIntencao ev;
    ev.confirmar = [self](QuickAction a) {
        if (self)
            self->confirmarIntencao(a);
    };
    ev.verOpcoes = [self] {
        if (self)
            self->verOpcoesIntencao();
    };
    ev.escape = [self] {
        if (!self || !self->m_escIntencao || !self->m_d.paineis->modalIntencaoVisivel())
            return;
        Log::tag("Intent", QStringLiteral("ESC → Ver Opções"));
        self->verOpcoesIntencao();
    };
    m_d.paineis->abrirModalIntencao(acao, std::move(ev));
    m_escIntencao = true;
}

void AppDelegate::confirmarIntencao(QuickAction acao)
{
    Log::tag("Intent", QStringLiteral("CONFIRMAR acao=%@"), {QuickActions::rawValue(acao)});
    m_alvoMenu = m_alvoIntencao;
    m_escIntencao = false;
    if (m_d.paineis)
        m_d.paineis->fecharModalIntencao();
    executarAcaoIA(acao);
}

void AppDelegate::verOpcoesIntencao()
{
    Log::tag("Intent", QStringLiteral("VER OPÇÕES → showActionMenu"));
    m_escIntencao = false;
    if (m_d.paineis)
        m_d.paineis->fecharModalIntencao();
    showActionMenu(m_d.viewModel.textoEditadoAtual());
    // At this point the application in front is Sonvo itself (the modal had the focus).
    if (m_alvoIntencao)
        m_alvoMenu = m_alvoIntencao;
}

void AppDelegate::liberarPaineis()
{
    encerrarTarefaIA();
    m_hoverDismiss.stop();
    m_processingDismiss.stop();
    removeActionMenuEscMonitor();
    m_escIntencao = false;
    if (m_d.paineis) {
        m_d.paineis->fecharMenuAcoes();
        m_d.paineis->fecharModalIntencao();
    }
    m_alvoMenu.reset();
    m_alvoIntencao.reset();
}

} // namespace sonvo
