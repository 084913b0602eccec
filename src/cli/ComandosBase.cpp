#include "ai/AIProvider.h"
#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "core/KeychainService.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace sonvo::cli {

namespace {

enum class TipoChave { texto, booleano, real, lista, json };

struct ChaveConhecida {
    const char* nome;
    TipoChave tipo;
    QStringList valores = {}; // a text that must be one of these, when given
};

const ChaveConhecida kChaves[] = {
    {"operationMode", TipoChave::texto},
    {"toggleShowActionMenu", TipoChave::booleano},
    {"toggleShowIntentModal", TipoChave::booleano},
    {"toggleStreamingInline", TipoChave::booleano},
    {"toggleSelectionContext", TipoChave::booleano},
    {"iconVariant", TipoChave::texto},
    {"hasOnboarded", TipoChave::booleano},
    {"aiProvider", TipoChave::texto},
    {"vozelQuickActions", TipoChave::lista},
    {"intentDetectionEnabled", TipoChave::booleano},
    {"vocabPendingCorrections", TipoChave::json},
    {"vocabularyAuditEnabled", TipoChave::booleano},
    {"vocabularyAuditLastRun", TipoChave::real},
    {"openaiBaseURL", TipoChave::texto},
    {"anthropicBaseURL", TipoChave::texto},
    {"whisperCliPath", TipoChave::texto},
    {"whisperModelPath", TipoChave::texto},
    {"modoAtalho", TipoChave::texto, {QStringLiteral("alternar"), QStringLiteral("segurar")}},
    {"microfone", TipoChave::texto},
    {"teclaDeColar", TipoChave::json},
};

const ChaveConhecida* acharChave(const QString& nome)
{
    for (const auto& c : kChaves)
        if (nome == QLatin1String(c.nome))
            return &c;
    return nullptr;
}

std::optional<QString> textoDoValor(const Configuracoes& config, const ChaveConhecida& c)
{
    const QString nome = QString::fromLatin1(c.nome);
    if (!config.valor(nome).isValid() && !config.contem(nome))
        return std::nullopt;
    switch (c.tipo) {
    case TipoChave::booleano: return config.booleano(nome) ? QStringLiteral("true") : QStringLiteral("false");
    case TipoChave::real: {
        const auto r = config.real(nome);
        return r ? QString::number(*r, 'g', 17) : QString();
    }
    case TipoChave::lista: return config.lista(nome).value_or(QStringList{}).join(u',');
    case TipoChave::json: return QString::fromUtf8(config.dados(nome));
    case TipoChave::texto: return config.texto(nome).value_or(QString());
    }
    return std::nullopt;
}

// Reads one line without echoing it when standard input is a terminal: a key is a secret.
QByteArray lerChaveDoTerminal()
{
    termios antigo{};
    const bool terminal = ::isatty(STDIN_FILENO) && ::tcgetattr(STDIN_FILENO, &antigo) == 0;
    if (terminal) {
        escreverErro(QStringLiteral("Cole a chave e tecle Enter:"));
        termios novo = antigo;
        novo.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &novo);
    }
    QByteArray linha;
    int c = 0;
    while ((c = std::fgetc(stdin)) != EOF && c != '\n')
        linha.append(static_cast<char>(c));
    if (terminal) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, &antigo);
        std::fputc('\n', stderr);
    }
    return linha;
}

} // namespace

