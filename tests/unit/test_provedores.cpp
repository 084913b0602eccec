#include "ai/AIService.h"
#include "app/Configuracoes.h"
#include "app/Endpoints.h"
#include "app/Log.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;

TEST(AcoesRapidas, SelecaoGuardadaECarregada)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    using A = QuickAction;
    EXPECT_EQ(QuickActions::loadOrdered(c), (QList<A>{A::resumir, A::bulletPoints, A::email}));
    auto carregar = [&](const QStringList& brutos) {
        c.definir(QStringLiteral("vozelQuickActions"), brutos);
        return QuickActions::loadOrdered(c);
    };
    EXPECT_EQ(carregar({QStringLiteral("post"), QStringLiteral("xyz"), QStringLiteral("resumir")}), (QList<A>{A::post, A::resumir}));
    EXPECT_EQ(carregar({QStringLiteral("Resumir")}), QuickActions::padrao());
    EXPECT_EQ(carregar({QStringLiteral("email"), QStringLiteral("email")}), (QList<A>{A::email, A::email}));
    EXPECT_EQ(carregar({}), QuickActions::padrao());
    // A one-item list survives the INI file.
    EXPECT_EQ(carregar({QStringLiteral("legenda")}), QList<A>{A::legenda});

    QuickActions::saveOrdered(c, {});
    EXPECT_EQ(c.lista(QStringLiteral("vozelQuickActions")), QStringList{});
    EXPECT_EQ(QuickActions::loadOrdered(c), QuickActions::padrao());
    QuickActions::saveOrdered(c, {A::post, A::email});
    EXPECT_EQ(QuickActions::loadOrdered(c), (QList<A>{A::post, A::email}));

    EXPECT_EQ(QuickActions::disponiveis({A::bulletPoints, A::post}), (QList<A>{A::resumir, A::email, A::legenda}));
    QStringList titulos;
    for (A a : QuickActions::todas)
        titulos << QuickActions::titulo(a);
    EXPECT_EQ(titulos, (QStringList{QStringLiteral("Resumir"), QStringLiteral("Bullet Points"), QStringLiteral("Email"),
                                    QStringLiteral("Legenda"), QStringLiteral("Post")}));
}

TEST(AcoesRapidas, MensagemDoUsuario)
{
    const QString msg = AIPrompts::user(QuickAction::resumir, QStringLiteral("abc"), QString());
    EXPECT_EQ(msg, QStringLiteral("Resuma o texto abaixo em 1-3 frases curtas, mantendo as informações essenciais. Use "
                                  "português brasileiro natural.\n\nTEXTO:\nabc"));
    EXPECT_EQ(AIPrompts::user(QuickAction::resumir, QStringLiteral("abc"), std::nullopt), msg);
    EXPECT_EQ(AIPrompts::user(QuickAction::resumir, QStringLiteral("abc"), QStringLiteral("xyz")),
              msg + QStringLiteral("\n\nTEXTO ALVO (reescreva usando como base a transcricao acima):\nxyz"));
    for (QuickAction a : QuickActions::todas)
        EXPECT_TRUE(AIPrompts::instrucao(a).endsWith(QStringLiteral("\n\nTEXTO:\n"))) << QuickActions::rawValue(a).toStdString();
    EXPECT_TRUE(AIPrompts::instrucao(QuickAction::bulletPoints).contains(QStringLiteral("com \"- \" (hífen + espaço)")));
    EXPECT_TRUE(AIPrompts::instrucao(QuickAction::email).contains(QStringLiteral("(\"Olá,\" ou \"Bom dia,\") e despedida (\"Atenciosamente,\")")));
    EXPECT_EQ(AIPrompts::system().toUtf8().size(), 269);
    EXPECT_TRUE(AIPrompts::system().startsWith(QStringLiteral("Você é um assistente que reformata texto ditado")));
}

namespace {
struct Provedor : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    KeychainService chaves{amb.pastaDados()};

