#include "ai/AIProvider.h"
#include "core/Arquivos.h"
#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "core/Log.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <gtest/gtest.h>

#include <unistd.h>

using namespace sonvo;
using namespace sonvo::teste;

TEST(Arquivos, LinhasDoLogGravacaoAtomicaEArquivoCorrompidoPreservado)
{
    EXPECT_EQ(Log::formatar(QStringLiteral("a=%@ b=%d c=%.2f d=%@ 100%% %d"), {QStringLiteral("só"), -42, 0.125, std::nullopt}),
              QStringLiteral("a=só b=-42 c=0.13 d=nil 100% nil")); // never past the list
    AmbienteTemporario amb;
    ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
    Log::tag("Speech", QStringLiteral("vocab bruto.count=%d app=%@"), {3, std::nullopt});
    Log::simples(QStringLiteral("ativando fallback (%@)"), {QStringLiteral("motivo")});
    EXPECT_EQ(amb.lerLog(), QByteArray("Vozel [Speech] vocab bruto.count=3 app=nil\nVozel: ativando fallback (motivo)\n"));
    EXPECT_EQ(modoDe(amb.arquivoLog()), 0600);
    Log::enviarParaArquivo(QStringLiteral("/dev/null"));
    // A log path that is a symbolic link is refused: the target is never written.
    const QString alvo = amb.raiz() + QStringLiteral("/alvo"), link = amb.raiz() + QStringLiteral("/vozel.log");
    ASSERT_TRUE(gravarArquivo(alvo, "segredo\n"));
    ASSERT_EQ(::symlink(QFile::encodeName(alvo).constData(), QFile::encodeName(link).constData()), 0);
    EXPECT_EQ(Log::abrirArquivo(link), -1);
    EXPECT_EQ(lerArquivo(alvo), QByteArray("segredo\n"));

    const QString pasta = Caminhos::pastaDados();
    EXPECT_EQ(modoDe(pasta), 0700);
    const QString f = pasta + QStringLiteral("/transcription-history.json");
    ASSERT_TRUE(gravarArquivo(f, "antigo"));
    ::chmod(QFile::encodeName(f).constData(), 0644);
    EXPECT_FALSE(Arquivos::gravarAtomico(f, "[{ quebrado").has_value());
    EXPECT_EQ(lerArquivo(f), QByteArray("[{ quebrado"));
    EXPECT_EQ(modoDe(f), 0600);
    EXPECT_EQ(QDir(pasta).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("transcription-history.json")}); // no temporary left
    const auto copia = Arquivos::preservarCorrompido(f, QDateTime(QDate(2026, 11, 22), QTime(10, 15, 0), Qt::UTC));
    EXPECT_EQ(copia, f + QStringLiteral(".corrupt-20261122T101500Z"));
    EXPECT_EQ(lerArquivo(f + QStringLiteral(".corrupt-20261122T101500Z")), QByteArray("[{ quebrado"));
    EXPECT_FALSE(QFileInfo::exists(f));
}

TEST(Provedores, EscolhaEnderecosEChavesSoDoDonoECorrompidasNuncaPerdidas)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    for (const char* v : {"", "OPENAI", "claude", "Anthropic", " anthropic", "anthropic"}) {
        c.definir(QStringLiteral("aiProvider"), QString::fromLatin1(v));
        EXPECT_EQ(AIService::currentProviderID(c), v == std::string("anthropic") ? AIProviderID::anthropic : AIProviderID::openai) << v;
    }
    EXPECT_EQ(Provedores::endpoint(AIProviderID::openai, c).toString(), QStringLiteral("https://api.openai.com/v1/chat/completions"));
    EXPECT_EQ(Provedores::endpoint(AIProviderID::anthropic, c).toString(), QStringLiteral("https://api.anthropic.com/v1/messages"));
    c.definir(QStringLiteral("openaiBaseURL"), QStringLiteral("http://gateway.local:8080/proxy/"));
    EXPECT_EQ(Provedores::endpoint(AIProviderID::openai, c).toString(), QStringLiteral("http://gateway.local:8080/proxy/v1/chat/completions"));

    KeychainService ks(amb.pastaDados());
    EXPECT_TRUE(ks.carregar().valor().isEmpty() && !QFileInfo::exists(amb.pastaDados())); // no file: no keys, none created
    ASSERT_FALSE(ks.salvarChave(QStringLiteral("openai_api_key"), QStringLiteral("  sk-ü/1 ")));
    ASSERT_FALSE(ks.salvarChave(QStringLiteral("anthropic_api_key"), QStringLiteral("sk-ant")));
    EXPECT_EQ(lerArquivo(ks.arquivo()), QByteArray(R"({"anthropic_api_key":"sk-ant","openai_api_key":"  sk-ü/1 "})"));
    EXPECT_EQ(modoDe(ks.arquivo()), 0600);
    // Empty text removes only that account.
    ASSERT_FALSE(ks.salvarChave(QStringLiteral("openai_api_key"), QString()));
    EXPECT_EQ(lerArquivo(ks.arquivo()), QByteArray(R"({"anthropic_api_key":"sk-ant"})"));
    EXPECT_EQ(Provedores::mensagemErroSalvar(AIProviderID::openai), QStringLiteral("Erro ao salvar chave OpenAI"));

    // Corrupt credentials: no usable key at all, never half a map; what is not JSON is a read failure.
    for (const auto& [conteudo, falhaAoLer] : QList<std::pair<QByteArray, bool>>{
             {R"(["sk-1"])", false}, {R"({"openai_api_key":5,"anthropic_api_key":"sk-ant"})", false},
             {R"({"openai_api_key":""})", false}, {"42", true}, {"{\"openai_api_key\": \"sk-", true}}) {
        ASSERT_TRUE(gravarArquivo(ks.arquivo(), conteudo));
        const auto r = ks.carregar();
        EXPECT_EQ(!r && r.erro().descricao().startsWith(QStringLiteral("Falha de E/S: ler: ")), falhaAoLer) << conteudo.constData();
        EXPECT_FALSE(ks.chave(QStringLiteral("anthropic_api_key")) || ks.chave(QStringLiteral("openai_api_key"))) << conteudo.constData();
    }
    // Saving over a file that cannot be read would lose the other keys: it fails and keeps the file.
    EXPECT_TRUE(ks.salvarChave(QStringLiteral("openai_api_key"), QStringLiteral("sk")).has_value());
    EXPECT_EQ(lerArquivo(ks.arquivo()), QByteArray("{\"openai_api_key\": \"sk-"));
    // A folder where the file should be: reading and writing fail, the folder stays.
    QFile::remove(ks.arquivo());
    QDir().mkpath(ks.arquivo());
    EXPECT_EQ(ks.carregar().erro().descricao(), QStringLiteral("Falha de E/S: ler: é uma pasta"));
    EXPECT_TRUE(ks.gravar({{QStringLiteral("openai_api_key"), QStringLiteral("sk")}})->texto.startsWith(QStringLiteral("gravar: ")));
    EXPECT_TRUE(QFileInfo(ks.arquivo()).isDir());
}
