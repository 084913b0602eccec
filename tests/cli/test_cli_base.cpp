#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <QSettings>
#include <gtest/gtest.h>

using namespace sonvo::teste;

namespace {
struct LinhaDeComando : ::testing::Test {
    AmbienteTemporario amb;
    ResultadoProcesso rodar(const QStringList& args, const QByteArray& entrada = {}) { return rodarSonvo(amb, args, entrada); }
    void salvarChaveOpenAI(const QByteArray& chave)
    {
        const auto r = rodar({QStringLiteral("chave"), QStringLiteral("openai")}, chave + "\n");
        ASSERT_EQ(r.codigo, 0) << r.erro.constData();
    }
};

QString utf8(const QByteArray& b) { return QString::fromUtf8(b); }
} // namespace

TEST_F(LinhaDeComando, AjudaEmPortuguesEErrosDeUso)
{
    const auto ajuda = rodar({QStringLiteral("--help")});
    EXPECT_EQ(ajuda.codigo, 0);
    EXPECT_TRUE(utf8(ajuda.saida).contains(QStringLiteral("sonvo transcrever ARQUIVO")));
    EXPECT_TRUE(ajuda.erro.isEmpty());

    const auto desconhecido = rodar({QStringLiteral("voar")});
    EXPECT_EQ(desconhecido.codigo, 2);
    EXPECT_EQ(utf8(desconhecido.erro), QStringLiteral("Comando desconhecido: voar (veja: sonvo --help)\n"));

    EXPECT_EQ(rodar({QStringLiteral("chave"), QStringLiteral("google")}, "x\n").codigo, 2);
    EXPECT_EQ(rodar({QStringLiteral("transcrever")}).codigo, 2);
    EXPECT_EQ(rodar({QStringLiteral("transcrever"), QStringLiteral("a.wav"), QStringLiteral("--app")}).codigo, 2);
}

TEST_F(LinhaDeComando, SemSessaoGraficaExplicaEApontaALinhaDeComando)
{
    const auto r = rodar({});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_TRUE(utf8(r.erro).contains(QStringLiteral("sessão gráfica"))) << r.erro.constData();
    EXPECT_TRUE(utf8(r.erro).contains(QStringLiteral("sonvo --help")));
}

TEST_F(LinhaDeComando, ChaveLidaDaEntradaSemAparadoEApagadaComEntradaVazia)
{
    salvarChaveOpenAI(" sk-abc ");
    auto r = rodar({QStringLiteral("chave"), QStringLiteral("anthropic")}, "sk-ant\r\n");
    ASSERT_EQ(r.codigo, 0);
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Chave Anthropic salva.\n"));
    const QString arquivo = amb.pastaDados() + QStringLiteral("/credentials.json");
    EXPECT_EQ(lerArquivo(arquivo), QByteArray(R"({"anthropic_api_key":"sk-ant","openai_api_key":" sk-abc "})"));
    EXPECT_EQ(modoDe(arquivo), 0600);
    EXPECT_EQ(modoDe(amb.pastaDados()), 0700);

    r = rodar({QStringLiteral("chave"), QStringLiteral("openai")}, "");
    ASSERT_EQ(r.codigo, 0);
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Chave OpenAI removida.\n"));
    EXPECT_EQ(lerArquivo(arquivo), QByteArray(R"({"anthropic_api_key":"sk-ant"})"));
}

TEST_F(LinhaDeComando, ChaveQueNaoPodeSerGravada)
{
    QDir().mkpath(amb.pastaDados() + QStringLiteral("/credentials.json"));
    const auto r = rodar({QStringLiteral("chave"), QStringLiteral("anthropic")}, "sk\n");
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Erro ao salvar chave Anthropic\n"));
}

