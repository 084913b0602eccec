#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "platform/ControleRemoto.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace sonvo::cli {

namespace {
// `alternar` and `iniciar`: one flag, no arguments, one call to the running Sonvo.
QCoro::Task<int> pedirComMenu(Contexto& ctx, QString nome, QCoro::Task<std::optional<QString>> (*chamada)(bool))
{
    const bool menu = ctx.args.flag(QStringLiteral("--menu"));
    if (const auto o = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *o);
    if (!ctx.args.posicionais().isEmpty())
        co_return erroDeUso(QStringLiteral("O comando %1 não recebe argumentos").arg(nome));
    if (const auto erro = co_await chamada(menu)) {
        escreverErro(*erro);
        co_return falha;
    }
    co_return sucesso;
}
} // namespace

QCoro::Task<int> comandoAlternar(Contexto& ctx)
{
    return pedirComMenu(ctx, QStringLiteral("alternar"), &ClienteRemoto::alternar);
}

QCoro::Task<int> comandoIniciar(Contexto& ctx)
{
    return pedirComMenu(ctx, QStringLiteral("iniciar"), &ClienteRemoto::iniciar);
}

QCoro::Task<int> comandoParar(Contexto& ctx)
{
    if (const auto o = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *o);
    if (!ctx.args.posicionais().isEmpty())
        co_return erroDeUso(QStringLiteral("O comando parar não recebe argumentos"));
    const auto r = co_await ClienteRemoto::parar();
    if (!r) {
        escreverErro(r.erro());
        co_return falha;
    }
    if (!r.valor()) {
        escreverErro(QStringLiteral("Nenhum ditado em andamento"));
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
