#include "ai/IntentDetectionService.h"
#include "ai/KeychainService.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QThread>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;
using A = QuickAction;
using C = IntentConfianca;

namespace {

IntentResult local(const QString& texto, const QList<A>& acoes = QuickActions::padrao())
{
    return IntentDetectionService::classificarLocal(texto, acoes);
}

IntentResult parse(const QString& resposta, const QSet<A>& habilitadas = {A::resumir, A::bulletPoints, A::email})
{
    return IntentDetectionService::parseRespostaLLM(resposta, habilitadas);
}

const IntentResult kNada = IntentResult::nada();

} // namespace

TEST(IntencaoLocal, VerboEPalavraChaveDaoAltaSoPalavraChaveDaMedia)
{
    EXPECT_EQ(local(QStringLiteral("faz um resumo disso")), (IntentResult{A::resumir, C::alta}));
    EXPECT_EQ(local(QStringLiteral("o resumo da reunião foi bom")), (IntentResult{A::resumir, C::media}));
    EXPECT_EQ(local(QStringLiteral("FAZ UM RESUMO DISSO")), (IntentResult{A::resumir, C::alta}));
    EXPECT_EQ(local(QStringLiteral("transforma isso em tópicos")), (IntentResult{A::bulletPoints, C::alta}));
    EXPECT_EQ(local(QStringLiteral("escreva uma lista")), (IntentResult{A::bulletPoints, C::alta}));
    // A verb without any keyword asks for nothing.
    EXPECT_EQ(local(QStringLiteral("transforma isso")), kNada);
    EXPECT_EQ(local(QString()), kNada);
    EXPECT_EQ(local(QStringLiteral("bom dia a todos")), kNada);
}

TEST(IntencaoLocal, NegacaoVetaOTextoInteiro)
{
    EXPECT_EQ(local(QStringLiteral("não quero resumo, transforma em e-mail")), kNada);
    EXPECT_EQ(local(QStringLiteral("Nao quero resumo")), kNada);
    EXPECT_EQ(local(QStringLiteral("nunca mais escreve email assim")), kNada);
    // The same request without the negation stands.
    EXPECT_EQ(local(QStringLiteral("quero resumo, transforma em e-mail")), (IntentResult{A::email, C::alta}));
}

TEST(IntencaoLocal, OrdemDaTabelaEAcoesDesligadas)
{
    // "e-mail" comes before "resumo" in the keyword table.
    EXPECT_EQ(local(QStringLiteral("manda um e-mail com o resumo")), (IntentResult{A::email, C::media}));
    EXPECT_EQ(local(QStringLiteral("escreve um email com o resumo")), (IntentResult{A::email, C::alta}));
    // With e-mail disabled the next keyword that matches wins.
    EXPECT_EQ(local(QStringLiteral("manda um e-mail com o resumo"), {A::resumir}), (IntentResult{A::resumir, C::media}));
    // The keyword of a disabled action is no intent at all.
    EXPECT_EQ(local(QStringLiteral("cria um post")), kNada);
    EXPECT_EQ(local(QStringLiteral("cria um post"), {A::post}), (IntentResult{A::post, C::alta}));
    EXPECT_EQ(local(QStringLiteral("gera uma legenda"), {A::email, A::legenda}), (IntentResult{A::legenda, C::alta}));
    EXPECT_EQ(local(QStringLiteral("faz um resumo disso"), {}), kNada);
}

TEST(IntencaoLocal, LimitesDePalavraEAcentosDecompostos)
{
    // Whole words only.
    EXPECT_EQ(local(QStringLiteral("o texto resumido ficou bom")), kNada);
    EXPECT_EQ(local(QStringLiteral("vamos postar amanhã"), {A::post}), kNada);
    EXPECT_EQ(local(QStringLiteral("chegaram dois emails")), (IntentResult{A::email, C::media}));
    // "faça" and "tópicos" typed in decomposed form (NFD) match like the composed spelling.
    const QString faca = QStringLiteral("Fac") + QChar(0x0327) + QStringLiteral("a uma lista");
    EXPECT_EQ(local(faca), (IntentResult{A::bulletPoints, C::alta}));
    const QString topicos = QStringLiteral("os to") + QChar(0x0301) + QStringLiteral("picos da aula");
    EXPECT_EQ(local(topicos), (IntentResult{A::bulletPoints, C::media}));
    EXPECT_EQ(local(QStringLiteral("os TÓPICOS da aula")), (IntentResult{A::bulletPoints, C::media}));
}

