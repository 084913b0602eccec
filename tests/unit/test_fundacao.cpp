#include "ai/AIProvider.h"
#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/Endpoints.h"
#include "app/Log.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <gtest/gtest.h>

#include <unistd.h>

using namespace sonvo;
using namespace sonvo::teste;

TEST(Log, PlaceholdersEAusentes)
{
    EXPECT_EQ(Log::formatar(QStringLiteral("a=%@ b=%d c=%.2f d=%@ 100%%"),
                            {QStringLiteral("x"), 42, 0.125, std::optional<QString>{}}),
              QStringLiteral("a=x b=42 c=0.13 d=nil 100%"));
    // A missing argument prints "nil" rather than reading past the list.
    EXPECT_EQ(Log::formatar(QStringLiteral("%@ e %d"), {QStringLiteral("só")}), QStringLiteral("só e nil"));
    EXPECT_EQ(Log::formatar(QStringLiteral("count=%d"), {-1}), QStringLiteral("count=-1"));
}

TEST(Log, LinhasComPrefixoNoArquivo)
{
    AmbienteTemporario amb;
    ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
    Log::tag("Speech", QStringLiteral("vocab bruto.count=%d app=%@"), {3, std::nullopt});
    Log::simples(QStringLiteral("ativando fallback (%@)"), {QStringLiteral("motivo")});
    EXPECT_EQ(amb.lerLog(), QByteArray("Vozel [Speech] vocab bruto.count=3 app=nil\nVozel: ativando fallback (motivo)\n"));
    EXPECT_EQ(modoDe(amb.arquivoLog()), 0600);
    Log::enviarParaArquivo(QStringLiteral("/dev/null"));
}

TEST(Log, ArquivoRecusaLinkSimbolicoEPasta)
{
    AmbienteTemporario amb;
    const QString alvo = amb.raiz() + QStringLiteral("/alvo");
    ASSERT_TRUE(gravarArquivo(alvo, "segredo\n"));
    const QString link = amb.raiz() + QStringLiteral("/vozel.log");
    ASSERT_EQ(::symlink(QFile::encodeName(alvo).constData(), QFile::encodeName(link).constData()), 0);
    EXPECT_EQ(Log::abrirArquivo(link), -1);
    EXPECT_EQ(lerArquivo(alvo), QByteArray("segredo\n"));
    EXPECT_EQ(Log::abrirArquivo(amb.raiz()), -1);
}

TEST(Arquivos, GravacaoAtomicaComModo0600)
{
    AmbienteTemporario amb;
    const QString pasta = amb.raiz() + QStringLiteral("/p");
    QDir().mkpath(pasta);
    const QString f = pasta + QStringLiteral("/x.json");
    ASSERT_TRUE(gravarArquivo(f, "antigo"));
    ::chmod(QFile::encodeName(f).constData(), 0644);
    EXPECT_FALSE(Arquivos::gravarAtomico(f, "novo").has_value());
    EXPECT_EQ(lerArquivo(f), QByteArray("novo"));
    EXPECT_EQ(modoDe(f), 0600);
    // No temporary file is left behind.
    EXPECT_EQ(QDir(pasta).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("x.json")});
}

TEST(Arquivos, FalhasDeLeituraEGravacaoDescritasEmPortugues)
{
    AmbienteTemporario amb;
    const auto ausente = Arquivos::ler(amb.raiz() + QStringLiteral("/nada"));
    ASSERT_FALSE(ausente.ok());
    EXPECT_TRUE(ausente.erro().naoExiste());
    EXPECT_EQ(ausente.erro().descricao, QStringLiteral("arquivo ou pasta inexistente"));

    const auto pasta = Arquivos::ler(amb.raiz());
    ASSERT_FALSE(pasta.ok());
    EXPECT_EQ(pasta.erro().descricao, QStringLiteral("é uma pasta"));

    // A folder where the file should be: the write fails and the folder stays.
    const QString alvo = amb.raiz() + QStringLiteral("/alvo");
    QDir().mkpath(alvo + QStringLiteral("/dentro"));
    const auto erro = Arquivos::gravarAtomico(alvo, "x");
    ASSERT_TRUE(erro.has_value());
    EXPECT_TRUE(QFileInfo(alvo + QStringLiteral("/dentro")).isDir());
    EXPECT_EQ(QDir(amb.raiz()).entryList(QDir::Files | QDir::Hidden).filter(QStringLiteral("alvo")).size(), 0);
}

TEST(Arquivos, PastaDeDadosCriadaComModo0700)
{
    AmbienteTemporario amb;
    const QString pasta = Caminhos::pastaDados();
    EXPECT_EQ(pasta, amb.pastaDados());
    EXPECT_EQ(modoDe(pasta), 0700);
    EXPECT_EQ(Caminhos::pastaAntiga(), amb.raiz() + QStringLiteral("/data/Vozel"));
    EXPECT_FALSE(QFileInfo::exists(Caminhos::pastaAntiga()));
}

