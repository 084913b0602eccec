#include "shell/FluxoPosDitado.h"

#include "ai/IntentDetectionService.h"
#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "shell/FluxoIntencao.h"
#include "shell/FluxoMenuAcoes.h"
#include "shell/Paineis.h"
#include "shell/RecordingViewModel.h"

#include <QPointer>

namespace sonvo {

FluxoPosDitado::FluxoPosDitado(Dependencias deps, QObject* parent) : QObject(parent), m_d(std::move(deps))
{
    m_processingDismiss.setSingleShot(true);
    m_processingDismiss.setTimerType(Qt::PreciseTimer);
    connect(&m_processingDismiss, &QTimer::timeout, this, [this] {
        if (m_d.paineis && !m_d.menu.gerandoSemMenu())
            m_d.paineis->hideProcessingPanelAnimated();
    });
}

void FluxoPosDitado::observeRecordingState()
{
    // The view model already publishes on the main thread.
    connect(&m_d.viewModel, &RecordingViewModel::stateChanged, this, &FluxoPosDitado::observarEstado);
}

void FluxoPosDitado::observarEstado(const RecordingState& s)
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
            if (!m_d.menu.gerandoSemMenu())
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
        if (p.caso == Caso::transcribing && m_d.contexto.foiMenu
            && m_d.config.booleano(Interruptores::actionMenu)) {
            const QString texto = m_d.viewModel.ultimaTranscricao().value_or(m_d.viewModel.textoEditadoAtual());
            Log::tag(".completed", QStringLiteral("→ handlePostTranscription (⌘⇧R + mode permite) texto.count=%d"),
                     {static_cast<long long>(TextoUnicode::contarGrafemas(texto))});
            handlePostTranscription(texto);
        }
        scheduleProcessingDismiss(0.5);
        break;
    case Caso::error:
        scheduleProcessingDismiss(2.0);
        break;
    }
}

void FluxoPosDitado::scheduleProcessingDismiss(double segundos)
{
    m_processingDismiss.stop();
    m_processingDismiss.start(static_cast<int>(segundos * 1000));
}

void FluxoPosDitado::handlePostTranscription(const QString& texto)
{
    // A new dictation ends what the previous one left: an answer still streaming for a confirmed
    // intent, a modal nobody answered, a detection still waiting for the model.
    m_d.menu.encerrarTarefaIA();
    ++m_geracaoRota;
    m_d.intencao.fecharModal();
    if (m_d.viewModel.textoEditadoAtual().isEmpty())
        m_d.viewModel.setTextoEditadoAtual(texto);
    if (!m_d.config.booleano(Interruptores::actionMenu)) {
        Log::tag("Phase7", QStringLiteral("mode=stealth (no action menu) — paste direto delegado ao SpeechManager"));
        return;
    }
    if (!m_d.config.booleano(Interruptores::intentModal) || !m_d.detector) {
        Log::tag("Phase7", QStringLiteral("mode-aware: showIntentModal=false → showActionMenu direto"));
        m_d.menu.showActionMenu(texto);
        return;
    }
    detectarEEncaminhar(texto);
}

QCoro::Task<> FluxoPosDitado::detectarEEncaminhar(QString texto)
{
    QPointer<FluxoPosDitado> self(this);
    const quint64 geracao = m_geracaoRota;
    const IntentResult r = co_await m_d.detector->detectar(texto);
    if (!self || self->m_geracaoRota != geracao)
        co_return;
    Log::tag("Intent", QStringLiteral("resultado=%@ acao=%@"),
             {Intencao::rawValue(r.confianca),
              r.acao ? std::optional<QString>(QuickActions::rawValue(*r.acao)) : std::nullopt});
    if (r.acao && r.confianca == IntentConfianca::alta)
        m_d.intencao.showIntentConfirmModal(*r.acao);
    else
        m_d.menu.showActionMenu(texto);
}

void FluxoPosDitado::liberar()
{
    m_processingDismiss.stop();
}

} // namespace sonvo
