#pragma once

#include "platform/Plataforma.h"

#include <QCoroTask>

#include <chrono>
#include <functional>

class QNetworkAccessManager;

namespace sonvo {

class Configuracoes;

// What `sonvo diagnostico` and the "sobre" page show: one line per service with the way it works
// in this session, then the microphone, notifications, tray, stored keys and transcription.
class Diagnostico {
public:
    struct Dependencias {
        const Plataforma& plataforma;
        const Configuracoes& config;
        QNetworkAccessManager& rede;
        QString pastaDados;
        bool bandeja = false; // a tray host answers (only the UI layer can ask)
        std::chrono::milliseconds prazoRede{3000};
    };

    static QCoro::Task<QList<FormaServico>> coletar(Dependencias d);
    // A dictation can land: the microphone records, something transcribes, and the text reaches
    // at least the clipboard.
    static bool ditadoPousa(const QList<FormaServico>& linhas);
    static QString texto(const QList<FormaServico>& linhas);

    static inline const QString kMicrofone = QStringLiteral("Microfone");
    static inline const QString kTranscricao = QStringLiteral("Transcrição");
    static inline const QString kClipboard = QStringLiteral("Área de transferência");
};

} // namespace sonvo