    void SetUp() override
    {
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::openai, QStringLiteral("sk-oa")).has_value());
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::anthropic, QStringLiteral("sk-an")).has_value());
    }
    ContextoIA contexto(AIProviderID id, std::chrono::milliseconds prazo = 30s)
    {
        return ContextoIA{rede, chaves, Endpoints::juntar(servidor.url(), Provedores::caminhoEndpoint(id)), prazo, prazo};
    }
    OpenAIProvider openai(std::chrono::milliseconds prazo = 30s) { return OpenAIProvider(contexto(AIProviderID::openai, prazo)); }
    AnthropicProvider anthropic(std::chrono::milliseconds prazo = 30s) { return AnthropicProvider(contexto(AIProviderID::anthropic, prazo)); }
    QJsonObject corpoEnviado(int i = 0) { return QJsonDocument::fromJson(servidor.requisicoes().value(i).corpo).object(); }
};

QByteArray respostaOpenAI(const QJsonValue& content)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("choices"),
                                      QJsonArray{QJsonObject{{QStringLiteral("message"), QJsonObject{{QStringLiteral("role"), QStringLiteral("assistant")},
                                                                                                     {QStringLiteral("content"), content}}}}}}})
        .toJson();
}
} // namespace

TEST_F(Provedor, OpenAIRequisicaoUnicaValidaSegundoAApi)
{
    servidor.enfileirar(Resposta::json(200, respostaOpenAI(QStringLiteral("  \n Olá \n"))));
    auto p = openai();
    const auto r = aguardar(p.transformar(QStringLiteral("texto ditado"), QuickAction::email, QStringLiteral("selecionado")));
    ASSERT_TRUE(r.ok()) << r.erro().errorDescription().toStdString();
    EXPECT_EQ(r.valor(), QStringLiteral("Olá"));

    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.caminho, QByteArray("/v1/chat/completions"));
    EXPECT_EQ(req.cabecalho("Authorization"), QByteArray("Bearer sk-oa"));
    EXPECT_EQ(req.cabecalho("Content-Type"), QByteArray("application/json"));
    EXPECT_FALSE(req.temCabecalho("Accept"));
    const QJsonObject corpo = corpoEnviado();
    EXPECT_EQ(corpo.keys(), (QStringList{QStringLiteral("messages"), QStringLiteral("model"), QStringLiteral("temperature")}));
    EXPECT_EQ(corpo[QStringLiteral("model")], QStringLiteral("gpt-4o-mini"));
    EXPECT_DOUBLE_EQ(corpo[QStringLiteral("temperature")].toDouble(), 0.4);
    const QJsonArray msgs = corpo[QStringLiteral("messages")].toArray();
    ASSERT_EQ(msgs.size(), 2);
    EXPECT_EQ(msgs[0][QStringLiteral("role")], QStringLiteral("system"));
    EXPECT_EQ(msgs[0][QStringLiteral("content")], AIPrompts::system());
    EXPECT_EQ(msgs[1][QStringLiteral("role")], QStringLiteral("user"));
    EXPECT_EQ(msgs[1][QStringLiteral("content")], AIPrompts::user(QuickAction::email, QStringLiteral("texto ditado"), QStringLiteral("selecionado")));
    EXPECT_EQ(violacoesJson(req.corpo, QStringLiteral("CreateChatCompletionRequest")), QStringList{});
    // The validator does reject what the API would.
    EXPECT_FALSE(violacoesJson(R"({"model":"gpt-4o-mini","messages":[{"role":"narrador","content":"a"}],"temperature":"morna"})",
                               QStringLiteral("CreateChatCompletionRequest"))
                     .isEmpty());
}

