#include "ai/KeychainService.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace sonvo;
using namespace sonvo::teste;
using Caso = KeychainService::KeychainErro::Caso;

namespace {
struct Chaves : ::testing::Test {
    AmbienteTemporario amb;
    QString pasta = amb.pastaDados();
    KeychainService ks{pasta};
    void escrever(const QByteArray& conteudo)
    {
        QDir().mkpath(pasta);
        ASSERT_TRUE(gravarArquivo(ks.arquivo(), conteudo));
    }
};
} // namespace

TEST_F(Chaves, ArquivoAusenteEMapaVazioSemCriarNada)
{
    const auto r = ks.carregar();
    ASSERT_TRUE(r.ok());
    EXPECT_TRUE(r.valor().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(ks.arquivo()));
    EXPECT_FALSE(ks.chave(QStringLiteral("openai_api_key")).has_value());
}

TEST_F(Chaves, ConteudoQueNaoEObjetoDeTextosLeComoVazio)
{
    for (const QByteArray& c : {QByteArray("[\"sk-1\"]"), QByteArray("[]"),
                                QByteArray(R"({"openai_api_key":5,"anthropic_api_key":"sk-ant"})")}) {
        escrever(c);
        const auto r = ks.carregar();
        ASSERT_TRUE(r.ok()) << c.constData();
        EXPECT_TRUE(r.valor().isEmpty()) << c.constData();
    }
    // So the provider reports the missing key, never half a map.
    EXPECT_FALSE(ks.chave(QStringLiteral("anthropic_api_key")).has_value());
}

TEST_F(Chaves, JsonInvalidoOuPastaNoLugarFalhamAoLer)
{
    // A bare value is not a JSON document here: a read failure, like broken text.
    escrever("42");
    ASSERT_FALSE(ks.carregar().ok());

    escrever("{\"openai_api_key\": \"sk-");
    auto r = ks.carregar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().caso, Caso::ioFalhou);
    EXPECT_TRUE(r.erro().texto.startsWith(QStringLiteral("ler: ")));
    EXPECT_FALSE(ks.chave(QStringLiteral("openai_api_key")).has_value());

    QFile::remove(ks.arquivo());
    QDir().mkpath(ks.arquivo());
    r = ks.carregar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro(), (KeychainService::KeychainErro{Caso::ioFalhou, QStringLiteral("ler: é uma pasta")}));
    // Saving fails too, and says so with the writing prefix; the folder is left alone.
    const auto g = ks.gravar({{QStringLiteral("openai_api_key"), QStringLiteral("sk")}});
    ASSERT_TRUE(g.has_value());
    EXPECT_TRUE(g->texto.startsWith(QStringLiteral("gravar: ")));
    EXPECT_TRUE(QFileInfo(ks.arquivo()).isDir());
    EXPECT_EQ(KeychainService::mensagemErroSalvar(AIProviderID::openai), QStringLiteral("Erro ao salvar chave OpenAI"));
    EXPECT_EQ(KeychainService::mensagemErroSalvar(AIProviderID::anthropic), QStringLiteral("Erro ao salvar chave Anthropic"));
}

TEST_F(Chaves, ArquivoSemPermissaoDeLeitura)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root lê qualquer arquivo";
    escrever(R"({"openai_api_key":"sk"})");
    ::chmod(QFile::encodeName(ks.arquivo()).constData(), 0);
    const auto r = ks.carregar();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().texto, QStringLiteral("ler: permissão negada"));
}

TEST_F(Chaves, GravacaoCompactaOrdenadaComPermissoesDoDono)
{
    QDir(amb.raiz() + QStringLiteral("/data")).removeRecursively();
    ASSERT_FALSE(ks.gravar({{QStringLiteral("openai_api_key"), QStringLiteral("sk-ü/1")},
                            {QStringLiteral("anthropic_api_key"), QStringLiteral("sk-ant")}})
                     .has_value());
    EXPECT_EQ(lerArquivo(ks.arquivo()), QByteArray(R"({"anthropic_api_key":"sk-ant","openai_api_key":"sk-ü/1"})"));
    EXPECT_EQ(modoDe(ks.arquivo()), 0600);
    EXPECT_EQ(modoDe(pasta), 0700);
}

TEST_F(Chaves, SalvarComoOPainelFaz)
{
    ASSERT_FALSE(ks.salvarChave(AIProviderID::openai, QStringLiteral("  sk-com-espacos ")).has_value());
    ASSERT_FALSE(ks.salvarChave(AIProviderID::anthropic, QStringLiteral("sk-ant")).has_value());
    EXPECT_EQ(ks.chave(QStringLiteral("openai_api_key")), QStringLiteral("  sk-com-espacos "));
    // Empty text removes only that account.
    ASSERT_FALSE(ks.salvarChave(AIProviderID::openai, QString()).has_value());
    const auto r = ks.carregar();
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.valor(), (KeychainService::Mapa{{QStringLiteral("anthropic_api_key"), QStringLiteral("sk-ant")}}));
}

TEST_F(Chaves, ValorVazioContaComoSemChave)
{
    escrever(R"({"openai_api_key":""})");
    EXPECT_FALSE(ks.chave(QStringLiteral("openai_api_key")).has_value());
}

TEST_F(Chaves, SalvarSobreArquivoIlegivelNaoApagaAsChaves)
{
    escrever("{ quebrado");
    EXPECT_TRUE(ks.salvarChave(AIProviderID::openai, QStringLiteral("sk")).has_value());
    EXPECT_EQ(lerArquivo(ks.arquivo()), QByteArray("{ quebrado"));
}
