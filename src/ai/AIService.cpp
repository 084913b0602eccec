#include "ai/AIService.h"

#include "core/Configuracoes.h"
#include "core/Http.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"

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

// ---- the providers ----

QCoro::Task<Resultado<QString, AIErro>> ProvedorDeDialeto::transformar(QString texto, QuickAction action,
                                                                        std::optional<QString> selectionContext)
{
    const auto chave = m_ctx.keychain.chave(Provedores::contaChave(m_id));
    if (!chave)
        co_return AIErro::semChave(m_id);
    QNetworkRequest req = Dialeto::requisicao(m_id, m_ctx.endpoint, *chave);
    QByteArray corpo = Dialeto::corpoAcao(m_id, AIPrompts::system(), AIPrompts::user(action, texto, selectionContext), false);
    const Http::Resposta r = co_await Http::post(m_ctx.rede, std::move(req), std::move(corpo), m_ctx.prazoUnico);
    co_return Dialeto::ler(m_id, Dialeto::Uso::acao, r);
}

std::unique_ptr<FluxoIA> ProvedorDeDialeto::transformarStream(const QString& texto, QuickAction action,
                                                              const std::optional<QString>& selectionContext)
{
    const auto chave = m_ctx.keychain.chave(Provedores::contaChave(m_id));
    if (!chave)
        return std::make_unique<FluxoIA>(AIErro::semChave(m_id));
    QNetworkRequest req = Dialeto::requisicao(m_id, m_ctx.endpoint, *chave, true);
    req.setTransferTimeout(static_cast<int>(m_ctx.prazoStream.count()));
    return std::make_unique<FluxoIA>(m_ctx.rede, req,
                                     Dialeto::corpoAcao(m_id, AIPrompts::system(), AIPrompts::user(action, texto, selectionContext), true),
                                     m_id, Dialeto::interpretador(m_id));
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
