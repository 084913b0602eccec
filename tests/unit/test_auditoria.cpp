#include "ai/KeychainService.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyAuditService.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTimer>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;
using Erro = AuditErro;
using Auto = VocabularyAuditService::Automatico;

namespace {

const QDateTime kAgora(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);

const QByteArray kCabecalho =
    "Voc\xc3\xaa est\xc3\xa1 revisando transcri\xc3\xa7\xc3\xb5" "es de voz feitas por um usu\xc3\xa1rio brasileiro\n"
    "em macOS via Whisper (OpenAI). Identifique padr\xc3\xb5" "es que parecem ERROS\n"
    "SISTEM\xc3\x81TICOS de transcri\xc3\xa7\xc3\xa3o (palavras consistentemente erradas que\n"
    "provavelmente eram outras palavras conhecidas \xe2\x80\x94 nomes pr\xc3\xb3prios, jarg\xc3\xa3o\n"
    "t\xc3\xa9" "cnico, marcas, etc.). N\xc3\x83O sugira corre\xc3\xa7\xc3\xb5" "es estil\xc3\xadsticas \xe2\x80\x94 s\xc3\xb3 erros\n"
    "prov\xc3\xa1veis de reconhecimento.\n"
    "\n"
    "TRANSCRI\xc3\x87\xc3\x95" "ES:\n";

const QByteArray kCauda =
    "\n\n"
    "Retorne JSON puro (sem markdown, sem texto antes ou depois):\n"
    "[\n"
    "  { \"ouvido\": \"Cloud Code\", \"provavel\": \"Claude Code\", \"confianca\": 0.92, \"ocorrencias\": 7 }\n"
    "]\n"
    "\n"
    "Regras:\n"
    "- confianca entre 0.0 e 1.0\n"
    "- ocorrencias = quantas vezes apareceu nas transcri\xc3\xa7\xc3\xb5" "es acima\n"
    "- Apenas itens com confianca >= 0.7 s\xc3\xa3o \xc3\xbateis\n"
    "- Se nenhum erro sistem\xc3\xa1tico detectado, retorne []";

TranscriptionEntry entrada(const QString& texto)
{
    return {texto, kAgora, std::nullopt};
}

AuditSugestao sugestao(const QString& ouvido, const QString& provavel, double confianca = 0.9, qint64 ocorrencias = 3)
{
    return {QUuid::createUuid(), ouvido, provavel, confianca, ocorrencias, kAgora};
}

QList<AuditSugestao> parse(const QString& raw)
{
    return VocabularyAuditService::parseSugestoes(raw, kAgora);
}

QStringList pares(const QList<AuditSugestao>& lista)
{
    QStringList r;
    for (const AuditSugestao& s : lista)
        r << s.ouvido + QStringLiteral("->") + s.provavel;
    return r;
}

} // namespace

TEST(AuditoriaPrompt, CabecalhoECaudaByteAByte)
{
    ASSERT_EQ(kCabecalho.size(), 417);
    ASSERT_EQ(kCauda.size(), 360);
    EXPECT_EQ(VocabularyAuditService::montarPrompt({}).toUtf8(), kCabecalho + kCauda);
    const QList<TranscriptionEntry> entradas{entrada(QStringLiteral("usei o cloud code")), entrada(QStringLiteral("linha\ncom quebra")),
                                             entrada(QStringLiteral("fim"))};
    EXPECT_EQ(VocabularyAuditService::montarPrompt(entradas).toUtf8(),
              kCabecalho + "usei o cloud code\n---\nlinha\ncom quebra\n---\nfim" + kCauda);
}

TEST(AuditoriaErro, Textos)
{
    EXPECT_EQ(Erro::llm(QStringLiteral("Erro de rede: x")).errorDescription(), QStringLiteral("Auditor LLM falhou: Erro de rede: x"));
    EXPECT_EQ(Erro::semHistorico().errorDescription(), QStringLiteral("Sem transcrições suficientes para auditar."));
    EXPECT_EQ(Erro::formato().errorDescription(), QStringLiteral("Resposta do LLM em formato inesperado."));
}

namespace {
// Parsing logs what it drops, so its tests read the log back.
struct AuditoriaParse : ::testing::Test {
    AmbienteTemporario amb;
    void SetUp() override { ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog())); }
    QString log() const { return QString::fromUtf8(amb.lerLog()); }
};
} // namespace

