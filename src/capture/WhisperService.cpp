#include "capture/WhisperService.h"

#include "app/Arquivos.h"
#include "app/Endpoints.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStringDecoder>
#include <QUuid>
#include <QCoroNetworkReply>

#include <cstring>
#include <memory>

namespace sonvo {

namespace {
using Erro = WhisperService::WhisperErro;

Erro erroRede(QString descricao)
{
    return Erro{Erro::Caso::rede, 0, std::nullopt, std::move(descricao)};
}

// Qt reports HTTP error statuses through the same enum; only these codes mean the exchange itself broke.
bool falhaDeTransporte(QNetworkReply::NetworkError e)
{
    if (e == QNetworkReply::NoError)
        return false;
    const bool deConteudo = e >= QNetworkReply::ContentAccessDenied && e < QNetworkReply::ProtocolUnknownError;
    const bool doServidor = e >= QNetworkReply::InternalServerError;
    return !deConteudo && !doServidor;
}

// The body as a device that cannot rewind: Qt silently resends a request whose connection
// broke before an answer, and a transcription must be sent once.
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

bool apenasEspacosETabs(const QString& s)
{
    for (QChar c : s)
        if (c != u' ' && c != u'\t')
            return false;
    return true;
}
} // namespace

std::optional<QString> Texto::utf8Estrito(const QByteArray& bytes)
{
    QStringDecoder dec(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString s = dec.decode(bytes);
    if (dec.hasError())
        return std::nullopt;
    return s;
}

WhisperService::WhisperService(QNetworkAccessManager& rede, QUrl endpoint, std::chrono::milliseconds prazo)
    : m_rede(rede), m_endpoint(std::move(endpoint)), m_prazo(prazo)
{
}

QUrl WhisperService::endpointPara(const Configuracoes& config)
{
    return Endpoints::juntar(Endpoints::baseOpenAI(config), QStringLiteral("/v1/audio/transcriptions"));
}

QString WhisperService::novoBoundary()
{
    return QStringLiteral("Boundary-") + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QPair<QByteArray, QByteArray> WhisperService::moldura(const QString& boundary, const std::optional<QString>& vocabularyHint)
{
    const QByteArray b = boundary.toUtf8();
    const QByteArray separador = "--" + b + "\r\n";
    QByteArray antes = separador;
    antes += "Content-Disposition: form-data; name=\"file\"; filename=\"audio.wav\"\r\n";
    antes += "Content-Type: audio/wav\r\n\r\n";

    QByteArray depois = "\r\n";
    depois += separador;
    depois += "Content-Disposition: form-data; name=\"model\"\r\n\r\n";
    depois += "whisper-1\r\n";
    depois += separador;
    depois += "Content-Disposition: form-data; name=\"language\"\r\n\r\n";
    depois += "pt\r\n";
    if (vocabularyHint && !apenasEspacosETabs(*vocabularyHint)) {
        depois += separador;
        depois += "Content-Disposition: form-data; name=\"prompt\"\r\n\r\n";
        depois += vocabularyHint->toUtf8(); // as given: its surrounding blanks are part of it
        depois += "\r\n";
    }
    depois += "--" + b + "--\r\n";
    return {antes, depois};
}

QByteArray WhisperService::montarCorpo(const QByteArray& audio, const QString& boundary,
                                       const std::optional<QString>& vocabularyHint)
{
    const auto [antes, depois] = moldura(boundary, vocabularyHint);
    return antes + audio + depois;
}

Resultado<QString, WhisperService::WhisperErro> WhisperService::interpretarResposta(int status, const QByteArray& corpo)
{
    const QJsonDocument doc = QJsonDocument::fromJson(corpo);
    if (status != 200) {
        std::optional<QString> mensagem;
        const QJsonValue msg = doc.object().value(QStringLiteral("error")).toObject().value(QStringLiteral("message"));
        if (doc.isObject() && msg.isString())
            mensagem = msg.toString();
        else
            mensagem = Texto::utf8Estrito(corpo);
        return Erro{Erro::Caso::respostaInvalida, status, mensagem, {}};
    }
    const QJsonValue texto = doc.object().value(QStringLiteral("text"));
    if (!doc.isObject() || !texto.isString())
        return Erro{Erro::Caso::decodeFalhou, 0, std::nullopt, {}};
    return texto.toString();
}

QCoro::Task<Resultado<QString, WhisperService::WhisperErro>>
WhisperService::transcrever(QString arquivo, QString apiKey, std::optional<QString> vocabularyHint)
{
    const QString boundary = novoBoundary();
    // The file is read straight into the body, so the audio is held once.
    auto [corpo, depois] = moldura(boundary, vocabularyHint);
    corpo.reserve(corpo.size() + QFileInfo(arquivo).size() + depois.size());
    if (const auto erro = Arquivos::lerAnexando(arquivo, corpo))
        co_return erroRede(QStringLiteral("ler ") + arquivo + QStringLiteral(": ") + erro->descricao);
    corpo += depois;

    QNetworkRequest req(m_endpoint);
    req.setRawHeader("Authorization", "Bearer " + apiKey.toUtf8());
    req.setRawHeader("Content-Type", "multipart/form-data; boundary=" + boundary.toUtf8());
    req.setHeader(QNetworkRequest::ContentLengthHeader, corpo.size());
    req.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    req.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);

    auto* dispositivo = new CorpoDeUmaVez(std::move(corpo));
    std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> reply(m_rede.post(req, dispositivo),
                                                                  [](QNetworkReply* r) { r->deleteLater(); });
    dispositivo->setParent(reply.get());
    const bool terminou = co_await qCoro(reply.get()).waitForFinished(m_prazo);
    if (!terminou) {
        reply->abort();
        co_return erroRede(QStringLiteral("tempo esgotado"));
    }

    const QVariant statusAttr = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QNetworkReply::NetworkError erro = reply->error();
    if (!statusAttr.isValid()) {
        // No HTTP status line: either the transport failed, or what answered was not HTTP.
        if (erro == QNetworkReply::ProtocolFailure || erro == QNetworkReply::ProtocolUnknownError
            || erro == QNetworkReply::ProtocolInvalidOperationError)
            co_return Erro{Erro::Caso::respostaInvalida, -1, std::nullopt, reply->errorString()};
        co_return erroRede(reply->errorString());
    }
    const int status = statusAttr.toInt();
    const QByteArray resposta = reply->isOpen() ? reply->readAll() : QByteArray();
    // A reset or truncated 200 still carries its status: it is a transport failure, never a success.
    if (status == 200 && falhaDeTransporte(erro))
        co_return erroRede(reply->errorString());
    co_return interpretarResposta(status, resposta);
}

QString descricao(const WhisperService::WhisperErro& erro)
{
    switch (erro.caso) {
    case Erro::Caso::respostaInvalida:
        if (erro.status == 401)
            return QStringLiteral("API key inválida");
        if (erro.mensagem && !erro.mensagem->isEmpty())
            return QStringLiteral("Erro ") + QString::number(erro.status) + QStringLiteral(": ") + *erro.mensagem;
        return QStringLiteral("Erro ") + QString::number(erro.status);
    case Erro::Caso::rede: return QStringLiteral("Erro: sem conexão");
    case Erro::Caso::decodeFalhou: return QStringLiteral("Resposta inválida da API");
    }
    return {};
}

bool deveUsarFallback(const WhisperService::WhisperErro& erro)
{
    return erro.caso == Erro::Caso::rede || (erro.caso == Erro::Caso::respostaInvalida && erro.status >= 500);
}

} // namespace sonvo
