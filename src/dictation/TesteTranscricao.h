#pragma once

#include <QString>
#include <QCoroTask>

class QNetworkAccessManager;

namespace sonvo {

class Configuracoes;

// Sends one second of generated, speech-free audio to the chosen transcription service, the way a
// dictation would (model, key, upload format), and returns what the user reads: the answer or why
// it failed.
struct ResultadoTeste {
    bool ok = false;
    QString texto;
};
QCoro::Task<ResultadoTeste> testarServicoTranscricao(QNetworkAccessManager& rede, const Configuracoes& config,
                                              const QString& pastaDados);

} // namespace sonvo