TEST_F(AuditoriaParse, ProsaBlocoDeCodigoEColchetesAninhados)
{
    const auto emProsa = parse(QStringLiteral("Encontrei isto:\n```json\n[\n  {\"ouvido\": \"Cloud Code\", \"provavel\": \"Claude Code\", "
                                              "\"confianca\": 0.92, \"ocorrencias\": 7}\n]\n```\nAbraço."));
    ASSERT_EQ(emProsa.size(), 1);
    EXPECT_EQ(emProsa[0].ouvido, QStringLiteral("Cloud Code"));
    EXPECT_EQ(emProsa[0].provavel, QStringLiteral("Claude Code"));
    EXPECT_DOUBLE_EQ(emProsa[0].confianca, 0.92);
    EXPECT_EQ(emProsa[0].ocorrencias, 7);
    EXPECT_EQ(emProsa[0].createdAt, kAgora);
    EXPECT_FALSE(emProsa[0].id.isNull());

    const auto aninhado = parse(QStringLiteral(R"([{"ouvido":"a [x]","provavel":"b","confianca":0.8,"extra":[[1],{"y":[]}]},
                                                   {"ouvido":"c","provavel":"d]","confianca":0.9}])"));
    EXPECT_EQ(pares(aninhado), (QStringList{QStringLiteral("a [x]->b"), QStringLiteral("c->d]")}));
    EXPECT_NE(aninhado[0].id, aninhado[1].id);
    EXPECT_TRUE(log().isEmpty()) << log().toStdString();
}

TEST_F(AuditoriaParse, TextoInutilizavelDaListaVaziaELogada)
{
    EXPECT_TRUE(parse(QStringLiteral("Nenhum erro encontrado.")).isEmpty());
    EXPECT_TRUE(parse(QStringLiteral("] ao contrário [")).isEmpty());
    EXPECT_TRUE(parse(QStringLiteral("[{\"ouvido\": \"a\", ]")).isEmpty());
    EXPECT_TRUE(parse(QStringLiteral(R"([{"ouvido":"a","provavel":"b"}, 3])")).isEmpty());
    EXPECT_TRUE(parse(QStringLiteral("[ok] texto [e mais]")).isEmpty());
    EXPECT_TRUE(parse(QStringLiteral("[]")).isEmpty()); // valid and empty: no line
    EXPECT_EQ(log(), QStringLiteral("Vozel [VocabAudit] parseSugestoes: sem [...] no raw\n"
                                    "Vozel [VocabAudit] parseSugestoes: sem [...] no raw\n"
                                    "Vozel [VocabAudit] parseSugestoes: JSON malformado\n"
                                    "Vozel [VocabAudit] parseSugestoes: JSON malformado\n"
                                    "Vozel [VocabAudit] parseSugestoes: JSON malformado\n"));
}

TEST_F(AuditoriaParse, CamposObrigatoriosENumeros)
{
    const auto r = parse(QStringLiteral(R"([
        {"ouvido": "sem provavel", "confianca": 0.9},
        {"ouvido": "", "provavel": "vazio", "confianca": 0.9},
        {"ouvido": 5, "provavel": "numero", "confianca": 0.9},
        {"ouvido": " ", "provavel": "espaco", "confianca": 0.9},
        {"ouvido": "inteiro", "provavel": "um", "confianca": 1, "ocorrencias": 7.0},
        {"ouvido": "texto", "provavel": "zero", "confianca": "0.9", "ocorrencias": "7"},
        {"ouvido": "fracao", "provavel": "zero", "ocorrencias": 7.5}
    ])"));
    ASSERT_EQ(pares(r), (QStringList{QStringLiteral(" ->espaco"), QStringLiteral("inteiro->um"), QStringLiteral("texto->zero"),
                                     QStringLiteral("fracao->zero")}));
    EXPECT_EQ(r[0].ocorrencias, 0);
    EXPECT_EQ(r[1].confianca, 1.0);
    EXPECT_EQ(r[1].ocorrencias, 7);
    EXPECT_EQ(r[2].confianca, 0.0);
    EXPECT_EQ(r[2].ocorrencias, 0);
    EXPECT_EQ(r[3].confianca, 0.0);
    EXPECT_EQ(r[3].ocorrencias, 0);
}

TEST_F(AuditoriaParse, BytesInvalidos)
{
    // Invalid UTF-8 outside the array is ignored; inside a value it becomes a replacement character.
    const auto r = parse(QString::fromUtf8("\xff\xfe[{\"ouvido\":\"a\xff\",\"provavel\":\"b\",\"confianca\":0.9}]\xc3"));
    ASSERT_EQ(r.size(), 1);
    EXPECT_EQ(r[0].ouvido, QStringLiteral("a") + QChar(QChar::ReplacementCharacter));
    EXPECT_EQ(parse(QString(QChar(0xD800)) + QStringLiteral(R"([{"ouvido":"x","provavel":"y"}])")).size(), 1);
}

