#pragma once

#include "ai/AIProvider.h"
#include "core/Resultado.h"

#include <QString>
#include <QCoroTask>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

namespace sonvo {

class Configuracoes;

// One short, non-streamed question to a model: a single user message, no system prompt. Intent
// detection and the vocabulary audit ask their own questions this way, outside the quick-action
// providers, with their own temperature, token limit and deadline.
struct ConsultaModelo {
    AIProviderID provedor = AIProviderID::openai;
    QString prompt;
    double temperatura = 0.0;
    int maxTokens = 0;
    std::chrono::milliseconds prazo{0}; // the whole exchange; past it the request is aborted
};

// Why a question got no answer, in Portuguese.
struct FalhaConsulta {
    QString descricao;
};

namespace ConsultasModelo {

// The answer's text, or a Portuguese description of why there is none (no key, transport
// failure, deadline, a body without the answer). The HTTP status is not examined: an error body
// simply lacks the answer's field. Without a key nothing is sent.
QCoro::Task<Resultado<QString, FalhaConsulta>> perguntar(QNetworkAccessManager& rede, const Configuracoes& config,
                                                          QString pastaDados, ConsultaModelo consulta);

} // namespace ConsultasModelo
} // namespace sonvo
