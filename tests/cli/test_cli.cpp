// `sonvo` as a user runs it: arguments, exit statuses, what each command prints and what reaches
// standard error. What lies underneath is tested in tests/unit; here, one case per command.
#include "core/KeychainService.h"
#include "dictation/DitadosPendentes.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/dbus/ControleRemotoDBus.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

QStringList a(std::initializer_list<QString> args) { return QStringList(args); }
const QByteArray kIndisponivel = "Transcrição indisponível (sem conexão e sem reconhecimento local)\n";

struct Cli : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    const QString dados = amb.pastaDados(), tmp = amb.raiz() + "/tmp";

    Cli()
    {
        QDir().mkpath(tmp);
        amb.definir("TMPDIR", tmp);
        amb.definir("SONVO_OPENAI_BASE_URL", servidor.url().toString());
    }
    ResultadoProcesso rodar(const QStringList& args, const QByteArray& entrada = {}) { return rodarSonvo(amb, args, entrada); }
    // Success is exit 0 with nothing on standard error (log lines go to the log file).
    QByteArray ok(const QStringList& args, const QByteArray& entrada = {})
    {
        const auto r = rodar(args, entrada);
        EXPECT_TRUE(r.codigo == 0 && r.erro.isEmpty()) << args.join(u' ').toStdString() << ": " << r.codigo << " " << r.erro.constData();
        return r.saida;
    }
    void chaveOpenAI() { ASSERT_FALSE(KeychainService(dados).salvarChave("openai_api_key", "sk-teste")); }
    void respostaChat(const QString& conteudo)
    {
        const QJsonObject msg{{"role", "assistant"}, {"content", conteudo}};
        servidor.enfileirar(Resposta::json(200, QJsonDocument(QJsonObject{{"choices", QJsonArray{QJsonObject{{"message", msg}}}}}).toJson()));
    }
};

} // namespace

TEST_F(Cli, AjudaEmPortuguesEErroDeUsoSai2ComUmaLinhaQueApontaAAjuda)
{
    const QString ajuda = QString::fromUtf8(ok(a({"--help"})));
    EXPECT_TRUE(ajuda.startsWith("Sonvo: ditado em português do Brasil.\n"));
    for (const char* comando : {"alternar", "iniciar", "parar", "diagnostico", "autoinicio", "ditar", "transcrever", "corrigir", "vocabulario", "historico",
                                "transformar", "intencao", "auditar", "sugestoes", "chave", "config"})
        EXPECT_TRUE(ajuda.contains(QString("  sonvo ") + comando + " ")) << comando;

    struct Caso { QStringList args; QByteArray erro; };
    const Caso casos[] = {
        {a({"voar"}), "Comando desconhecido: voar"},
        {a({"chave", "google"}), "Provedor desconhecido: google"},
        {a({"chave", "openai", "sk-na-linha"}), "Uso: sonvo chave openai|anthropic|groq|proprio"}, // a key never comes from argv
        {a({"config", "toggleShowActionMenu", "talvez"}), "Valor inválido para toggleShowActionMenu: use true ou false"},
        {a({"config", "vocabPendingCorrections", "[1]"}), "Valor inválido para vocabPendingCorrections: use um objeto JSON"},
        {a({"config", "chaveInventada", "1"}), "Configuração desconhecida: chaveInventada"},
        {a({"config", "modoAtalho", "Segurar"}), "Valor inválido para modoAtalho: use alternar ou segurar"},
        {a({"transcrever", "a.wav", "--app"}), "Falta o valor de --app"},
        {a({"corrigir", "--app", ""}), "O ID do aplicativo não pode ser vazio"},
        {a({"corrigir", "--xyz", "t"}), "Opção desconhecida: --xyz"},
        {a({"vocabulario", "apagar"}), "Uso: sonvo vocabulario listar [--app ID] | adicionar OUVIDO ESCREVER [--app ID] | "
                                       "remover OUVIDO --app ID | termos [--app ID]"},
        {a({"vocabulario", "adicionar", " ", "x"}), "OUVIDO e ESCREVER não podem ser vazios"},
        {a({"vocabulario", "adicionar", "a\nb", "c"}), "OUVIDO e ESCREVER devem ocupar uma linha só"},
        {a({"vocabulario", "adicionar", "a -> b", "c"}), "No vocabulário global, OUVIDO e ESCREVER não podem conter \"->\""},
        {a({"vocabulario", "remover", "x"}),
         "Uso: sonvo vocabulario remover OUVIDO --app ID (o vocabulário global se edita em " + dados.toUtf8() + "/vocabulary.md)"},
        {a({"historico", "0"}), "N deve ser um número inteiro positivo"},
        {a({"transformar", "Email", "x"}), "Ação desconhecida: Email (use resumir, bulletPoints, email, legenda, post)"},
        {a({"transformar", "email", "--contexto"}), "Falta o valor de --contexto"},
        {a({"sugestoes", "aprovar"}), "Uso: sonvo sugestoes [aprovar ID | rejeitar ID]"},
        {a({"alternar", "agora"}), "O comando alternar não recebe argumentos"},
        {a({"parar", "agora"}), "O comando parar não recebe argumentos"},
        {a({"autoinicio", "talvez"}), "Uso: sonvo autoinicio [ligar|desligar]"},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.args.join(u' ').toStdString());
        const auto r = rodar(c.args, "x\n");
        EXPECT_TRUE(r.codigo == 2 && r.saida.isEmpty() && r.erro == c.erro + " (veja: sonvo --help)\n") << r.codigo << " " << r.erro.constData();
    }
    // Refused before anything was written or sent.
    EXPECT_FALSE(QFileInfo::exists(dados + "/vocabulary.md") || QFileInfo::exists(amb.arquivoConfig()));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
}