TEST(IntencaoLocal, DescricaoParaALinhaDeComando)
{
    EXPECT_EQ(Intencao::descrever({A::resumir, C::alta}), QStringLiteral("alta resumir"));
    EXPECT_EQ(Intencao::descrever({A::bulletPoints, C::media}), QStringLiteral("media bulletPoints"));
    EXPECT_EQ(Intencao::descrever(kNada), QStringLiteral("nenhuma nil"));
}

TEST(IntencaoResposta, ObjetoCercadoDeProsaOuBlocoDeCodigo)
{
    EXPECT_EQ(parse(QStringLiteral("Claro! Aqui está: {\"acao\": \"email\", \"confianca\": \"alta\"} Espero ter ajudado.")),
              (IntentResult{A::email, C::alta}));
    EXPECT_EQ(parse(QStringLiteral("```json\n{\"acao\": \"resumir\", \"confianca\": \"media\"}\n```")), (IntentResult{A::resumir, C::media}));
    // Nested objects are part of the outermost pair.
    EXPECT_EQ(parse(QStringLiteral(R"({"acao":"bulletPoints","confianca":"alta","motivo":{"a":{"b":[1,{"c":2}]}}})")),
              (IntentResult{A::bulletPoints, C::alta}));
    // From the first "{" to the last "}": two objects make one invalid span.
    EXPECT_EQ(parse(QStringLiteral(R"({"acao":"email","confianca":"alta"} ou {"acao":"resumir"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral("} invertido {")), kNada);
    EXPECT_EQ(parse(QStringLiteral("sem json nenhum")), kNada);
    EXPECT_EQ(parse(QStringLiteral("{\"acao\": \"email\", \"confianca\": \"alta\"")), kNada);
    EXPECT_EQ(parse(QStringLiteral("{[1, 2]}")), kNada);
    EXPECT_EQ(parse(QString()), kNada);
}

TEST(IntencaoResposta, AcaoEConfiancaSaoValidadas)
{
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": null, "confianca": "alta"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": 2, "confianca": "alta"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"confianca": "alta"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "Email", "confianca": "alta"})")), kNada); // raw values are exact
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "traduzir", "confianca": "alta"})")), kNada);
    // A disabled action is no answer.
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "post", "confianca": "media"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "post", "confianca": "media"})"), {A::post}), (IntentResult{A::post, C::media}));
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "email", "confianca": "nenhuma"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "email", "confianca": "ALTA"})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "email", "confianca": 1})")), kNada);
    EXPECT_EQ(parse(QStringLiteral(R"({"acao": "email"})")), kNada);
}

TEST(IntencaoResposta, BytesInvalidosNaoAtrapalhamOObjeto)
{
    // Invalid UTF-8 around the object decodes to replacement characters and is ignored...
    EXPECT_EQ(parse(QString::fromUtf8("\xff\xfe lixo {\"acao\":\"resumir\",\"confianca\":\"alta\"} \xc3")), (IntentResult{A::resumir, C::alta}));
    // ...inside the action it spoils the name.
    EXPECT_EQ(parse(QString::fromUtf8("{\"acao\":\"em\xffil\",\"confianca\":\"alta\"}")), kNada);
    // A lone surrogate (JSON escapes can carry one) is survived as well.
    EXPECT_EQ(parse(QString(QChar(0xD800)) + QStringLiteral(R"({"acao":"email","confianca":"media"})")), (IntentResult{A::email, C::media}));
    EXPECT_EQ(parse(QStringLiteral(R"({"acao":"email","confianca":"media","x":")") + QChar(0xDC00) + QStringLiteral("\"}")),
              (IntentResult{A::email, C::media}));
}

TEST(IntencaoPrompt, BytesExatos)
{
    const QByteArray esperado =
        "Voc\xc3\xaa \xc3\xa9 um classificador de inten\xc3\xa7\xc3\xa3o. Responda SOMENTE com JSON v\xc3\xa1lido, sem texto antes ou depois.\n"
        "Texto do usu\xc3\xa1rio: \"o resumo \"da\" reuni\xc3\xa3o\"\n"
        "Tarefa: o usu\xc3\xa1rio est\xc3\xa1 pedindo IMPERATIVAMENTE para transformar o texto numa das a\xc3\xa7\xc3\xb5" "es abaixo?\n"
        "A\xc3\xa7\xc3\xb5" "es v\xc3\xa1lidas: resumir|bulletPoints|email\n"
        "Schema: {\"acao\": \"<uma das a\xc3\xa7\xc3\xb5" "es ou null>\", \"confianca\": \"alta\"|\"media\"|\"nenhuma\"}\n"
        "Regras:\n"
        "  - \"alta\" SOMENTE se houver verbo imperativo de transforma\xc3\xa7\xc3\xa3o + a\xc3\xa7\xc3\xa3o clara\n"
        "  - \"nenhuma\" se a men\xc3\xa7\xc3\xa3o for incidental, no passado, ou negada";
    EXPECT_EQ(IntentDetectionService::montarPrompt(QStringLiteral("o resumo \"da\" reunião"), QuickActions::padrao()).toUtf8(), esperado);
    // The user's order, duplicates and all.
    const QString p = IntentDetectionService::montarPrompt(QStringLiteral("x"), {A::post, A::email, A::email});
    EXPECT_TRUE(p.contains(QStringLiteral("\nAções válidas: post|email|email\nSchema: "))) << p.toStdString();
    EXPECT_FALSE(p.endsWith(u'\n'));
}

