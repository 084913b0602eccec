// The action menu after a Super+Shift+R dictation: an AI action rewrites the text in the preview,
// and closing the menu inserts the text where the user was.
#include "shell/FluxoMenuAcoes.h"

#include "ai/AIService.h"
#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "dictation/Insercao.h"
#include "shell/Paineis.h"
#include "shell/RecordingViewModel.h"
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

FluxoMenuAcoes::FluxoMenuAcoes(Dependencias deps, QObject* parent) : QObject(parent), m_d(std::move(deps))
{
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
}

FluxoMenuAcoes::~FluxoMenuAcoes() = default;

QString FluxoMenuAcoes::placeholderAplicando(QuickAction acao)
{
    return kPrefixoAplicando + u' ' + QuickActions::titulo(acao) + QStringLiteral("…");
}

std::optional<AppJanela> FluxoMenuAcoes::alvoDaFrente(Janelas& janelas, qint64 pidProprio,
                                                     const std::optional<AppJanela>& anterior)
{
    const auto frente = janelas.daFrente();
    if (frente && pidProprio != 0 && frente->pid == pidProprio)
        return anterior;
    return frente;
}

void FluxoMenuAcoes::showActionMenu(const QString& transcription)
{
    m_alvo = alvoDaFrente(m_d.janelas, m_d.pidProprio, m_alvo);
    Log::tag("ActionMenu", QStringLiteral("showActionMenu — texto.count=%d alvo=%@"),
             {contar(transcription), idDoAlvo(m_alvo)});
    if (m_d.viewModel.textoEditadoAtual().isEmpty())
        m_d.viewModel.setTextoEditadoAtual(transcription);
    if (!m_d.paineis)
        return;
    if (m_d.paineis->menuAcoesVisivel()) {
        // Reopening keeps the target just captured.
        const auto alvo = m_alvo;
        dismissActionMenu(false);
        m_alvo = alvo;
    }
    QPointer<FluxoMenuAcoes> self(this);
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
            self->m_hoverDismiss.stop();
    };
    m_d.paineis->abrirMenuAcoes(QuickActions::loadOrdered(m_d.config), std::move(ev));
    m_escMenu = true;
}

void FluxoMenuAcoes::executarAcaoIA(QuickAction acao)
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

void FluxoMenuAcoes::executarAcaoIAComStreaming(QuickAction acao, const QString& textoOriginal)
{
    m_d.viewModel.setTextoEditadoAtual(QString());
    m_originalFluxo = textoOriginal;
    m_provedor = m_d.provedorIA();
    Log::tag("AI/Stream", QStringLiteral("provider=%@ action=%@ texto.count=%d ctx=%@"),
             {Provedores::rawValue(m_provedor->id()), QuickActions::rawValue(acao), contar(textoOriginal),
              contextoNoLog(m_d.contexto.selecao)});
    m_fluxo = m_provedor->transformarStream(textoOriginal, acao, m_d.contexto.selecao);
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

QCoro::Task<> FluxoMenuAcoes::executarAcaoIAUnico(QuickAction acao, QString textoOriginal)
{
    m_d.viewModel.setTextoEditadoAtual(placeholderAplicando(acao));
    // Owned by this call: a later action must not pull it from under the request.
    const std::unique_ptr<AIProvider> provedor = m_d.provedorIA();
    m_unicoRodando = true;
    m_originalUnico = textoOriginal;
    const quint64 geracao = m_geracaoIA;
    definirOcupado(true);
    QPointer<FluxoMenuAcoes> self(this);
    const auto r = co_await AIService::transformar(*provedor, textoOriginal, acao, m_d.contexto.selecao);
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
void FluxoMenuAcoes::definirOcupado(bool ocupado)
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
void FluxoMenuAcoes::aposResultado()
{
    m_esperaResultado.start();
}

void FluxoMenuAcoes::encerrarTarefaIA()
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

void FluxoMenuAcoes::exibirErroIA(const QString& descricao)
{
    if (!m_d.paineis)
        return;
    // A confirmed intent has no menu open: the dictation goes to one, for the same target, so the
    // user can pick again, insert it as it is, or discard it.
    if (!m_d.paineis->menuAcoesVisivel()) {
        const auto alvo = m_alvo;
        showActionMenu(m_d.viewModel.textoEditadoAtual());
        if (alvo)
            m_alvo = alvo;
    }
    m_d.paineis->exibirAlerta(QStringLiteral("Não foi possível transformar o texto"), descricao);
}

void FluxoMenuAcoes::dismissActionMenu(bool inserting)
{
    encerrarTarefaIA();
    m_hoverDismiss.stop();
    m_escMenu = false;

    const QString texto = m_d.viewModel.textoEditadoAtual();
    const std::optional<AppJanela> alvo = m_alvo;
    Log::tag("ActionMenu", QStringLiteral("dismiss inserting=%d texto.count=%d alvo=%@"),
             {inserting ? 1 : 0, contar(texto), idDoAlvo(alvo)});
    if (m_d.paineis)
        m_d.paineis->fecharMenuAcoes();
    m_alvo.reset();

    if (!inserting || texto.isEmpty())
        return;
    const QString original = m_d.viewModel.ultimaTranscricao().value_or(texto);
    if (original != texto)
        m_d.vocabulario.aprendizado().aprenderCorrecao(original, texto, m_d.contexto.bundleID);
    inserirNoAlvo(texto, alvo);
}

QCoro::Task<> FluxoMenuAcoes::inserirNoAlvo(QString texto, std::optional<AppJanela> alvo)
{
    QPointer<FluxoMenuAcoes> self(this);
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

void FluxoMenuAcoes::actionMenuMouseExited()
{
    // While an action runs the pointer may wander off: the result must not be cut short.
    if (tarefaIAAtiva() || !m_d.paineis || !m_d.paineis->menuAcoesVisivel()) {
        m_hoverDismiss.stop();
        return;
    }
    m_hoverDismiss.start();
}

void FluxoMenuAcoes::liberar()
{
    encerrarTarefaIA();
    m_hoverDismiss.stop();
    m_escMenu = false;
    if (m_d.paineis)
        m_d.paineis->fecharMenuAcoes();
    m_alvo.reset();
}

} // namespace sonvo