TEST_F(Cli, FalhaSai1ComAMensagemComoUnicaLinhaDeErro)
{
    // No desktop, sound server, session bus, key or local recogniser; files that cannot be read.
    amb.definir("XDG_RUNTIME_DIR", amb.raiz());
    amb.definir("PULSE_SERVER", "unix:" + amb.raiz() + "/sem-servidor");
    amb.definir("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + amb.raiz() + "/sem-barramento");
    const QByteArray vocab = (dados + "/vocabulary.md").toUtf8(), hist = (dados + "/transcription-history.json").toUtf8(),
                     fila = (dados + "/vocabulary-audit-pending.json").toUtf8(), latin1 = "## Correções automáticas\n- voce -> voc\xEA\n";
    QDir().mkpath(dados);
    ASSERT_TRUE(gravarArquivo(vocab, latin1) && gravarArquivo(hist, "[{\"texto\": 1}]") && gravarArquivo(fila, "[{\"ouvido\":"));
    struct Caso { QStringList args; QByteArray entrada, erro; };
    const Caso casos[] = {
        {{}, {}, "O Sonvo precisa de uma sessão gráfica (X11 ou Wayland) para ficar na bandeja do sistema.\nSem ela, use a linha de comando: sonvo --help\n"},
        {a({"config", "hasOnboarded"}), {}, "Configuração não definida: hasOnboarded\n"},
        {a({"intencao"}), "faz um \xff resumo", "A entrada padrão não é texto UTF-8 válido\n"},
        {a({"transcrever", amb.raiz() + "/nao-existe.wav"}), {}, kIndisponivel},
        {a({"ditar"}), "\n", "Erro no áudio: "}, // the cause, from the sound library, ends the line
        {a({"transformar", "email", "x"}), {}, "Configure a chave OpenAI (gpt-4o-mini) em Preferências\n"},
        {a({"alternar"}), {}, "Não há D-Bus de sessão: não é possível falar com o Sonvo aberto.\n"},
        {a({"vocabulario", "listar"}), {}, "Não foi possível ler " + vocab + ": o arquivo não é texto UTF-8 válido\n"},
        {a({"vocabulario", "remover", "foo", "--app", "kate"}), {}, "Nenhuma correção \"foo\" no vocabulário de kate\n"},
        {a({"historico"}), {}, "Não foi possível ler o histórico em " + hist + "\n"},
        {a({"sugestoes"}), {}, "Não foi possível ler a fila de sugestões em " + fila + "\n"},
        {a({"sugestoes", "rejeitar", "xyz"}), {}, "Nenhuma sugestão pendente com o ID xyz (veja: sonvo sugestoes)\n"},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.args.join(u' ').toStdString());
        const auto r = rodar(c.args, c.entrada);
        const bool mensagem = r.erro == c.erro || (!c.erro.endsWith('\n') && r.erro.startsWith(c.erro) && r.erro.count('\n') == 1);
        EXPECT_TRUE(r.codigo == 1 && r.saida.isEmpty() && mensagem) << r.codigo << " " << r.erro.constData();
    }
    EXPECT_EQ(lerArquivo(vocab), latin1);
    EXPECT_TRUE(QDir(tmp).isEmpty()) << QDir(tmp).entryList().join(u' ').toStdString();
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
}

