#pragma once

#include <QString>

#include <cstdint>
#include <initializer_list>
#include <optional>

namespace sonvo {

// One argument of a printf-style log line: %@ takes text (absent prints "nil"), %d an integer,
// %.2f a real number.
struct LogArg {
    enum class Tipo { texto, inteiro, real, nulo };
    LogArg(const QString& s) : tipo(Tipo::texto), texto(s) {}
    LogArg(const char* s) : tipo(s ? Tipo::texto : Tipo::nulo), texto(QString::fromUtf8(s)) {}
    LogArg(const std::optional<QString>& s) : tipo(s ? Tipo::texto : Tipo::nulo), texto(s.value_or(QString())) {}
    LogArg(std::nullopt_t) : tipo(Tipo::nulo) {}
    LogArg(int v) : tipo(Tipo::inteiro), inteiro(v) {}
    LogArg(long v) : tipo(Tipo::inteiro), inteiro(v) {}
    LogArg(long long v) : tipo(Tipo::inteiro), inteiro(v) {}
    LogArg(unsigned v) : tipo(Tipo::inteiro), inteiro(v) {}
    LogArg(unsigned long v) : tipo(Tipo::inteiro), inteiro(static_cast<int64_t>(v)) {}
    LogArg(double v) : tipo(Tipo::real), real(v) {}
    LogArg(float v) : tipo(Tipo::real), real(v) {}

    Tipo tipo;
    QString texto;
    int64_t inteiro = 0;
    double real = 0.0;
};

namespace Log {

// Expands %@, %d, %.2f (and %%) with the arguments in order.
QString formatar(const QString& formato, std::initializer_list<LogArg> args);

// Writes one whole line (a single write call, so lines from threads never interleave).
void linhaBruta(const QString& linha);

// "Vozel [tag] " + formatted text.
void tag(const char* tag, const QString& formato, std::initializer_list<LogArg> args = {});
// "Vozel: " + formatted text (the hotkey set-up failures and the fallback line use it).
void simples(const QString& formato, std::initializer_list<LogArg> args = {});

// The log file: SONVO_LOG_FILE, else /tmp/vozel.log.
QString caminhoArquivo();

// Opens the log file for appending without following a symbolic link, creating it with mode 0600;
// refuses a file that is not regular or belongs to someone else. Returns the descriptor or -1.
int abrirArquivo(const QString& caminho);

// The application's start-up: standard error itself goes to the log file, unbuffered.
bool redirecionarStderr(const QString& caminho);

// Qt's own warnings become log lines too, so they never reach the user's terminal.
void capturarMensagensDoQt();

// Command-line tools: log lines go to the log file while standard error stays for the user.
bool enviarParaArquivo(const QString& caminho);

} // namespace Log
} // namespace sonvo