TEST(AuditoriaFila, ArquivoBonitoComChavesOrdenadasEDatasIso)
{
    AmbienteTemporario amb;
    const QList<AuditSugestao> fila{
        {QUuid(QStringLiteral("e621e1f8-c36c-495a-93fc-0c247a3e6e5f")), QStringLiteral("Cloud Code"), QStringLiteral("Claude Code"), 0.92, 7,
         kAgora},
        {QUuid(QStringLiteral("00000000-0000-4000-8000-000000000001")), QStringLiteral("é \"x\""), QStringLiteral("y"), 1.0, 0,
         kAgora.addMSecs(1500)},
    };
    EXPECT_EQ(VocabularyAuditService::codificar(fila), QByteArray("[\n"
                                                                  "    {\n"
                                                                  "        \"confianca\": 0.92,\n"
                                                                  "        \"createdAt\": \"2025-03-01T14:05:09Z\",\n"
                                                                  "        \"id\": \"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\",\n"
                                                                  "        \"ocorrencias\": 7,\n"
                                                                  "        \"ouvido\": \"Cloud Code\",\n"
                                                                  "        \"provavel\": \"Claude Code\"\n"
                                                                  "    },\n"
                                                                  "    {\n"
                                                                  "        \"confianca\": 1,\n"
                                                                  "        \"createdAt\": \"2025-03-01T14:05:10Z\",\n"
                                                                  "        \"id\": \"00000000-0000-4000-8000-000000000001\",\n"
                                                                  "        \"ocorrencias\": 0,\n"
                                                                  "        \"ouvido\": \"\xc3\xa9 \\\"x\\\"\",\n"
                                                                  "        \"provavel\": \"y\"\n"
                                                                  "    }\n"
                                                                  "]\n"));
    // Read back whole (the second date loses its fraction when written).
    auto lida = VocabularyAuditService::decodificar(VocabularyAuditService::codificar(fila));
    ASSERT_TRUE(lida.has_value());
    ASSERT_EQ(lida->size(), 2);
    EXPECT_EQ(lida->at(0), fila[0]);
    EXPECT_EQ(lida->at(1).createdAt, kAgora.addSecs(1));
    // Dates with a fraction or an offset and lower-case ids are accepted too.
    EXPECT_TRUE(VocabularyAuditService::decodificar(R"([{"confianca":0.8,"createdAt":"2025-03-01T11:05:09.250-03:00",
        "id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","ocorrencias":1,"ouvido":"a","provavel":"b"}])").has_value());
    // Any missing or mistyped field spoils the file.
    for (const char* ruim : {"{}", "[1]", R"([{"confianca":0.8,"createdAt":"2025-03-01T14:05:09Z","ocorrencias":1,"ouvido":"a","provavel":"b"}])",
                             R"([{"confianca":"alta","createdAt":"2025-03-01T14:05:09Z","id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","ocorrencias":1,"ouvido":"a","provavel":"b"}])",
                             R"([{"confianca":0.8,"createdAt":"ontem","id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","ocorrencias":1,"ouvido":"a","provavel":"b"}])",
                             R"([{"confianca":0.8,"createdAt":"2025-03-01T14:05:09Z","id":"nao-e-uuid","ocorrencias":1,"ouvido":"a","provavel":"b"}])",
                             R"([{"confianca":0.8,"createdAt":"2025-03-01T14:05:09Z","id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","ocorrencias":1.5,"ouvido":"a","provavel":"b"}])"})
        EXPECT_FALSE(VocabularyAuditService::decodificar(ruim).has_value()) << ruim;
}