TEST_F(Cli, ChaveLidaDaEntradaEConfigNoArquivoDaBandeja)
{
    EXPECT_EQ(ok(a({"chave", "openai"}), " sk-abc \r\n"), "Chave OpenAI salva.\n");
    EXPECT_EQ(ok(a({"chave", "anthropic"}), "sk-ant\nresto"), "Chave Anthropic salva.\n");
    const KeychainService chaves(dados);
    EXPECT_EQ(chaves.chave("openai_api_key"), QString(" sk-abc ")); // only the line end goes
    EXPECT_EQ(chaves.chave("anthropic_api_key"), QString("sk-ant"));
    EXPECT_EQ(ok(a({"chave", "openai"})), "Chave OpenAI removida.\n");
    ASSERT_TRUE(QFile::remove(chaves.arquivo()) && QDir().mkpath(chaves.arquivo()));
    const auto r = rodar(a({"chave", "anthropic"}), "sk\n");
    EXPECT_TRUE(r.codigo == 1 && r.erro == "Erro ao salvar chave Anthropic\n") << r.codigo << " " << r.erro.constData();

    const QByteArray padrao = ok(a({"config"}));
    EXPECT_TRUE(padrao.contains("operationMode=full\n") && padrao.contains("toggleShowActionMenu=true\n")) << padrao.constData();
    EXPECT_FALSE(padrao.contains("aiProvider")); // keys nobody set are left out
    ok(a({"config", "aiProvider", "anthropic"}));
    ok(a({"config", "toggleShowActionMenu", "0"}));
    ok(a({"config", "vozelQuickActions", "email, ,post"}));
    EXPECT_EQ(ok(a({"config", "aiProvider"})) + ok(a({"config", "toggleShowActionMenu"})) + ok(a({"config", "vozelQuickActions"})),
              "anthropic\nfalse\nemail,post\n");
    EXPECT_EQ(QSettings(amb.arquivoConfig(), QSettings::IniFormat).value("aiProvider").toString(), "anthropic"); // the tray's file
    ok(a({"config", "--remover", "aiProvider"}));
    EXPECT_EQ(rodar(a({"config", "aiProvider"})).codigo, 1);
}

