// The AI area as a real HTTP server on loopback meets it: the providers' requests for each use, the
// reading of the answers, every failure as the user reads it, the framing of the streams, and
// intent detection.
#include "ai/AIService.h"
#include "ai/ConsultaModelo.h"
#include "ai/IntentDetectionService.h"
#include "core/Configuracoes.h"
#include "core/Log.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;
using P = AIProviderID;
using A = QuickAction;
using C = IntentConfianca;

namespace {
enum class Uso { acao, fluxo, pergunta };
QString operator""_t(const char* s, size_t n) { return QString::fromUtf8(s, static_cast<qsizetype>(n)); }

struct Provedor : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{amb.arquivoConfig()};
    KeychainService chaves{amb.pastaDados()};
    IntentDetectionService intencao{config, rede, amb.pastaDados()};
    QStringList fragmentos; // of the last stream

    void SetUp() override
    {
        apontarPara(servidor.url());
        ASSERT_FALSE(chaves.gravar({{"openai_api_key"_t, "sk-oa"_t}, {"anthropic_api_key"_t, "sk-an"_t}}));
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
    }
    void TearDown() override { Log::enviarParaArquivo("/dev/null"_t); }
    void apontarPara(const QUrl& base)
    {
        amb.definir("SONVO_OPENAI_BASE_URL"_t, base.toString());
        amb.definir("SONVO_ANTHROPIC_BASE_URL"_t, base.toString());
    }
    std::unique_ptr<AIProvider> provedor(P id, std::chrono::milliseconds prazo)
    {
        return std::make_unique<ProvedorDeDialeto>(id, ContextoIA{rede, chaves, Provedores::endpoint(id, config), prazo, prazo});
    }
    // What the user gets from one use: the text (a stream's fragments joined), or "✗ " and the error.
    QString usar(P id, Uso uso, std::chrono::milliseconds prazo = 30s)
    {
        fragmentos.clear();
        if (uso == Uso::pergunta) {
            const auto r = aguardar(ConsultasModelo::perguntar(rede, config, amb.pastaDados(), {id, "Classifique: \"olá\"\n"_t, 0.2, 800, prazo}));
            return r ? r.valor() : "✗ "_t + r.erro().descricao;
        }
        if (uso == Uso::acao) {
            const auto r = aguardar(provedor(id, prazo)->transformar("ditado"_t, A::resumir, "alvo"_t));
            return r ? r.valor() : "✗ "_t + r.erro().errorDescription();
        }
        auto f = provedor(id, prazo)->transformarStream("ditado"_t, A::resumir, "alvo"_t);
        QObject::connect(f.get(), &FluxoIA::fragmento, [this](const QString& s) { fragmentos << s; });
        const auto erro = aguardar(f->fim());
        return erro ? "✗ "_t + erro->errorDescription() : fragmentos.join(QString());
    }
};

} // namespace

