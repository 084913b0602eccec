#pragma once

#include "core/Resultado.h"

#include <QString>
#include <QCoroTask>

#include <chrono>
#include <optional>

namespace sonvo {

class Configuracoes;

// Local recognition when the cloud can't be used: whisper.cpp's command-line program with a ggml
// model, language pt, run as an argument vector (never through a shell) with a time limit.
class FallbackTranscriptionService {
public:
    struct FallbackErro {
        enum class Caso { recognizerIndisponivel, semResultado, falhou };
        Caso caso;
        QString descricao;
    };
    struct Reconhecedor {
        QString programa;
        QString modelo;
    };

    // "whisperCliPath" or whisper-cli on the PATH; "whisperModelPath" or the first
    // models/ggml-*.bin in the data folder. Nothing when either is missing.
    static std::optional<Reconhecedor> localizar(const Configuracoes& config, const QString& pastaDados);

    explicit FallbackTranscriptionService(std::optional<Reconhecedor> reconhecedor,
                                          std::chrono::milliseconds prazo = std::chrono::minutes(2));
    bool disponivel() const { return m_reconhecedor.has_value(); }

    QCoro::Task<Resultado<QString, FallbackErro>> transcrever(QString arquivo);

private:
    std::optional<Reconhecedor> m_reconhecedor;
    std::chrono::milliseconds m_prazo;
};

} // namespace sonvo
