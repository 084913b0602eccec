#pragma once

#include "ai/AIProvider.h"
#include "core/Resultado.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QNetworkRequest;

namespace sonvo {

namespace Http {
struct Resposta;
}

// What OpenAI's chat completions and Anthropic's messages look like on the wire, in one place: the
// headers, the bodies of Sonvo's two uses, the reading of the answers, the failures and the
// streamed events. Endpoints and models are in Provedores.
namespace Dialeto {

enum class Uso {
    acao,     // a quick action: whole answer, HTTP status and error body examined
    pergunta, // a short question (intent, audit): only the body's first answer counts
};

// Bearer key (OpenAI) or key and API version (Anthropic), a JSON body; an Anthropic stream also
// asks for server-sent events.
QNetworkRequest requisicao(AIProviderID p, const QUrl& url, const QString& chave, bool stream = false);

// A quick action: the system prompt and the user's message, temperature 0.4; Anthropic also
// requires max_tokens (1024) and takes the system prompt outside the messages.
QByteArray corpoAcao(AIProviderID p, const QString& sistema, const QString& usuario, bool stream);
// A short question: a single user message, no system prompt.
QByteArray corpoPergunta(AIProviderID p, const QString& prompt, double temperatura, int maxTokens);

// The answer's text, or why there is none. A quick action maps the transport, the deadline,
// something that is not HTTP and any status but 200 (with the error body's message), then reads
// choices[0].message.content or every Anthropic text block joined by "\n" (a malformed block
// spoils the whole answer), trimmed. A question only maps a failed exchange (as a network error)
// and reads choices[0].message.content or content[0].text as it is, whatever the status: an
// error body simply lacks the answer.
Resultado<QString, AIErro> ler(AIProviderID p, Uso uso, const Http::Resposta& r);

} // namespace Dialeto

// ---- Streams (DialetoSSE.cpp, which needs nothing of the network) ----

// Splits a byte stream into lines (LF or CR LF), whatever the network chunks. Empty lines are not
// delivered; a last line without its line end comes out of terminar().
class LinhasSSE {
public:
    QList<QByteArray> alimentar(const QByteArray& dados);
    std::optional<QByteArray> terminar();

private:
    QByteArray m_pendente;
};

// What one event line means for the consumer.
struct PassoSSE {
    bool fim = false;                 // the stream's own end marker
    std::optional<QString> fragmento; // text to hand on
};

// OpenAI chat-completion chunks: "data: {json}" lines until "data: [DONE]".
class InterpretadorOpenAI {
public:
    PassoSSE linha(const QByteArray& linha);
};

// Anthropic messages events: "event: name" then "data: {json}"; text arrives in content_block_delta
// and message_stop ends the stream.
class InterpretadorAnthropic {
public:
    PassoSSE linha(const QByteArray& linha);

private:
    QByteArray m_evento;
};

namespace Dialeto {
// A fresh interpreter of this provider's events, for one stream.
std::function<PassoSSE(const QByteArray& linha)> interpretador(AIProviderID p);
} // namespace Dialeto

} // namespace sonvo