TEST_F(Provedor, RequisicoesDeCadaProvedorEUsoByteAByte)
{
    const Cabecalhos openai{{"authorization", "Bearer sk-oa"}, {"content-type", "application/json"}};
    const Cabecalhos anthropic{{"x-api-key", "sk-an"}, {"anthropic-version", "2023-06-01"}, {"content-type", "application/json"}};
    struct Caso { P id; Uso uso; Cabecalhos cabecalhos; QString corpo; }; // corpo: %S the system prompt, %U the user's message, %P the question
    const QString sistema = R"("Você é um assistente que reformata texto ditado em português brasileiro. Responda APENAS com o texto reformatado, )"
                            R"(sem comentários, prefixos, aspas externas ou explicações. Preserve o sentido original. Não invente informações que )"
                            R"(não estejam no texto original.")"_t;
    const QString usuario = R"("Resuma o texto abaixo em 1-3 frases curtas, mantendo as informações essenciais. Use português brasileiro natural.)"
                            R"(\n\nTEXTO:\nditado\n\nTEXTO ALVO (reescreva usando como base a transcricao acima):\nalvo")"_t;
    const QList<Caso> casos{
        {P::openai, Uso::acao, openai, R"({"messages":[{"content":%S,"role":"system"},{"content":%U,"role":"user"}],"model":"gpt-4o-mini","temperature":0.4})"},
        {P::openai, Uso::fluxo, openai, R"({"messages":[{"content":%S,"role":"system"},{"content":%U,"role":"user"}],"model":"gpt-4o-mini","stream":true,"temperature":0.4})"},
        {P::openai, Uso::pergunta, openai, R"({"max_tokens":800,"messages":[{"content":%P,"role":"user"}],"model":"gpt-4o-mini","temperature":0.2})"},
        {P::anthropic, Uso::acao, anthropic, R"({"max_tokens":1024,"messages":[{"content":%U,"role":"user"}],"model":"claude-haiku-4-5","system":%S,"temperature":0.4})"},
        {P::anthropic, Uso::fluxo, anthropic + Cabecalhos{{"accept", "text/event-stream"}},
         R"({"max_tokens":1024,"messages":[{"content":%U,"role":"user"}],"model":"claude-haiku-4-5","stream":true,"system":%S,"temperature":0.4})"},
        {P::anthropic, Uso::pergunta, anthropic, R"({"max_tokens":800,"messages":[{"content":%P,"role":"user"}],"model":"claude-haiku-4-5","temperature":0.2})"},
    };
    const QList<QByteArray> transporte{"host", "content-length", "connection", "accept-encoding", "accept-language", "user-agent"};
    servidor.definirPadrao(Resposta::texto(500, ""));
    for (qsizetype i = 0; i < casos.size(); ++i) {
        const Caso& c = casos[i];
        usar(c.id, c.uso);
        const Requisicao req = servidor.requisicoes().value(i);
        Cabecalhos nossos; // every header but the transport's own, in the order sent
        for (const auto& [nome, valor] : req.cabecalhos)
            if (!transporte.contains(nome.toLower()))
                nossos.append({nome.toLower(), valor});
        EXPECT_EQ(nossos, c.cabecalhos) << i;
        EXPECT_EQ(req.metodo + ' ' + req.caminho, "POST " + Provedores::caminhoEndpoint(c.id).toUtf8());
        EXPECT_EQ(QString::fromUtf8(req.corpo), QString(c.corpo).replace("%S"_t, sistema).replace("%U"_t, usuario).replace("%P"_t, R"("Classifique: \"olá\"\n")"_t));
        EXPECT_EQ(c.id == P::openai ? violacoesJson(req.corpo, "CreateChatCompletionRequest"_t) : QStringList(), QStringList{});
    }
    EXPECT_FALSE(violacoesJson(R"({"model":"gpt-4o-mini","messages":[{"role":"x"}]})", "CreateChatCompletionRequest"_t).isEmpty()); // it can fail
    EXPECT_EQ(AIPrompts::user(A::resumir, "ditado"_t, QString()), AIPrompts::user(A::resumir, "ditado"_t, std::nullopt)); // an empty selection is no target
}

