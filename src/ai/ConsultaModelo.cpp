#include "ai/ConsultaModelo.h"

#include "ai/KeychainService.h"
#include "app/Configuracoes.h"
#include "app/Http.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>

namespace sonvo::ConsultasModelo {

QByteArray corpo(const ConsultaModelo& c)
{
    const QJsonObject mensagem{{QStringLiteral("role"), QStringLiteral("user")}, {QStringLiteral("content"), c.prompt}};
    const QJsonObject obj{
        {QStringLiteral("model"), Provedores::model(c.provedor)},
        {QStringLiteral("temperature"), c.temperatura},
        {QStringLiteral("max_tokens"), c.maxTokens},
        {QStringLiteral("messages"), QJsonArray{mensagem}},
    };
    return QJsonDocument(obj).toJson(QJsonDocument::Compact);
}

QNetworkRequest requisicao(AIProviderID provedor, const QUrl& url, const QString& chave)
{
    QNetworkRequest req(url);
    if (provedor == AIProviderID::anthropic) {
        req.setRawHeader("x-api-key", chave.toUtf8());
        req.setRawHeader("anthropic-version", Provedores::versaoAnthropic.toUtf8());
    } else {
        req.setRawHeader("Authorization", "Bearer " + chave.toUtf8());
    }
    req.setRawHeader("Content-Type", "application/json");
    return req;
}

std::optional<QString> textoDaResposta(AIProviderID provedor, const QByteArray& corpo)
{
    const QJsonDocument doc = QJsonDocument::fromJson(corpo);
    if (!doc.isObject())
        return std::nullopt;
    QJsonValue texto;
    if (provedor == AIProviderID::anthropic) {
        const QJsonArray content = doc.object().value(QStringLiteral("content")).toArray();
        if (!content.isEmpty())
            texto = content.first().toObject().value(QStringLiteral("text"));
    } else {
        const QJsonArray choices = doc.object().value(QStringLiteral("choices")).toArray();
        if (!choices.isEmpty())
            texto = choices.first().toObject().value(QStringLiteral("message")).toObject().value(QStringLiteral("content"));
    }
    if (!texto.isString())
        return std::nullopt;
    return texto.toString();
}

QCoro::Task<Resultado<QString, FalhaConsulta>> perguntar(QNetworkAccessManager& rede, const Configuracoes& config,
                                                          QString pastaDados, ConsultaModelo consulta)
{
    const AIProviderID p = consulta.provedor;
    const QString conta = Provedores::contaChave(p);
    const auto mapa = KeychainService(pastaDados).carregar();
    if (!mapa)
        co_return FalhaConsulta{mapa.erro().descricao()};
    const QString chave = mapa.valor().value(conta);
    if (chave.isEmpty()) {
        const KeychainService::KeychainErro semChave{KeychainService::KeychainErro::Caso::itemNaoEncontrado, {}};
        co_return FalhaConsulta{semChave.descricao() + QStringLiteral(" (") + conta + u')'};
    }
    QNetworkRequest req = requisicao(p, Provedores::endpoint(p, config), chave);
    QByteArray dados = corpo(consulta);
    const Http::Resposta r = co_await Http::post(rede, std::move(req), std::move(dados), consulta.prazo);
    if (!r.respondeu())
        co_return FalhaConsulta{AIErro::deRede(p, r.erro).errorDescription()};
    const auto texto = textoDaResposta(p, r.corpo);
    if (!texto)
        co_return FalhaConsulta{AIErro::decode(p).errorDescription()};
    co_return *texto;
}

} // namespace sonvo::ConsultasModelo