namespace {

// The audit against the loopback server, over a temporary data folder, with a clock of its own.
struct Auditoria : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{amb.arquivoConfig()};
    QString pasta = amb.pastaDados();
    QDateTime agora = kAgora;
    std::chrono::seconds passoDoRelogio{0}; // how far the clock moves each time it is read
    VocabularyAuditService aud{config, rede, pasta, [this] {
                                   const QDateTime t = agora;
                                   agora = agora.addSecs(passoDoRelogio.count());
                                   return t;
                               }};

    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        QDir().mkpath(pasta);
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        amb.definir(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"), servidor.url().toString());
        KeychainService chaves(pasta);
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")));
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::anthropic, QStringLiteral("sk-ant-teste")));
    }
    QString log() const { return QString::fromUtf8(amb.lerLog()); }
    QStringList linhasDoLog() const { return log().split(u'\n', Qt::SkipEmptyParts); }
    // n entries, oldest first: "t0", "t1", ...
    void historico(int n)
    {
        QList<TranscriptionEntry> entradas;
        for (int i = 0; i < n; ++i)
            entradas.append({QStringLiteral("t%1").arg(i), kAgora.addSecs(i - n), std::nullopt});
        ASSERT_TRUE(gravarArquivo(pasta + QStringLiteral("/transcription-history.json"), TranscriptionHistory::codificar(entradas)));
    }
    void responderOpenAI(const QString& conteudo, int atrasoMs = 0)
    {
        const QJsonObject msg{{QStringLiteral("role"), QStringLiteral("assistant")}, {QStringLiteral("content"), conteudo}};
        Resposta r = Resposta::json(200, QJsonDocument(QJsonObject{{QStringLiteral("choices"), QJsonArray{QJsonObject{{QStringLiteral("message"), msg}}}}})
                                             .toJson(QJsonDocument::Compact));
        r.atrasoMs = atrasoMs;
        servidor.enfileirar(r);
    }
    Resultado<QList<AuditSugestao>, AuditErro> auditar() { return aguardar(aud.auditarAgora()); }
    Auto automatico() { return aguardar(aud.executarAutomatico()); }
    QStringList guardados() const
    {
        return QDir(pasta).entryList({QStringLiteral("vocabulary-audit-pending.json.corrupt-*")}, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    }
    QString arquivoVocab() const { return pasta + QStringLiteral("/vocabulary.md"); }
};

const QString kRespostaMista = QStringLiteral(R"([
  {"ouvido": "abaixo", "provavel": "limite", "confianca": 0.69, "ocorrencias": 4},
  {"ouvido": "Cloud Code", "provavel": "Claude Code", "confianca": 0.7, "ocorrencias": 7},
  {"ouvido": "jason", "provavel": "JSON", "confianca": 1, "ocorrencias": 2},
  {"ouvido": "get hub", "provavel": "GitHub", "confianca": 0.95, "ocorrencias": 3}
])");

} // namespace

TEST_F(Auditoria, PedidoOpenAIComAsUltimas50Transcricoes)
{
    historico(60);
    responderOpenAI(QStringLiteral("[]"));
    const auto r = auditar();
    ASSERT_TRUE(r.ok()) << r.erro().errorDescription().toStdString();
    EXPECT_TRUE(r.valor().isEmpty());

    const auto reqs = servidor.requisicoes();
    ASSERT_EQ(reqs.size(), 1);
    const Requisicao& req = reqs[0];
    EXPECT_EQ(req.metodo, QByteArray("POST"));
    EXPECT_EQ(req.caminho, QByteArray("/v1/chat/completions"));
    EXPECT_EQ(req.cabecalho("Authorization"), QByteArray("Bearer sk-teste"));
    EXPECT_EQ(req.cabecalho("Content-Type"), QByteArray("application/json"));
    EXPECT_FALSE(req.temCabecalho("x-api-key"));
    const QJsonObject corpo = QJsonDocument::fromJson(req.corpo).object();
    EXPECT_EQ(corpo.keys(), (QStringList{QStringLiteral("max_tokens"), QStringLiteral("messages"), QStringLiteral("model"),
                                         QStringLiteral("temperature")}));
    EXPECT_EQ(corpo[QStringLiteral("model")], QStringLiteral("gpt-4o-mini"));
    EXPECT_DOUBLE_EQ(corpo[QStringLiteral("temperature")].toDouble(), 0.2);
    EXPECT_EQ(corpo[QStringLiteral("max_tokens")], 800);
    const QJsonArray msgs = corpo[QStringLiteral("messages")].toArray();
    ASSERT_EQ(msgs.size(), 1);
    EXPECT_EQ(msgs[0][QStringLiteral("role")], QStringLiteral("user"));
    // Newest first, and only the last 50 of the 60.
    QStringList textos;
    for (int i = 59; i >= 10; --i)
        textos << QStringLiteral("t%1").arg(i);
    EXPECT_EQ(msgs[0][QStringLiteral("content")].toString().toUtf8(), kCabecalho + textos.join(QStringLiteral("\n---\n")).toUtf8() + kCauda);
    EXPECT_EQ(violacoesJson(req.corpo, QStringLiteral("CreateChatCompletionRequest")), QStringList{});
    EXPECT_EQ(linhasDoLog(), QStringList{QStringLiteral("Vozel [VocabAudit] zero sugestões >= 0.70")});
}

