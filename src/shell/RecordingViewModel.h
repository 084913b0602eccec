#pragma once

#include "dictation/RecordingState.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <optional>

namespace sonvo {

class SpeechManager;

// What the interface watches: mirrors the speech manager's state, level and text on the main
// thread, smooths the level for the waveform, and brings the visible state back to idle 1.25 s
// after a dictation completes and 4 s after it fails.
class RecordingViewModel : public QObject {
    Q_OBJECT
public:
    explicit RecordingViewModel(SpeechManager& speechManager, QObject* parent = nullptr);

    const RecordingState& state() const { return m_state; }
    float audioLevel() const { return m_audioLevel; }
    const std::optional<QString>& ultimaTranscricao() const { return m_ultima; }
    const QString& textoEditadoAtual() const { return m_textoEditado; }
    void setTextoEditadoAtual(const QString& texto);
    SpeechManager& speechManager() { return m_speech; }

    static constexpr int kResetAposConclusaoMs = 1250;
    static constexpr int kResetAposErroMs = 4000;
    // Rises fast, falls slowly.
    static float suavizar(float anterior, float novo);

Q_SIGNALS:
    void stateChanged(const sonvo::RecordingState& state);
    void audioLevelChanged(float nivel);
    void ultimaTranscricaoChanged(const std::optional<QString>& texto);
    void textoEditadoAtualChanged(const QString& texto);

private:
    void aoMudarEstado(const RecordingState& e);
    void scheduleReset(int atrasoMs);

    SpeechManager& m_speech;
    RecordingState m_state;
    float m_audioLevel = 0.0f;
    std::optional<QString> m_ultima;
    QString m_textoEditado;
    QTimer m_resetTask;
};

} // namespace sonvo
