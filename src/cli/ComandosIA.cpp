#include "ai/IntentDetectionService.h"
#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "dictation/TranscriptionHistory.h"
#include "vocabulary/VocabularyAuditService.h"

namespace sonvo::cli {

namespace {

QStringList posicionais(const Contexto& ctx)
{
    QStringList pos = ctx.args.posicionais();
    pos.removeOne(QStringLiteral("--"));
    return pos;
}

// "<ID>  ouvido -> provavel  (confiança 0.92, 7 ocorrências)"
QString linhaSugestao(const AuditSugestao& s)
{
    return QStringLiteral("%1  %2 -> %3  (confiança %4, %5 ocorrências)\n")
        .arg(s.id.toString(QUuid::WithoutBraces).toUpper(), s.ouvido, s.provavel, QString::number(s.confianca, 'f', 2),
             QString::number(s.ocorrencias));
}

} // namespace

QCoro::Task<int> comandoIntencao(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = posicionais(ctx);
    auto lido = textoDosArgumentos(ctx, pos);
    if (!lido)
        co_return falha;
    QString texto = *lido;
    // The line end that `echo` adds is not part of what was said.
    if (pos.isEmpty() && texto.endsWith(u'\n'))
        texto.chop(texto.endsWith(QStringLiteral("\r\n")) ? 2 : 1);
    IntentDetectionService intencao(ctx.config, ctx.rede, Caminhos::pastaDados());
    const IntentResult r = co_await intencao.detectar(texto);
    escreverSaida(Intencao::descrever(r) + u'\n');
    co_return sucesso;
}

QCoro::Task<int> comandoAuditar(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    if (!posicionais(ctx).isEmpty())
        co_return erroDeUso(QStringLiteral("Uso: sonvo auditar"));
    const TranscriptionHistory historico(Caminhos::pastaDados());
    VocabularyAuditService auditoria(ctx.config, ctx.rede, Caminhos::pastaDados(), historico);
    const auto r = co_await auditoria.auditarAgora();
    if (!r) {
        escreverErro(r.erro().errorDescription());
        co_return falha;
    }
    if (r.valor().isEmpty()) {
        escreverSaida(QStringLiteral("Nenhuma sugestão nova.\n"));
        co_return sucesso;
    }
    QString saida = QStringLiteral("Sugestões novas na fila (aprove com: sonvo sugestoes aprovar ID):\n");
    for (const AuditSugestao& s : r.valor())
        saida += linhaSugestao(s);
    escreverSaida(saida);
    co_return sucesso;
}

QCoro::Task<int> comandoSugestoes(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = posicionais(ctx);
    const QString uso = QStringLiteral("Uso: sonvo sugestoes [aprovar ID | rejeitar ID]");
    const TranscriptionHistory historico(Caminhos::pastaDados());
    VocabularyAuditService auditoria(ctx.config, ctx.rede, Caminhos::pastaDados(), historico);

    if (pos.isEmpty()) {
        const auto fila = auditoria.lerFilaGravada();
        if (!fila) {
            escreverErro(QStringLiteral("Não foi possível ler a fila de sugestões em %1").arg(auditoria.arquivo()));
            co_return falha;
        }
        if (fila->isEmpty()) {
            escreverSaida(QStringLiteral("Nenhuma sugestão pendente.\n"));
            co_return sucesso;
        }
        QString saida;
        for (const AuditSugestao& s : *fila)
            saida += linhaSugestao(s);
        escreverSaida(saida);
        co_return sucesso;
    }

    const bool aprovar = pos.first() == u"aprovar";
    if ((!aprovar && pos.first() != u"rejeitar") || pos.size() != 2)
        co_return erroDeUso(uso);
    const QUuid id = QUuid::fromString(pos[1]);
    std::optional<AuditSugestao> escolhida;
    if (!id.isNull()) {
        for (const AuditSugestao& s : auditoria.pendentes())
            if (s.id == id)
                escolhida = s;
    }
    if (!escolhida) {
        escreverErro(QStringLiteral("Nenhuma sugestão pendente com o ID %1 (veja: sonvo sugestoes)").arg(pos[1]));
        co_return falha;
    }
    const auto problema = aprovar ? auditoria.aprovar(*escolhida) : auditoria.rejeitar(*escolhida);
    if (problema) {
        escreverErro(*problema);
        co_return falha;
    }
    const QString par = escolhida->ouvido + QStringLiteral(" -> ") + escolhida->provavel;
    escreverSaida(aprovar ? QStringLiteral("Aprovada: %1 (adicionada ao vocabulário)\n").arg(par)
                          : QStringLiteral("Rejeitada: %1\n").arg(par));
    co_return sucesso;
}

} // namespace sonvo::cli