TEST_F(Auditoria, PedidoAnthropicQuandoEscolhido)
{
    historico(1);
    config.definir(QStringLiteral("aiProvider"), QStringLiteral("anthropic"));
    servidor.enfileirar(Resposta::json(200, R"({"content":[{"type":"text","text":"[{\"ouvido\":\"a\",\"provavel\":\"b\",\"confianca\":0.8}]"}]})"));
    const auto r = auditar();
    ASSERT_TRUE(r.ok()) << r.erro().errorDescription().toStdString();
    EXPECT_EQ(pares(r.valor()), QStringList{QStringLiteral("a->b")});

    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.caminho, QByteArray("/v1/messages"));
    EXPECT_EQ(req.cabecalho("x-api-key"), QByteArray("sk-ant-teste"));
    EXPECT_EQ(req.cabecalho("anthropic-version"), QByteArray("2023-06-01"));
    EXPECT_EQ(req.cabecalho("Content-Type"), QByteArray("application/json"));
    EXPECT_FALSE(req.temCabecalho("Authorization"));
    const QJsonObject corpo = QJsonDocument::fromJson(req.corpo).object();
    EXPECT_EQ(corpo[QStringLiteral("model")], QStringLiteral("claude-haiku-4-5"));
    EXPECT_DOUBLE_EQ(corpo[QStringLiteral("temperature")].toDouble(), 0.2);
    EXPECT_EQ(corpo[QStringLiteral("max_tokens")], 800);
    const QJsonArray msgs = corpo[QStringLiteral("messages")].toArray();
    ASSERT_EQ(msgs.size(), 1);
    EXPECT_EQ(msgs[0][QStringLiteral("content")].toString().toUtf8(), kCabecalho + "t0" + kCauda);
}

TEST_F(Auditoria, LimiarAplicadoPeloProgramaEFilaGravada)
{
    historico(3);
    responderOpenAI(QStringLiteral("Claro:\n```json\n") + kRespostaMista + QStringLiteral("\n```"));
    const auto r = auditar();
    ASSERT_TRUE(r.ok()) << r.erro().errorDescription().toStdString();
    // 0.69 is dropped; 0.7 and the integer 1 stay; answer order kept.
    EXPECT_EQ(pares(r.valor()), (QStringList{QStringLiteral("Cloud Code->Claude Code"), QStringLiteral("jason->JSON"),
                                             QStringLiteral("get hub->GitHub")}));
    EXPECT_EQ(r.valor()[1].confianca, 1.0);
    EXPECT_EQ(aud.pendentes(), r.valor());
    EXPECT_EQ(modoDe(aud.arquivo()), 0600);
    EXPECT_EQ(lerArquivo(aud.arquivo()), VocabularyAuditService::codificar(r.valor()));
    EXPECT_EQ(linhasDoLog(), QStringList{QStringLiteral("Vozel [VocabAudit] 3 sugestões novas adicionadas à fila pendente")});
}

TEST_F(Auditoria, DuplicatasDaFilaIgnoramMaiusculas)
{
    historico(3);
    const AuditSugestao antiga = sugestao(QStringLiteral("Cloud Code"), QStringLiteral("Claude Code"));
    ASSERT_FALSE(aud.gravarPendentes({antiga}));
    responderOpenAI(QStringLiteral(R"([
        {"ouvido": "CLOUD CODE", "provavel": "claude code", "confianca": 0.9},
        {"ouvido": "Ção", "provavel": "x", "confianca": 0.9},
        {"ouvido": "ção", "provavel": "X", "confianca": 0.8}
    ])"));
    const auto r = auditar();
    ASSERT_TRUE(r.ok());
    // Repeats within one answer are not merged; only the queue counts.
    EXPECT_EQ(pares(r.valor()), (QStringList{QStringLiteral("Ção->x"), QStringLiteral("ção->X")}));
    const auto fila = aud.pendentes();
    ASSERT_EQ(fila.size(), 3);
    EXPECT_EQ(fila[0], antiga);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [VocabAudit] 2 sugestões novas adicionadas à fila pendente\n")));

    // The same answer again adds nothing, and says so.
    responderOpenAI(QStringLiteral(R"([{"ouvido": "ção", "provavel": "x", "confianca": 0.9}])"));
    const auto deNovo = auditar();
    ASSERT_TRUE(deNovo.ok());
    EXPECT_TRUE(deNovo.valor().isEmpty());
    EXPECT_EQ(aud.pendentes().size(), 3);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [VocabAudit] 0 sugestões novas adicionadas à fila pendente\n")));
}