TEST_F(Cli, VocabularioCorrigirHistoricoDoMaisRecenteEIntencaoComoConfiancaEAcao)
{
    EXPECT_EQ(ok(a({"vocabulario", "termos"})), ""); // no hint: nothing, not even a line end
    EXPECT_EQ(ok(a({"vocabulario", "adicionar", "vs code", "VS Code"})), "Correção adicionada ao vocabulário global: vs code -> VS Code\n");
    EXPECT_EQ(ok(a({"vocabulario", "adicionar", " Foo ", "Bar", "--app", "kate"})), "Correção adicionada ao vocabulário de kate: Foo -> Bar\n");
    ok(a({"vocabulario", "adicionar", "zeta", "Z", "--app=code"}));
    EXPECT_EQ(ok(a({"vocabulario", "listar"})), "Correções:\n  vs code -> VS Code\nTermos prioritários:\n  (nenhum)\nWhitelist:\n  (nenhuma)\n"
                                                "Aplicativos com vocabulário próprio:\n  code\n  kate\n");
    EXPECT_EQ(ok(a({"vocabulario", "listar", "--app", "kate"})), "Correções:\n  foo -> Bar\nTermos prioritários:\n  (nenhum)\nWhitelist:\n  (nenhuma)\n");
    EXPECT_EQ(ok(a({"vocabulario", "remover", "Foo", "--app", "kate"})), "Correção removida do vocabulário de kate: Foo\n");

    // Words given apart are one text; "--" ends the options; standard input is taken whole, its line end kept.
    EXPECT_EQ(ok(a({"corrigir", "abri", "o", "vs", "code"})), "abri o VS Code\n");
    EXPECT_EQ(ok(a({"corrigir", "--app", "code", "--", "--zeta"})), "--Z\n");
    EXPECT_EQ(ok(a({"corrigir"}), "linha 1 vs code\nlinha 2\n"), "linha 1 VS Code\nlinha 2\n");
    EXPECT_EQ(ok(a({"corrigir"}), ""), "");

    ASSERT_TRUE(gravarArquivo(dados + "/vocabulary.md", "## Termos prioritários\n- Maquiavel\n- Zettelkasten\n"));
    EXPECT_EQ(ok(a({"vocabulario", "termos"})), "Maquiavel, Zettelkasten"); // exactly as sent, no line end

    EXPECT_EQ(ok(a({"historico"})), "");
    QDateTime quando(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);
    TranscriptionHistory historico(dados, [&] { return quando = quando.addSecs(60); });
    for (int i = 1; i <= 12; ++i)
        historico.append(QStringLiteral("ditado %1").arg(i), i % 2 ? std::optional<QString>("kate") : std::nullopt);
    EXPECT_EQ(ok(a({"historico", "2"})), "2025-03-01T14:17:09Z\nditado 12\n\n2025-03-01T14:16:09Z [kate]\nditado 11\n");
    EXPECT_EQ(ok(a({"historico"})).count("ditado"), 10);
    EXPECT_EQ(ok(a({"historico", "500"})).count("ditado"), 12);

    EXPECT_EQ(ok(a({"intencao"}), "transforma em e-mail\n"), "alta email\n");
    EXPECT_EQ(ok(a({"intencao", "não", "quero", "resumo"})), "nenhuma nil\n");
}

TEST_F(Cli, AuditarEnfileiraESugestoesListaAprovaERejeita)
{
    chaveOpenAI();
    TranscriptionHistory historico(dados);
    for (const char* t : {"abri o cloud code", "o cloud code travou", "subi no get hub"})
        historico.append(t, std::nullopt);
    const QString resposta = R"([{"ouvido": "cloud code", "provavel": "Claude Code", "confianca": 0.7, "ocorrencias": 2},
                                 {"ouvido": "get hub", "provavel": "GitHub", "confianca": 1, "ocorrencias": 1}])";
    respostaChat(resposta);
    const QString saida = QString::fromUtf8(ok(a({"auditar"})));
    const QStringList id{saida.section(u'\n', 1, 1).left(36), saida.section(u'\n', 2, 2).left(36)};
    const QString fila = id[0] + "  cloud code -> Claude Code  (confiança 0.70, 2 ocorrências)\n" + id[1] + "  get hub -> GitHub  (confiança 1.00, 1 ocorrências)\n";
    EXPECT_EQ(saida, "Sugestões novas na fila (aprove com: sonvo sugestoes aprovar ID):\n" + fila);
    EXPECT_EQ(QString::fromUtf8(ok(a({"sugestoes"}))), fila);
    respostaChat(resposta);
    EXPECT_EQ(ok(a({"auditar"})), "Nenhuma sugestão nova.\n");

    EXPECT_EQ(ok(a({"sugestoes", "aprovar", id[0].toLower()})), "Aprovada: cloud code -> Claude Code (adicionada ao vocabulário)\n");
    EXPECT_EQ(ok(a({"sugestoes", "rejeitar", id[1]})), "Rejeitada: get hub -> GitHub\n");
    EXPECT_EQ(ok(a({"sugestoes"})), "Nenhuma sugestão pendente.\n");
}

