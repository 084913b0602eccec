#include "support/ServidorTeste.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <sys/socket.h>

namespace sonvo::teste {

namespace {
QByteArray razao(int status)
{
    switch (status) {
    case 200: return "OK";
    case 201: return "Created";
    case 204: return "No Content";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 404: return "Not Found";
    case 429: return "Too Many Requests";
    case 500: return "Internal Server Error";
    case 502: return "Bad Gateway";
    case 503: return "Service Unavailable";
    default: return "Status";
    }
}

void resetar(QTcpSocket* s)
{
    // SO_LINGER with zero time turns the close into a reset.
    struct linger l {1, 0};
    ::setsockopt(static_cast<int>(s->socketDescriptor()), SOL_SOCKET, SO_LINGER, &l, sizeof l);
    s->abort();
}
} // namespace

QByteArray Requisicao::cabecalho(const QByteArray& nome) const
{
    for (const auto& [n, v] : cabecalhos)
        if (n.compare(nome, Qt::CaseInsensitive) == 0)
            return v;
    return {};
}

std::optional<QList<ParteMultipart>> Requisicao::partes() const
{
    const QByteArray tipo = cabecalho("Content-Type");
    const QByteArray prefixo = "multipart/form-data; boundary=";
    if (!tipo.startsWith(prefixo))
        return std::nullopt;
    const QByteArray boundary = tipo.mid(prefixo.size());
    if (boundary.isEmpty())
        return std::nullopt;
    const QByteArray abre = "--" + boundary + "\r\n";
    const QByteArray delim = "\r\n--" + boundary;
    if (!corpo.startsWith(abre) || !corpo.endsWith("--" + boundary + "--\r\n"))
        return std::nullopt;

    QList<ParteMultipart> partes;
    qsizetype pos = abre.size();
    for (;;) {
        const qsizetype fimCab = corpo.indexOf("\r\n\r\n", pos);
        if (fimCab < 0)
            return std::nullopt;
        ParteMultipart parte;
        for (const QByteArray& linha : corpo.mid(pos, fimCab - pos).split('\n')) {
            const QByteArray l = linha.endsWith('\r') ? linha.chopped(1) : linha;
            const qsizetype dp = l.indexOf(':');
            if (dp <= 0)
                return std::nullopt;
            const QByteArray nome = l.left(dp).trimmed();
            const QByteArray valor = l.mid(dp + 1).trimmed();
            parte.cabecalhos.append({nome, valor});
            if (nome.compare("Content-Type", Qt::CaseInsensitive) == 0)
                parte.tipoConteudo = valor;
            if (nome.compare("Content-Disposition", Qt::CaseInsensitive) == 0) {
                if (!valor.startsWith("form-data"))
                    return std::nullopt;
                for (const QByteArray& item : valor.split(';')) {
                    const QByteArray t = item.trimmed();
                    if (t.startsWith("name=\"") && t.endsWith('"'))
                        parte.nome = t.mid(6).chopped(1);
                    else if (t.startsWith("filename=\"") && t.endsWith('"'))
                        parte.nomeArquivo = t.mid(10).chopped(1);
                }
            }
        }
        if (parte.nome.isEmpty())
            return std::nullopt;
        const qsizetype inicioDados = fimCab + 4;
        const qsizetype fimDados = corpo.indexOf(delim, inicioDados);
        if (fimDados < 0)
            return std::nullopt;
        parte.dados = corpo.mid(inicioDados, fimDados - inicioDados);
        partes.append(parte);
        const qsizetype depois = fimDados + delim.size();
        if (corpo.mid(depois, 4) == "--\r\n")
            return depois + 4 == corpo.size() ? std::optional(partes) : std::nullopt;
        if (corpo.mid(depois, 2) != "\r\n")
            return std::nullopt;
        pos = depois + 2;
    }
}

Resposta Resposta::json(int status, const QByteArray& corpo)
{
    Resposta r;
    r.status = status;
    r.corpo = corpo;
    return r;
}

Resposta Resposta::texto(int status, const QByteArray& corpo, const QByteArray& tipo)
{
    Resposta r;
    r.status = status;
    r.corpo = corpo;
    r.cabecalhos = {{"Content-Type", tipo}};
    return r;
}

Resposta Resposta::comModo(Modo m)
{
    Resposta r;
    r.modo = m;
    r.corpo = R"({"text":"parcial que nunca termina"})";
    return r;
}

Resposta Resposta::sse(const QList<QByteArray>& pedacos, int intervaloMs)
{
    Resposta r;
    r.cabecalhos = {{"Content-Type", "text/event-stream"}, {"Cache-Control", "no-cache"}};
    for (const QByteArray& p : pedacos)
        r.pedacos.append({intervaloMs, p});
    return r;
}

QList<QByteArray> Resposta::eventosOpenAI(const QStringList& fragmentos, bool comFim)
{
    auto evento = [](const QJsonObject& delta) {
        const QJsonObject chunk{{QStringLiteral("id"), QStringLiteral("chatcmpl-1")},
                                {QStringLiteral("object"), QStringLiteral("chat.completion.chunk")},
                                {QStringLiteral("model"), QStringLiteral("gpt-4o-mini")},
                                {QStringLiteral("choices"), QJsonArray{QJsonObject{{QStringLiteral("index"), 0},
                                                                                   {QStringLiteral("delta"), delta}}}}};
        return "data: " + QJsonDocument(chunk).toJson(QJsonDocument::Compact) + "\n\n";
    };
    QList<QByteArray> eventos{evento(QJsonObject{{QStringLiteral("role"), QStringLiteral("assistant")}, {QStringLiteral("content"), QString()}})};
    for (const QString& f : fragmentos)
        eventos << evento(QJsonObject{{QStringLiteral("content"), f}});
    if (comFim)
        eventos << "data: [DONE]\n\n";
    return eventos;
}

QList<QByteArray> Resposta::eventosAnthropic(const QStringList& fragmentos, bool comFim)
{
    auto evento = [](const QByteArray& nome, const QJsonObject& dados) {
        return "event: " + nome + "\ndata: " + QJsonDocument(dados).toJson(QJsonDocument::Compact) + "\n\n";
    };
    QList<QByteArray> eventos{
        evento("message_start", {{QStringLiteral("type"), QStringLiteral("message_start")}}),
        evento("content_block_start", {{QStringLiteral("type"), QStringLiteral("content_block_start")}, {QStringLiteral("index"), 0}}),
        evento("ping", {{QStringLiteral("type"), QStringLiteral("ping")}}),
    };
    for (const QString& f : fragmentos)
        eventos << evento("content_block_delta",
                          {{QStringLiteral("type"), QStringLiteral("content_block_delta")},
                           {QStringLiteral("index"), 0},
                           {QStringLiteral("delta"), QJsonObject{{QStringLiteral("type"), QStringLiteral("text_delta")},
                                                                 {QStringLiteral("text"), f}}}});
    eventos << evento("content_block_stop", {{QStringLiteral("type"), QStringLiteral("content_block_stop")}});
    if (comFim)
        eventos << evento("message_stop", {{QStringLiteral("type"), QStringLiteral("message_stop")}});
    return eventos;
}

struct ServidorTeste::Estado {
    mutable QMutex mutex;
    QList<Requisicao> requisicoes;
    QList<Resposta> fila;
    Resposta padrao = Resposta::json(200, R"({"text":""})");
    bool guardar = true;
    int abertas = 0;
    quint16 porta = 0;
    QThread thread;
    QObject* contexto = nullptr;    // lives in `thread`; calls into the thread go through it
    QTcpServer* servidor = nullptr; // lives in `thread`