TEST_F(Auditoria, RespostaSemSugestoesUteisNaoTocaNaFila)
{
    historico(2);
    responderOpenAI(QStringLiteral("Não encontrei erros sistemáticos."));
    auto r = auditar();
    ASSERT_TRUE(r.ok());
    EXPECT_TRUE(r.valor().isEmpty());
    responderOpenAI(QStringLiteral(R"([{"ouvido":"a","provavel":"b","confianca":0.5}])"));
    r = auditar();
    ASSERT_TRUE(r.ok());
    EXPECT_TRUE(r.valor().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(aud.arquivo()));
    EXPECT_EQ(linhasDoLog(), (QStringList{QStringLiteral("Vozel [VocabAudit] parseSugestoes: sem [...] no raw"),
                                          QStringLiteral("Vozel [VocabAudit] zero sugestões >= 0.70"),
                                          QStringLiteral("Vozel [VocabAudit] zero sugestões >= 0.70")}));
}

TEST_F(Auditoria, FalhasViramLlmFalhouOuHistoricoVazio)
{
    // No history: nothing is sent.
    auto r = auditar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro(), Erro::semHistorico());
    historico(1);

    ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QString()));
    r = auditar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().errorDescription(), QStringLiteral("Auditor LLM falhou: Chave não encontrada (openai_api_key)"));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")));

    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"));
    r = auditar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro(), Erro::llm(QStringLiteral("Resposta inválida da API")));

    servidor.enfileirar(Resposta::json(200, "{\"choices\":[{\"message\":{\"content\":\"[\xff]\"}}]}"));
    r = auditar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro(), Erro::llm(QStringLiteral("Resposta inválida da API")));

    servidor.enfileirar(Resposta::comModo(Resposta::Modo::reset));
    r = auditar();
    ASSERT_FALSE(r.ok());
    EXPECT_TRUE(r.erro().errorDescription().startsWith(QStringLiteral("Auditor LLM falhou: Erro de rede: "))) << r.erro().errorDescription().toStdString();

    const QStringList linhas = linhasDoLog();
    ASSERT_EQ(linhas.size(), 4) << log().toStdString();
    EXPECT_EQ(linhas[0], QStringLiteral("Vozel [VocabAudit] LLM falhou: Chave não encontrada (openai_api_key)"));
    EXPECT_EQ(linhas[1], QStringLiteral("Vozel [VocabAudit] LLM falhou: Resposta inválida da API"));
    EXPECT_EQ(linhas[2], QStringLiteral("Vozel [VocabAudit] LLM falhou: Resposta inválida da API"));
    EXPECT_TRUE(linhas[3].startsWith(QStringLiteral("Vozel [VocabAudit] LLM falhou: Erro de rede: ")));
    EXPECT_EQ(servidor.requisicoes().size(), 3);
}

TEST_F(Auditoria, PrazoDaRequisicao)
{
    historico(1);
    VocabularyAuditService curto(config, rede, pasta, [] { return kAgora; }, 200ms);
    servidor.enfileirar(Resposta::comModo(Resposta::Modo::semResposta));
    const auto r = aguardar(curto.auditarAgora());
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro(), Erro::llm(QStringLiteral("Erro de rede: tempo esgotado")));
}

TEST_F(Auditoria, AprovarEscreveNoVocabularioERejeitarSoTiraDaFila)
{
    VocabularyService vocab(pasta, config);
    vocab.bootstrapSeNecessario();
    const AuditSugestao a = sugestao(QStringLiteral("Cloud Code"), QStringLiteral("Claude Code"));
    const AuditSugestao b = sugestao(QStringLiteral("get hub"), QStringLiteral("GitHub"));
    const AuditSugestao c = sugestao(QStringLiteral("jason"), QStringLiteral("JSON"));
    ASSERT_FALSE(aud.gravarPendentes({a, b, c}));

    EXPECT_FALSE(aud.aprovar(b));
    EXPECT_EQ(aud.pendentes(), (QList<AuditSugestao>{a, c}));
    const QString texto = QString::fromUtf8(lerArquivo(arquivoVocab()));
    EXPECT_TRUE(texto.contains(QStringLiteral("## Correções automáticas\n- get hub -> GitHub\n"))) << texto.toStdString();
    EXPECT_EQ(vocab.carregaGlobal().correcoes.value(QStringLiteral("get hub")), QStringLiteral("GitHub"));

    const QByteArray antes = lerArquivo(arquivoVocab());
    EXPECT_FALSE(aud.rejeitar(a));
    EXPECT_EQ(aud.pendentes(), QList<AuditSugestao>{c});
    EXPECT_EQ(lerArquivo(arquivoVocab()), antes);
    EXPECT_EQ(modoDe(aud.arquivo()), 0600);

    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [VocabAudit] aprovou get hub → GitHub\n")));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [VocabAudit] rejeitou Cloud Code → Claude Code\n")));
}

