#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

namespace sonvo::teste {

using Cabecalhos = QList<QPair<QByteArray, QByteArray>>;

struct ParteMultipart {
    QByteArray nome;
    std::optional<QByteArray> nomeArquivo;
    QByteArray tipoConteudo;
    Cabecalhos cabecalhos;
    QByteArray dados;
};

struct Requisicao {
    QByteArray metodo;
    QByteArray caminho;
    Cabecalhos cabecalhos; // in the order received, names as sent
    QByteArray corpo;

    QByteArray cabecalho(const QByteArray& nome) const; // case-insensitive; empty when absent
    // The multipart/form-data parts, strictly parsed; nothing when the body is malformed.
    std::optional<QList<ParteMultipart>> partes() const;
};

// What the server does with the next request.
struct Resposta {
    enum class Modo {
        normal,      // status line, headers, whole body
        reset,       // the connection is reset (RST) without an answer
        truncada,    // headers announce the whole body, half of it is sent, then the connection closes
        semResposta, // never answers; the connection stays open
        naoHttp,     // bytes that are not HTTP, then close
    };
    int status = 200;
    QByteArray corpo;
    Cabecalhos cabecalhos{{"Content-Type", "application/json"}};
    int atrasoMs = 0;
    Modo modo = Modo::normal;
    // A streamed answer (chunked transfer encoding): each piece written after its delay.
    QList<QPair<int, QByteArray>> pedacos;
    bool resetNoFim = false; // a streamed answer ends with a reset instead of the last chunk
    // In a streamed piece, this marker is replaced at write time by the steady clock in nanoseconds
    // (latency benchmarks compare it with the moment the fragment reaches its consumer).
    static constexpr const char* marcaDeTempo = "@@T@@";

    static Resposta json(int status, const QByteArray& corpo);
    static Resposta texto(int status, const QByteArray& corpo, const QByteArray& tipo = "text/plain");
    static Resposta comModo(Modo m);
    // A server-sent-event stream: each piece is written (as one chunk) `intervaloMs` after the last.
    static Resposta sse(const QList<QByteArray>& pedacos, int intervaloMs = 0);
    // OpenAI's chat-completion chunks for these fragments, ending with "data: [DONE]".
    static QList<QByteArray> eventosOpenAI(const QStringList& fragmentos, bool comFim = true);
    // Anthropic's message events for these fragments, with a ping, ending with message_stop.
    static QList<QByteArray> eventosAnthropic(const QStringList& fragmentos, bool comFim = true);
};

// A real HTTP/1.1 server on an OS-chosen loopback port, on a thread of its own so that tests may
// block while it answers. It keeps every request and answers from a queue (or the default).
class ServidorTeste {
public:
    ServidorTeste();
    ~ServidorTeste();
    ServidorTeste(const ServidorTeste&) = delete;
    ServidorTeste& operator=(const ServidorTeste&) = delete;

    QUrl url() const; // http://127.0.0.1:<porta>

    void enfileirar(const Resposta& r);
    void esvaziarFila();
    void definirPadrao(const Resposta& r);
    void guardarCorpos(bool guardar); // off: bodies are counted, not kept (benchmarks)

    QList<Requisicao> requisicoes() const;
    int conexoesAbertas() const;

    struct Estado;

private:
    std::unique_ptr<Estado> m;
};

} // namespace sonvo::teste