TEST(Arquivos, CopiaDoArquivoCorrompidoFicaAoLado)
{
    AmbienteTemporario amb;
    const QString f = amb.raiz() + QStringLiteral("/transcription-history.json");
    ASSERT_TRUE(gravarArquivo(f, "[{ quebrado"));
    const auto novo = Arquivos::preservarCorrompido(f, QDateTime(QDate(2026, 11, 22), QTime(10, 15, 0), Qt::UTC));
    ASSERT_TRUE(novo.has_value());
    EXPECT_EQ(*novo, f + QStringLiteral(".corrupt-20261122T101500Z"));
    EXPECT_EQ(lerArquivo(*novo), QByteArray("[{ quebrado"));
    EXPECT_FALSE(QFileInfo::exists(f));
}

TEST(Json, DatasIso8601EmUtc)
{
    const QDateTime d(QDate(2025, 3, 1), QTime(11, 5, 9), Qt::OffsetFromUTC, -3 * 3600);
    EXPECT_EQ(Json::dataIso(d), QStringLiteral("2025-03-01T14:05:09Z"));
    EXPECT_EQ(Json::lerDataIso(QStringLiteral("2025-03-01T14:05:09Z"))->toSecsSinceEpoch(), d.toSecsSinceEpoch());
    EXPECT_TRUE(Json::lerDataIso(QStringLiteral("2025-03-01T14:05:09.250Z")).has_value());
    EXPECT_FALSE(Json::lerDataIso(QStringLiteral("ontem")).has_value());
}

TEST(Configuracoes, PadroesRegistradosNaoContamComoDefinidos)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    EXPECT_FALSE(c.texto(QStringLiteral("operationMode")).has_value());
    c.registrarPadroes(Configuracoes::padroesDoApp());
    EXPECT_EQ(c.texto(QStringLiteral("operationMode")), QStringLiteral("full"));
    EXPECT_EQ(c.texto(QStringLiteral("iconVariant")), QStringLiteral("dark"));
    for (const char* k : {"toggleShowActionMenu", "toggleShowIntentModal", "toggleStreamingInline", "toggleSelectionContext"})
        EXPECT_TRUE(c.booleano(QString::fromLatin1(k))) << k;
    EXPECT_FALSE(c.contem(QStringLiteral("operationMode")));
    EXPECT_FALSE(c.booleano(QStringLiteral("hasOnboarded")));
    EXPECT_TRUE(c.booleano(QStringLiteral("intentDetectionEnabled"), true));
    EXPECT_FALSE(QFileInfo::exists(amb.arquivoConfig())); // registering writes nothing
}

TEST(Configuracoes, ValoresLidosDoDiscoComoOUsuarioGravou)
{
    AmbienteTemporario amb;
    {
        Configuracoes c(amb.arquivoConfig());
        c.definir(QStringLiteral("toggleShowActionMenu"), false);
        c.definir(QStringLiteral("vozelQuickActions"), QStringList{QStringLiteral("email")});
        c.definir(QStringLiteral("vazia"), QStringList{});
        c.definir(QStringLiteral("vocabularyAuditLastRun"), 1732270500.5);
        c.definir(QStringLiteral("vocabPendingCorrections"), QByteArray(R"({"cloud|Claude":2})"));
    }
    Configuracoes c(amb.arquivoConfig());
    c.registrarPadroes(Configuracoes::padroesDoApp());
    EXPECT_FALSE(c.booleano(QStringLiteral("toggleShowActionMenu")));
    EXPECT_EQ(c.lista(QStringLiteral("vozelQuickActions")), QStringList{QStringLiteral("email")});
    EXPECT_EQ(c.lista(QStringLiteral("vazia")), QStringList{});
    EXPECT_FALSE(c.lista(QStringLiteral("ausente")).has_value());
    EXPECT_DOUBLE_EQ(*c.real(QStringLiteral("vocabularyAuditLastRun")), 1732270500.5);
    EXPECT_EQ(c.dados(QStringLiteral("vocabPendingCorrections")), QByteArray(R"({"cloud|Claude":2})"));
}

TEST(Configuracoes, MudancaFeitaPorOutroProcessoEVista)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    c.registrarPadroes(Configuracoes::padroesDoApp());
    EXPECT_EQ(c.texto(QStringLiteral("operationMode")), QStringLiteral("full"));
    QSettings outro(amb.arquivoConfig(), QSettings::IniFormat);
    outro.setValue(QStringLiteral("operationMode"), QStringLiteral("stealth"));
    outro.sync();
    EXPECT_EQ(c.texto(QStringLiteral("operationMode")), QStringLiteral("stealth"));
}

