#pragma once

#include <QString>
#include <QUrl>

#include <array>
#include <optional>

namespace sonvo {

class Configuracoes;

enum class AIProviderID { openai, anthropic };

namespace Provedores {
inline constexpr std::array<AIProviderID, 2> todos{AIProviderID::openai, AIProviderID::anthropic};
QString rawValue(AIProviderID id);       // "openai", "anthropic"
QString displayName(AIProviderID id);    // "OpenAI (gpt-4o-mini)", "Anthropic (claude-haiku-4-5)"
QString model(AIProviderID id);          // "gpt-4o-mini", "claude-haiku-4-5"
QString caminhoEndpoint(AIProviderID id); // "/v1/chat/completions", "/v1/messages"
QString contaChave(AIProviderID id);     // "openai_api_key", "anthropic_api_key"
QString mensagemErroSalvar(AIProviderID id); // "Erro ao salvar chave OpenAI"
std::optional<AIProviderID> deRawValue(const QString& raw);
// The chat or messages endpoint under the configured base URL.
QUrl endpoint(AIProviderID id, const Configuracoes& config);
inline const QString versaoAnthropic = QStringLiteral("2023-06-01");
} // namespace Provedores

// A failed transformation; every case names the provider that raised it.
struct AIErro {
    enum class Caso { semChaveConfigurada, respostaInvalida, decodeFalhou, rede };
    Caso caso;
    AIProviderID provedor;
    int status = 0;                  // respostaInvalida
    std::optional<QString> mensagem; // respostaInvalida
    QString erroSubjacente;          // rede: the transport's own description

    static AIErro semChave(AIProviderID p) { return {Caso::semChaveConfigurada, p, 0, std::nullopt, {}}; }
    static AIErro resposta(AIProviderID p, int status, std::optional<QString> msg) { return {Caso::respostaInvalida, p, status, std::move(msg), {}}; }
    static AIErro decode(AIProviderID p) { return {Caso::decodeFalhou, p, 0, std::nullopt, {}}; }
    static AIErro deRede(AIProviderID p, QString descricao) { return {Caso::rede, p, 0, std::nullopt, std::move(descricao)}; }

    QString errorDescription() const;
};

namespace AIService {
// "anthropic" exactly chooses Anthropic; anything else, or nothing, is OpenAI.
AIProviderID currentProviderID(const Configuracoes& config);
} // namespace AIService

} // namespace sonvo
