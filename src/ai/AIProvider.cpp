#include "ai/AIProvider.h"

#include "core/Configuracoes.h"
#include "core/Endpoints.h"

namespace sonvo {

QString Provedores::rawValue(AIProviderID id)
{
    return id == AIProviderID::anthropic ? QStringLiteral("anthropic") : QStringLiteral("openai");
}

QString Provedores::displayName(AIProviderID id)
{
    return id == AIProviderID::anthropic ? QStringLiteral("Anthropic (claude-haiku-4-5)") : QStringLiteral("OpenAI (gpt-4o-mini)");
}

QString Provedores::model(AIProviderID id)
{
    return id == AIProviderID::anthropic ? QStringLiteral("claude-haiku-4-5") : QStringLiteral("gpt-4o-mini");
}

QString Provedores::caminhoEndpoint(AIProviderID id)
{
    return id == AIProviderID::anthropic ? QStringLiteral("/v1/messages") : QStringLiteral("/v1/chat/completions");
}

QString Provedores::contaChave(AIProviderID id)
{
    return id == AIProviderID::anthropic ? QStringLiteral("anthropic_api_key") : QStringLiteral("openai_api_key");
}

QString Provedores::mensagemErroSalvar(AIProviderID id)
{
    return id == AIProviderID::anthropic ? QStringLiteral("Erro ao salvar chave Anthropic") : QStringLiteral("Erro ao salvar chave OpenAI");
}

std::optional<AIProviderID> Provedores::deRawValue(const QString& raw)
{
    if (raw == u"openai")
        return AIProviderID::openai;
    if (raw == u"anthropic")
        return AIProviderID::anthropic;
    return std::nullopt;
}

QUrl Provedores::endpoint(AIProviderID id, const Configuracoes& config)
{
    const QUrl base = id == AIProviderID::anthropic ? Endpoints::baseAnthropic(config) : Endpoints::baseOpenAI(config);
    return Endpoints::juntar(base, caminhoEndpoint(id));
}

QString AIErro::errorDescription() const
{
    switch (caso) {
    case Caso::semChaveConfigurada:
        return QStringLiteral("Configure a chave ") + Provedores::displayName(provedor) + QStringLiteral(" em Preferências");
    case Caso::respostaInvalida: {
        QString t = QStringLiteral("Erro ") + QString::number(status);
        if (mensagem && !mensagem->isEmpty())
            t += QStringLiteral(": ") + *mensagem;
        return t;
    }
    case Caso::decodeFalhou:
        return QStringLiteral("Resposta inválida da API");
    case Caso::rede:
        return QStringLiteral("Erro de rede: ") + erroSubjacente;
    }
    return {};
}

AIProviderID AIService::currentProviderID(const Configuracoes& config)
{
    const auto v = config.texto(QStringLiteral("aiProvider"));
    return v && *v == u"anthropic" ? AIProviderID::anthropic : AIProviderID::openai;
}

} // namespace sonvo
