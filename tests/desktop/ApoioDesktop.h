#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <ostream>

// Readable failures: Qt's strings printed as UTF-8 text.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
inline void PrintTo(const QStringList& l, std::ostream* os)
{
    *os << "{\n";
    for (const QString& s : l)
        *os << "  \"" << s.toStdString() << "\"\n";
    *os << "}";
}

// Helpers of the tests that run on the test desktop (tests/desktop/desktop.sh). They may block, but
// every wait keeps this process's event loop turning: after a paste this process owns the
// clipboard and must answer the clients that read it.
namespace sonvo::teste::desktop {

// Runs the event loop until `cond` holds or `prazoMs` passes; returns `cond()`.
bool esperarAte(const std::function<bool()>& cond, int prazoMs = 5000);

struct Saida {
    int codigo = -1;
    QByteArray saida;
    bool terminou = false;
};
// Runs a program to its end (bounded), turning the event loop meanwhile.
Saida rodar(const QString& programa, const QStringList& args, int prazoMs = 10000,
            const QByteArray& entrada = {});

// The clipboard as another client sees it: `xclip -o` for one target.
QByteArray lerClipboard(const QString& tipo);
// The clipboard's targets, by name.
QStringList alvosDoClipboard();

// A helper program that prints "pronto" once ready; killed when destroyed.
class Auxiliar {
public:
    Auxiliar(const QString& programa, const QStringList& args);
    ~Auxiliar();
    Auxiliar(const Auxiliar&) = delete;
    Auxiliar& operator=(const Auxiliar&) = delete;

    bool pronto() const { return m_pronto; }
    qint64 pid() const { return m_processo.processId(); }
    bool rodando() const { return m_processo.state() != QProcess::NotRunning; }
    QByteArray erros() { return m_processo.readAllStandardError(); }

private:
    QProcess m_processo;
    bool m_pronto = false;
};

QByteArray lerArquivo(const QString& caminho);

// Watches the X bell (XKB bell notifications) on a connection of its own.
class Campainha {
public:
    Campainha();
    ~Campainha();
    Campainha(const Campainha&) = delete;
    Campainha& operator=(const Campainha&) = delete;
    bool pronta() const { return m_display != nullptr; }
    // Whether the bell rang since the last call.
    bool tocou();

private:
    void* m_display = nullptr; // Display*, kept out of this header: Xlib's macros break GoogleTest
    int m_evento = 0;
};

} // namespace sonvo::teste::desktop
