#include "ai/AIProvider.h"
#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "core/Endpoints.h"
#include "core/KeychainService.h"
#include "dictation/ServicoTranscricao.h"
#include "dictation/TesteTranscricao.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

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
    {"transcricaoServico", TipoChave::texto, {QStringLiteral("openai"), QStringLiteral("groq"), QStringLiteral("proprio")}},
    {"transcricaoURL", TipoChave::texto},
    {"transcricaoModelo", TipoChave::texto},
    {"envioAudio", TipoChave::texto, {QStringLiteral("wav"), QStringLiteral("opus")}},
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
        co_return erroDeUso(QStringLiteral("Uso: sonvo chave openai|anthropic|groq|proprio"));
    // The AI providers' accounts, and the transcription services' (OpenAI's is the same account).
    const auto provedor = Provedores::deRawValue(pos.first());
    const auto servico = ServicoTranscricao::presetDe(pos.first());
    if (!provedor && !servico)
        co_return erroDeUso(QStringLiteral("Provedor desconhecido: ") + pos.first());

    // Only the line end goes: the key is stored as typed.
    QByteArray linha = lerChaveDoTerminal();
    if (linha.endsWith('\r'))
        linha.chop(1);
    const QString chave = QString::fromUtf8(linha);

    const KeychainService keychain(Caminhos::pastaDados());
    const QString conta = provedor ? Provedores::contaChave(*provedor) : ServicoTranscricao::contaDe(*servico);
    if (keychain.salvarChave(conta, chave)) {
        escreverErro(provedor ? Provedores::mensagemErroSalvar(*provedor)
                              : QStringLiteral("Não foi possível salvar a chave ") + ServicoTranscricao::nome(*servico));
        co_return falha;
    }
    const QString nome = provedor ? (*provedor == AIProviderID::anthropic ? QStringLiteral("Anthropic") : QStringLiteral("OpenAI"))
                                  : ServicoTranscricao::nome(*servico);
    escreverSaida(chave.isEmpty() ? QStringLiteral("Chave %1 removida.\n").arg(nome) : QStringLiteral("Chave %1 salva.\n").arg(nome));
    co_return sucesso;
}

QCoro::Task<int> comandoServico(Contexto& ctx)
{
    static const QString kUso = QStringLiteral("Uso: sonvo servico [mostrar|usar openai|groq|proprio|url URL|modelo NOME|envio wav|opus|testar]");
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = ctx.args.posicionais();
    const QString acao = pos.value(0, QStringLiteral("mostrar"));
    Configuracoes& config = ctx.config;
    const bool semValor = acao == u"mostrar" || acao == u"testar";
    if (pos.size() != (semValor ? (pos.isEmpty() ? 0 : 1) : 2))
        co_return erroDeUso(kUso);
    const QString valor = pos.value(1).trimmed();
    if (acao == u"testar") {
        const ResultadoTeste r = co_await testarServicoTranscricao(ctx.rede, config, Caminhos::pastaDados());
        if (!r.ok) {
            escreverErro(r.texto);
            co_return falha;
        }
        escreverSaida(r.texto + u'\n');
        co_return sucesso;
    }
    if (acao == u"usar") {
        const auto preset = ServicoTranscricao::presetDe(valor);
        if (!preset)
            co_return erroDeUso(QStringLiteral("Serviço desconhecido: ") + valor + QStringLiteral(" (openai, groq ou proprio)"));
        // The preset fills the address and the model again.
        config.definir(QStringLiteral("transcricaoServico"), ServicoTranscricao::rawValue(*preset));
        config.remover(QStringLiteral("transcricaoURL"));
        config.remover(QStringLiteral("transcricaoModelo"));
    } else if (acao == u"url") {
        if (const auto erro = Endpoints::erroDeEndereco(valor))
            co_return erroDeUso(*erro);
        config.definir(QStringLiteral("transcricaoURL"), valor);
    } else if (acao == u"modelo") {
        if (valor.isEmpty())
            co_return erroDeUso(kUso);
        config.definir(QStringLiteral("transcricaoModelo"), valor);
    } else if (acao == u"envio") {
        if (valor != u"wav" && valor != u"opus")
            co_return erroDeUso(QStringLiteral("Envio desconhecido: ") + valor + QStringLiteral(" (wav ou opus)"));
        config.definir(QStringLiteral("envioAudio"), valor);
    } else if (acao != u"mostrar") {
        co_return erroDeUso(kUso);
    }
    if (!semValor && !config.sincronizar()) {
        escreverErro(QStringLiteral("Não foi possível gravar as configurações"));
        co_return falha;
    }
    const ServicoTranscricao s = ServicoTranscricao::ler(config);
    const auto chaves = KeychainService(Caminhos::pastaDados()).carregar();
    const bool temChave = chaves && !chaves.valor().value(s.contaChave).isEmpty();
    const QString chave = temChave ? QStringLiteral("configurada")
        : s.chaveOpcional()        ? QStringLiteral("nenhuma (não é necessária)")
                                   : QStringLiteral("não configurada (sonvo chave ") + ServicoTranscricao::rawValue(s.preset) + u')';
    escreverSaida(QStringLiteral("Serviço: %1\nEndereço: %2\nModelo: %3\nEnvio de áudio: %4\nChave: %5\n")
                      .arg(ServicoTranscricao::nome(s.preset), s.endpoint().toString(), s.modelo,
                           ServicoTranscricao::descricaoEnvio(s.compacto), chave));
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