TEST(Provedores, IdentidadeEEscolha)
{
    EXPECT_EQ(Provedores::displayName(AIProviderID::openai), QStringLiteral("OpenAI (gpt-4o-mini)"));
    EXPECT_EQ(Provedores::displayName(AIProviderID::anthropic), QStringLiteral("Anthropic (claude-haiku-4-5)"));
    EXPECT_EQ(Provedores::model(AIProviderID::anthropic), QStringLiteral("claude-haiku-4-5"));
    EXPECT_EQ(Provedores::rawValue(AIProviderID::openai), QStringLiteral("openai"));

    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    EXPECT_EQ(AIService::currentProviderID(c), AIProviderID::openai);
    for (const char* v : {"OPENAI", "claude", "Anthropic", " anthropic", "openai"}) {
        c.definir(QStringLiteral("aiProvider"), QString::fromLatin1(v));
        EXPECT_EQ(AIService::currentProviderID(c), AIProviderID::openai) << v;
    }
    c.definir(QStringLiteral("aiProvider"), QStringLiteral("anthropic"));
    EXPECT_EQ(AIService::currentProviderID(c), AIProviderID::anthropic);
}

TEST(Provedores, TextosDosErros)
{
    using C = AIErro::Caso;
    EXPECT_EQ(AIErro::semChave(AIProviderID::openai).errorDescription(),
              QStringLiteral("Configure a chave OpenAI (gpt-4o-mini) em Preferências (⌘,)"));
    EXPECT_EQ(AIErro::semChave(AIProviderID::anthropic).errorDescription(),
              QStringLiteral("Configure a chave Anthropic (claude-haiku-4-5) em Preferências (⌘,)"));
    EXPECT_EQ(AIErro::resposta(AIProviderID::openai, 401, QStringLiteral("Incorrect API key")).errorDescription(),
              QStringLiteral("Erro 401: Incorrect API key"));
    EXPECT_EQ(AIErro::resposta(AIProviderID::openai, -1, std::nullopt).errorDescription(), QStringLiteral("Erro -1"));
    EXPECT_EQ(AIErro::resposta(AIProviderID::openai, 500, QString()).errorDescription(), QStringLiteral("Erro 500"));
    EXPECT_EQ(AIErro::decode(AIProviderID::anthropic).errorDescription(), QStringLiteral("Resposta inválida da API"));
    const AIErro rede = AIErro::deRede(AIProviderID::openai, QStringLiteral("Connection refused"));
    EXPECT_EQ(rede.caso, C::rede);
    EXPECT_EQ(rede.errorDescription(), QStringLiteral("Erro de rede: Connection refused"));
}

TEST(Endpoints, AmbienteVenceConfiguracaoEPrefixoEMantido)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    EXPECT_EQ(Provedores::endpoint(AIProviderID::openai, c).toString(), QStringLiteral("https://api.openai.com/v1/chat/completions"));
    EXPECT_EQ(Provedores::endpoint(AIProviderID::anthropic, c).toString(), QStringLiteral("https://api.anthropic.com/v1/messages"));
    c.definir(QStringLiteral("openaiBaseURL"), QStringLiteral("http://gateway.local:8080/proxy/"));
    EXPECT_EQ(Provedores::endpoint(AIProviderID::openai, c).toString(), QStringLiteral("http://gateway.local:8080/proxy/v1/chat/completions"));
    amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), QStringLiteral("http://127.0.0.1:9/p"));
    EXPECT_EQ(Provedores::endpoint(AIProviderID::openai, c).toString(), QStringLiteral("http://127.0.0.1:9/p/v1/chat/completions"));
    amb.definir(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"), QStringLiteral("http://127.0.0.1:7"));
    EXPECT_EQ(Provedores::endpoint(AIProviderID::anthropic, c).toString(), QStringLiteral("http://127.0.0.1:7/v1/messages"));
}

TEST(Arquivos, LeituraAnexadaPreservaODestinoQuandoFalha)
{
    AmbienteTemporario amb;
    const QString f = amb.raiz() + QStringLiteral("/a.bin");
    QByteArray conteudo(200000, '\0');
    for (int i = 0; i < conteudo.size(); ++i)
        conteudo[i] = static_cast<char>(i * 7);
    ASSERT_TRUE(gravarArquivo(f, conteudo));
    QByteArray destino("cabeça:");
    ASSERT_FALSE(Arquivos::lerAnexando(f, destino).has_value());
    EXPECT_EQ(destino, QByteArray("cabeça:") + conteudo);

    QByteArray intacto("x");
    EXPECT_TRUE(Arquivos::lerAnexando(amb.raiz() + QStringLiteral("/ausente"), intacto).has_value());
    EXPECT_TRUE(Arquivos::lerAnexando(amb.raiz(), intacto).has_value());
    EXPECT_EQ(intacto, QByteArray("x"));
    // Files of the kernel report size 0 and are read in blocks all the same.
    const auto status = Arquivos::ler(QStringLiteral("/proc/self/status"));
    ASSERT_TRUE(status.ok());
    EXPECT_TRUE(status.valor().contains("VmRSS"));
}