namespace {

// The service against the loopback server, with a key in a temporary data folder.
struct IntencaoRede : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{amb.arquivoConfig()};
    IntentDetectionService::Prazos prazos; // the production deadlines unless a test shrinks them

    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        amb.definir(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"), servidor.url().toString() + QStringLiteral("/anthropic"));
        config.definir(QStringLiteral("toggleShowIntentModal"), true);
        KeychainService chaves(amb.pastaDados());
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")));
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::anthropic, QStringLiteral("sk-ant-teste")));
    }
    IntentDetectionService servico() { return IntentDetectionService(config, rede, amb.pastaDados(), prazos); }
    IntentResult detectar(const QString& texto)
    {
        auto s = servico();
        return aguardar(s.detectar(texto));
    }
    IntentResult comLLM(const QString& texto)
    {
        auto s = servico();
        return aguardar(s.classificarComLLM(texto));
    }
    QString log() const { return QString::fromUtf8(amb.lerLog()); }

    static QByteArray respostaOpenAI(const QString& conteudo)
    {
        const QJsonObject msg{{QStringLiteral("role"), QStringLiteral("assistant")}, {QStringLiteral("content"), conteudo}};
        const QJsonObject escolha{{QStringLiteral("index"), 0}, {QStringLiteral("message"), msg}};
        return QJsonDocument(QJsonObject{{QStringLiteral("choices"), QJsonArray{escolha}}}).toJson(QJsonDocument::Compact);
    }
    static QByteArray respostaAnthropic(const QString& texto)
    {
        const QJsonObject bloco{{QStringLiteral("type"), QStringLiteral("text")}, {QStringLiteral("text"), texto}};
        return QJsonDocument(QJsonObject{{QStringLiteral("content"), QJsonArray{bloco}}}).toJson(QJsonDocument::Compact);
    }
};

const QString kIncidental = QStringLiteral("o resumo da reunião foi bom");

} // namespace

TEST_F(IntencaoRede, PedidoOpenAIPequenoEComOsCabecalhosDoProvedor)
{
    servidor.enfileirar(Resposta::json(200, respostaOpenAI(QStringLiteral("Resposta: {\"acao\": \"resumir\", \"confianca\": \"alta\"}"))));
    EXPECT_EQ(detectar(kIncidental), (IntentResult{A::resumir, C::alta}));

    const auto reqs = servidor.requisicoes();
    ASSERT_EQ(reqs.size(), 1);
    const Requisicao& req = reqs[0];
    EXPECT_EQ(req.metodo, QByteArray("POST"));
    EXPECT_EQ(req.caminho, QByteArray("/v1/chat/completions"));
    EXPECT_EQ(req.cabecalho("Authorization"), QByteArray("Bearer sk-teste"));
    EXPECT_EQ(req.cabecalho("Content-Type"), QByteArray("application/json"));
    EXPECT_FALSE(req.temCabecalho("x-api-key"));
    EXPECT_FALSE(req.temCabecalho("anthropic-version"));

    const QJsonObject corpo = QJsonDocument::fromJson(req.corpo).object();
    EXPECT_EQ(corpo.keys(), (QStringList{QStringLiteral("max_tokens"), QStringLiteral("messages"), QStringLiteral("model"),
                                         QStringLiteral("temperature")}));
    EXPECT_EQ(corpo[QStringLiteral("model")], QStringLiteral("gpt-4o-mini"));
    EXPECT_EQ(corpo[QStringLiteral("temperature")].toDouble(-1), 0.0);
    EXPECT_EQ(corpo[QStringLiteral("max_tokens")], 60);
    const QJsonArray msgs = corpo[QStringLiteral("messages")].toArray();
    ASSERT_EQ(msgs.size(), 1);
    EXPECT_EQ(msgs[0].toObject().keys(), (QStringList{QStringLiteral("content"), QStringLiteral("role")}));
    EXPECT_EQ(msgs[0][QStringLiteral("role")], QStringLiteral("user"));
    EXPECT_EQ(msgs[0][QStringLiteral("content")], IntentDetectionService::montarPrompt(kIncidental, QuickActions::padrao()));
    EXPECT_EQ(violacoesJson(req.corpo, QStringLiteral("CreateChatCompletionRequest")), QStringList{});
}