TEST_F(Provedor, OpenAIFalhasComOsTextosDoUsuario)
{
    struct Caso {
        Resposta resposta;
        QString texto;
    };
    const QList<Caso> casos{
        {Resposta::json(401, R"({"error":{"message":"Incorrect API key provided","type":"invalid_request_error"}})"),
         QStringLiteral("Erro 401: Incorrect API key provided")},
        {Resposta::texto(500, "oops"), QStringLiteral("Erro 500: oops")},
        {Resposta::texto(500, ""), QStringLiteral("Erro 500")},
        {Resposta::json(200, R"({"choices":[]})"), QStringLiteral("Resposta inválida da API")},
        {Resposta::json(200, respostaOpenAI(QJsonValue::Null)), QStringLiteral("Resposta inválida da API")},
        {Resposta::texto(200, "<html>ok</html>", "text/html"), QStringLiteral("Resposta inválida da API")},
    };
    auto p = openai();
    for (const Caso& c : casos) {
        servidor.enfileirar(c.resposta);
        const auto r = aguardar(p.transformar(QStringLiteral("x"), QuickAction::resumir, std::nullopt));
        ASSERT_FALSE(r.ok());
        EXPECT_EQ(r.erro().errorDescription(), c.texto);
        EXPECT_EQ(r.erro().provedor, AIProviderID::openai);
    }
    servidor.enfileirar(Resposta::comModo(Resposta::Modo::semResposta));
    auto lento = openai(200ms);
    const auto r = aguardar(lento.transformar(QStringLiteral("x"), QuickAction::resumir, std::nullopt));
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().caso, AIErro::Caso::rede);
    EXPECT_TRUE(r.erro().errorDescription().startsWith(QStringLiteral("Erro de rede: ")));
}

TEST_F(Provedor, SemChaveNenhumaRequisicao)
{
    ASSERT_FALSE(chaves.salvarChave(AIProviderID::openai, QString()).has_value());
    auto p = openai();
    const auto r = aguardar(p.transformar(QStringLiteral("x"), QuickAction::resumir, std::nullopt));
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().errorDescription(), QStringLiteral("Configure a chave OpenAI (gpt-4o-mini) em Preferências (⌘,)"));
    auto fluxo = p.transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    const auto erro = aguardar(fluxo->fim());
    ASSERT_TRUE(erro.has_value());
    EXPECT_EQ(erro->caso, AIErro::Caso::semChaveConfigurada);
    // A key file that cannot be read counts as no key.
    gravarArquivo(chaves.arquivo(), R"({"anthropic_api_key":5})");
    auto a = anthropic();
    const auto ra = aguardar(a.transformar(QStringLiteral("x"), QuickAction::resumir, std::nullopt));
    ASSERT_FALSE(ra.ok());
    EXPECT_EQ(ra.erro().errorDescription(), QStringLiteral("Configure a chave Anthropic (claude-haiku-4-5) em Preferências (⌘,)"));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
}