TEST_F(Cli, TransformarEscreveCadaFragmentoAssimQueChega)
{
    chaveOpenAI();
    servidor.enfileirar(Resposta::sse(Resposta::eventosOpenAI({"Olá,", " equipe"}), 400));
    QProcess p;
    p.setProcessEnvironment(amb.ambiente());
    p.start(SONVO_BIN, {"transformar", "email", "manda um oi pra equipe"});
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForReadyRead(10000));
    EXPECT_EQ(p.state(), QProcess::Running); // the first fragment is out while the model still writes
    EXPECT_EQ(QString::fromUtf8(p.readAllStandardOutput()), "Olá,");
    ASSERT_TRUE(p.waitForFinished(10000));
    EXPECT_EQ(QString::fromUtf8(p.readAllStandardOutput()), " equipe\n");
    EXPECT_TRUE(p.exitCode() == 0 && p.readAllStandardError().isEmpty());

    // A stream refused before its first fragment leaves standard output untouched.
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key provided"}})"));
    const auto r = rodar(a({"transformar", "post", "x"}));
    EXPECT_TRUE(r.codigo == 1 && r.erro == "Erro 401\n" && r.saida.isEmpty()) << r.codigo << " " << r.erro.constData() << r.saida.constData();

    respostaChat("  Resumo curto.  ");
    EXPECT_EQ(ok(a({"transformar", "resumir", "--sem-streaming", "--contexto", "texto selecionado"}), "um texto longo\n"), "Resumo curto.\n");
    const QByteArray corpo = servidor.requisicoes().value(2).corpo;
    EXPECT_TRUE(corpo.contains("texto selecionado") && corpo.contains("um texto longo")) << corpo.constData();
}

TEST_F(Cli, TranscreverImprimeOTextoCorrigidoENuncaMexeNoArquivoDoUsuario)
{
    chaveOpenAI();
    ok(a({"vocabulario", "adicionar", "kate", "Kate", "--app", "kate"}));
    const QString wav = amb.raiz() + "/minha fala.wav";
    const QByteArray audio = wavSintetico(48000, 1, 0.5);
    ASSERT_TRUE(gravarArquivo(wav, audio));
    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o kate"})"));
    EXPECT_EQ(ok(a({"transcrever", wav, "--app", "kate"})), "abri o Kate\n");

    servidor.enfileirar(Resposta::texto(503, "indisponível"));
    const auto r = rodar(a({"transcrever", wav}));
    EXPECT_TRUE(r.codigo == 1 && r.erro == kIndisponivel && r.saida.isEmpty()) << r.codigo << " " << r.erro.constData() << r.saida.constData();
    // The pipeline deletes the WAV it is given: it got a copy, gone either way.
    EXPECT_EQ(lerArquivo(wav), audio);
    EXPECT_TRUE(QDir(tmp).isEmpty()) << QDir(tmp).entryList().join(u' ').toStdString();
}

