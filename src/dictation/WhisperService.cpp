#include "dictation/WhisperService.h"

#include "core/Arquivos.h"
#include "core/Http.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>
#include <QUuid>


namespace sonvo {

namespace {
using Erro = WhisperService::WhisperErro;

Erro erroRede(QString descricao)
{
    return Erro{Erro::Caso::rede, 0, std::nullopt, std::move(descricao)};
}

bool apenasEspacosETabs(const QString& s)
{
    for (QChar c : s)
        if (c != u' ' && c != u'\t')
            return false;
    return true;
}
} // namespace

WhisperService::WhisperService(QNetworkAccessManager& rede, QUrl endpoint, std::chrono::milliseconds prazo, QString modelo)
    : m_rede(rede), m_endpoint(std::move(endpoint)), m_prazo(prazo), m_modelo(std::move(modelo))
{
}

QString WhisperService::novoBoundary()
{
    return QStringLiteral("Boundary-") + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

TipoAudio WhisperService::tipoDoArquivo(const QString& arquivo)
{
    if (arquivo.endsWith(QStringLiteral(".ogg"), Qt::CaseInsensitive))
        return {"audio.ogg", "audio/ogg"};
    return {};
}

QPair<QByteArray, QByteArray> WhisperService::moldura(const QString& boundary, const std::optional<QString>& vocabularyHint,
                                                      const TipoAudio& tipo, const QString& modelo)
{
    const QByteArray b = boundary.toUtf8();
    const QByteArray separador = "--" + b + "\r\n";
    QByteArray antes = separador;
    antes += "Content-Disposition: form-data; name=\"file\"; filename=\"" + tipo.nome + "\"\r\n";
    antes += "Content-Type: " + tipo.mime + "\r\n\r\n";

    QByteArray depois = "\r\n";
    depois += separador;
    depois += "Content-Disposition: form-data; name=\"model\"\r\n\r\n";
    depois += modelo.toUtf8() + "\r\n";
    depois += separador;
    depois += "Content-Disposition: form-data; name=\"language\"\r\n\r\n";
    depois += "pt\r\n";
    if (vocabularyHint && !apenasEspacosETabs(*vocabularyHint)) {
        depois += separador;
        depois += "Content-Disposition: form-data; name=\"prompt\"\r\n\r\n";
        depois += vocabularyHint->toUtf8(); // as given: its surrounding blanks are part of it
        depois += "\r\n";
    }
    if (modelo != u"whisper-1") {
        depois += separador;
        depois += "Content-Disposition: form-data; name=\"response_format\"\r\n\r\n";
        depois += "json\r\n";
    }
    depois += "--" + b + "--\r\n";
    return {antes, depois};
}

QByteArray WhisperService::montarCorpo(const QByteArray& audio, const QString& boundary,
                                       const std::optional<QString>& vocabularyHint, const TipoAudio& tipo,
                                       const QString& modelo)
{
    const auto [antes, depois] = moldura(boundary, vocabularyHint, tipo, modelo);
    return antes + audio + depois;
}

Resultado<QString, WhisperService::WhisperErro> WhisperService::interpretarResposta(int status, const QByteArray& corpo)
{
    if (status != 200)
        return Erro{Erro::Caso::respostaInvalida, status, Http::mensagemDeErro(corpo), {}};
    const QJsonDocument doc = QJsonDocument::fromJson(corpo);
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
    auto [corpo, depois] = moldura(boundary, vocabularyHint, tipoDoArquivo(arquivo), m_modelo);
    corpo.reserve(corpo.size() + QFileInfo(arquivo).size() + depois.size());
    if (const auto erro = Arquivos::lerAnexando(arquivo, corpo))
        co_return erroRede(QStringLiteral("ler ") + arquivo + QStringLiteral(": ") + erro->descricao);
    corpo += depois;

    QNetworkRequest req(m_endpoint);
    if (!apiKey.isEmpty())
        req.setRawHeader("Authorization", "Bearer " + apiKey.toUtf8());
    req.setRawHeader("Content-Type", "multipart/form-data; boundary=" + boundary.toUtf8());
    const Http::Resposta r = co_await Http::post(m_rede, req, std::move(corpo), m_prazo);
    switch (r.falha) {
    case Http::Resposta::Falha::nenhuma: break;
    case Http::Resposta::Falha::naoHttp: co_return Erro{Erro::Caso::respostaInvalida, -1, std::nullopt, r.erro};
    case Http::Resposta::Falha::transporte:
    case Http::Resposta::Falha::prazo: co_return erroRede(r.erro);
    }
    co_return interpretarResposta(r.status, r.corpo);
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
