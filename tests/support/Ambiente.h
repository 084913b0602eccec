#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace sonvo::teste {

// A throw-away home for one test: XDG_DATA_HOME, XDG_CONFIG_HOME and the log file point into a
// temporary folder, both in this process (qputenv) and for the sonvo processes it starts.
class AmbienteTemporario {
public:
    AmbienteTemporario();
    ~AmbienteTemporario();
    AmbienteTemporario(const AmbienteTemporario&) = delete;
    AmbienteTemporario& operator=(const AmbienteTemporario&) = delete;

    QString raiz() const;
    QString pastaDados() const;    // <raiz>/data/Sonvo (not created)
    QString arquivoConfig() const; // <raiz>/config/Sonvo/Sonvo.conf
    QString arquivoLog() const;
    QByteArray lerLog() const;
    QProcessEnvironment ambiente() const; // for child processes
    void definir(const QString& nome, const QString& valor); // also for child processes

private:
    QTemporaryDir m_dir;
    QProcessEnvironment m_env;
    QList<QPair<QByteArray, std::optional<QByteArray>>> m_anteriores;
};

struct ResultadoProcesso {
    int codigo = -1;
    QByteArray saida;
    QByteArray erro;
    bool terminou = false;
};

// Runs the real sonvo executable (tests only: it blocks until the process ends or the time runs out).
ResultadoProcesso rodarSonvo(const AmbienteTemporario& amb, const QStringList& args,
                             const QByteArray& entrada = {}, int prazoMs = 30000);

} // namespace sonvo::teste