TEST_F(Cli, PendentesRetentarEDescartar)
{
    EXPECT_EQ(ok(a({"pendentes"})), "Nenhum ditado pendente\n");
    EXPECT_EQ(rodar(a({"retentar"})).erro, "Nenhum ditado pendente\n");
    EXPECT_EQ(rodar(a({"descartar", "1"})).erro, "Não há ditado pendente 1 (veja: sonvo pendentes)\n");
    // Two kept dictations (2.5 s of tone each), the newer one first in the list.
    DitadosPendentes pendentes(dados);
    for (const char* erro : {"Erro: sem conexão", "Erro 500: falhou"}) {
        const QString wav = tmp + "/d.wav";
        ASSERT_TRUE(gravarArquivo(wav, wavSintetico(48000, 1, 2.5)));
        ASSERT_TRUE(pendentes.guardar(wav, DitadoPendente{{}, {}, {}, "kate", erro, "Super+Shift+T", 0}).ok());
    }
    const QStringList linhas = QString::fromUtf8(ok(a({"pendentes"}))).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(linhas.size(), 2);
    EXPECT_TRUE(QRegularExpression("^1  \\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d  0:03  Erro 500: falhou$").match(linhas[0]).hasMatch()) << linhas[0].toStdString();
    EXPECT_TRUE(linhas[1].startsWith("2  ") && linhas[1].endsWith("  Erro: sem conexão"));

    struct Uso { QStringList args; int codigo; QByteArray erro; };
    const Uso usos[] = {
        {a({"retentar", "3"}), 1, "Não há ditado pendente 3 (veja: sonvo pendentes)\n"},
        {a({"descartar"}), 2, "Uso: sonvo descartar N|--todos (veja: sonvo --help)\n"},
        {a({"descartar", "1", "--todos"}), 2, "Uso: sonvo descartar N|--todos (veja: sonvo --help)\n"},
    };
    for (const Uso& u : usos) {
        const auto r = rodar(u.args);
        EXPECT_TRUE(r.codigo == u.codigo && r.erro == u.erro) << r.codigo << " " << r.erro.constData();
    }
    EXPECT_EQ(pendentes.listar().size(), 2);

    // Without a key the retry fails: exit 1, the cause, and the dictation stays with it.
    auto r = rodar(a({"retentar"}));
    EXPECT_TRUE(r.codigo == 1 && r.erro == kIndisponivel) << r.codigo << r.erro.constData();
    EXPECT_EQ(pendentes.listar().value(0).erro, QString::fromUtf8(kIndisponivel).trimmed());
    chaveOpenAI();
    ok(a({"vocabulario", "adicionar", "kate", "Kate", "--app", "kate"}));
    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o kate"})"));
    EXPECT_EQ(ok(a({"retentar", "2"})), "abri o Kate\n") << "the app it was dictated for keeps its vocabulary";
    ASSERT_EQ(pendentes.listar().size(), 1);
    EXPECT_EQ(pendentes.listar().value(0).erro, QString::fromUtf8(kIndisponivel).trimmed());
    EXPECT_EQ(servidor.requisicoes().size(), 1);

    ok(a({"descartar", "--todos"}));
    EXPECT_TRUE(QDir(pendentes.pasta()).isEmpty());
}

TEST_F(Cli, ServicoDeTranscricao)
{
    const QString base = servidor.url().toString();
    EXPECT_EQ(ok(a({"servico"})), "Serviço: OpenAI\nEndereço: " + base + "/v1/audio/transcriptions\nModelo: whisper-1\n"
                                  "Envio de áudio: Original (WAV)\nChave: não configurada (sonvo chave openai)\n");
    ok(a({"servico", "usar", "groq"}));
    ok(a({"chave", "groq"}), "gsk-1\n");
    EXPECT_EQ(ok(a({"servico", "envio", "opus"})), "Serviço: Groq\nEndereço: https://api.groq.com/openai/v1/audio/transcriptions\n"
                                                   "Modelo: whisper-large-v3-turbo\nEnvio de áudio: Compacto (Opus)\nChave: configurada\n");
    ok(a({"servico", "usar", "proprio"}));
    ok(a({"servico", "url", base + "/local"}));
    EXPECT_TRUE(ok(a({"servico", "modelo", "gpt-4o-transcribe"})).endsWith("Modelo: gpt-4o-transcribe\nEnvio de áudio: Compacto (Opus)\n"
                                                                          "Chave: nenhuma (não é necessária)\n"));
    servidor.enfileirar(Resposta::json(200, R"({"text":""})"));
    EXPECT_EQ(ok(a({"servico", "testar"})), "Funcionando: Servidor próprio respondeu com gpt-4o-transcribe (\"\")\n");
    EXPECT_EQ(servidor.requisicoes().last().caminho, QByteArray("/local/v1/audio/transcriptions"));
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"x"}})"));
    auto r = rodar(a({"servico", "testar"}));
    EXPECT_TRUE(r.codigo == 1 && r.erro == "API key inválida\n") << r.codigo << r.erro.constData();
    for (const QStringList& uso : {a({"servico", "usar", "azure"}), a({"servico", "envio", "mp3"}), a({"servico", "url", "servidor"}), a({"servico", "modelo"})})
        EXPECT_EQ(rodar(uso).codigo, 2) << uso.join(u' ').toStdString();
    amb.definir("SONVO_TRANSCRICAO_MODELO", "whisper-large-v3");
    EXPECT_TRUE(ok(a({"servico"})).contains("\nModelo: whisper-large-v3\n"));
}