TEST_F(IntencaoRede, PedidoAnthropicQuandoEscolhido)
{
    config.definir(QStringLiteral("aiProvider"), QStringLiteral("anthropic"));
    QuickActions::saveOrdered(config, {A::email, A::resumir});
    servidor.enfileirar(Resposta::json(200, respostaAnthropic(QStringLiteral("{\"acao\":\"email\",\"confianca\":\"media\"}"))));
    EXPECT_EQ(detectar(QStringLiteral("chegou um email")), (IntentResult{A::email, C::media}));

    const auto reqs = servidor.requisicoes();
    ASSERT_EQ(reqs.size(), 1);
    const Requisicao& req = reqs[0];
    EXPECT_EQ(req.caminho, QByteArray("/anthropic/v1/messages"));
    EXPECT_EQ(req.cabecalho("x-api-key"), QByteArray("sk-ant-teste"));
    EXPECT_EQ(req.cabecalho("anthropic-version"), QByteArray("2023-06-01"));
    EXPECT_EQ(req.cabecalho("Content-Type"), QByteArray("application/json"));
    EXPECT_FALSE(req.temCabecalho("Authorization"));
    const QJsonObject corpo = QJsonDocument::fromJson(req.corpo).object();
    EXPECT_EQ(corpo.keys(), (QStringList{QStringLiteral("max_tokens"), QStringLiteral("messages"), QStringLiteral("model"),
                                         QStringLiteral("temperature")}));
    EXPECT_EQ(corpo[QStringLiteral("model")], QStringLiteral("claude-haiku-4-5"));
    EXPECT_EQ(corpo[QStringLiteral("temperature")].toDouble(-1), 0.0);
    EXPECT_EQ(corpo[QStringLiteral("max_tokens")], 60);
    const QJsonArray msgs = corpo[QStringLiteral("messages")].toArray();
    ASSERT_EQ(msgs.size(), 1);
    EXPECT_EQ(msgs[0][QStringLiteral("role")], QStringLiteral("user"));
    const QString prompt = msgs[0][QStringLiteral("content")].toString();
    EXPECT_EQ(prompt, IntentDetectionService::montarPrompt(QStringLiteral("chegou um email"), {A::email, A::resumir}));
}

TEST_F(IntencaoRede, StatusNaoEExaminadoSoOCorpo)
{
    // An error status whose body still carries an answer is read like any other.
    servidor.enfileirar(Resposta::json(500, respostaOpenAI(QStringLiteral(R"({"acao":"resumir","confianca":"media"})"))));
    EXPECT_EQ(comLLM(kIncidental), (IntentResult{A::resumir, C::media}));
    // An error body has no answer: logged, nothing detected.
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"));
    EXPECT_EQ(comLLM(kIncidental), kNada);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Intent] LLM fallback falhou: Resposta inválida da API\n"))) << log().toStdString();
}

TEST_F(IntencaoRede, FalhasViramNadaDetectadoComALinhaDeLog)
{
    // Invalid UTF-8 in the body makes it undecodable.
    servidor.enfileirar(Resposta::json(200, "{\"choices\":[{\"message\":{\"content\":\"{\\\"acao\\\":\\\"resumir\\\",\xff\xfe}\"}}]}"));
    EXPECT_EQ(comLLM(kIncidental), kNada);
    servidor.enfileirar(Resposta::texto(200, "<html><body>Bad gateway</body></html>", "text/html"));
    EXPECT_EQ(comLLM(kIncidental), kNada);
    servidor.enfileirar(Resposta::comModo(Resposta::Modo::reset));
    EXPECT_EQ(comLLM(kIncidental), kNada);
    // The model's own "nothing" is not a failure and is not logged.
    servidor.enfileirar(Resposta::json(200, respostaOpenAI(QStringLiteral(R"({"acao": null, "confianca": "nenhuma"})"))));
    EXPECT_EQ(comLLM(kIncidental), kNada);

    const QStringList linhas = log().split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(linhas.size(), 3) << log().toStdString();
    EXPECT_EQ(linhas[0], QStringLiteral("Vozel [Intent] LLM fallback falhou: Resposta inválida da API"));
    EXPECT_EQ(linhas[1], QStringLiteral("Vozel [Intent] LLM fallback falhou: Resposta inválida da API"));
    EXPECT_TRUE(linhas[2].startsWith(QStringLiteral("Vozel [Intent] LLM fallback falhou: Erro de rede: "))) << linhas[2].toStdString();
    EXPECT_EQ(servidor.requisicoes().size(), 4);
}