TEST_F(Provedor, CadaRespostaComoOUsuarioALe)
{
    // A quick action maps every failure and status, trims, and joins Anthropic's text blocks
    // strictly; a stream reports a status without its body; a question only fails on a failed
    // exchange and takes the first answer as it is.
    enum class Origem { servidor, portaFechada, outroEsquema, semChave, chavesIlegiveis };
    struct Caso {
        std::optional<P> so; // a body in one provider's dialect; otherwise both
        Resposta resposta;
        QString acao, fluxo, pergunta; // a trailing "*" matches any rest
        Origem origem = Origem::servidor;
        std::chrono::milliseconds prazo = 30s;
    };
    Resposta truncada = Resposta::json(200, R"({"choices":[{"message":{"content":"metade"}}]})");
    truncada.modo = Resposta::Modo::truncada;
    Resposta streamCortado = Resposta::sse(Resposta::eventosOpenAI({"antes"_t}, false));
    streamCortado.resetNoFim = true;
    const QStringList partes{"Olá,"_t, " tudo"_t, " bem?"_t};
    const QByteArray ruidoOpenAI = ": keep-alive\n\ndata: {\"choices\":[{\"delta\":{\"content\":\"Ol\"}}]}\ndata: {\"choices\":[{\"delta\":{\"role\":\"assistant\"}}]}\n"
                                   "data: {\"choices\":[{\"delta\":{\"content\":null}}]}\ndata: {quebrado\ndata: \xff\xfe{\"choices\":[]}\ndata: {\"choices\":[]}\n"
                                   "event: outra\nid: 7\nretry: 100\ndata:{\"choices\":[{\"delta\":{\"content\":\"sem espaço\"}}]}\ndata: [DONE]\n"
                                   "data: {\"choices\":[{\"delta\":{\"content\":\"depois do fim\"}}]}\n";
    const QByteArray ruidoAnthropic = "data: {\"delta\":{\"type\":\"text_delta\",\"text\":\"antes de qualquer evento\"}}\nevent: ping\n"
                                      "data: {\"delta\":{\"type\":\"text_delta\",\"text\":\"no ping\"}}\nevent: content_block_delta\n"
                                      "data: {\"delta\":{\"type\":\"input_json_delta\",\"partial_json\":\"{}\"}}\ndata: {\"delta\":{\"type\":\"text_delta\",\"text\":\"Oi\"}}\n"
                                      "event: message_stop\ndata: {}\nevent: content_block_delta\ndata: {\"delta\":{\"type\":\"text_delta\",\"text\":\"tarde demais\"}}\n";
    const auto partido = [](const QByteArray& c) { return Resposta::sse({c.left(1), c.mid(1, 40), c.mid(41, 3), c.mid(44)}, 5); }; // events split across writes
    const QString rede = "✗ Erro de rede: *"_t, invalida = "✗ Resposta inválida da API"_t, prazo = "✗ Erro de rede: tempo esgotado"_t;
    const QString semChave = "✗ Configure a chave %N em Preferências"_t, texto = "Olá, tudo bem?"_t;
    const QList<Caso> casos{
        {{}, {}, rede, rede, rede, Origem::portaFechada},
        {{}, Resposta::comModo(Resposta::Modo::reset), rede, rede, rede},
        {{}, truncada, rede, rede, rede},
        {{}, streamCortado, rede, rede, rede},
        {{}, Resposta::comModo(Resposta::Modo::semResposta), prazo, prazo, prazo, Origem::servidor, 300ms},
        {{}, Resposta::json(401, R"({"error":{"message":"Incorrect API key provided"}})"), "✗ Erro 401: Incorrect API key provided"_t, "✗ Erro 401"_t, invalida},
        {{}, Resposta::texto(500, ""), "✗ Erro 500"_t, "✗ Erro 500"_t, invalida},
        {{}, Resposta::texto(502, "Bad gateway"), "✗ Erro 502: Bad gateway"_t, "✗ Erro 502"_t, invalida},
        {{}, Resposta::texto(503, "\xff\xfe quebrado"), "✗ Erro 503"_t, "✗ Erro 503"_t, invalida}, // not UTF-8: no message
        {{}, Resposta::texto(200, "<html>portal cativo</html>", "text/html"), invalida, QString(), invalida},
        {{}, Resposta::comModo(Resposta::Modo::naoHttp), rede, rede, rede},
        {{}, {}, "✗ Erro -1"_t, rede, rede, Origem::outroEsquema},
        {{}, {}, semChave, semChave, "✗ Chave não encontrada (%C)"_t, Origem::semChave},
        {{}, {}, semChave, semChave, "✗ Falha de E/S: ler: *"_t, Origem::chavesIlegiveis},
        {P::openai, Resposta::json(200, R"({"choices":[{"message":{"role":"assistant","content":"  \n Olá \n"}}]})"), "Olá"_t, QString(), "  \n Olá \n"_t},
        {P::openai, Resposta::json(200, R"({"choices":[{"message":{"content":null}}]})"), invalida, QString(), invalida},
        {P::openai, Resposta::json(500, R"({"choices":[{"message":{"content":"sim"}}]})"), R"(✗ Erro 500: {"choices":[{"message":{"content":"sim"}}]})"_t,
         "✗ Erro 500"_t, "sim"_t},
        {P::anthropic, Resposta::json(200, R"({"content":[{"type":"text","text":"A"},{"type":"tool_use","id":"t","input":{}},{"type":"text","text":"B"}]})"),
         "A\nB"_t, QString(), "A"_t},
        {P::anthropic, Resposta::json(200, R"({"content":[{"type":"tool_use","id":"t"},{"type":"text","text":" B"}]})"), "B"_t, QString(), invalida},
        {P::anthropic, Resposta::json(200, R"({"content":[{"type":"text","text":"   "}]})"), QString(), QString(), "   "_t},
        {P::anthropic, Resposta::json(200, R"({"content":[{"text":"sem tipo"}]})"), invalida, QString(), "sem tipo"_t},
        {P::anthropic, Resposta::json(200, R"({"content":[{"type":"text","text":5}]})"), invalida, QString(), invalida},
        {P::anthropic, Resposta::json(200, R"({"content":[]})"), invalida, QString(), invalida},
        {P::openai, partido(ruidoOpenAI), invalida, "Ol"_t, invalida}, // only the text of text events, up to the end marker
        {P::anthropic, partido(ruidoAnthropic), invalida, "Oi"_t, invalida},
        {P::openai, partido(Resposta::eventosOpenAI(partes, false).join().chopped(2)), invalida, texto, invalida}, // no [DONE] nor last line end: the body's end ends it
    };
    const QUrl portaFechada("http://127.0.0.1:1"_t); // nothing listens there
    for (P id : Provedores::todos) {
        for (qsizetype i = 0; i < casos.size(); ++i) {
            const Caso& c = casos[i];
            if (c.so && c.so != id)
                continue;
            SCOPED_TRACE("caso " + std::to_string(i) + " " + Provedores::rawValue(id).toStdString());
            apontarPara(c.origem == Origem::portaFechada ? portaFechada : c.origem == Origem::outroEsquema ? QUrl::fromLocalFile(amb.raiz()) : servidor.url());
            QFile::remove(chaves.arquivo());
            ASSERT_TRUE(c.origem == Origem::semChave
                        || gravarArquivo(chaves.arquivo(), c.origem == Origem::chavesIlegiveis ? "{ quebrado" : R"({"anthropic_api_key":"sk","openai_api_key":"sk"})"));
            const auto antes = servidor.requisicoes().size();
            const int enviadas = c.origem == Origem::servidor ? 3 : 0; // one per use
            servidor.definirPadrao(c.resposta);
            for (const auto& [uso, esperado] : {std::pair(Uso::acao, c.acao), std::pair(Uso::fluxo, c.fluxo), std::pair(Uso::pergunta, c.pergunta)}) {
                const QString e = QString(esperado).replace("%N"_t, Provedores::displayName(id)).replace("%C"_t, Provedores::contaChave(id));
                const QString obtido = usar(id, uso, c.prazo);
                EXPECT_TRUE(e.endsWith(u'*') ? obtido.startsWith(e.chopped(1)) : obtido == e) << static_cast<int>(uso) << ": " << obtido.toStdString();
            }
            // One attempt per use, never a resend; nothing at all without a key.
            EXPECT_EQ(servidor.requisicoes().size(), antes + enviadas);
        }
    }
}

