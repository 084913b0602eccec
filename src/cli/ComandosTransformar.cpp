#include "ai/AIService.h"
#include "cli/Comandos.h"
#include "core/Arquivos.h"

namespace sonvo::cli {

QCoro::Task<int> comandoTransformar(Contexto& ctx)
{
    const auto contexto = ctx.args.opcao(QStringLiteral("--contexto"));
    const bool semStreaming = ctx.args.flag(QStringLiteral("--sem-streaming"));
    if (ctx.args.faltouValor())
        co_return erroDeUso(QStringLiteral("Falta o valor de --contexto"));
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    QStringList pos = ctx.args.posicionais();
    pos.removeAll(QStringLiteral("--"));
    if (pos.isEmpty() || pos.size() > 2)
        co_return erroDeUso(QStringLiteral("Uso: sonvo transformar ACAO [--contexto TEXTO] [--sem-streaming] [TEXTO]"));
    const auto acao = QuickActions::deRawValue(pos[0]);
    if (!acao) {
        QStringList validas;
        for (QuickAction a : QuickActions::todas)
            validas << QuickActions::rawValue(a);
        co_return erroDeUso(QStringLiteral("Ação desconhecida: %1 (use %2)").arg(pos[0], validas.join(QStringLiteral(", "))));
    }

    const auto lido = textoDosArgumentos(ctx, pos.mid(1));
    if (!lido)
        co_return falha;
    const QString texto = *lido;

    auto provedor = AIService::currentProvider(ctx.config, ctx.rede, Caminhos::pastaDados());
    if (semStreaming || texto.trimmed().isEmpty()) {
        // Blank text comes back as it is, without a request, on both paths.
        const auto r = co_await AIService::transformar(*provedor, texto, *acao, contexto);
        if (!r) {
            escreverErro(r.erro().errorDescription());
            co_return falha;
        }
        escreverSaida(r.valor() + u'\n');
        co_return sucesso;
    }

    std::unique_ptr<FluxoIA> fluxo = provedor->transformarStream(texto.trimmed(), *acao, contexto);
    bool escreveu = false;
    QObject::connect(fluxo.get(), &FluxoIA::fragmento, [&escreveu](const QString& f) {
        escreverSaida(f);
        escreveu = true;
    });
    const std::optional<AIErro> erro = co_await fluxo->fim();
    if (escreveu || !erro)
        escreverSaida(QStringLiteral("\n"));
    if (erro) {
        escreverErro(erro->errorDescription());
        co_return falha;
    }
    co_return sucesso;
}

} // namespace sonvo::cli