TEST_F(LinhaDeComando, ConfigListaLeGravaEValida)
{
    auto r = rodar({QStringLiteral("config")});
    ASSERT_EQ(r.codigo, 0);
    // Registered defaults show up; keys nobody set do not.
    EXPECT_TRUE(utf8(r.saida).contains(QStringLiteral("operationMode=full\n")));
    EXPECT_TRUE(utf8(r.saida).contains(QStringLiteral("toggleShowActionMenu=true\n")));
    EXPECT_FALSE(utf8(r.saida).contains(QStringLiteral("aiProvider")));

    EXPECT_EQ(rodar({QStringLiteral("config"), QStringLiteral("aiProvider"), QStringLiteral("anthropic")}).codigo, 0);
    EXPECT_EQ(rodar({QStringLiteral("config"), QStringLiteral("toggleShowActionMenu"), QStringLiteral("false")}).codigo, 0);
    EXPECT_EQ(rodar({QStringLiteral("config"), QStringLiteral("vozelQuickActions"), QStringLiteral("email, post")}).codigo, 0);
    r = rodar({QStringLiteral("config"), QStringLiteral("aiProvider")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("anthropic\n"));
    r = rodar({QStringLiteral("config"), QStringLiteral("toggleShowActionMenu")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("false\n"));
    r = rodar({QStringLiteral("config"), QStringLiteral("vozelQuickActions")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("email,post\n"));

    // The file is the one the tray application reads, with the same key names.
    QSettings ini(amb.arquivoConfig(), QSettings::IniFormat);
    EXPECT_EQ(ini.value(QStringLiteral("aiProvider")).toString(), QStringLiteral("anthropic"));
    EXPECT_EQ(ini.value(QStringLiteral("vozelQuickActions")).toStringList(), (QStringList{QStringLiteral("email"), QStringLiteral("post")}));

    r = rodar({QStringLiteral("config"), QStringLiteral("toggleShowActionMenu"), QStringLiteral("talvez")});
    EXPECT_EQ(r.codigo, 2);
    EXPECT_TRUE(utf8(r.erro).startsWith(QStringLiteral("Valor inválido para toggleShowActionMenu")));
    EXPECT_EQ(rodar({QStringLiteral("config"), QStringLiteral("chaveInventada"), QStringLiteral("1")}).codigo, 2);
    r = rodar({QStringLiteral("config"), QStringLiteral("hasOnboarded")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Configuração não definida: hasOnboarded\n"));

    EXPECT_EQ(rodar({QStringLiteral("config"), QStringLiteral("--remover"), QStringLiteral("aiProvider")}).codigo, 0);
    EXPECT_EQ(rodar({QStringLiteral("config"), QStringLiteral("aiProvider")}).codigo, 1);
}

TEST_F(LinhaDeComando, TranscreverImprimeOTextoDoServidor)
{
    ServidorTeste servidor;
    amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString() + QStringLiteral("/proxy"));
    salvarChaveOpenAI("sk-segredo-123");
    const QString wav = amb.raiz() + QStringLiteral("/fala.wav");
    const QByteArray audio = wavSintetico(48000, 1, 0.5);
    ASSERT_TRUE(gravarArquivo(wav, audio));

    servidor.enfileirar(Resposta::json(200, R"({"text":"Olá, tudo bem?"})"));
    const auto r = rodar({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Olá, tudo bem?\n"));
    EXPECT_TRUE(r.erro.isEmpty()) << r.erro.constData();
    ASSERT_EQ(servidor.requisicoes().size(), 1);
    EXPECT_EQ(servidor.requisicoes()[0].caminho, QByteArray("/proxy/v1/audio/transcriptions"));
    EXPECT_EQ(servidor.requisicoes()[0].cabecalho("Authorization"), QByteArray("Bearer sk-segredo-123"));
    // The user's recording is theirs: never deleted, never changed.
    EXPECT_EQ(lerArquivo(wav), audio);
    EXPECT_FALSE(amb.lerLog().contains("sk-segredo-123"));
}

TEST_F(LinhaDeComando, TranscreverComFalhas)
{
    ServidorTeste servidor;
    amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
    const QString wav = amb.raiz() + QStringLiteral("/fala.wav");
    ASSERT_TRUE(gravarArquivo(wav, wavSintetico(16000, 1, 0.1)));
    const QString indisponivel = QStringLiteral("Transcrição indisponível (sem conexão e sem reconhecimento local)\n");

    // No key: as when no local recogniser is there to fall back on, and nothing is sent.
    auto r = rodar({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), indisponivel);
    EXPECT_TRUE(r.saida.isEmpty());
    EXPECT_TRUE(servidor.requisicoes().isEmpty());

    salvarChaveOpenAI("sk-errada");
    servidor.enfileirar(Resposta::json(401, R"({"error":{"message":"Incorrect API key provided: sk-errada"}})"));
    r = rodar({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("API key inválida\n"));
    EXPECT_TRUE(r.saida.isEmpty());

    servidor.enfileirar(Resposta::json(429, R"({"error":{"message":"Rate limit reached"}})"));
    r = rodar({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Erro 429: Rate limit reached\n"));

    servidor.enfileirar(Resposta::texto(503, "indisponível"));
    r = rodar({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), indisponivel);

    r = rodar({QStringLiteral("transcrever"), amb.raiz() + QStringLiteral("/nao-existe.wav")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), indisponivel);
    EXPECT_FALSE(amb.lerLog().contains("sk-errada"));
}
