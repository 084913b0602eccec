#pragma once

#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>
#include <ostream>

// Readable failures: Qt's strings printed as UTF-8 text.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
inline void PrintTo(const QStringList& l, std::ostream* os) { *os << '{' << l.join(QStringLiteral(" | ")).toStdString() << '}'; }

// Helpers of the tests that run on the test desktop (tests/desktop/desktop.sh). They may block, but
// every wait keeps this process's event loop turning (girarAte, girarPor): after a paste this
// process owns the clipboard and must answer the clients that read it.
namespace sonvo::teste::desktop {

inline QString operator""_t(const char* s, size_t n) { return QString::fromUtf8(s, static_cast<qsizetype>(n)); }

// Runs a program to its end (bounded), turning the event loop meanwhile; `codigo` is -1 when it
// did not end.
ResultadoProcesso rodar(const QString& programa, const QStringList& args, int prazoMs = 10000);
// xdotool with these arguments; whether it succeeded.
inline bool xdotool(const QStringList& args) { return rodar("xdotool"_t, args).codigo == 0; }
// Lets go of the hotkeys' modifiers: a test that fails midway must not leave keys held for the next one.
inline void soltarTeclas() { xdotool({"keyup"_t, "super"_t, "shift"_t}); }

// The clipboard (or `selecao`) as another client sees it: `xclip -o` for one target.
inline QByteArray lerClipboard(const QString& tipo, const QString& selecao = "clipboard"_t) { return rodar("xclip"_t, {"-selection"_t, selecao, "-o"_t, "-t"_t, tipo}).saida; }

// A helper program that prints "pronto" once ready; ended when destroyed.
class Auxiliar {
public:
    Auxiliar(const QString& programa, const QStringList& args);
    ~Auxiliar();
    Auxiliar(const Auxiliar&) = delete;
    Auxiliar& operator=(const Auxiliar&) = delete;

    bool pronto() const { return m_pronto; }
    qint64 pid() const { return m_processo.processId(); }

private:
    QProcess m_processo;
    bool m_pronto = false;
};

// Another client's text widget (sonvo_alvo_texto writing to `saida`), in front once this returns.
std::unique_ptr<Auxiliar> abrirAlvo(const QString& saida, const QStringList& extra = {});

// The user's clipboard (or PRIMARY) before a dictation: text, HTML and a picture, owned by another client.
struct ClipboardDoUsuario {
    QByteArray texto = QByteArrayLiteral("Texto do usuário\nsegunda linha \xF0\x9F\x99\x82 fim");
    QByteArray html = QByteArrayLiteral("<meta charset=\"utf-8\"><b>negrito</b> e <i>ação</i>");
    QByteArray png = pngDeTeste();

    static QByteArray pngDeTeste();
    QString selecao = "clipboard"_t; // or "primary"

    // Its owner (sonvo_dono_clipboard), serving the three formats from files in `pasta`.
    std::unique_ptr<Auxiliar> servir(const QString& pasta) const;
    // Expects each format, byte for byte, as another client reads it now.
    void conferir() const;
};

// The spoken stretch of a WAV file (its first channel): from the first to the last 10 ms window
// louder than -40 dBFS.
struct Trecho {
    int taxa = 0;
    int canais = 0;
    double segundos = 0;
    double rms = 0;
};
Trecho trechoFalado(const QString& wav);

} // namespace sonvo::teste::desktop
