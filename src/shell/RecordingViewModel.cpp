#include "shell/RecordingViewModel.h"

#include "dictation/SpeechManager.h"

namespace sonvo {

RecordingViewModel::RecordingViewModel(SpeechManager& speechManager, QObject* parent)
    : QObject(parent), m_speech(speechManager)
{
    m_resetTask.setSingleShot(true);
    // A coarse timer may fire 5 % early: 3.8 s instead of the 4 s an error stays on screen.
    m_resetTask.setTimerType(Qt::PreciseTimer);
    connect(&m_resetTask, &QTimer::timeout, this, [this] {
        // A dictation started meanwhile keeps its state.
        if (m_state.caso == RecordingState::Caso::completed || m_state.caso == RecordingState::Caso::error) {
            m_state = RecordingState::idle();
            Q_EMIT stateChanged(m_state);
        }
    });
    // Queued even when both live on the main thread: the view model hears about a change after
    // the speech manager has finished making it, never in the middle.
    connect(&m_speech, &SpeechManager::recordingStateChanged, this, &RecordingViewModel::aoMudarEstado, Qt::QueuedConnection);
    connect(&m_speech, &SpeechManager::audioLevelChanged, this,
            [this](float novo) {
                m_audioLevel = suavizar(m_audioLevel, novo);
                Q_EMIT audioLevelChanged(m_audioLevel);
            },
            Qt::QueuedConnection);
    connect(&m_speech, &SpeechManager::ultimaTranscricaoChanged, this,
            [this](const std::optional<QString>& texto) {
                m_ultima = texto;
                Q_EMIT ultimaTranscricaoChanged(m_ultima);
                setTextoEditadoAtual(texto.value_or(QString()));
            },
            Qt::QueuedConnection);
    // The current value, as a subscription would deliver it first.
    m_state = m_speech.recordingState();
    m_ultima = m_speech.ultimaTranscricao();
    m_textoEditado = m_ultima.value_or(QString());
}

float RecordingViewModel::suavizar(float anterior, float novo)
{
    if (anterior < novo)
        return novo * 0.7f + anterior * 0.3f;
    return novo * 0.3f + anterior * 0.7f;
}

void RecordingViewModel::setTextoEditadoAtual(const QString& texto)
{
    m_textoEditado = texto;
    Q_EMIT textoEditadoAtualChanged(m_textoEditado);
}

void RecordingViewModel::aoMudarEstado(const RecordingState& e)
{
    m_state = e;
    Q_EMIT stateChanged(m_state);
    if (e.caso == RecordingState::Caso::completed)
        scheduleReset(kResetAposConclusaoMs);
    else if (e.caso == RecordingState::Caso::error)
        scheduleReset(kResetAposErroMs);
}

void RecordingViewModel::scheduleReset(int atrasoMs)
{
    // Only the last completion or failure counts.
    m_resetTask.start(atrasoMs);
}

} // namespace sonvo