TEST_F(Provedor, AnthropicRequisicaoUnica)
{
    const QByteArray resposta = R"({"id":"msg_1","type":"message","content":[
        {"type":"text","text":"A"},{"type":"tool_use","id":"t","name":"x","input":{}},{"type":"text","text":"B"}]})";
    servidor.enfileirar(Resposta::json(200, resposta));
    auto p = anthropic();
    const auto r = aguardar(p.transformar(QStringLiteral("ditado"), QuickAction::post, std::nullopt));
    ASSERT_TRUE(r.ok()) << r.erro().errorDescription().toStdString();
    EXPECT_EQ(r.valor(), QStringLiteral("A\nB"));

    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.caminho, QByteArray("/v1/messages"));
    EXPECT_EQ(req.cabecalho("x-api-key"), QByteArray("sk-an"));
    EXPECT_EQ(req.cabecalho("anthropic-version"), QByteArray("2023-06-01"));
    EXPECT_EQ(req.cabecalho("Content-Type"), QByteArray("application/json"));
    EXPECT_FALSE(req.temCabecalho("Authorization"));
    const QJsonObject corpo = corpoEnviado();
    EXPECT_EQ(corpo.keys(), (QStringList{QStringLiteral("max_tokens"), QStringLiteral("messages"), QStringLiteral("model"),
                                         QStringLiteral("system"), QStringLiteral("temperature")}));
    EXPECT_EQ(corpo[QStringLiteral("max_tokens")].toInt(), 1024);
    EXPECT_EQ(corpo[QStringLiteral("model")], QStringLiteral("claude-haiku-4-5"));
    EXPECT_EQ(corpo[QStringLiteral("system")], AIPrompts::system());
    const QJsonArray msgs = corpo[QStringLiteral("messages")].toArray();
    ASSERT_EQ(msgs.size(), 1);
    EXPECT_EQ(msgs[0][QStringLiteral("content")], AIPrompts::user(QuickAction::post, QStringLiteral("ditado"), std::nullopt));

    struct Caso {
        QByteArray corpo;
        int status;
        std::optional<QString> valor;
        QString erro;
    };
    const QList<Caso> casos{
        {R"({"content":[]})", 200, std::nullopt, QStringLiteral("Resposta inválida da API")},
        {R"({"content":[{"type":"text","text":"   "}]})", 200, QString(), {}},
        {R"({"content":[{"type":"tool_use"}]})", 200, std::nullopt, QStringLiteral("Resposta inválida da API")},
        {R"({"content":[{"text":"sem tipo"}]})", 200, std::nullopt, QStringLiteral("Resposta inválida da API")},
        {R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})", 529, std::nullopt,
         QStringLiteral("Erro 529: Overloaded")},
    };
    for (const Caso& c : casos) {
        servidor.enfileirar(Resposta::json(c.status, c.corpo));
        const auto rr = aguardar(p.transformar(QStringLiteral("x"), QuickAction::resumir, std::nullopt));
        ASSERT_EQ(rr.ok(), c.valor.has_value()) << c.corpo.constData();
        if (c.valor)
            EXPECT_EQ(rr.valor(), *c.valor);
        else
            EXPECT_EQ(rr.erro().errorDescription(), c.erro);
    }
}

TEST_F(Provedor, TextoEmBrancoVoltaComoEstaSemRequisicaoNemLog)
{
    auto p = openai();
    const QString branco = QStringLiteral(" \n\t \n");
    const auto r = aguardar(AIService::transformar(p, branco, QuickAction::resumir, std::nullopt));
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.valor(), branco);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
    EXPECT_TRUE(amb.lerLog().isEmpty());

    Log::enviarParaArquivo(amb.arquivoLog());
    servidor.enfileirar(Resposta::json(200, respostaOpenAI(QStringLiteral("ok"))));
    const auto r2 = aguardar(AIService::transformar(p, QStringLiteral("  olá 👍🏽 \n"), QuickAction::email, QStringLiteral("abc")));
    ASSERT_TRUE(r2.ok());
    // Characters as a person counts them: the emoji with its skin tone is one.
    EXPECT_EQ(amb.lerLog(), QByteArray("Vozel [AI] provider=openai action=email texto.count=5 ctx=3\n"));
    EXPECT_EQ(QJsonDocument::fromJson(servidor.requisicoes()[0].corpo)[QStringLiteral("messages")][1][QStringLiteral("content")].toString(),
              AIPrompts::user(QuickAction::email, QStringLiteral("olá 👍🏽"), QStringLiteral("abc")));
    Log::enviarParaArquivo(QStringLiteral("/dev/null"));
}

TEST_F(Provedor, EscolhaPelaConfiguracao)
{
    Configuracoes c(amb.arquivoConfig());
    amb.definir(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"), servidor.url().toString());
    EXPECT_EQ(AIService::currentProvider(c, rede, amb.pastaDados())->id(), AIProviderID::openai);
    c.definir(QStringLiteral("aiProvider"), QStringLiteral("anthropic"));
    auto p = AIService::currentProvider(c, rede, amb.pastaDados());
    EXPECT_EQ(p->id(), AIProviderID::anthropic);
    servidor.enfileirar(Resposta::json(200, R"({"content":[{"type":"text","text":"oi"}]})"));
    const auto r = aguardar(p->transformar(QStringLiteral("x"), QuickAction::resumir, std::nullopt));
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(servidor.requisicoes().value(0).caminho, QByteArray("/v1/messages"));
}
