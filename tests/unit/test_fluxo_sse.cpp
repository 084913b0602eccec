#include "ai/AIService.h"
#include "ai/LinhasSSE.h"
#include "app/Endpoints.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QThread>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;

namespace {
template <typename Interp>
QStringList interpretarTudo(const QList<QByteArray>& pedacos, bool* viuFim = nullptr)
{
    LinhasSSE linhas;
    Interp interp;
    QStringList saida;
    bool fim = false;
    auto tratar = [&](const QByteArray& l) {
        if (fim)
            return;
        const PassoSSE p = interp.linha(l);
        if (p.fragmento)
            saida << *p.fragmento;
        fim = p.fim;
    };
    for (const QByteArray& p : pedacos)
        for (const QByteArray& l : linhas.alimentar(p))
            tratar(l);
    if (const auto ultima = linhas.terminar())
        tratar(*ultima);
    if (viuFim)
        *viuFim = fim;
    return saida;
}

QByteArray juntar(const QList<QByteArray>& l)
{
    QByteArray b;
    for (const QByteArray& x : l)
        b += x;
    return b;
}
} // namespace

TEST(LinhasSse, EventoPartidoEmQualquerByte)
{
    const QStringList esperado{QStringLiteral("Ol"), QStringLiteral("á, "), QStringLiteral("mundo 🌎")};
    for (const QByteArray& corpo : {juntar(Resposta::eventosOpenAI(esperado)), juntar(Resposta::eventosOpenAI(esperado)).replace("\n", "\r\n")}) {
        for (qsizetype i = 0; i <= corpo.size(); ++i) {
            bool fim = false;
            EXPECT_EQ(interpretarTudo<InterpretadorOpenAI>({corpo.left(i), corpo.mid(i)}, &fim), esperado) << "corte em " << i;
            EXPECT_TRUE(fim);
        }
    }
    const QByteArray anthropic = juntar(Resposta::eventosAnthropic(esperado));
    for (qsizetype i = 0; i <= anthropic.size(); ++i)
        EXPECT_EQ(interpretarTudo<InterpretadorAnthropic>({anthropic.left(i), anthropic.mid(i)}), esperado) << "corte em " << i;
}

TEST(LinhasSse, LinhasQueNaoSaoTextoSaoIgnoradas)
{
    const QList<QByteArray> openai{
        "data: {\"choices\":[{\"delta\":{\"content\":\"Ol\"}}]}\n",
        ": comentário de keep-alive\n\n",
        "data: {\"choices\":[{\"delta\":{\"role\":\"assistant\"}}]}\n",
        "data: {\"choices\":[{\"delta\":{\"content\":null}}]}\n",
        "data: {quebrado\n",
        "data: \xff\xfe{\"choices\":[]}\n",
        "data: {\"choices\":[]}\n",
        "event: outra coisa\nid: 7\nretry: 100\n",
        "data:{\"choices\":[{\"delta\":{\"content\":\"sem espaço\"}}]}\n",
        "data: {\"choices\":[{\"delta\":{\"content\":\"á\"}}]}\n",
        "data: [DONE]\n",
        "data: {\"choices\":[{\"delta\":{\"content\":\"depois do fim\"}}]}\n",
    };
    bool fim = false;
    EXPECT_EQ(interpretarTudo<InterpretadorOpenAI>(openai, &fim), (QStringList{QStringLiteral("Ol"), QStringLiteral("á")}));
    EXPECT_TRUE(fim);

    const QList<QByteArray> anthropic{
        "data: {\"delta\":{\"type\":\"text_delta\",\"text\":\"antes de qualquer evento\"}}\n",
        "event: ping\ndata: {\"delta\":{\"type\":\"text_delta\",\"text\":\"no ping\"}}\n",
        "event: content_block_delta\ndata: {\"delta\":{\"type\":\"input_json_delta\",\"partial_json\":\"{}\"}}\n",
        "data: {\"delta\":{\"type\":\"text_delta\",\"text\":\"Oi\"}}\n",
        "event: message_stop\ndata: {}\n",
        "event: content_block_delta\ndata: {\"delta\":{\"type\":\"text_delta\",\"text\":\"tarde demais\"}}\n",
    };
    bool fimA = false;
    EXPECT_EQ(interpretarTudo<InterpretadorAnthropic>(anthropic, &fimA), QStringList{QStringLiteral("Oi")});
    EXPECT_TRUE(fimA);
}

