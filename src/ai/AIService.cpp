#include "ai/AIService.h"

#include "app/Configuracoes.h"
#include "app/Http.h"
#include "app/Log.h"
#include "vocabulary/TextoUnicode.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QCoroSignal>

namespace sonvo {

// ---- FluxoIA ----

FluxoIA::FluxoIA(AIErro erro) : m_provedor(erro.provedor)
{
    QTimer::singleShot(0, this, [this, erro] { concluir(erro); });
}

FluxoIA::FluxoIA(QNetworkAccessManager& rede, const QNetworkRequest& req, QByteArray corpo, AIProviderID provedor,
                 Interpretador interpretador)
    : m_provedor(provedor), m_reply(Http::postarUmaVez(rede, req, std::move(corpo))), m_interpretador(std::move(interpretador))
{
    connect(m_reply, &QNetworkReply::readyRead, this, &FluxoIA::linhasChegaram);
    connect(m_reply, &QNetworkReply::finished, this, &FluxoIA::respostaTerminou);
}

FluxoIA::~FluxoIA()
{
    if (m_reply) {
        m_reply->disconnect(this);
        if (m_reply->isRunning())
            m_reply->abort();
        m_reply->deleteLater();
    }
}

void FluxoIA::parar()
{
    if (m_terminado)
        return;
    m_terminado = true;
    if (m_reply) {
        m_reply->disconnect(this);
        if (m_reply->isRunning())
            m_reply->abort(); // closes the connection: the provider stops generating for nobody
        m_reply->deleteLater();
    }
}

QCoro::Task<std::optional<AIErro>> FluxoIA::fim()
{
    if (!m_terminado)
        co_await qCoro(this, &FluxoIA::terminou);
    co_return m_erro;
}

void FluxoIA::concluir(std::optional<AIErro> erro)
{
    if (m_terminado)
        return;
    m_terminado = true;
    m_erro = std::move(erro);
    if (m_reply) {
        m_reply->disconnect(this);
        if (m_reply->isRunning())
            m_reply->abort(); // the provider's end marker came first: close the connection now
        m_reply->deleteLater();
    }
    Q_EMIT terminou();
}

void FluxoIA::linhasChegaram()
{
    if (m_terminado || !m_reply)
        return;
    if (!m_statusVisto) {
        const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (status.isValid() && status.toInt() != 200) {
            // The error body is not read: the status is all the stream reports.
            concluir(AIErro::resposta(m_provedor, status.toInt(), std::nullopt));
            return;
        }
        m_statusVisto = status.isValid();
    }
    const QPointer<FluxoIA> vivo(this);
    for (const QByteArray& linha : m_linhas.alimentar(m_reply->readAll())) {
        const PassoSSE passo = m_interpretador(linha);
        if (passo.fragmento)
            Q_EMIT fragmento(*passo.fragmento);
        // The consumer may have stopped or dropped the stream from its slot.
        if (!vivo || m_terminado)
            return;
        if (passo.fim) {
            concluir(std::nullopt);
            return;
        }
    }
}

void FluxoIA::respostaTerminou()
{
    if (m_terminado || !m_reply)
        return;
    const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const auto erroQt = m_reply->error();
    if (status.isValid() && status.toInt() != 200) {
        concluir(AIErro::resposta(m_provedor, status.toInt(), std::nullopt));
        return;
    }
    if (status.isValid() && m_reply->isOpen()) {
        linhasChegaram();
        if (m_terminado)
            return;
        if (const auto ultima = m_linhas.terminar()) {
            const QPointer<FluxoIA> vivo(this);
            const PassoSSE passo = m_interpretador(*ultima);
            if (passo.fragmento)
                Q_EMIT fragmento(*passo.fragmento);
            if (!vivo || m_terminado)
                return;
        }
    }
    if (!status.isValid() || Http::falhaDeTransporte(erroQt)) {
        // A reset or a stream cut short is never a clean end. Qt reports its inactivity timer as
        // a cancellation; parar() never gets here, so that can only be the timer.
        const QString desc = erroQt == QNetworkReply::OperationCanceledError ? QStringLiteral("tempo esgotado")
                                                                            : m_reply->errorString();
        concluir(AIErro::deRede(m_provedor, desc));
        return;
    }
    concluir(std::nullopt);
}

// ---- shared by both providers ----

namespace {

QJsonObject mensagem(const QString& role, const QString& content)
{
    return QJsonObject{{QStringLiteral("role"), role}, {QStringLiteral("content"), content}};
}

QNetworkRequest requisicaoOpenAI(const QUrl& url, const QString& chave)
{
    QNetworkRequest req(url);
    req.setRawHeader("Authorization", "Bearer " + chave.toUtf8());
    req.setRawHeader("Content-Type", "application/json");
    return req;
}

QNetworkRequest requisicaoAnthropic(const QUrl& url, const QString& chave)
{
    QNetworkRequest req(url);
    req.setRawHeader("x-api-key", chave.toUtf8());
    req.setRawHeader("anthropic-version", Provedores::versaoAnthropic.toUtf8());
    req.setRawHeader("Content-Type", "application/json");
    return req;
}

// Transport and status failures are mapped the same way by both providers.
std::optional<AIErro> falhaDaResposta(AIProviderID p, const Http::Resposta& r)
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

using Requisitar = QNetworkRequest (*)(const QUrl& url, const QString& chave);

// The single request of either provider: the key, the exchange and its failures are handled alike;
// the answer's body comes back for the provider to read.
QCoro::Task<Resultado<QByteArray, AIErro>> pedir(const ContextoIA& ctx, AIProviderID p, Requisitar requisicao, QByteArray corpo)
{
    const auto chave = ctx.keychain.chave(Provedores::contaChave(p));
    if (!chave)
        co_return AIErro::semChave(p);
    const Http::Resposta r = co_await Http::post(ctx.rede, requisicao(ctx.endpoint, *chave), std::move(corpo), ctx.prazoUnico);
    if (auto erro = falhaDaResposta(p, r))
        co_return *erro;
    co_return r.corpo;
}

template <typename Interpretador>
std::unique_ptr<FluxoIA> abrirFluxo(const ContextoIA& ctx, AIProviderID p, Requisitar requisicao, QByteArray corpo,
                                    const QByteArray& accept = {})
{
    const auto chave = ctx.keychain.chave(Provedores::contaChave(p));
    if (!chave)
        return std::make_unique<FluxoIA>(AIErro::semChave(p));
    QNetworkRequest req = requisicao(ctx.endpoint, *chave);
    if (!accept.isEmpty())
        req.setRawHeader("Accept", accept);
    req.setTransferTimeout(static_cast<int>(ctx.prazoStream.count()));
    auto interpretador = std::make_shared<Interpretador>();
    return std::make_unique<FluxoIA>(ctx.rede, req, std::move(corpo), p,
                                     [interpretador](const QByteArray& l) { return interpretador->linha(l); });
}

} // namespace

// ---- OpenAI ----

QByteArray OpenAIProvider::corpo(const QString& texto, QuickAction action, const std::optional<QString>& ctx, bool stream)
{
    QJsonObject obj{
        {QStringLiteral("model"), Provedores::model(AIProviderID::openai)},
        {QStringLiteral("messages"),
         QJsonArray{mensagem(QStringLiteral("system"), AIPrompts::system()),
                    mensagem(QStringLiteral("user"), AIPrompts::user(action, texto, ctx))}},
        {QStringLiteral("temperature"), 0.4},
    };
    if (stream)
        obj.insert(QStringLiteral("stream"), true);
    return QJsonDocument(obj).toJson(QJsonDocument::Compact);
}

QCoro::Task<Resultado<QString, AIErro>> OpenAIProvider::transformar(QString texto, QuickAction action,
                                                                     std::optional<QString> selectionContext)
{
    constexpr AIProviderID p = AIProviderID::openai;
    const auto r = co_await pedir(m_ctx, p, requisicaoOpenAI, corpo(texto, action, selectionContext, false));
    if (!r)
        co_return r.erro();
    const QJsonDocument doc = QJsonDocument::fromJson(r.valor());
    const QJsonArray choices = doc.object().value(QStringLiteral("choices")).toArray();
    const QJsonValue content = choices.first().toObject().value(QStringLiteral("message")).toObject().value(QStringLiteral("content"));
    if (!doc.isObject() || choices.isEmpty() || !content.isString())
        co_return AIErro::decode(p);
    co_return content.toString().trimmed();
}

std::unique_ptr<FluxoIA> OpenAIProvider::transformarStream(const QString& texto, QuickAction action,
                                                           const std::optional<QString>& selectionContext)
{
    return abrirFluxo<InterpretadorOpenAI>(m_ctx, AIProviderID::openai, requisicaoOpenAI,
                                           corpo(texto, action, selectionContext, true));
}

// ---- Anthropic ----

QByteArray AnthropicProvider::corpo(const QString& texto, QuickAction action, const std::optional<QString>& ctx, bool stream)
{
    QJsonObject obj{
        {QStringLiteral("model"), Provedores::model(AIProviderID::anthropic)},
        {QStringLiteral("max_tokens"), 1024},
        {QStringLiteral("system"), AIPrompts::system()},
        {QStringLiteral("messages"), QJsonArray{mensagem(QStringLiteral("user"), AIPrompts::user(action, texto, ctx))}},
        {QStringLiteral("temperature"), 0.4},
    };
    if (stream)
        obj.insert(QStringLiteral("stream"), true);
    return QJsonDocument(obj).toJson(QJsonDocument::Compact);
}

QCoro::Task<Resultado<QString, AIErro>> AnthropicProvider::transformar(QString texto, QuickAction action,
                                                                        std::optional<QString> selectionContext)
{
    constexpr AIProviderID p = AIProviderID::anthropic;
    const auto r = co_await pedir(m_ctx, p, requisicaoAnthropic, corpo(texto, action, selectionContext, false));
    if (!r)
        co_return r.erro();
    const QJsonDocument doc = QJsonDocument::fromJson(r.valor());
    const QJsonValue content = doc.object().value(QStringLiteral("content"));
    if (!doc.isObject() || !content.isArray())
        co_return AIErro::decode(p);
    QStringList textos;
    for (const QJsonValue& v : content.toArray()) {
        const QJsonObject bloco = v.toObject();
        const QJsonValue tipo = bloco.value(QStringLiteral("type"));
        const QJsonValue texto = bloco.value(QStringLiteral("text"));
        // A block without a type, or with a text that is not text, makes the whole answer unreadable.
        if (!v.isObject() || !tipo.isString() || (!texto.isUndefined() && !texto.isNull() && !texto.isString()))
            co_return AIErro::decode(p);
        if (tipo.toString() == u"text" && texto.isString())
            textos << texto.toString();
    }
    const QString junto = textos.join(u'\n');
    if (junto.isEmpty())
        co_return AIErro::decode(p);
    co_return junto.trimmed();
}

std::unique_ptr<FluxoIA> AnthropicProvider::transformarStream(const QString& texto, QuickAction action,
                                                              const std::optional<QString>& selectionContext)
{
    return abrirFluxo<InterpretadorAnthropic>(m_ctx, AIProviderID::anthropic, requisicaoAnthropic,
                                              corpo(texto, action, selectionContext, true), "text/event-stream");
}

// ---- AIService ----

std::unique_ptr<AIProvider> AIService::currentProvider(const Configuracoes& config, QNetworkAccessManager& rede,
                                                       const QString& pastaDados)
{
    const AIProviderID id = currentProviderID(config);
    ContextoIA ctx{rede, KeychainService(pastaDados), Provedores::endpoint(id, config)};
    if (id == AIProviderID::anthropic)
        return std::make_unique<AnthropicProvider>(std::move(ctx));
    return std::make_unique<OpenAIProvider>(std::move(ctx));
}

QCoro::Task<Resultado<QString, AIErro>> AIService::transformar(AIProvider& provedor, QString texto, QuickAction action,
                                                                std::optional<QString> selectionContext)
{
    const QString aparado = texto.trimmed();
    if (aparado.isEmpty())
        co_return texto;
    Log::tag("AI", QStringLiteral("provider=%@ action=%@ texto.count=%d ctx=%@"),
             {Provedores::rawValue(provedor.id()), QuickActions::rawValue(action),
              static_cast<long long>(TextoUnicode::contarGrafemas(aparado)),
              selectionContext ? std::optional<QString>(QString::number(TextoUnicode::contarGrafemas(*selectionContext)))
                               : std::nullopt});
    co_return co_await provedor.transformar(aparado, action, std::move(selectionContext));
}

} // namespace sonvo
