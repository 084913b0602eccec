#pragma once

#include "ai/AIProvider.h"
#include "ai/Dialeto.h"
#include "ai/QuickAction.h"
#include "core/KeychainService.h"
#include "core/Resultado.h"

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QCoroTask>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

namespace sonvo {

// A streamed transformation: fragments arrive as the model writes them, then `terminou` once,
// with the error that ended it or nothing. The work starts when the stream is made; parar() closes
// the connection and nothing more is delivered.
class FluxoIA : public QObject {
    Q_OBJECT
public:
    using Interpretador = std::function<PassoSSE(const QByteArray& linha)>;

    // A stream that fails at once (no key), delivered after the caller had the chance to connect.
    FluxoIA(AIErro erro);
    // A stream over this request; `interpretador` turns each line into fragments or the end.
    FluxoIA(QNetworkAccessManager& rede, const QNetworkRequest& req, QByteArray corpo, AIProviderID provedor,
            Interpretador interpretador);
    ~FluxoIA() override;

    void parar();
    bool terminado() const { return m_terminado; }
    const std::optional<AIErro>& erro() const { return m_erro; }
    // Waits for the end (fragments still arrive through the signal meanwhile).
    QCoro::Task<std::optional<AIErro>> fim();

Q_SIGNALS:
    void fragmento(const QString& texto);
    void terminou();

private:
    void linhasChegaram();
    void respostaTerminou();
    void concluir(std::optional<AIErro> erro);

    AIProviderID m_provedor;
    QPointer<QNetworkReply> m_reply;
    Interpretador m_interpretador;
    LinhasSSE m_linhas;
    bool m_statusVisto = false;
    bool m_terminado = false;
    std::optional<AIErro> m_erro;
};

// What a provider needs from outside; tests swap the endpoint and the time limits.
struct ContextoIA {
    QNetworkAccessManager& rede;
    KeychainService keychain;
    QUrl endpoint;
    std::chrono::milliseconds prazoUnico = std::chrono::seconds(30);
    std::chrono::milliseconds prazoStream = std::chrono::seconds(60); // silence allowed between events
};

class AIProvider {
public:
    virtual ~AIProvider() = default;
    virtual AIProviderID id() const = 0;
    // The whole answer, trimmed of blanks and line ends.
    virtual QCoro::Task<Resultado<QString, AIErro>> transformar(QString texto, QuickAction action,
                                                                 std::optional<QString> selectionContext) = 0;
    virtual std::unique_ptr<FluxoIA> transformarStream(const QString& texto, QuickAction action,
                                                       const std::optional<QString>& selectionContext) = 0;
};

// Both providers make the same exchanges, each in its own dialect (ai/Dialeto.h).
class ProvedorDeDialeto : public AIProvider {
public:
    ProvedorDeDialeto(AIProviderID id, ContextoIA ctx) : m_id(id), m_ctx(std::move(ctx)) {}
    AIProviderID id() const override { return m_id; }
    QCoro::Task<Resultado<QString, AIErro>> transformar(QString texto, QuickAction action,
                                                         std::optional<QString> selectionContext) override;
    std::unique_ptr<FluxoIA> transformarStream(const QString& texto, QuickAction action,
                                               const std::optional<QString>& selectionContext) override;

private:
    AIProviderID m_id;
    ContextoIA m_ctx;
};

class OpenAIProvider : public ProvedorDeDialeto {
public:
    explicit OpenAIProvider(ContextoIA ctx) : ProvedorDeDialeto(AIProviderID::openai, std::move(ctx)) {}
};

class AnthropicProvider : public ProvedorDeDialeto {
public:
    explicit AnthropicProvider(ContextoIA ctx) : ProvedorDeDialeto(AIProviderID::anthropic, std::move(ctx)) {}
};

namespace AIService {
// The provider the user chose ("aiProvider"), wired to the configured endpoint and key store.
std::unique_ptr<AIProvider> currentProvider(const Configuracoes& config, QNetworkAccessManager& rede,
                                            const QString& pastaDados);
// The action menu's single request: blank text comes back as it is, with no request and no log line.
QCoro::Task<Resultado<QString, AIErro>> transformar(AIProvider& provedor, QString texto, QuickAction action,
                                                     std::optional<QString> selectionContext);
} // namespace AIService

} // namespace sonvo
