#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace sonvo {

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

// Anthropic messages events: "event: name" then "data: {json}"; text arrives in content_block_delta.
class InterpretadorAnthropic {
public:
    PassoSSE linha(const QByteArray& linha);

private:
    QByteArray m_evento;
};

} // namespace sonvo
