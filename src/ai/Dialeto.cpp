#include "ai/Dialeto.h"

#include "core/Http.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>
#include <QStringList>

namespace sonvo {

namespace {

QJsonObject mensagem(const QString& role, const QString& content)
{
    return QJsonObject{{QStringLiteral("role"), role}, {QStringLiteral("content"), content}};
}

QByteArray compacto(const QJsonObject& obj)
{
    return QJsonDocument(obj).toJson(QJsonDocument::Compact);
}

namespace openai {

void autenticar(QNetworkRequest& req, const QString& chave)
{
    req.setRawHeader("Authorization", "Bearer " + chave.toUtf8());
}

QJsonObject corpoAcao(const QString& sistema, const QString& usuario)
{
    return QJsonObject{
        {QStringLiteral("model"), Provedores::model(AIProviderID::openai)},
        {QStringLiteral("messages"), QJsonArray{mensagem(QStringLiteral("system"), sistema), mensagem(QStringLiteral("user"), usuario)}},
    };
}

// choices[0].message.content, for both uses.
std::optional<QString> texto(const QJsonObject& resposta)
{
    const QJsonArray choices = resposta.value(QStringLiteral("choices")).toArray();
    const QJsonValue content = choices.first().toObject().value(QStringLiteral("message")).toObject().value(QStringLiteral("content"));
    if (choices.isEmpty() || !content.isString())
        return std::nullopt;
    return content.toString();
}

} // namespace openai

namespace anthropic {

void autenticar(QNetworkRequest& req, const QString& chave)
{
    req.setRawHeader("x-api-key", chave.toUtf8());
    req.setRawHeader("anthropic-version", Provedores::versaoAnthropic.toUtf8());
}

QJsonObject corpoAcao(const QString& sistema, const QString& usuario)
{
    return QJsonObject{
        {QStringLiteral("model"), Provedores::model(AIProviderID::anthropic)},
        {QStringLiteral("max_tokens"), 1024},
        {QStringLiteral("system"), sistema},
        {QStringLiteral("messages"), QJsonArray{mensagem(QStringLiteral("user"), usuario)}},
    };
}

// Every text block, joined: the quick action's answer.
std::optional<QString> textoDosBlocos(const QJsonObject& resposta)
{
    const QJsonValue content = resposta.value(QStringLiteral("content"));
    if (!content.isArray())
        return std::nullopt;
    QStringList textos;
    for (const QJsonValue& v : content.toArray()) {
        const QJsonObject bloco = v.toObject();
        const QJsonValue tipo = bloco.value(QStringLiteral("type"));
        const QJsonValue texto = bloco.value(QStringLiteral("text"));
        // A block without a type, or with a text that is not text, makes the whole answer unreadable.
        if (!v.isObject() || !tipo.isString() || (!texto.isUndefined() && !texto.isNull() && !texto.isString()))
            return std::nullopt;
        if (tipo.toString() == u"text" && texto.isString())
            textos << texto.toString();
    }
    QString junto = textos.join(u'\n');
    if (junto.isEmpty())
        return std::nullopt;
    return junto;
}

// content[0].text: the short question's answer.
std::optional<QString> primeiroTexto(const QJsonObject& resposta)
{
    const QJsonValue texto = resposta.value(QStringLiteral("content")).toArray().first().toObject().value(QStringLiteral("text"));
    if (!texto.isString())
        return std::nullopt;
    return texto.toString();
}

} // namespace anthropic

// A failed exchange or any status but 200, as a quick action reports it.
std::optional<AIErro> falhaDaAcao(AIProviderID p, const Http::Resposta& r)
{
    switch (r.falha) {
    case Http::Resposta::Falha::transporte:
    case Http::Resposta::Falha::prazo: return AIErro::deRede(p, r.erro);
    case Http::Resposta::Falha::naoHttp: return AIErro::resposta(p, -1, std::nullopt);
    case Http::Resposta::Falha::nenhuma: break;
    }
    if (r.status != 200)
        return AIErro::resposta(p, r.status, Http::mensagemDeErro(r.corpo));
    return std::nullopt;
}

} // namespace

QNetworkRequest Dialeto::requisicao(AIProviderID p, const QUrl& url, const QString& chave, bool stream)
{
    QNetworkRequest req(url);
    if (p == AIProviderID::anthropic)
        anthropic::autenticar(req, chave);
    else
        openai::autenticar(req, chave);
    req.setRawHeader("Content-Type", "application/json");
    if (stream && p == AIProviderID::anthropic)
        req.setRawHeader("Accept", "text/event-stream");
    return req;
}

QByteArray Dialeto::corpoAcao(AIProviderID p, const QString& sistema, const QString& usuario, bool stream)
{
    QJsonObject obj = p == AIProviderID::anthropic ? anthropic::corpoAcao(sistema, usuario) : openai::corpoAcao(sistema, usuario);
    obj.insert(QStringLiteral("temperature"), 0.4);
    if (stream)
        obj.insert(QStringLiteral("stream"), true);
    return compacto(obj);
}

QByteArray Dialeto::corpoPergunta(AIProviderID p, const QString& prompt, double temperatura, int maxTokens)
{
    return compacto(QJsonObject{
        {QStringLiteral("model"), Provedores::model(p)},
        {QStringLiteral("temperature"), temperatura},
        {QStringLiteral("max_tokens"), maxTokens},
        {QStringLiteral("messages"), QJsonArray{mensagem(QStringLiteral("user"), prompt)}},
    });
}

Resultado<QString, AIErro> Dialeto::ler(AIProviderID p, Uso uso, const Http::Resposta& r)
{
    if (uso == Uso::acao) {
        if (auto erro = falhaDaAcao(p, r))
            return *erro;
    } else if (!r.respondeu()) {
        return AIErro::deRede(p, r.erro);
    }
    const QJsonDocument doc = QJsonDocument::fromJson(r.corpo);
    std::optional<QString> texto;
    if (doc.isObject() && p == AIProviderID::openai)
        texto = openai::texto(doc.object());
    else if (doc.isObject())
        texto = uso == Uso::acao ? anthropic::textoDosBlocos(doc.object()) : anthropic::primeiroTexto(doc.object());
    if (!texto)
        return AIErro::decode(p);
    return uso == Uso::acao ? texto->trimmed() : *texto;
}

} // namespace sonvo