TEST_F(Cli, TranscreverSilencioNaoEnviaNada)
{
    chaveOpenAI();
    const QString wav = tmp + "/silencio.wav";
    QByteArray silencio = wavSintetico(48000, 1, 2);
    silencio.replace(44, silencio.size() - 44, QByteArray(silencio.size() - 44, '\0'));
    ASSERT_TRUE(gravarArquivo(wav, silencio));
    const auto r = rodar(a({"transcrever", wav}));
    EXPECT_TRUE(r.codigo == 1 && r.erro == "Nenhuma fala detectada\n" && r.saida.isEmpty()) << r.codigo << r.erro.constData();
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_EQ(lerArquivo(wav), silencio);
    EXPECT_FALSE(QDir(dados + "/pendentes").exists() && !QDir(dados + "/pendentes").isEmpty());
}

TEST_F(Cli, AlternarChegaAoSonvoAbertoPeloBarramentoEAutoinicioPelaEntradaDoUsuario)
{
    const QString endereco = "unix:path=" + amb.raiz() + "/bus";
    QProcess barramento;
    barramento.start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--address=" + endereco, "--print-address"});
    ASSERT_TRUE(barramento.waitForReadyRead(10000));
    amb.definir("DBUS_SESSION_BUS_ADDRESS", endereco); // this process's too, before its first use of the bus

    const auto r = rodar(a({"alternar", "--menu"}));
    EXPECT_TRUE(r.codigo == 1 && r.erro == "O Sonvo não está aberto. Inicie-o com o comando sonvo (ou pelo menu de aplicativos).\n")
        << r.codigo << " " << r.erro.constData();
    ControleRemotoDBus sonvo;
    ASSERT_FALSE(sonvo.publicar().has_value());
    QList<bool> pedidos;
    QObject::connect(&sonvo, &ControleRemoto::alternarPedido, [&](bool menu) { pedidos << menu; });
    EXPECT_EQ(ok(a({"alternar", "--menu"})), "");
    QCoreApplication::processEvents();
    EXPECT_EQ(pedidos, QList<bool>{true});
    // A key bound to press and release: `iniciar` on the press, `parar` on the release.
    bool gravando = false;
    sonvo.gravando = [&] { return gravando; };
    int paradas = 0;
    QObject::connect(&sonvo, &ControleRemoto::iniciarPedido, [&](bool menu) { pedidos << menu; });
    QObject::connect(&sonvo, &ControleRemoto::pararPedido, [&] { ++paradas; });
    const auto nada = rodar(a({"parar"}));
    EXPECT_TRUE(nada.codigo == 1 && nada.erro == "Nenhum ditado em andamento\n") << nada.erro.constData();
    EXPECT_EQ(ok(a({"iniciar"})), "");
    gravando = true;
    EXPECT_EQ(ok(a({"parar"})), "");
    QCoreApplication::processEvents();
    EXPECT_EQ(pedidos, (QList<bool>{true, false}));
    EXPECT_EQ(paradas, 1);
    barramento.kill();
    barramento.waitForFinished(3000);

    const QString entrada = amb.raiz() + "/config/autostart/sonvo.desktop";
    EXPECT_EQ(ok(a({"autoinicio"})), "desligado\n");
    ok(a({"autoinicio", "ligar"}));
    const QByteArray conteudo = lerArquivo(entrada);
    EXPECT_TRUE(conteudo.startsWith("[Desktop Entry]\n") && conteudo.contains("\nHidden=false\n") && conteudo.contains("\nExec=\"" SONVO_BIN "\"\n"))
        << conteudo.constData();
    EXPECT_EQ(ok(a({"autoinicio"})), "ligado\n");
    ok(a({"autoinicio", "desligar"}));
    EXPECT_TRUE(lerArquivo(entrada).contains("\nHidden=true\n"));
}
