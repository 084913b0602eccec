#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QProcess>
#include <gtest/gtest.h>

using namespace sonvo::teste;

namespace {
struct Transformar : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    void SetUp() override
    {
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        amb.definir(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"), servidor.url().toString() + QStringLiteral("/anthropic"));
        ASSERT_EQ(rodarSonvo(amb, {QStringLiteral("chave"), QStringLiteral("openai")}, "sk-oa\n").codigo, 0);
        ASSERT_EQ(rodarSonvo(amb, {QStringLiteral("chave"), QStringLiteral("anthropic")}, "sk-an\n").codigo, 0);
    }
};
QString utf8(const QByteArray& b) { return QString::fromUtf8(b); }
} // namespace

TEST_F(Transformar, FragmentosSaemAMedidaQueChegam)
{
    servidor.enfileirar(Resposta::sse(Resposta::eventosOpenAI({QStringLiteral("Olá,"), QStringLiteral(" equipe")}), 400));
    QProcess p;
    p.setProcessEnvironment(amb.ambiente());
    p.start(QStringLiteral(SONVO_BIN), {QStringLiteral("transformar"), QStringLiteral("email"), QStringLiteral("manda um oi pra equipe")});
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForReadyRead(10000));
    // The first fragment is on the terminal while the model is still writing.
    EXPECT_EQ(p.state(), QProcess::Running);
    EXPECT_TRUE(utf8(p.readAllStandardOutput()).startsWith(QStringLiteral("Olá,")));
    ASSERT_TRUE(p.waitForFinished(10000));
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_EQ(utf8(p.readAllStandardOutput()), QStringLiteral(" equipe\n"));
    EXPECT_TRUE(p.readAllStandardError().isEmpty());
    EXPECT_EQ(servidor.requisicoes().value(0).caminho, QByteArray("/v1/chat/completions"));
}

TEST_F(Transformar, AnthropicPelaConfiguracaoESemStreaming)
{
    ASSERT_EQ(rodarSonvo(amb, {QStringLiteral("config"), QStringLiteral("aiProvider"), QStringLiteral("anthropic")}).codigo, 0);
    servidor.enfileirar(Resposta::sse(Resposta::eventosAnthropic({QStringLiteral("- um"), QStringLiteral("\n- dois")})));
    auto r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("bulletPoints"), QStringLiteral("um e dois")});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("- um\n- dois\n"));
    EXPECT_EQ(servidor.requisicoes().value(0).caminho, QByteArray("/anthropic/v1/messages"));

    servidor.enfileirar(Resposta::json(200, R"({"content":[{"type":"text","text":"  Resumo curto.  "}]})"));
    r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("resumir"), QStringLiteral("--sem-streaming"),
                         QStringLiteral("--contexto"), QStringLiteral("texto selecionado")},
                   "um texto longo\n");
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Resumo curto.\n"));
    EXPECT_TRUE(servidor.requisicoes().value(1).corpo.contains("TEXTO ALVO (reescreva usando como base a transcricao acima):\\ntexto selecionado"));
    EXPECT_TRUE(utf8(amb.lerLog()).contains(QStringLiteral("Vozel [AI] provider=anthropic action=resumir texto.count=14 ctx=17\n")));
}

TEST_F(Transformar, FalhasEUso)
{
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key provided"}})"));
    auto r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("post"), QStringLiteral("--sem-streaming"), QStringLiteral("x")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Erro 401: Incorrect API key provided\n"));

    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key provided"}})"));
    r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("post"), QStringLiteral("x")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Erro 401\n"));
    EXPECT_TRUE(r.saida.isEmpty());

    ASSERT_EQ(rodarSonvo(amb, {QStringLiteral("chave"), QStringLiteral("openai")}, "").codigo, 0);
    r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("email"), QStringLiteral("x")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Configure a chave OpenAI (gpt-4o-mini) em Preferências (⌘,)\n"));

    r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("Email"), QStringLiteral("x")});
    EXPECT_EQ(r.codigo, 2);
    EXPECT_TRUE(utf8(r.erro).startsWith(QStringLiteral("Ação desconhecida: Email (use resumir, bulletPoints, email, legenda, post)")));

    // Blank text: back as it is, nothing sent.
    const int antes = static_cast<int>(servidor.requisicoes().size());
    r = rodarSonvo(amb, {QStringLiteral("transformar"), QStringLiteral("email")}, "  \n");
    EXPECT_EQ(r.codigo, 0);
    EXPECT_EQ(r.saida, QByteArray("  \n\n"));
    EXPECT_EQ(servidor.requisicoes().size(), antes);
}
