#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "platform/ControleRemoto.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace sonvo::cli {

QCoro::Task<int> comandoAlternar(Contexto& ctx)
{
    const bool menu = ctx.args.flag(QStringLiteral("--menu"));
    if (const auto o = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *o);
    if (!ctx.args.posicionais().isEmpty())
        co_return erroDeUso(QStringLiteral("O comando alternar não recebe argumentos"));
    if (const auto erro = co_await ClienteRemoto::alternar(menu)) {
        escreverErro(*erro);
        co_return falha;
    }
    co_return sucesso;
}

namespace {
QString entradaDeAutoinicio()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/autostart/sonvo.desktop");
}

// The user's entry overrides the system's one of the same name (an installed entry starts
// switched off): Hidden=true keeps Sonvo from starting with the session, false lets it.
QByteArray conteudoDeAutoinicio(bool ligado)
{
    QString exe = QCoreApplication::applicationFilePath();
    exe.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Sonvo\n"
                          "Comment=Ditado em português do Brasil\n"
                          "Exec=\"%1\"\n"
                          "Icon=sonvo\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=%2\n"
                          "Hidden=%3\n")
        .arg(exe, ligado ? QStringLiteral("true") : QStringLiteral("false"), ligado ? QStringLiteral("false") : QStringLiteral("true"))
        .toUtf8();
}
} // namespace

QCoro::Task<int> comandoAutoinicio(Contexto& ctx)
{
    if (const auto o = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *o);
    const QStringList p = ctx.args.posicionais();
    const QString arquivo = entradaDeAutoinicio();
    if (p.isEmpty()) {
        const auto lido = Arquivos::ler(arquivo);
        const bool ligado = lido.ok() && lido.valor().contains("Hidden=false");
        escreverSaida(ligado ? QStringLiteral("ligado\n") : QStringLiteral("desligado\n"));
        co_return sucesso;
    }
    if (p.size() != 1 || (p[0] != u"ligar" && p[0] != u"desligar"))
        co_return erroDeUso(QStringLiteral("Uso: sonvo autoinicio [ligar|desligar]"));
    const bool ligar = p[0] == u"ligar";
    QDir().mkpath(QFileInfo(arquivo).absolutePath());
    if (const auto erro = Arquivos::gravarAtomico(arquivo, conteudoDeAutoinicio(ligar))) {
        escreverErro(QStringLiteral("Não foi possível gravar ") + arquivo + QStringLiteral(": ") + erro->descricao);
        co_return falha;
    }
    co_return sucesso;
}

} // namespace sonvo::cli
