#pragma once

#include "dictation/RecordingState.h"
#include "shell/ContextoDitado.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QCoroTask>

namespace sonvo {

class Configuracoes;
class FluxoIntencao;
class FluxoMenuAcoes;
class IntentDetectionService;
class PaineisFlutuantes;
class RecordingViewModel;

// What follows the dictation's state: the pills, and a Super+Shift+R dictation routed to the
// intent modal or to the action menu once its text is ready.
class FluxoPosDitado : public QObject {
    Q_OBJECT
public:
    struct Dependencias {
        Configuracoes& config;
        RecordingViewModel& viewModel;
        FluxoMenuAcoes& menu;
        FluxoIntencao& intencao;
        const ContextoDitado& contexto;
        IntentDetectionService* detector = nullptr;
        PaineisFlutuantes* paineis = nullptr;
    };

    explicit FluxoPosDitado(Dependencias deps, QObject* parent = nullptr);

    void observeRecordingState();
    void observarEstado(const RecordingState& estado);
    void scheduleProcessingDismiss(double segundos);
    void handlePostTranscription(const QString& texto);
    void liberar(); // termination

private:
    QCoro::Task<> detectarEEncaminhar(QString texto);

    Dependencias m_d;
    RecordingState m_estadoAnterior;
    QTimer m_processingDismiss;
    quint64 m_geracaoRota = 0; // a late intent answer for an older dictation is dropped
};

} // namespace sonvo
