#include "shell/RoteadorAtalhos.h"

#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "dictation/SpeechManager.h"
#include "platform/AreaTransferencia.h"
#include "platform/Janelas.h"
#include "shell/RecordingViewModel.h"

#include <utility>

namespace sonvo {

namespace {
const QString kRotuloMenu = QStringLiteral("Super+Shift+R");
const QString kRotuloDireto = QStringLiteral("Super+Shift+T");
} // namespace

RoteadorAtalhos::RoteadorAtalhos(Dependencias deps, QObject* parent) : QObject(parent), m_d(std::move(deps))
{
    // Presses hop through the event loop: the handler never runs inside the platform's callback.
    connect(&m_d.atalhos, &AtalhosGlobais::pressionado, this, &RoteadorAtalhos::aoPressionar, Qt::QueuedConnection);
    connect(&m_d.atalhos, &AtalhosGlobais::solto, this, &RoteadorAtalhos::aoSoltar, Qt::QueuedConnection);
    connect(&m_d.atalhos, &AtalhosGlobais::rotulosDefinidos, this, [this](const QHash<int, QString>& r) {
        m_rotulosDoDesktop = r;
        Log::tag("HotKey", QStringLiteral("atalhos do desktop: %@"), {recordMenuTitle()});
        Q_EMIT recordMenuTitleChanged(recordMenuTitle());
    });
    connect(&m_d.atalhos, &AtalhosGlobais::indisponivel, this, [this](const QString& motivo) {
        Log::simples(QStringLiteral("atalhos globais recusados pelo desktop: %@"), {motivo});
        m_rotulos.clear();
        m_rotulosDoDesktop.clear();
        Q_EMIT recordMenuTitleChanged(recordMenuTitle());
        Q_EMIT atalhosIndisponiveis();
    });
}

bool RoteadorAtalhos::gravando() const
{
    return m_d.viewModel.speechManager().recordingState().caso == RecordingState::Caso::recording;
}

void RoteadorAtalhos::aoPressionar(int id)
{
    if (id != 1 && id != 2)
        return;
    m_pressao = Pressao{id, m_d.relogio(), !gravando()};
    handleHotKeyTrigger(id == 1);
}

void RoteadorAtalhos::aoSoltar(int id)
{
    if (!m_pressao || m_pressao->id != id)
        return;
    const Pressao p = *std::exchange(m_pressao, std::nullopt);
    if (m_d.config.texto(QStringLiteral("modoAtalho")) != u"segurar" || !p.iniciou || !gravando())
        return;
    // A tap leaves the dictation running, to be ended by the next press.
    if (m_d.relogio() - p.inicio < kToqueMaximo)
        return;
    acionar(id == 1, false);
}

void RoteadorAtalhos::iniciar(bool actionMenu)
{
    if (!gravando())
        acionar(actionMenu, false);
}

bool RoteadorAtalhos::parar()
{
    if (!gravando())
        return false;
    acionar(m_contexto.foiMenu, false);
    return true;
}

const QList<AtalhoGlobal>& RoteadorAtalhos::hotKeySpecs()
{
    static const QList<AtalhoGlobal> specs{{1, 'R', kRotuloMenu}, {2, 'T', kRotuloDireto}};
    return specs;
}

void RoteadorAtalhos::setupGlobalHotkey()
{
    const int status = m_d.atalhos.instalarTratador();
    if (status != 0) {
        Log::simples(QStringLiteral("falha ao instalar handler de hotkey global (status %d)."), {status});
    } else {
        m_rotulos.clear();
        for (const AtalhoGlobal& a : hotKeySpecs()) {
            const int s = m_d.atalhos.registrar(a);
            if (s != 0) {
                Log::simples(QStringLiteral("falha ao registrar hotkey %@ (status %d)."), {a.rotulo, s});
                continue;
            }
            m_rotulos << a.rotulo;
        }
        Q_EMIT recordMenuTitleChanged(recordMenuTitle());
        if (!m_rotulos.isEmpty())
            return;
    }
    setupEventMonitorFallback();
}

void RoteadorAtalhos::setupEventMonitorFallback()
{
    if (m_monitor)
        return;
    Log::simples(QStringLiteral("usando fallback de monitor de teclado para atalhos."));
    // Without a keyboard monitor (no X display), the menu and `sonvo alternar` remain.
    m_monitor = m_d.atalhos.instalarMonitor(hotKeySpecs());
}

void RoteadorAtalhos::liberarAtalhos()
{
    m_d.atalhos.removerRegistros();
    if (m_monitor)
        m_d.atalhos.removerMonitor();
    m_monitor = false;
}

QStringList RoteadorAtalhos::rotulosVisiveis() const
{
    return m_rotulos.isEmpty() ? QStringList{kRotuloMenu, kRotuloDireto} : m_rotulos;
}

QString RoteadorAtalhos::recordMenuTitle() const
{
    if (!m_rotulosDoDesktop.isEmpty()) {
        QStringList r;
        for (const AtalhoGlobal& a : hotKeySpecs())
            if (m_rotulosDoDesktop.contains(a.id))
                r << m_rotulosDoDesktop.value(a.id);
        return QStringLiteral("Gravar  ") + r.join(QStringLiteral(" / "));
    }
    return QStringLiteral("Gravar  ") + rotulosVisiveis().join(QStringLiteral(" / "));
}

std::optional<QString> RoteadorAtalhos::readSelectedText()
{
    const auto frente = m_d.janelas.daFrente();
    if (!frente)
        return std::nullopt;
    auto texto = m_d.clipboard.textoSelecionado(*frente);
    if (!texto || texto->isEmpty())
        return std::nullopt;
    return texto;
}

void RoteadorAtalhos::handleHotKeyTrigger(bool actionMenu)
{
    acionar(actionMenu, true);
}

void RoteadorAtalhos::acionar(bool actionMenu, bool debounce)
{
    const auto agora = m_d.relogio();
    if (debounce && m_ultimoAcionamento && agora - *m_ultimoAcionamento <= kDebounce)
        return;
    m_ultimoAcionamento = agora;
    m_contexto.foiMenu = actionMenu;

    if (m_d.config.booleano(Interruptores::selecao)) {
        m_contexto.selecao = readSelectedText();
        if (m_contexto.selecao)
            Log::tag("Phase7/SelectionCtx", QStringLiteral("capturado %d chars"),
                     {static_cast<long long>(TextoUnicode::contarGrafemas(*m_contexto.selecao))});
        else
            Log::tag("Phase7/SelectionCtx", QStringLiteral("sem selecao (toggle ON)"));
    } else {
        m_contexto.selecao.reset();
        Log::tag("Phase7/SelectionCtx", QStringLiteral("toggle OFF, nao capturado"));
    }

    const auto frente = m_d.janelas.daFrente();
    m_contexto.bundleID = frente && frente->pid != m_d.pidProprio ? frente->id : std::nullopt;
    Log::tag("HotKey", QStringLiteral("capturado bundleID=%@"), {m_contexto.bundleID});

    SpeechManager& speech = m_d.viewModel.speechManager();
    speech.pularInsercao = actionMenu && m_d.config.booleano(Interruptores::actionMenu);
    speech.contextoBundleID = m_contexto.bundleID;
    speech.atalhoUsado = actionMenu ? kRotuloMenu : kRotuloDireto;
    Log::tag("HotKey", QStringLiteral("trigger %@ (actionMenu=%d) state=%@"),
             {actionMenu ? kRotuloMenu : kRotuloDireto, actionMenu ? 1 : 0, m_d.viewModel.state().descricao()});
    speech.alternar();
}

void RoteadorAtalhos::startStopRecording()
{
    m_contexto.foiMenu = false;
    // From the menu entry a dictation is a plain one, whatever the last hotkey asked for: with the
    // flag above cleared nothing would route a held-back text, and it would be lost.
    SpeechManager& speech = m_d.viewModel.speechManager();
    speech.pularInsercao = false;
    speech.atalhoUsado = QStringLiteral("menu da bandeja");
    speech.alternar();
}

bool RoteadorAtalhos::retentarPendente(const DitadoPendente& pendente)
{
    SpeechManager& speech = m_d.viewModel.speechManager();
    const RecordingState::Caso caso = speech.recordingState().caso;
    if (caso == RecordingState::Caso::recording || caso == RecordingState::Caso::transcribing) {
        Log::tag("Pendentes", QStringLiteral("ditado em andamento — tentativa ignorada: %@"), {pendente.id});
        return false;
    }
    const auto frente = m_d.janelas.daFrente();
    m_contexto.foiMenu = false;
    m_contexto.selecao.reset();
    m_contexto.bundleID = frente && frente->pid != m_d.pidProprio ? frente->id : std::nullopt;
    speech.pularInsercao = false;
    speech.contextoBundleID = m_contexto.bundleID;
    return speech.retentar(pendente);
}

} // namespace sonvo
