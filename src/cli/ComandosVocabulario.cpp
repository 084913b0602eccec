#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "core/TextoUnicode.h"
#include "dictation/TranscriptionHistory.h"
#include "vocabulary/VocabularyService.h"

#include <QSet>

#include <algorithm>

namespace sonvo::cli {

namespace {

// "--app ID": nothing when absent; a usage error is reported through `erro`.
std::optional<QString> opcaoApp(Contexto& ctx, std::optional<int>& erro)
{
    const auto app = ctx.args.opcao(QStringLiteral("--app"));
    if (ctx.args.faltouValor())
        erro = erroDeUso(QStringLiteral("Falta o valor de --app"));
    else if (app && app->trimmed().isEmpty())
        erro = erroDeUso(QStringLiteral("O ID do aplicativo não pode ser vazio"));
    else if (const auto op = ctx.args.opcaoDesconhecida())
        erro = erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    return app;
}

QStringList posicionaisSemSeparador(const Contexto& ctx)
{
    QStringList pos = ctx.args.posicionais();
    pos.removeOne(QStringLiteral("--"));
    return pos;
}

QString listaFormatada(const QString& titulo, const QStringList& itens, const QString& seVazia)
{
    QString s = titulo + QStringLiteral(":\n");
    if (itens.isEmpty())
        return s + QStringLiteral("  ") + seVazia + u'\n';
    for (const QString& i : itens)
        s += QStringLiteral("  ") + i + u'\n';
    return s;
}

QString snapshotFormatado(const VocabularioSnapshot& v)
{
    QStringList correcoes;
    for (auto it = v.correcoes.begin(); it != v.correcoes.end(); ++it)
        correcoes << it.key() + QStringLiteral(" -> ") + it.value();
    QStringList whitelist(v.whitelist.begin(), v.whitelist.end());
    whitelist.sort();
    return listaFormatada(QStringLiteral("Correções"), correcoes, QStringLiteral("(nenhuma)"))
        + listaFormatada(QStringLiteral("Termos prioritários"), v.prioritarios, QStringLiteral("(nenhum)"))
        + listaFormatada(QStringLiteral("Whitelist"), whitelist, QStringLiteral("(nenhuma)"));
}

int vocabularioListar(VocabularyService& vocab, const std::optional<QString>& app)
{
    if (app) {
        if (const auto problema = vocab.porApp().diagnosticar()) {
            escreverErro(*problema);
            return falha;
        }
        escreverSaida(snapshotFormatado(vocab.porApp().lerSnapshot(*app)));
        return sucesso;
    }
    vocab.documento().bootstrapSeNecessario();
    const auto texto = vocab.documento().lerTexto();
    if (!texto) {
        escreverErro(QStringLiteral("Não foi possível ler %1: %2").arg(vocab.documento().arquivo(), texto.erro().descricao));
        return falha;
    }
    QString saida = snapshotFormatado(DocumentoVocabulario::parseMarkdown(texto.valor()));
    const QStringList apps = vocab.porApp().listarApps();
    if (!apps.isEmpty())
        saida += listaFormatada(QStringLiteral("Aplicativos com vocabulário próprio"), apps, QString());
    escreverSaida(saida);
    return sucesso;
}

int vocabularioAdicionar(VocabularyService& vocab, const std::optional<QString>& app, const QString& ouvido, const QString& escrever)
{
    if (TextoUnicode::aparar(ouvido).isEmpty() || TextoUnicode::aparar(escrever).isEmpty())
        return erroDeUso(QStringLiteral("OUVIDO e ESCREVER não podem ser vazios"));
    auto temQuebra = [](const QString& s) { return std::any_of(s.begin(), s.end(), [](QChar c) { return TextoUnicode::ehEspacoOuQuebra(c.unicode()) && !TextoUnicode::ehEspaco(c.unicode()); }); };
    if (temQuebra(ouvido) || temQuebra(escrever))
        return erroDeUso(QStringLiteral("OUVIDO e ESCREVER devem ocupar uma linha só"));
    if (app) {
        if (const auto erro = vocab.porApp().registrar(*app, ouvido, escrever)) {
            escreverErro(*erro);
            return falha;
        }
        escreverSaida(QStringLiteral("Correção adicionada ao vocabulário de %1: %2 -> %3\n")
                          .arg(*app, TextoUnicode::aparar(ouvido).toString(), TextoUnicode::aparar(escrever).toString()));
        return sucesso;
    }
    // In the document "->" separates the two sides: a third arrow would make the line unreadable.
    if (ouvido.contains(QStringLiteral("->")) || escrever.contains(QStringLiteral("->")))
        return erroDeUso(QStringLiteral("No vocabulário global, OUVIDO e ESCREVER não podem conter \"->\""));
    vocab.documento().bootstrapSeNecessario();
    if (const auto erro = vocab.documento().importarCorrecaoAprovada(ouvido, escrever)) {
        escreverErro(*erro);
        return falha;
    }
    escreverSaida(QStringLiteral("Correção adicionada ao vocabulário global: %1 -> %2\n").arg(ouvido, escrever));
    return sucesso;
}

int vocabularioRemover(VocabularyService& vocab, const std::optional<QString>& app, const QString& ouvido)
{
    if (!app)
        return erroDeUso(QStringLiteral("Uso: sonvo vocabulario remover OUVIDO --app ID (o vocabulário global se edita em %1)")
                             .arg(vocab.documento().arquivo()));
    const auto r = vocab.porApp().remover(*app, ouvido);
    if (!r) {
        escreverErro(r.erro());
        return falha;
    }
    const QString o = TextoUnicode::aparar(ouvido).toString();
    if (!r.valor()) {
        escreverErro(QStringLiteral("Nenhuma correção \"%1\" no vocabulário de %2").arg(o, *app));
        return falha;
    }
    escreverSaida(QStringLiteral("Correção removida do vocabulário de %1: %2\n").arg(*app, o));
    return sucesso;
}

} // namespace

QCoro::Task<int> comandoCorrigir(Contexto& ctx)
{
    std::optional<int> erroUso;
    const auto app = opcaoApp(ctx, erroUso);
    if (erroUso)
        co_return *erroUso;
    const QStringList pos = posicionaisSemSeparador(ctx);
    const auto lido = textoDosArgumentos(ctx, pos);
    if (!lido)
        co_return falha;
    const QString texto = *lido;
    const VocabularyService vocab(Caminhos::pastaDados(), ctx.config);
    QString corrigido = vocab.aplicarCorrecoes(texto, app);
    // One line end, unless the text brought its own.
    if (!texto.isEmpty() && !texto.endsWith(u'\n'))
        corrigido += u'\n';
    escreverSaida(corrigido);
    co_return sucesso;
}

QCoro::Task<int> comandoVocabulario(Contexto& ctx)
{
    std::optional<int> erroUso;
    const auto app = opcaoApp(ctx, erroUso);
    if (erroUso)
        co_return *erroUso;
    const QStringList pos = posicionaisSemSeparador(ctx);
    const QString uso = QStringLiteral("Uso: sonvo vocabulario listar [--app ID] | adicionar OUVIDO ESCREVER [--app ID] | "
                                       "remover OUVIDO --app ID | termos [--app ID]");
    if (pos.isEmpty())
        co_return erroDeUso(uso);
    const QString sub = pos.first();
    VocabularyService vocab(Caminhos::pastaDados(), ctx.config);
    if (sub == u"listar" && pos.size() == 1)
        co_return vocabularioListar(vocab, app);
    if (sub == u"adicionar" && pos.size() == 3)
        co_return vocabularioAdicionar(vocab, app, pos[1], pos[2]);
    if (sub == u"remover" && pos.size() == 2)
        co_return vocabularioRemover(vocab, app, pos[1]);
    if (sub == u"termos" && pos.size() == 1) {
        // Exactly the text the transcription request carries: no line end added.
        if (const auto dica = vocab.priorityTermsAsPrompt(app))
            escreverSaida(*dica);
        co_return sucesso;
    }
    co_return erroDeUso(uso);
}

QCoro::Task<int> comandoHistorico(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = posicionaisSemSeparador(ctx);
    if (pos.size() > 1)
        co_return erroDeUso(QStringLiteral("Uso: sonvo historico [N]"));
    qsizetype n = 10;
    if (!pos.isEmpty()) {
        bool ok = false;
        n = pos.first().toLongLong(&ok);
        if (!ok || n <= 0)
            co_return erroDeUso(QStringLiteral("N deve ser um número inteiro positivo"));
    }
    const TranscriptionHistory historico(Caminhos::pastaDados());
    const auto todas = historico.lerTodas();
    if (!todas) {
        escreverErro(QStringLiteral("Não foi possível ler o histórico em %1").arg(historico.arquivo()));
        co_return falha;
    }
    QString saida;
    const qsizetype k = std::min(n, todas->size());
    for (qsizetype i = 0; i < k; ++i) {
        const TranscriptionEntry& e = todas->at(todas->size() - 1 - i);
        if (i > 0)
            saida += u'\n';
        saida += Json::dataIso(e.timestamp);
        if (e.bundleID)
            saida += QStringLiteral(" [") + *e.bundleID + u']';
        saida += u'\n' + e.texto + u'\n';
    }
    escreverSaida(saida);
    co_return sucesso;
}

} // namespace sonvo::cli