TEST_F(IntencaoRede, SemChaveNadaESentidoNadaDetectado)
{
    ASSERT_FALSE(KeychainService(amb.pastaDados()).salvarChave(AIProviderID::openai, QString()));
    EXPECT_EQ(detectar(kIncidental), kNada);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_EQ(log(), QStringLiteral("Vozel [Intent] LLM fallback falhou: Chave não encontrada (openai_api_key)\n"));
}

TEST_F(IntencaoRede, DecisaoLocalSeguraNaoConsultaOModelo)
{
    EXPECT_EQ(detectar(QStringLiteral("faz um resumo disso")), (IntentResult{A::resumir, C::alta}));
    EXPECT_EQ(detectar(QStringLiteral("não quero resumo, transforma em e-mail")), kNada);
    EXPECT_EQ(detectar(QStringLiteral("cria um post")), kNada);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_TRUE(log().isEmpty());
}

TEST_F(IntencaoRede, ChavesDeConfiguracaoLigamEDesligam)
{
    const QString pedido = QStringLiteral("faz um resumo disso");
    // "intentDetectionEnabled" absent and the modal switch on: detection runs.
    EXPECT_EQ(detectar(pedido), (IntentResult{A::resumir, C::alta}));
    config.definir(QStringLiteral("intentDetectionEnabled"), false);
    EXPECT_FALSE(servico().featureLigada());
    EXPECT_EQ(detectar(pedido), kNada);
    config.definir(QStringLiteral("intentDetectionEnabled"), true);
    EXPECT_EQ(detectar(pedido), (IntentResult{A::resumir, C::alta}));
    // The modal switch absent counts as off.
    config.remover(QStringLiteral("toggleShowIntentModal"));
    EXPECT_EQ(detectar(pedido), kNada);
    // A registered default counts as set.
    config.registrarPadroes(Configuracoes::padroesDoApp());
    EXPECT_EQ(detectar(pedido), (IntentResult{A::resumir, C::alta}));
    config.definir(QStringLiteral("toggleShowIntentModal"), false);
    EXPECT_EQ(detectar(pedido), kNada);
}

TEST_F(IntencaoRede, RespostaLentaPerdeParaOPrazoEAConexaoEFechada)
{
    Resposta lenta = Resposta::json(200, respostaOpenAI(QStringLiteral(R"({"acao":"resumir","confianca":"alta"})")));
    lenta.atrasoMs = 2000;
    servidor.enfileirar(lenta);

    QElapsedTimer relogio;
    relogio.start();
    const IntentResult r = detectar(kIncidental);
    const qint64 decorrido = relogio.elapsed();
    EXPECT_EQ(r, kNada);
    // Decided by the deadline, before the answer was even written.
    EXPECT_LT(decorrido, 2000);
    EXPECT_GE(decorrido, 1400);
    ASSERT_EQ(servidor.requisicoes().size(), 1);
    // The request was aborted, not left to finish: the server sees the connection close.
    QDeadlineTimer limite(1000);
    while (servidor.conexoesAbertas() > 0 && !limite.hasExpired())
        QThread::msleep(10);
    EXPECT_EQ(servidor.conexoesAbertas(), 0);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Intent] LLM fallback falhou: Erro de rede: tempo esgotado"))) << log().toStdString();
}

TEST_F(IntencaoRede, RespostaDentroDoPrazoValeEOLimiteDaRequisicaoTambemCorta)
{
    Resposta rapida = Resposta::json(200, respostaOpenAI(QStringLiteral(R"({"acao":"resumir","confianca":"alta"})")));
    rapida.atrasoMs = 200;
    servidor.enfileirar(rapida);
    EXPECT_EQ(detectar(kIncidental), (IntentResult{A::resumir, C::alta}));

    // The per-request limit applies on its own as well (shrunk here from 5 s).
    prazos.total = 10s;
    prazos.requisicao = 300ms;
    servidor.enfileirar(Resposta::comModo(Resposta::Modo::semResposta));
    QElapsedTimer relogio;
    relogio.start();
    EXPECT_EQ(comLLM(kIncidental), kNada);
    EXPECT_LT(relogio.elapsed(), 5000);
    EXPECT_TRUE(log().contains(QStringLiteral("LLM fallback falhou: Erro de rede: tempo esgotado")));
}
