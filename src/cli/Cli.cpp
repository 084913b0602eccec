#include "cli/Cli.h"

#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QTimer>

#include <cstdio>
#include <iostream>

namespace sonvo::cli {

std::optional<QString> Argumentos::opcao(const QString& nome)
{
    const QString prefixo = nome + u'=';
    for (qsizetype i = 0; i < m_args.size(); ++i) {
        if (m_args[i] == nome) {
            if (i + 1 >= m_args.size()) {
                m_faltouValor = true;
                m_args.removeAt(i);
                return std::nullopt;
            }
            const QString v = m_args[i + 1];
            m_args.remove(i, 2);
            return v;
        }
        if (m_args[i].startsWith(prefixo)) {
            const QString v = m_args[i].mid(prefixo.size());
            m_args.removeAt(i);
            return v;
        }
        if (m_args[i] == u"--")
            break;
    }
    return std::nullopt;
}

bool Argumentos::flag(const QString& nome)
{
    for (qsizetype i = 0; i < m_args.size(); ++i) {
        if (m_args[i] == u"--")
            break;
        if (m_args[i] == nome) {
            m_args.removeAt(i);
            return true;
        }
    }
    return false;
}

std::optional<QString> Argumentos::opcaoDesconhecida() const
{
    for (const QString& a : m_args) {
        if (a == u"--")
            break;
        if (a.startsWith(u"--"))
            return a;
    }
    return std::nullopt;
}

std::optional<QString> textoDosArgumentos(Contexto& ctx, const QStringList& palavras)
{
    if (!palavras.isEmpty())
        return palavras.join(u' ');
    auto lido = TextoUnicode::decodificarUtf8(ctx.lerEntrada());
    if (!lido)
        escreverErro(QStringLiteral("A entrada padrão não é texto UTF-8 válido"));
    return lido;
}

void escreverSaida(const QString& texto)
{
    const QByteArray b = texto.toUtf8();
    std::fwrite(b.constData(), 1, static_cast<size_t>(b.size()), stdout);
    std::fflush(stdout);
}

void escreverErro(const QString& linha)
{
    const QByteArray b = linha.toUtf8() + '\n';
    std::fwrite(b.constData(), 1, static_cast<size_t>(b.size()), stderr);
    std::fflush(stderr);
}

int erroDeUso(const QString& mensagem)
{
    escreverErro(mensagem + QStringLiteral(" (veja: sonvo --help)"));
    return uso;
}

QString textoAjuda()
{
    return QStringLiteral(
        "Sonvo: ditado em português do Brasil.\n"
        "\n"
        "Uso:\n"
        "  sonvo                                 inicia o Sonvo na bandeja do sistema\n"
        "  sonvo alternar [--menu]               inicia ou termina um ditado no Sonvo aberto, como\n"
        "                                        Super+Shift+T (--menu: como Super+Shift+R); associe-o\n"
        "                                        a um atalho onde não há atalhos globais (Wayland)\n"
        "  sonvo iniciar [--menu]                começa um ditado no Sonvo aberto (nada, se já grava);\n"
        "                                        para associar ao apertar de uma tecla\n"
        "  sonvo parar                           termina o ditado em andamento como ele começou; para\n"
        "                                        associar ao soltar da mesma tecla\n"
        "  sonvo autoinicio [ligar|desligar]     abre (ou não) o Sonvo ao entrar na sessão\n"
        "  sonvo diagnostico                     como cada serviço funciona nesta sessão; sai com 1\n"
        "                                        quando um ditado não chegaria ao destino\n"
        "  sonvo ditar [--app ID] [--menu]       grava o microfone até Enter ou Ctrl-C e imprime o texto\n"
        "  sonvo microfones                      os microfones (* o escolhido); escolha com\n"
        "                                        sonvo config microfone NOME\n"
        "  sonvo transcrever ARQUIVO [--app ID]  transcreve um arquivo WAV e imprime o texto corrigido\n"
        "  sonvo pendentes                       os ditados que falharam e foram guardados (1: o mais recente)\n"
        "  sonvo retentar [N]                    transcreve de novo o ditado pendente N (padrão: 1)\n"
        "                                        e imprime o texto corrigido\n"
        "  sonvo descartar N|--todos             apaga o ditado pendente N, ou todos\n"
        "  sonvo corrigir [--app ID] [TEXTO]     aplica o vocabulário ao TEXTO (ou à entrada padrão)\n"
        "  sonvo vocabulario listar [--app ID]\n"
        "  sonvo vocabulario adicionar OUVIDO ESCREVER [--app ID]\n"
        "  sonvo vocabulario remover OUVIDO --app ID\n"
        "  sonvo vocabulario termos [--app ID]   imprime a dica de termos enviada na transcrição\n"
        "  sonvo historico [N]                   as últimas N transcrições, da mais recente\n"
        "  sonvo transformar ACAO [--contexto TEXTO] [--sem-streaming] [TEXTO]\n"
        "                                        aplica uma ação rápida (resumir, bulletPoints, email,\n"
        "                                        legenda, post) com o provedor escolhido\n"
        "  sonvo intencao [TEXTO]                detecta se o TEXTO (ou a entrada padrão)\n"
        "                                        pede uma ação rápida: <confiança> <ação>\n"
        "  sonvo auditar                         procura erros de transcrição recorrentes\n"
        "                                        no histórico e enfileira as sugestões\n"
        "  sonvo sugestoes [aprovar ID | rejeitar ID]\n"
        "                                        lista, aprova ou rejeita as sugestões\n"
        "  sonvo chave openai|anthropic|groq|proprio\n"
        "                                        lê a chave da entrada padrão (vazia: remove)\n"
        "  sonvo servico [mostrar|usar openai|groq|proprio|url URL|modelo NOME|envio wav|opus|testar]\n"
        "                                        o serviço de transcrição: qual, endereço, modelo,\n"
        "                                        envio do áudio; testar manda 1 s de áudio sem fala\n"
        "  sonvo config [CHAVE [VALOR]]          lista, lê ou grava uma configuração\n"
        "  sonvo --help                          esta ajuda\n"
        "\n"
        "Variáveis de ambiente:\n"
        "  SONVO_OPENAI_BASE_URL, SONVO_ANTHROPIC_BASE_URL  servidores das APIs\n"
        "  SONVO_TRANSCRICAO_MODELO                         modelo de transcrição (vale mais que a configuração)\n"
        "  SONVO_LOG_FILE                                   arquivo de log (padrão: /tmp/vozel.log)\n"
        "  XDG_DATA_HOME, XDG_CONFIG_HOME                   pastas de dados e de configuração\n"
        "\n"
        "Saída: 0 em sucesso, 1 em falha (a mensagem sai na saída de erro), 2 em erro de uso.\n");
}

namespace {

using Comando = QCoro::Task<int> (*)(Contexto&);

struct Entrada {
    const char* nome;
    Comando comando;
};

// Each command reads its own options; the table only maps names.
const Entrada kComandos[] = {
    {"chave", comandoChave},
    {"config", comandoConfig},
    {"servico", comandoServico},
    {"transcrever", comandoTranscrever},
    {"corrigir", comandoCorrigir},
    {"vocabulario", comandoVocabulario},
    {"historico", comandoHistorico},
    {"transformar", comandoTransformar},
    {"ditar", comandoDitar},
    {"intencao", comandoIntencao},
    {"auditar", comandoAuditar},
    {"sugestoes", comandoSugestoes},
    {"alternar", comandoAlternar},
    {"iniciar", comandoIniciar},
    {"microfones", comandoMicrofones},
    {"pendentes", comandoPendentes},
    {"retentar", comandoRetentar},
    {"descartar", comandoDescartar},
    {"parar", comandoParar},
    {"autoinicio", comandoAutoinicio},
};

QByteArray lerStdinInteiro()
{
    QByteArray dados;
    char bloco[4096];
    size_t n = 0;
    while ((n = std::fread(bloco, 1, sizeof bloco, stdin)) > 0)
        dados.append(bloco, static_cast<qsizetype>(n));
    return dados;
}

} // namespace

int executar(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty() || args.first() == u"--help" || args.first() == u"-h" || args.first() == u"ajuda") {
        escreverSaida(textoAjuda());
        return sucesso;
    }
    const QString nome = args.takeFirst();
    Comando comando = nullptr;
    for (const Entrada& e : kComandos)
        if (nome == QLatin1String(e.nome))
            comando = e.comando;
    if (!comando)
        return erroDeUso(QStringLiteral("Comando desconhecido: ") + nome);

    Log::enviarParaArquivo(Log::caminhoArquivo());
    Log::capturarMensagensDoQt();
    Configuracoes config(Caminhos::arquivoConfig());
    config.registrarPadroes(Configuracoes::padroesDoApp());
    QNetworkAccessManager rede;
    Contexto ctx{config, rede, Argumentos(args), lerStdinInteiro};

    int codigo = falha;
    auto tarefa = [&]() -> QCoro::Task<> {
        codigo = co_await comando(ctx);
        QCoreApplication::exit(codigo);
    };
    QTimer::singleShot(0, &app, [&] { tarefa(); });
    app.exec();
    return codigo;
}

} // namespace sonvo::cli