TEST_F(Auditoria, AprovarSemDocumentoCriaOModeloEDocumentoIlegivelMantemASugestao)
{
    const AuditSugestao a = sugestao(QStringLiteral("Cloud Code"), QStringLiteral("Claude Code"));
    ASSERT_FALSE(aud.gravarPendentes({a}));
    ASSERT_FALSE(QFileInfo::exists(arquivoVocab()));
    EXPECT_FALSE(aud.aprovar(a));
    EXPECT_TRUE(aud.pendentes().isEmpty());
    EXPECT_EQ(VocabularyService(pasta, config).carregaGlobal().correcoes.value(QStringLiteral("cloud code")), QStringLiteral("Claude Code"));

    // A document that is not UTF-8 is the user's and is not rewritten: the suggestion stays queued.
    const QByteArray latin1 = "## Corre\xe7\xf5" "es autom\xe1ticas\n- a -> b\n";
    ASSERT_TRUE(gravarArquivo(arquivoVocab(), latin1));
    const AuditSugestao b = sugestao(QStringLiteral("get hub"), QStringLiteral("GitHub"));
    ASSERT_FALSE(aud.gravarPendentes({b}));
    const auto falha = aud.aprovar(b);
    ASSERT_TRUE(falha.has_value());
    EXPECT_TRUE(falha->contains(arquivoVocab())) << falha->toStdString();
    EXPECT_EQ(aud.pendentes(), QList<AuditSugestao>{b});
    EXPECT_EQ(lerArquivo(arquivoVocab()), latin1);
    EXPECT_FALSE(log().contains(QStringLiteral("aprovou get hub")));
}

TEST_F(Auditoria, FilaIlegivelEGuardadaAntesDeSerSobrescrita)
{
    const QByteArray ilegivel = "[{\"ouvido\": \"meu dado\"";
    ASSERT_TRUE(gravarArquivo(aud.arquivo(), ilegivel));
    EXPECT_TRUE(aud.pendentes().isEmpty());
    EXPECT_FALSE(aud.lerFilaGravada().has_value());

    historico(1);
    responderOpenAI(QStringLiteral(R"([{"ouvido":"a","provavel":"b","confianca":0.9}])"));
    const auto r = auditar();
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(aud.pendentes(), r.valor());
    ASSERT_EQ(guardados(), QStringList{QStringLiteral("vocabulary-audit-pending.json.corrupt-20250301T140509Z")});
    EXPECT_EQ(lerArquivo(pasta + u'/' + guardados()[0]), ilegivel);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [VocabAudit] fila pendente ilegível; original guardado em ") + pasta
                               + QStringLiteral("/vocabulary-audit-pending.json.corrupt-20250301T140509Z\n")))
        << log().toStdString();
}

TEST_F(Auditoria, FilaIlegivelQueNaoPodeSerGuardadaNaoESobrescrita)
{
    const QByteArray ilegivel = "não é json";
    ASSERT_TRUE(gravarArquivo(aud.arquivo(), ilegivel));
    // The name it would be kept under is taken by a folder, so the rename fails.
    ASSERT_TRUE(QDir().mkpath(aud.arquivo() + QStringLiteral(".corrupt-20250301T140509Z/ocupado")));
    const auto falha = aud.gravarPendentes({sugestao(QStringLiteral("a"), QStringLiteral("b"))});
    ASSERT_TRUE(falha.has_value());
    EXPECT_EQ(lerArquivo(aud.arquivo()), ilegivel);
    EXPECT_TRUE(log().contains(QStringLiteral("não pôde ser guardada à parte; nada gravado")));
}

TEST_F(Auditoria, RejeicaoDuranteAEsperaPeloModeloSobrevive)
{
    historico(1);
    const AuditSugestao antiga = sugestao(QStringLiteral("velha"), QStringLiteral("nova"));
    ASSERT_FALSE(aud.gravarPendentes({antiga}));
    responderOpenAI(QStringLiteral(R"([{"ouvido":"a","provavel":"b","confianca":0.9}])"), 400);
    bool rejeitou = false;
    QTimer::singleShot(100, [&] { rejeitou = !aud.rejeitar(antiga); });
    const auto r = auditar();
    ASSERT_TRUE(rejeitou);
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(aud.pendentes(), r.valor()); // the rejected one did not come back
}

