#include "ApoioDesktop.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <X11/XKBlib.h>

namespace sonvo::teste::desktop {

bool esperarAte(const std::function<bool()>& cond, int prazoMs)
{
    QElapsedTimer t;
    t.start();
    while (!cond()) {
        if (t.elapsed() > prazoMs)
            return cond();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

Saida rodar(const QString& programa, const QStringList& args, int prazoMs, const QByteArray& entrada)
{
    QProcess p;
    p.start(programa, args);
    Saida s;
    if (!p.waitForStarted(5000))
        return s;
    if (!entrada.isEmpty())
        p.write(entrada);
    p.closeWriteChannel();
    s.terminou = esperarAte([&] { return p.state() == QProcess::NotRunning; }, prazoMs);
    if (!s.terminou) {
        p.kill();
        p.waitForFinished(2000);
        return s;
    }
    s.codigo = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    s.saida = p.readAllStandardOutput();
    return s;
}

QByteArray lerClipboard(const QString& tipo)
{
    return rodar(QStringLiteral("xclip"), {QStringLiteral("-selection"), QStringLiteral("clipboard"), QStringLiteral("-o"),
                                           QStringLiteral("-t"), tipo})
        .saida;
}

QStringList alvosDoClipboard()
{
    QStringList alvos;
    for (const QByteArray& l : lerClipboard(QStringLiteral("TARGETS")).split('\n'))
        if (!l.isEmpty())
            alvos << QString::fromUtf8(l);
    return alvos;
}

Auxiliar::Auxiliar(const QString& programa, const QStringList& args)
{
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
    m_processo.setProcessEnvironment(env);
    m_processo.start(programa, args);
    m_pronto = m_processo.waitForStarted(5000) && esperarAte(
                                                      [&] {
                                                          return m_processo.canReadLine()
                                                              || m_processo.state() == QProcess::NotRunning;
                                                      },
                                                      10000)
        && m_processo.readLine().trimmed() == "pronto";
}

Auxiliar::~Auxiliar()
{
    if (m_processo.state() != QProcess::NotRunning) {
        m_processo.terminate();
        if (!m_processo.waitForFinished(3000)) {
            m_processo.kill();
            m_processo.waitForFinished(3000);
        }
    }
}

QByteArray lerArquivo(const QString& caminho)
{
    QFile f(caminho);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

Campainha::Campainha()
{
    int erro = 0, maior = XkbMajorVersion, menor = XkbMinorVersion, motivo = 0;
    Display* d = XkbOpenDisplay(nullptr, &m_evento, &erro, &maior, &menor, &motivo);
    if (!d)
        return;
    XkbSelectEvents(d, XkbUseCoreKbd, XkbBellNotifyMask, XkbBellNotifyMask);
    XSync(d, False);
    m_display = d;
}

Campainha::~Campainha()
{
    if (m_display)
        XCloseDisplay(static_cast<Display*>(m_display));
}

bool Campainha::tocou()
{
    auto* d = static_cast<Display*>(m_display);
    bool tocou = false;
    while (d && XPending(d)) {
        XEvent e;
        XNextEvent(d, &e);
        if (e.type == m_evento && reinterpret_cast<XkbEvent*>(&e)->any.xkb_type == XkbBellNotify)
            tocou = true;
    }
    return tocou;
}

} // namespace sonvo::teste::desktop