TEST(LinhasSse, LinhaDeUmMegabyte)
{
    const QString grande(1024 * 1024, u'x');
    const QByteArray linha = "data: {\"choices\":[{\"delta\":{\"content\":\"" + grande.toUtf8() + "\"}}]}\n";
    QList<QByteArray> pedacos;
    for (qsizetype i = 0; i < linha.size(); i += 1400)
        pedacos << linha.mid(i, 1400);
    EXPECT_EQ(interpretarTudo<InterpretadorOpenAI>(pedacos), QStringList{grande});
}

namespace {
struct Fluxo : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    KeychainService chaves{amb.pastaDados()};

    void SetUp() override
    {
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::openai, QStringLiteral("sk-oa")).has_value());
        ASSERT_FALSE(chaves.salvarChave(AIProviderID::anthropic, QStringLiteral("sk-an")).has_value());
    }
    std::unique_ptr<AIProvider> provedor(AIProviderID id, std::chrono::milliseconds prazo = 60s)
    {
        ContextoIA ctx{rede, chaves, Endpoints::juntar(servidor.url(), Provedores::caminhoEndpoint(id)), 30s, prazo};
        if (id == AIProviderID::anthropic)
            return std::make_unique<AnthropicProvider>(std::move(ctx));
        return std::make_unique<OpenAIProvider>(std::move(ctx));
    }
    struct Resultado {
        QStringList fragmentos;
        std::optional<AIErro> erro;
    };
    Resultado consumir(FluxoIA& f)
    {
        Resultado r;
        QObject::connect(&f, &FluxoIA::fragmento, [&r](const QString& s) { r.fragmentos << s; });
        r.erro = aguardar(f.fim());
        return r;
    }
};
} // namespace

TEST_F(Fluxo, OpenAIEntregaOsFragmentosEmOrdem)
{
    const QStringList partes{QStringLiteral("Olá,"), QStringLiteral(" tudo"), QStringLiteral(" bem?")};
    QList<QByteArray> eventos = Resposta::eventosOpenAI(partes);
    eventos.insert(2, ": keep-alive\n\n");
    servidor.enfileirar(Resposta::sse(eventos, 5));
    auto p = provedor(AIProviderID::openai);
    auto f = p->transformarStream(QStringLiteral("ditado"), QuickAction::email, std::nullopt);
    const auto r = consumir(*f);
    EXPECT_FALSE(r.erro.has_value());
    EXPECT_EQ(r.fragmentos, partes);

    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.cabecalho("Authorization"), QByteArray("Bearer sk-oa"));
    EXPECT_FALSE(req.temCabecalho("Accept"));
    const QJsonObject corpo = QJsonDocument::fromJson(req.corpo).object();
    EXPECT_EQ(corpo[QStringLiteral("stream")], true);
    EXPECT_DOUBLE_EQ(corpo[QStringLiteral("temperature")].toDouble(), 0.4);
    EXPECT_EQ(violacoesJson(req.corpo, QStringLiteral("CreateChatCompletionRequest")), QStringList{});
}

TEST_F(Fluxo, AnthropicComPingEMessageStop)
{
    const QStringList partes{QStringLiteral("Oi"), QStringLiteral(", tudo certo")};
    QList<QByteArray> eventos = Resposta::eventosAnthropic(partes);
    for (QByteArray& e : eventos)
        e.replace("\n", "\r\n");
    servidor.enfileirar(Resposta::sse(eventos, 3));
    auto p = provedor(AIProviderID::anthropic);
    auto f = p->transformarStream(QStringLiteral("ditado"), QuickAction::resumir, QStringLiteral("alvo"));
    const auto r = consumir(*f);
    EXPECT_FALSE(r.erro.has_value());
    EXPECT_EQ(r.fragmentos, partes);
    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.cabecalho("Accept"), QByteArray("text/event-stream"));
    EXPECT_EQ(req.cabecalho("x-api-key"), QByteArray("sk-an"));
    const QJsonObject corpo = QJsonDocument::fromJson(req.corpo).object();
    EXPECT_EQ(corpo[QStringLiteral("stream")], true);
    EXPECT_EQ(corpo[QStringLiteral("max_tokens")].toInt(), 1024);
}