TEST(QuadrosSse, EventosPartidosEmQualquerByte)
{
    const QStringList partes{"Ol"_t, "á, "_t, "mundo 🌎"_t}; // a cut may fall inside a character
    for (P id : Provedores::todos)
        for (const char* fimDeLinha : {"\n", "\r\n"}) {
            const QByteArray corpo = (id == P::openai ? Resposta::eventosOpenAI(partes) : Resposta::eventosAnthropic(partes)).join().replace("\n", fimDeLinha);
            for (qsizetype i = 0; i <= corpo.size(); ++i) {
                LinhasSSE linhas;
                auto interpretador = Dialeto::interpretador(id);
                QStringList lidos; // the fragments, and "■" for the end marker
                for (const QByteArray& pedaco : {corpo.left(i), corpo.mid(i)})
                    for (const QByteArray& linha : linhas.alimentar(pedaco))
                        if (const PassoSSE p = interpretador(linha); p.fragmento || p.fim)
                            lidos << p.fragmento.value_or("■"_t);
                EXPECT_EQ(lidos, partes + QStringList{"■"_t}) << "corte em " << i << fimDeLinha;
            }
        }
}

TEST_F(Provedor, PararDeDentroDoSlotFechaAConexaoETextoEmBrancoVoltaComoEsta)
{
    servidor.enfileirar(Resposta::sse(Resposta::eventosOpenAI({"um"_t, "dois"_t, "três"_t}), 150));
    auto f = provedor(P::openai, 30s)->transformarStream("x"_t, A::resumir, std::nullopt);
    QSignalSpy terminou(f.get(), &FluxoIA::terminou);
    QObject::connect(f.get(), &FluxoIA::fragmento, [&](const QString& s) { fragmentos << s; f->parar(); });
    ASSERT_TRUE(girarAte([&] { return !fragmentos.isEmpty(); }));
    girarPor(600);
    EXPECT_EQ(fragmentos, QStringList{"um"_t});
    EXPECT_TRUE(terminou.isEmpty());
    EXPECT_EQ(servidor.conexoesAbertas(), 0);

    config.definir("aiProvider"_t, "anthropic"_t);
    auto p = AIService::currentProvider(config, rede, amb.pastaDados());
    EXPECT_EQ(aguardar(AIService::transformar(*p, " \n\t \n"_t, A::resumir, std::nullopt)).valor(), " \n\t \n"_t);
    EXPECT_EQ(servidor.requisicoes().size(), 1); // the stream's: blank text sends nothing
    servidor.enfileirar(Resposta::json(200, R"({"content":[{"type":"text","text":"ok"}]})"));
    ASSERT_TRUE(aguardar(AIService::transformar(*p, "  olá 👍🏽 \n"_t, A::email, "abc"_t)).ok());
    // Only the log line counts characters, as a person does: the emoji with its skin tone is one.
    EXPECT_EQ(amb.lerLog(), QByteArray("Vozel [AI] provider=anthropic action=email texto.count=5 ctx=3\n"));
    EXPECT_EQ(QJsonDocument::fromJson(servidor.requisicoes().last().corpo)["messages"_t][0]["content"_t].toString(), AIPrompts::user(A::email, "olá 👍🏽"_t, "abc"_t));
}

