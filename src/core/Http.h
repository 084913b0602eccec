#pragma once

#include <QByteArray>
#include <QNetworkRequest>
#include <QString>
#include <QCoroTask>

#include <chrono>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace sonvo::Http {

// How one exchange ended. HTTP error statuses are not failures here: callers map them.
struct Resposta {
    enum class Falha { nenhuma, transporte, naoHttp, prazo };
    Falha falha = Falha::nenhuma;
    QString erro;      // the transport's description when it failed
    int status = -1;   // the HTTP status when an answer came
    QByteArray corpo;  // the answer's body as received
    bool respondeu() const { return falha == Falha::nenhuma; }
};

// Sends a POST exactly once: Qt silently resends a request whose connection broke before the
// answer, and none of Sonvo's requests may reach a provider twice.
QNetworkReply* postarUmaVez(QNetworkAccessManager& rede, QNetworkRequest req, QByteArray corpo);

// A POST with a deadline for the whole exchange; past it the request is aborted.
QCoro::Task<Resposta> post(QNetworkAccessManager& rede, QNetworkRequest req, QByteArray corpo,
                           std::chrono::milliseconds prazo);

// The message of an error answer: OpenAI's and Anthropic's {"error":{"message":…}}, else the whole
// body as UTF-8 text, else nothing (not valid UTF-8).
std::optional<QString> mensagemDeErro(const QByteArray& corpo);

// Qt reports HTTP error statuses through the same enum as broken connections; true for the latter.
bool falhaDeTransporte(int erroQt);

} // namespace sonvo::Http