// ---- The daily audit at launch ----

TEST_F(Auditoria, AutomaticoDesligadoOuComPoucoHistorico)
{
    historico(10);
    EXPECT_EQ(automatico(), Auto::desligado);
    config.definir(QStringLiteral("vocabularyAuditEnabled"), false);
    EXPECT_EQ(automatico(), Auto::desligado);
    config.definir(QStringLiteral("vocabularyAuditEnabled"), true);
    historico(9);
    EXPECT_EQ(automatico(), Auto::historicoCurto);
    ASSERT_TRUE(gravarArquivo(pasta + QStringLiteral("/transcription-history.json"), "isto não é json"));
    EXPECT_EQ(automatico(), Auto::historicoCurto);
    QFile::remove(pasta + QStringLiteral("/transcription-history.json"));
    EXPECT_EQ(automatico(), Auto::historicoCurto);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_FALSE(config.contem(QStringLiteral("vocabularyAuditLastRun")));
    EXPECT_EQ(linhasDoLog(), (QStringList{QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (toggle OFF)"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (toggle OFF)"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (histórico=9 < minimo=10)"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (histórico=0 < minimo=10)"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (histórico=0 < minimo=10)")}));
}

TEST_F(Auditoria, AutomaticoUmaVezPor24HorasGuardandoOInstanteDeAntes)
{
    config.definir(QStringLiteral("vocabularyAuditEnabled"), true);
    historico(10);
    const double inicio = static_cast<double>(kAgora.toSecsSinceEpoch());
    // 23 hours ago: too recent. Exactly 24 hours: due.
    config.definir(QStringLiteral("vocabularyAuditLastRun"), inicio - 23 * 3600);
    EXPECT_EQ(automatico(), Auto::recente);
    config.definir(QStringLiteral("vocabularyAuditLastRun"), inicio - 24 * 3600);
    // Each reading of the clock moves it an hour: what is stored is the first reading.
    passoDoRelogio = 3600s;
    responderOpenAI(QStringLiteral(R"([{"ouvido":"a","provavel":"b","confianca":0.9},{"ouvido":"c","provavel":"d","confianca":0.95}])"));
    EXPECT_EQ(automatico(), Auto::executado);
    EXPECT_EQ(config.real(QStringLiteral("vocabularyAuditLastRun")), inicio);
    EXPECT_EQ(aud.pendentes().size(), 2);
    EXPECT_GT(aud.pendentes()[0].createdAt, kAgora);
    // Straight after: skipped, and nothing is sent.
    EXPECT_EQ(automatico(), Auto::recente);
    EXPECT_EQ(servidor.requisicoes().size(), 1);

    EXPECT_EQ(linhasDoLog(), (QStringList{QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (último audit < 24h)"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger DISPARADO (histórico=10)"),
                                          QStringLiteral("Vozel [VocabAudit] 2 sugestões novas adicionadas à fila pendente"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger OK — 2 sugestões adicionadas"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger pulado (último audit < 24h)")}));
}

TEST_F(Auditoria, AutomaticoQueFalhaNaoGuardaOInstante)
{
    config.definir(QStringLiteral("vocabularyAuditEnabled"), true);
    historico(12);
    ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QString()));
    EXPECT_EQ(automatico(), Auto::falhou);
    EXPECT_FALSE(config.contem(QStringLiteral("vocabularyAuditLastRun")));
    EXPECT_EQ(linhasDoLog(), (QStringList{QStringLiteral("Vozel [VocabAudit] auto-trigger DISPARADO (histórico=12)"),
                                          QStringLiteral("Vozel [VocabAudit] LLM falhou: Chave não encontrada (openai_api_key)"),
                                          QStringLiteral("Vozel [VocabAudit] auto-trigger falhou: Auditor LLM falhou: Chave não "
                                                         "encontrada (openai_api_key)")}));
    // The next launch tries again; a run with nothing useful still counts as a success.
    ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")));
    responderOpenAI(QStringLiteral("[]"));
    EXPECT_EQ(automatico(), Auto::executado);
    EXPECT_EQ(config.real(QStringLiteral("vocabularyAuditLastRun")), static_cast<double>(kAgora.toSecsSinceEpoch()));
}