namespace {
const IntentResult kNada = IntentResult::nada();
const QList<A> kPadrao{A::resumir, A::bulletPoints, A::email};
const QString kIncidental = "o resumo da reunião foi bom"_t; // unsure: the model decides
} // namespace

TEST(Intencao, ClassificacaoLocalELeituraDaRespostaDoModelo)
{
    const QList<std::tuple<QString, QList<A>, IntentResult>> casos{
        {"FAZ UM RESUMO DISSO"_t, kPadrao, {A::resumir, C::alta}}, {"transforma isso em tópicos"_t, kPadrao, {A::bulletPoints, C::alta}},
        {"o resumo da reunião foi bom"_t, kPadrao, {A::resumir, C::media}}, // a keyword alone may be incidental
        {"transforma isso"_t, kPadrao, kNada}, {QString(), kPadrao, kNada},   // a verb asks for nothing by itself
        // A negation anywhere vetoes the whole text.
        {"não quero resumo, transforma em e-mail"_t, kPadrao, kNada}, {"quero resumo, transforma em e-mail"_t, kPadrao, {A::email, C::alta}},
        {"Nao quero resumo"_t, kPadrao, kNada}, {"nunca mais escreve email assim"_t, kPadrao, kNada},
        // The keyword table's order breaks ties; a disabled action's keyword is no intent.
        {"manda um e-mail com o resumo"_t, kPadrao, {A::email, C::media}}, {"manda um e-mail com o resumo"_t, {A::resumir}, {A::resumir, C::media}},
        {"cria um post"_t, kPadrao, kNada}, {"cria um post"_t, {A::post}, {A::post, C::alta}}, {"faz um resumo disso"_t, {}, kNada},
        // Whole words only; decomposed accents match like composed ones.
        {"o texto resumido ficou bom"_t, kPadrao, kNada}, {"vamos postar amanhã"_t, {A::post}, kNada},
        {"chegaram dois emails"_t, kPadrao, {A::email, C::media}}, {"Fac\u0327a uma lista"_t, kPadrao, {A::bulletPoints, C::alta}},
        {"os to\u0301picos da aula"_t, kPadrao, {A::bulletPoints, C::media}},
    };
    for (const auto& [texto, acoes, esperado] : casos)
        EXPECT_EQ(IntentDetectionService::classificarLocal(texto, acoes), esperado) << texto.toStdString();

    const QList<std::pair<QString, IntentResult>> respostas{
        {"Claro! Aqui está: {\"acao\": \"email\", \"confianca\": \"alta\"} Espero ter ajudado."_t, {A::email, C::alta}},
        {"```json\n{\"acao\": \"resumir\", \"confianca\": \"media\"}\n```"_t, {A::resumir, C::media}},
        {R"({"acao":"bulletPoints","confianca":"alta","motivo":{"a":[1,{"c":2}]}})"_t, {A::bulletPoints, C::alta}},
        {R"({"acao":"email","confianca":"alta"} ou {"acao":"resumir"})"_t, kNada}, // first "{" to last "}"
        {"} invertido {"_t, kNada}, {R"({"acao":"email","confianca":"alta")"_t, kNada}, {R"({"acao":null,"confianca":"alta"})"_t, kNada},
        {R"({"acao":2,"confianca":"alta"})"_t, kNada}, {R"({"acao":"Email","confianca":"alta"})"_t, kNada}, {R"({"acao":"email"})"_t, kNada},
        {R"({"acao":"post","confianca":"media"})"_t, kNada /* not enabled */}, {R"({"acao":"email","confianca":"nenhuma"})"_t, kNada},
        {R"({"acao":"email","confianca":"ALTA"})"_t, kNada}, {QString::fromUtf8("{\"acao\":\"em\xffil\",\"confianca\":\"alta\"}"), kNada},
        {QString::fromUtf8("\xff\xfe lixo {\"acao\":\"resumir\",\"confianca\":\"alta\"} \xc3"), {A::resumir, C::alta}},
        {QChar(0xD800) + R"({"acao":"email","confianca":"media"})"_t, {A::email, C::media}},
    };
    for (const auto& [resposta, esperado] : respostas)
        EXPECT_EQ(IntentDetectionService::parseRespostaLLM(resposta, {A::resumir, A::bulletPoints, A::email}), esperado) << resposta.toStdString();
}

