#include "core/Http.h"

#include "core/TextoUnicode.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QCoroNetworkReply>

#include <cstring>
#include <memory>

namespace sonvo::Http {

namespace {
// The body as a device that cannot rewind, so the resend fails instead of happening.
class CorpoDeUmaVez : public QIODevice {
public:
    explicit CorpoDeUmaVez(QByteArray dados) : m_dados(std::move(dados)) { open(QIODevice::ReadOnly); }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_dados.size() - m_pos + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char* dest, qint64 max) override
    {
        const qint64 n = std::min(max, m_dados.size() - m_pos);
        if (n <= 0)
            return m_pos >= m_dados.size() ? -1 : 0;
        std::memcpy(dest, m_dados.constData() + m_pos, static_cast<size_t>(n));
        m_pos += n;
        return n;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_dados;
    qint64 m_pos = 0;
};
} // namespace

std::optional<QString> mensagemDeErro(const QByteArray& corpo)
{
    const QJsonDocument doc = QJsonDocument::fromJson(corpo);
    const QJsonValue msg = doc.object().value(QStringLiteral("error")).toObject().value(QStringLiteral("message"));
    if (doc.isObject() && msg.isString())
        return msg.toString();
    return TextoUnicode::decodificarUtf8(corpo);
}

bool falhaDeTransporte(int erroQt)
{
    const auto e = static_cast<QNetworkReply::NetworkError>(erroQt);
    if (e == QNetworkReply::NoError)
        return false;
    const bool deConteudo = e >= QNetworkReply::ContentAccessDenied && e < QNetworkReply::ProtocolUnknownError;
    const bool doServidor = e >= QNetworkReply::InternalServerError;
    return !deConteudo && !doServidor;
}

QNetworkReply* postarUmaVez(QNetworkAccessManager& rede, QNetworkRequest req, QByteArray corpo)
{
    req.setHeader(QNetworkRequest::ContentLengthHeader, corpo.size());
    req.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    req.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    auto* dispositivo = new CorpoDeUmaVez(std::move(corpo));
    QNetworkReply* reply = rede.post(req, dispositivo);
    dispositivo->setParent(reply);
    return reply;
}

QCoro::Task<Resposta> post(QNetworkAccessManager& rede, QNetworkRequest req, QByteArray corpo, std::chrono::milliseconds prazo)
{
    std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> reply(postarUmaVez(rede, std::move(req), std::move(corpo)),
                                                                  [](QNetworkReply* r) { r->deleteLater(); });
    Resposta r;
    if (!co_await qCoro(reply.get()).waitForFinished(prazo)) {
        reply->abort();
        r.falha = Resposta::Falha::prazo;
        r.erro = QStringLiteral("tempo esgotado");
        co_return r;
    }
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QNetworkReply::NetworkError erro = reply->error();
    if (!status.isValid()) {
        // No status line: the connection failed, or what answered does not speak HTTP.
        const bool naoHttp = erro == QNetworkReply::ProtocolFailure || erro == QNetworkReply::ProtocolUnknownError
            || erro == QNetworkReply::ProtocolInvalidOperationError;
        r.falha = naoHttp ? Resposta::Falha::naoHttp : Resposta::Falha::transporte;
        r.erro = reply->errorString();
        co_return r;
    }
    r.status = status.toInt();
    r.corpo = reply->isOpen() ? reply->readAll() : QByteArray();
    // A reset or truncated answer keeps its status line: it is still a broken exchange. For error
    // statuses Qt derives its error code from the status itself, which the caller maps.
    if (r.status >= 200 && r.status < 300 && falhaDeTransporte(erro)) {
        r.falha = Resposta::Falha::transporte;
        r.erro = reply->errorString();
    }
    co_return r;
}

} // namespace sonvo::Http
