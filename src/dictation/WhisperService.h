#pragma once

#include "core/Resultado.h"

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QUrl>
#include <QCoroTask>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

namespace sonvo {


// The file name and content type of the multipart's audio part.
struct TipoAudio {
    QByteArray nome = "audio.wav";
    QByteArray mime = "audio/wav";
};

// Sends one recording to an OpenAI-compatible transcription endpoint: one attempt, no retry, no
// cache. whisper-1 gets exactly the request it always had; any other model also asks for
// response_format=json, the shape read back.
class WhisperService {
public:
    struct WhisperErro {
        enum class Caso { respostaInvalida, rede, decodeFalhou };
        Caso caso;
        int status = 0;                  // respostaInvalida: the HTTP status, -1 when not HTTP
        std::optional<QString> mensagem; // respostaInvalida
        QString erroSubjacente;          // rede: what failed, for the log
    };

    WhisperService(QNetworkAccessManager& rede, QUrl endpoint,
                   std::chrono::milliseconds prazo = std::chrono::seconds(60),
                   QString modelo = QStringLiteral("whisper-1"));
    QUrl endpoint() const { return m_endpoint; }

    // An empty key sends no Authorization header (a server of one's own may need none).
    QCoro::Task<Resultado<QString, WhisperErro>> transcrever(QString arquivo, QString apiKey,
                                                             std::optional<QString> vocabularyHint);

    // The audio part's file name and type: "audio.ogg" (audio/ogg) for an .ogg file, "audio.wav"
    // (audio/wav) otherwise.
    static TipoAudio tipoDoArquivo(const QString& arquivo);

    // The multipart body, exactly as sent. Exposed for tests and the benchmark.
    static QByteArray montarCorpo(const QByteArray& audio, const QString& boundary,
                                  const std::optional<QString>& vocabularyHint, const TipoAudio& tipo = {},
                                  const QString& modelo = QStringLiteral("whisper-1"));
    // What goes before and after the audio bytes in that body.
    static QPair<QByteArray, QByteArray> moldura(const QString& boundary, const std::optional<QString>& vocabularyHint,
                                                 const TipoAudio& tipo = {}, const QString& modelo = QStringLiteral("whisper-1"));
    static QString novoBoundary(); // "Boundary-" + upper-case UUID
    // Maps a finished answer to the result; also used by tests on raw answers.
    static Resultado<QString, WhisperErro> interpretarResposta(int status, const QByteArray& corpo);

private:
    QNetworkAccessManager& m_rede;
    QUrl m_endpoint;
    std::chrono::milliseconds m_prazo;
    QString m_modelo;
};

// The user's text for a cloud failure.
QString descricao(const WhisperService::WhisperErro& erro);

// Whether the pipeline tries local recognition after this failure: network trouble and server
// errors (5xx) do; a refused key, a rate limit or a bad answer do not.
bool deveUsarFallback(const WhisperService::WhisperErro& erro);

} // namespace sonvo