TEST_F(Provedor, IntencaoSoTextoIncertoVaiAoModeloComOPromptExatoEFalhaOuPrazoNadaDetectam)
{
    // A sure local answer, or detection switched off: the model is not asked.
    config.definir("toggleShowIntentModal"_t, true);
    EXPECT_EQ(aguardar(intencao.detectar("não quero resumo, transforma em e-mail"_t)), kNada);
    config.definir("intentDetectionEnabled"_t, false);
    EXPECT_EQ(aguardar(intencao.detectar(kIncidental)), kNada);
    config.remover("intentDetectionEnabled"_t); // absent: detection on...
    config.remover("toggleShowIntentModal"_t); // ...and the modal off
    EXPECT_EQ(aguardar(intencao.detectar(kIncidental)), kNada);
    config.registrarPadroes(Configuracoes::padroesDoApp()); // a registered default counts as set
    EXPECT_EQ(aguardar(intencao.detectar("faz um resumo disso"_t)), (IntentResult{A::resumir, C::alta}));
    config.definir("toggleShowIntentModal"_t, false);
    EXPECT_EQ(aguardar(intencao.detectar(kIncidental)), kNada);
    EXPECT_TRUE(servidor.requisicoes().isEmpty());

    config.definir("toggleShowIntentModal"_t, true); // unsure: the chosen provider is asked
    config.definir("aiProvider"_t, "anthropic"_t);
    // The user's actions, in order: unknown or differently cased names are skipped, duplicates kept.
    config.definir("vozelQuickActions"_t, QStringList{"email", "xyz", "Resumir", "resumir", "email"});
    servidor.enfileirar(Resposta::json(200, R"({"content":[{"type":"text","text":"{\"acao\":\"email\",\"confianca\":\"media\"}"}]})"));
    EXPECT_EQ(aguardar(intencao.detectar("o resumo \"da\" reunião"_t)), (IntentResult{A::email, C::media}));
    const auto reqs = servidor.requisicoes();
    ASSERT_EQ(reqs.size(), 1);
    const QString prompt = "Você é um classificador de intenção. Responda SOMENTE com JSON válido, sem texto antes ou depois.\nTexto do usuário: \"o resumo \"da\" reunião\"\n"
        "Tarefa: o usuário está pedindo IMPERATIVAMENTE para transformar o texto numa das ações abaixo?\nAções válidas: email|resumir|email\n"
        "Schema: {\"acao\": \"<uma das ações ou null>\", \"confianca\": \"alta\"|\"media\"|\"nenhuma\"}\nRegras:\n"
        "  - \"alta\" SOMENTE se houver verbo imperativo de transformação + ação clara\n  - \"nenhuma\" se a menção for incidental, no passado, ou negada"_t;
    EXPECT_EQ(QJsonDocument::fromJson(reqs[0].corpo).object(), (QJsonObject{{"max_tokens"_t, 60}, {"temperature"_t, 0}, {"model"_t, "claude-haiku-4-5"_t},
                                                                            {"messages"_t, QJsonArray{QJsonObject{{"content"_t, prompt}, {"role"_t, "user"_t}}}}}));

    // How each failure of a question reads is in the table above; here, that it detects nothing.
    config.remover("aiProvider"_t);
    servidor.enfileirar(Resposta::json(200, R"({"choices":[{"message":{"content":"{\"acao\": null, \"confianca\": \"nenhuma\"}"}}]})")); // the model's own "nothing" is no failure
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"));
    EXPECT_EQ(aguardar(intencao.detectar(kIncidental)), kNada);
    EXPECT_EQ(aguardar(intencao.detectar(kIncidental)), kNada);
    // Decided by the 1.5 s deadline, before the answer is written; the request is aborted.
    Resposta tarde = Resposta::json(200, R"({"choices":[{"message":{"content":"{\"acao\":\"resumir\",\"confianca\":\"alta\"}"}}]})");
    tarde.atrasoMs = 2000;
    servidor.enfileirar(tarde);
    QElapsedTimer relogio;
    relogio.start();
    EXPECT_EQ(aguardar(intencao.detectar(kIncidental)), kNada);
    EXPECT_GE(relogio.elapsed(), 1400);
    EXPECT_TRUE(girarAte([&] { return servidor.conexoesAbertas() == 0; }, 1000));
    EXPECT_EQ(amb.lerLog(), QByteArray("Vozel [Intent] LLM fallback falhou: Resposta inválida da API\n"
                                       "Vozel [Intent] LLM fallback falhou: Erro de rede: tempo esgotado\n"));
}
