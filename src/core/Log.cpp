#include "core/Log.h"

#include <QByteArray>
#include <QtGlobal>

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sonvo::Log {

namespace {
std::atomic<int> g_fd{STDERR_FILENO};

QString textoDe(const LogArg& a)
{
    switch (a.tipo) {
    case LogArg::Tipo::texto: return a.texto;
    case LogArg::Tipo::inteiro: return QString::number(a.inteiro);
    case LogArg::Tipo::real: return QString::number(a.real, 'f', 2);
    case LogArg::Tipo::nulo: return QStringLiteral("nil");
    }
    return {};
}
} // namespace

QString formatar(const QString& formato, std::initializer_list<LogArg> args)
{
    QString saida;
    saida.reserve(formato.size() + 32);
    auto it = args.begin();
    auto proximo = [&]() -> const LogArg* { return it == args.end() ? nullptr : &*it++; };
    for (qsizetype i = 0; i < formato.size(); ++i) {
        const QChar c = formato[i];
        if (c != u'%' || i + 1 >= formato.size()) {
            saida += c;
            continue;
        }
        const QStringView resto = QStringView(formato).mid(i + 1);
        if (resto.startsWith(u'%')) {
            saida += u'%';
            i += 1;
        } else if (resto.startsWith(u'@') || resto.startsWith(u'd')) {
            const LogArg* a = proximo();
            saida += a ? textoDe(*a) : QStringLiteral("nil");
            i += 1;
        } else if (resto.startsWith(u".2f")) {
            const LogArg* a = proximo();
            if (!a)
                saida += QStringLiteral("nil");
            else if (a->tipo == LogArg::Tipo::inteiro)
                saida += QString::number(static_cast<double>(a->inteiro), 'f', 2);
            else
                saida += textoDe(*a);
            i += 3;
        } else {
            saida += c;
        }
    }
    return saida;
}

void linhaBruta(const QString& linha)
{
    QByteArray bytes = linha.toUtf8();
    bytes.append('\n');
    const int fd = g_fd.load();
    const char* p = bytes.constData();
    qsizetype falta = bytes.size();
    while (falta > 0) {
        const ssize_t n = ::write(fd, p, static_cast<size_t>(falta));
        if (n <= 0)
            return; // a log that cannot be written must never disturb the caller
        p += n;
        falta -= n;
    }
}

void tag(const char* tag, const QString& formato, std::initializer_list<LogArg> args)
{
    linhaBruta(QStringLiteral("Vozel [") + QString::fromUtf8(tag) + QStringLiteral("] ") + formatar(formato, args));
}

void simples(const QString& formato, std::initializer_list<LogArg> args)
{
    linhaBruta(QStringLiteral("Vozel: ") + formatar(formato, args));
}

QString caminhoArquivo()
{
    const QByteArray env = qgetenv("SONVO_LOG_FILE");
    return env.isEmpty() ? QStringLiteral("/tmp/vozel.log") : QString::fromLocal8Bit(env);
}

int abrirArquivo(const QString& caminho)
{
    const QByteArray nome = caminho.toLocal8Bit();
    const int fd = ::open(nome.constData(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return -1;
    struct stat st {};
    // In a shared /tmp someone else may have planted the file to read our lines.
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != ::geteuid()) {
        ::close(fd);
        return -1;
    }
    return fd;
}

void capturarMensagensDoQt()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& msg) {
        tag("Qt", QStringLiteral("%@"), {msg});
    });
}

bool redirecionarStderr(const QString& caminho)
{
    const int fd = abrirArquivo(caminho);
    if (fd < 0)
        return false;
    std::fflush(stderr);
    const bool ok = ::dup2(fd, STDERR_FILENO) >= 0;
    ::close(fd);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
    g_fd.store(STDERR_FILENO);
    return ok;
}

bool enviarParaArquivo(const QString& caminho)
{
    const int fd = abrirArquivo(caminho);
    if (fd < 0)
        return false;
    const int anterior = g_fd.exchange(fd);
    if (anterior != STDERR_FILENO)
        ::close(anterior);
    return true;
}

} // namespace sonvo::Log