    Resposta proxima()
    {
        QMutexLocker l(&mutex);
        return fila.isEmpty() ? padrao : fila.takeFirst();
    }

    void atender(QTcpSocket* s);
    void responder(QPointer<QTcpSocket> s, const Resposta& r);
};

namespace {
struct Conexao {
    QByteArray buffer;
    std::optional<Requisicao> atual;
    qint64 falta = -1;
};
} // namespace

void ServidorTeste::Estado::atender(QTcpSocket* s)
{
    {
        QMutexLocker l(&mutex);
        ++abertas;
    }
    // Events must leave as soon as they are written, not when Nagle's algorithm lets them.
    s->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    auto conexao = std::make_shared<Conexao>();
    QObject::connect(s, &QTcpSocket::disconnected, s, [this, s] {
        {
            QMutexLocker l(&mutex);
            --abertas;
        }
        s->deleteLater();
    });
    QObject::connect(s, &QTcpSocket::readyRead, s, [this, s, conexao] {
        Conexao& c = *conexao;
        c.buffer += s->readAll();
        for (;;) {
            if (!c.atual) {
                const qsizetype fim = c.buffer.indexOf("\r\n\r\n");
                if (fim < 0)
                    return;
                const QList<QByteArray> linhas = c.buffer.left(fim).split('\n');
                c.buffer.remove(0, fim + 4);
                Requisicao req;
                const QList<QByteArray> primeira = linhas.value(0).trimmed().split(' ');
                req.metodo = primeira.value(0);
                req.caminho = primeira.value(1);
                for (qsizetype i = 1; i < linhas.size(); ++i) {
                    // Values keep their trailing blanks: tests check bytes as the client sent them.
                    const QByteArray l = linhas[i].endsWith('\r') ? linhas[i].chopped(1) : linhas[i];
                    const qsizetype dp = l.indexOf(':');
                    if (dp <= 0)
                        continue;
                    QByteArray valor = l.mid(dp + 1);
                    while (valor.startsWith(' ') || valor.startsWith('\t'))
                        valor.remove(0, 1);
                    req.cabecalhos.append({l.left(dp).trimmed(), valor});
                }
                c.falta = req.cabecalho("Content-Length").toLongLong();
                c.atual = req;
            }
            const qint64 pega = std::min<qint64>(c.falta, c.buffer.size());
            bool guardando = false;
            {
                QMutexLocker l(&mutex);
                guardando = guardar;
            }
            if (guardando)
                c.atual->corpo += c.buffer.left(pega);
            c.buffer.remove(0, pega);
            c.falta -= pega;
            if (c.falta > 0)
                return;
            const Requisicao pronta = *c.atual;
            c.atual.reset();
            {
                QMutexLocker l(&mutex);
                requisicoes.append(pronta);
            }
            responder(QPointer<QTcpSocket>(s), proxima());
        }
    });
}

void ServidorTeste::Estado::responder(QPointer<QTcpSocket> s, const Resposta& r)
{
    auto enviar = [s, r] {
        if (!s)
            return;
        switch (r.modo) {
        case Resposta::Modo::reset: resetar(s); return;
        case Resposta::Modo::semResposta: return;
        case Resposta::Modo::naoHttp:
            s->write("ISTO NAO E HTTP\r\n\r\n");
            s->disconnectFromHost();
            return;
        case Resposta::Modo::normal:
        case Resposta::Modo::truncada: break;
        }
        QByteArray cab = "HTTP/1.1 " + QByteArray::number(r.status) + ' ' + razao(r.status) + "\r\n";
        for (const auto& [n, v] : r.cabecalhos)
            cab += n + ": " + v + "\r\n";
        if (!r.pedacos.isEmpty()) {
            cab += "Transfer-Encoding: chunked\r\n\r\n";
            s->write(cab);
            s->flush();
            int atraso = 0;
            for (const auto& [espera, bytes] : r.pedacos) {
                atraso += espera;
                QTimer::singleShot(atraso, s, [s, bytes] {
                    if (s) {
                        QByteArray agora = bytes;
                        if (agora.contains(Resposta::marcaDeTempo))
                            agora.replace(Resposta::marcaDeTempo,
                                          QByteArray::number(static_cast<qint64>(std::chrono::steady_clock::now().time_since_epoch().count())));
                        s->write(QByteArray::number(agora.size(), 16) + "\r\n" + agora + "\r\n");
                        s->flush();
                    }
                });
            }
            QTimer::singleShot(atraso, s, [s, reset = r.resetNoFim] {
                if (!s)
                    return;
                if (reset)
                    resetar(s);
                else
                    s->write("0\r\n\r\n");
            });
            return;
        }
        cab += "Content-Length: " + QByteArray::number(r.corpo.size()) + "\r\n\r\n";
        if (r.modo == Resposta::Modo::truncada) {
            s->write(cab + r.corpo.left(r.corpo.size() / 2));
            s->flush();
            s->disconnectFromHost();
            return;
        }
        s->write(cab + r.corpo);
    };
    if (r.atrasoMs > 0)
        QTimer::singleShot(r.atrasoMs, s.data(), enviar);
    else
        enviar();
}

ServidorTeste::ServidorTeste() : m(std::make_unique<Estado>())
{
    m->contexto = new QObject;
    m->contexto->moveToThread(&m->thread);
    m->thread.start();
    QMetaObject::invokeMethod(
        m->contexto,
        [this] {
            m->servidor = new QTcpServer();
            QObject::connect(m->servidor, &QTcpServer::newConnection, m->servidor, [this] {
                while (QTcpSocket* s = m->servidor->nextPendingConnection())
                    m->atender(s);
            });
            m->servidor->listen(QHostAddress::LocalHost, 0);
            m->porta = m->servidor->serverPort();
        },
        Qt::BlockingQueuedConnection);
}

ServidorTeste::~ServidorTeste()
{
    QMetaObject::invokeMethod(
        m->contexto,
        [this] {
            // Sockets are children of the server: deleting it tears every connection down.
            delete m->servidor;
            m->servidor = nullptr;
            m->contexto->deleteLater();
        },
        Qt::BlockingQueuedConnection);
    m->thread.quit();
    m->thread.wait();
}

QUrl ServidorTeste::url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m->porta)); }

void ServidorTeste::enfileirar(const Resposta& r)
{
    QMutexLocker l(&m->mutex);
    m->fila.append(r);
}

void ServidorTeste::esvaziarFila()
{
    QMutexLocker l(&m->mutex);
    m->fila.clear();
}

void ServidorTeste::definirPadrao(const Resposta& r)
{
    QMutexLocker l(&m->mutex);
    m->padrao = r;
}

void ServidorTeste::guardarCorpos(bool guardar)
{
    QMutexLocker l(&m->mutex);
    m->guardar = guardar;
}

QList<Requisicao> ServidorTeste::requisicoes() const
{
    QMutexLocker l(&m->mutex);
    return m->requisicoes;
}

int ServidorTeste::conexoesAbertas() const
{
    QMutexLocker l(&m->mutex);
    return m->abertas;
}


} // namespace sonvo::teste
