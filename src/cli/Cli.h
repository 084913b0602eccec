#pragma once

#include "core/Configuracoes.h"

#include <QStringList>
#include <QCoroTask>

#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace sonvo::cli {

enum Saida : int { sucesso = 0, falha = 1, uso = 2 };

// Command-line arguments after the command's name; options are taken out as they are read.
class Argumentos {
public:
    explicit Argumentos(QStringList args) : m_args(std::move(args)) {}
    // "--nome VALOR" or "--nome=VALOR"; nothing when absent. A missing value is a usage error.
    std::optional<QString> opcao(const QString& nome);
    bool flag(const QString& nome);
    bool faltouValor() const { return m_faltouValor; }
    // What remains, once every option has been taken out; an unknown "--x" stays here.
    const QStringList& posicionais() const { return m_args; }
    std::optional<QString> opcaoDesconhecida() const;

private:
    QStringList m_args;
    bool m_faltouValor = false;
};

struct Contexto {
    Configuracoes& config;
    QNetworkAccessManager& rede;
    Argumentos args;
    // Standard input, read whole (commands that take text or a key from it).
    std::function<QByteArray()> lerEntrada;
};

// The text a command works on: its words joined by blanks, or, with none, standard input. Input
// that is not UTF-8 is reported on standard error and gives nothing.
std::optional<QString> textoDosArgumentos(Contexto& ctx, const QStringList& palavras);

void escreverSaida(const QString& texto);  // standard output, as is
void escreverErro(const QString& linha);   // one line on standard error
int erroDeUso(const QString& mensagem);    // prints the message and the hint to --help; returns uso

QString textoAjuda();

// The whole command line: parses argv, runs one command and returns the exit status.
int executar(int argc, char** argv);

} // namespace sonvo::cli
