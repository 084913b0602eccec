#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace sonvo {

class Configuracoes;

// The providers' hosts are configuration: the environment (SONVO_OPENAI_BASE_URL,
// SONVO_ANTHROPIC_BASE_URL) wins over the settings "openaiBaseURL" / "anthropicBaseURL".
namespace Endpoints {
QUrl baseOpenAI(const Configuracoes& config);
QUrl baseAnthropic(const Configuracoes& config);
// Appends an API path to a base that may carry a prefix of its own: /proxy + /v1/x = /proxy/v1/x.
QUrl juntar(const QUrl& base, const QString& caminho);
// What the user reads when a typed address is not an http(s) server; nothing when it is one.
std::optional<QString> erroDeEndereco(const QString& texto);
} // namespace Endpoints

} // namespace sonvo