TEST_F(Fluxo, EventosPartidosEntreEscritasDaRede)
{
    const QStringList partes{QStringLiteral("primeiro"), QStringLiteral(" segundo")};
    const QByteArray corpo = juntar(Resposta::eventosOpenAI(partes));
    auto p = provedor(AIProviderID::openai);
    for (qsizetype corte : {qsizetype(1), qsizetype(7), corpo.size() / 2, corpo.size() - 3}) {
        servidor.enfileirar(Resposta::sse({corpo.left(corte), corpo.mid(corte)}, 15));
        auto f = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
        const auto r = consumir(*f);
        EXPECT_FALSE(r.erro.has_value()) << corte;
        EXPECT_EQ(r.fragmentos, partes) << corte;
    }
}

TEST_F(Fluxo, StatusDeErroTerminaSemMensagem)
{
    servidor.enfileirar(Resposta::json(429, R"({"error":{"message":"Rate limit"}})"));
    auto p = provedor(AIProviderID::openai);
    auto f = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    const auto r = consumir(*f);
    ASSERT_TRUE(r.erro.has_value());
    EXPECT_EQ(r.erro->errorDescription(), QStringLiteral("Erro 429"));
    EXPECT_TRUE(r.fragmentos.isEmpty());
}

TEST_F(Fluxo, CorteNoMeioNuncaEhSucesso)
{
    Resposta cortada = Resposta::sse(Resposta::eventosOpenAI({QStringLiteral("antes"), QStringLiteral(" do corte")}, false), 5);
    cortada.resetNoFim = true;
    servidor.enfileirar(cortada);
    auto p = provedor(AIProviderID::openai);
    auto f = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    const auto r = consumir(*f);
    EXPECT_EQ(r.fragmentos, (QStringList{QStringLiteral("antes"), QStringLiteral(" do corte")}));
    ASSERT_TRUE(r.erro.has_value());
    EXPECT_EQ(r.erro->caso, AIErro::Caso::rede);
}

TEST_F(Fluxo, FimSemMarcadorTerminaNormalmenteEHtmlNaoTemTexto)
{
    servidor.enfileirar(Resposta::sse(Resposta::eventosOpenAI({QStringLiteral("só isso")}, false)));
    auto p = provedor(AIProviderID::openai);
    auto f = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    auto r = consumir(*f);
    EXPECT_FALSE(r.erro.has_value());
    EXPECT_EQ(r.fragmentos, QStringList{QStringLiteral("só isso")});

    servidor.enfileirar(Resposta::texto(200, "<html><body>portal cativo</body></html>", "text/html"));
    auto f2 = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    r = consumir(*f2);
    EXPECT_FALSE(r.erro.has_value());
    EXPECT_TRUE(r.fragmentos.isEmpty());
}

TEST_F(Fluxo, ServidorMudoEsgotaOPrazo)
{
    servidor.enfileirar(Resposta::comModo(Resposta::Modo::semResposta));
    auto p = provedor(AIProviderID::anthropic, 300ms);
    auto f = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    const auto r = consumir(*f);
    ASSERT_TRUE(r.erro.has_value());
    EXPECT_EQ(r.erro->errorDescription(), QStringLiteral("Erro de rede: tempo esgotado"));
}

TEST_F(Fluxo, PararFechaAConexaoENadaMaisChega)
{
    QList<QByteArray> eventos = Resposta::eventosOpenAI({QStringLiteral("um"), QStringLiteral("dois"), QStringLiteral("três")});
    servidor.enfileirar(Resposta::sse(eventos, 150));
    auto p = provedor(AIProviderID::openai);
    auto f = p->transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
    QStringList recebidos;
    bool terminou = false;
    QObject::connect(f.get(), &FluxoIA::fragmento, [&](const QString& s) {
        recebidos << s;
        f->parar(); // the consumer stops from inside its own slot
    });
    QObject::connect(f.get(), &FluxoIA::terminou, [&] { terminou = true; });
    for (int i = 0; i < 100 && recebidos.isEmpty(); ++i) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
    ASSERT_EQ(recebidos, QStringList{QStringLiteral("um")});
    for (int i = 0; i < 60; ++i) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
    EXPECT_EQ(recebidos, QStringList{QStringLiteral("um")});
    EXPECT_FALSE(terminou);
    EXPECT_EQ(servidor.conexoesAbertas(), 0);
}