QCoro::Task<int> comandoChave(Contexto& ctx)
{
    const QStringList& pos = ctx.args.posicionais();
    if (pos.size() != 1)
        co_return erroDeUso(QStringLiteral("Uso: sonvo chave openai|anthropic"));
    const auto provedor = Provedores::deRawValue(pos.first());
    if (!provedor)
        co_return erroDeUso(QStringLiteral("Provedor desconhecido: ") + pos.first());

    // Only the line end goes: the key is stored as typed.
    QByteArray linha = lerChaveDoTerminal();
    if (linha.endsWith('\r'))
        linha.chop(1);
    const QString chave = QString::fromUtf8(linha);

    const KeychainService keychain(Caminhos::pastaDados());
    if (keychain.salvarChave(Provedores::contaChave(*provedor), chave)) {
        escreverErro(Provedores::mensagemErroSalvar(*provedor));
        co_return falha;
    }
    const QString nome = *provedor == AIProviderID::anthropic ? QStringLiteral("Anthropic") : QStringLiteral("OpenAI");
    escreverSaida(chave.isEmpty() ? QStringLiteral("Chave %1 removida.\n").arg(nome) : QStringLiteral("Chave %1 salva.\n").arg(nome));
    co_return sucesso;
}

QCoro::Task<int> comandoConfig(Contexto& ctx)
{
    const bool remover = ctx.args.flag(QStringLiteral("--remover"));
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = ctx.args.posicionais();
    Configuracoes& config = ctx.config;

    if (pos.isEmpty()) {
        if (remover)
            co_return erroDeUso(QStringLiteral("Uso: sonvo config --remover CHAVE"));
        QString saida;
        for (const auto& c : kChaves)
            if (const auto v = textoDoValor(config, c))
                saida += QString::fromLatin1(c.nome) + u'=' + *v + u'\n';
        escreverSaida(saida);
        co_return sucesso;
    }
    if (pos.size() > 2 || (remover && pos.size() != 1))
        co_return erroDeUso(QStringLiteral("Uso: sonvo config [CHAVE [VALOR]]"));
    const ChaveConhecida* chave = acharChave(pos[0]);
    if (!chave)
        co_return erroDeUso(QStringLiteral("Configuração desconhecida: ") + pos[0]);
    const QString nome = pos[0];

    if (remover) {
        config.remover(nome);
        co_return config.sincronizar() ? sucesso : falha;
    }
    if (pos.size() == 1) {
        const auto v = textoDoValor(config, *chave);
        if (!v) {
            escreverErro(QStringLiteral("Configuração não definida: ") + nome);
            co_return falha;
        }
        escreverSaida(*v + u'\n');
        co_return sucesso;
    }

    const QString bruto = pos[1];
    QVariant valor;
    switch (chave->tipo) {
    case TipoChave::texto:
        if (!chave->valores.isEmpty() && !chave->valores.contains(bruto))
            co_return erroDeUso(QStringLiteral("Valor inválido para %1: use %2").arg(nome, chave->valores.join(QStringLiteral(" ou "))));
        valor = bruto;
        break;
    case TipoChave::booleano:
        if (bruto == u"true" || bruto == u"1")
            valor = true;
        else if (bruto == u"false" || bruto == u"0")
            valor = false;
        else
            co_return erroDeUso(QStringLiteral("Valor inválido para %1: use true ou false").arg(nome));
        break;
    case TipoChave::real: {
        bool ok = false;
        const double d = bruto.toDouble(&ok);
        if (!ok)
            co_return erroDeUso(QStringLiteral("Valor inválido para %1: use um número").arg(nome));
        valor = d;
        break;
    }
    case TipoChave::lista: {
        QStringList itens;
        for (const QString& s : bruto.split(u',', Qt::SkipEmptyParts))
            if (!s.trimmed().isEmpty())
                itens << s.trimmed();
        valor = itens;
        break;
    }
    case TipoChave::json: {
        const QJsonDocument doc = QJsonDocument::fromJson(bruto.toUtf8());
        if (!doc.isObject())
            co_return erroDeUso(QStringLiteral("Valor inválido para %1: use um objeto JSON").arg(nome));
        valor = bruto.toUtf8();
        break;
    }
    }
    config.definir(nome, valor);
    if (!config.sincronizar()) {
        escreverErro(QStringLiteral("Não foi possível gravar as configurações em ") + config.arquivo());
        co_return falha;
    }
    co_return sucesso;
}

} // namespace sonvo::cli
