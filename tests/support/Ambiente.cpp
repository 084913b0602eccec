#include "support/Ambiente.h"

#include <QDir>
#include <QFile>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <optional>

namespace sonvo::teste {

AmbienteTemporario::AmbienteTemporario() : m_env(QProcessEnvironment::systemEnvironment())
{
    QDir().mkpath(m_dir.path() + QStringLiteral("/config"));
    definir(QStringLiteral("XDG_DATA_HOME"), m_dir.path() + QStringLiteral("/data"));
    definir(QStringLiteral("XDG_CONFIG_HOME"), m_dir.path() + QStringLiteral("/config"));
    definir(QStringLiteral("SONVO_LOG_FILE"), arquivoLog());
    definir(QStringLiteral("HOME"), m_dir.path());
    m_env.remove(QStringLiteral("SONVO_OPENAI_BASE_URL"));
    m_env.remove(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"));
    m_env.remove(QStringLiteral("DISPLAY"));
    m_env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    m_env.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
}

AmbienteTemporario::~AmbienteTemporario()
{
    for (auto it = m_anteriores.rbegin(); it != m_anteriores.rend(); ++it) {
        if (it->second)
            qputenv(it->first.constData(), *it->second);
        else
            qunsetenv(it->first.constData());
    }
}

QString AmbienteTemporario::raiz() const { return m_dir.path(); }
QString AmbienteTemporario::pastaDados() const { return m_dir.path() + QStringLiteral("/data/Sonvo"); }
QString AmbienteTemporario::arquivoConfig() const { return m_dir.path() + QStringLiteral("/config/Sonvo/Sonvo.conf"); }
QString AmbienteTemporario::arquivoLog() const { return m_dir.path() + QStringLiteral("/sonvo.log"); }

QByteArray AmbienteTemporario::lerLog() const
{
    QFile f(arquivoLog());
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QProcessEnvironment AmbienteTemporario::ambiente() const { return m_env; }

void AmbienteTemporario::definir(const QString& nome, const QString& valor)
{
    const QByteArray n = nome.toLocal8Bit();
    std::optional<QByteArray> anterior;
    if (qEnvironmentVariableIsSet(n.constData()))
        anterior = qgetenv(n.constData());
    m_anteriores.append({n, anterior});
    qputenv(n.constData(), valor.toLocal8Bit());
    m_env.insert(nome, valor);
}

ResultadoProcesso rodarSonvo(const AmbienteTemporario& amb, const QStringList& args, const QByteArray& entrada, int prazoMs)
{
    QProcess p;
    p.setProcessEnvironment(amb.ambiente());
    p.start(QStringLiteral(SONVO_BIN), args);
    ResultadoProcesso r;
    if (!p.waitForStarted(prazoMs))
        return r;
    p.write(entrada);
    p.closeWriteChannel();
    // The event loop keeps turning: the process may be talking to this one (the test's server on
    // the session bus, or the clipboard it owns).
    QElapsedTimer t;
    t.start();
    while (p.state() != QProcess::NotRunning && t.elapsed() < prazoMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        p.waitForFinished(10);
    }
    r.terminou = p.state() == QProcess::NotRunning;
    if (!r.terminou) {
        p.kill();
        p.waitForFinished(2000);
    }
    r.codigo = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.saida = p.readAllStandardOutput();
    r.erro = p.readAllStandardError();
    return r;
}

} // namespace sonvo::teste
