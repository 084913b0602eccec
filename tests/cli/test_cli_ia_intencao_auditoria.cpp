#include "ai/KeychainService.h"
#include "app/Configuracoes.h"
#include "capture/TranscriptionHistory.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyAuditService.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

struct LinhaDeComandoIA : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;

    void SetUp() override
    {
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        amb.definir(QStringLiteral("SONVO_ANTHROPIC_BASE_URL"), servidor.url().toString());
        QDir().mkpath(amb.pastaDados());
        ASSERT_FALSE(KeychainService(amb.pastaDados()).salvarChave(AIProviderID::openai, QStringLiteral("sk-teste")));
    }
    ResultadoProcesso rodar(const QStringList& args, const QByteArray& entrada = {}) { return rodarSonvo(amb, args, entrada); }
    void responderOpenAI(const QString& conteudo, int atrasoMs = 0)
    {
        const QJsonObject msg{{QStringLiteral("role"), QStringLiteral("assistant")}, {QStringLiteral("content"), conteudo}};
        Resposta r = Resposta::json(200, QJsonDocument(QJsonObject{{QStringLiteral("choices"), QJsonArray{QJsonObject{{QStringLiteral("message"), msg}}}}})
                                             .toJson(QJsonDocument::Compact));
        r.atrasoMs = atrasoMs;
        servidor.enfileirar(r);
    }
    void historico(const QStringList& textos)
    {
        QList<TranscriptionEntry> entradas;
        for (const QString& t : textos)
            entradas.append({t, QDateTime::currentDateTimeUtc(), std::nullopt});
        ASSERT_TRUE(gravarArquivo(amb.pastaDados() + QStringLiteral("/transcription-history.json"), TranscriptionHistory::codificar(entradas)));
    }
    QString fila() const { return amb.pastaDados() + QStringLiteral("/vocabulary-audit-pending.json"); }
};

QString utf8(const QByteArray& b) { return QString::fromUtf8(b); }

// The ids printed at the start of each suggestion line.
QStringList ids(const QByteArray& saida)
{
    QStringList r;
    static const QRegularExpression linha(QStringLiteral("^([0-9A-F-]{36})  "), QRegularExpression::MultilineOption);
    for (auto it = linha.globalMatch(utf8(saida)); it.hasNext();)
        r << it.next().captured(1);
    return r;
}

} // namespace

TEST_F(LinhaDeComandoIA, IntencaoClaraSemNenhumaRequisicao)
{
    auto r = rodar({QStringLiteral("intencao"), QStringLiteral("faz um resumo disso")});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("alta resumir\n"));
    EXPECT_TRUE(r.erro.isEmpty());
    // From standard input, with the line end echo adds; words given apart are one text.
    r = rodar({QStringLiteral("intencao")}, "transforma em e-mail\n");
    EXPECT_EQ(utf8(r.saida), QStringLiteral("alta email\n"));
    r = rodar({QStringLiteral("intencao"), QStringLiteral("não"), QStringLiteral("quero"), QStringLiteral("resumo")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("nenhuma nil\n"));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());

    r = rodar({QStringLiteral("intencao")}, "faz um \xff resumo");
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("A entrada padrão não é texto UTF-8 válido\n"));
    EXPECT_EQ(rodar({QStringLiteral("intencao"), QStringLiteral("--rapido"), QStringLiteral("x")}).codigo, 2);
}

TEST_F(LinhaDeComandoIA, IntencaoIncidentalPerguntaAoModeloEPerdeParaOPrazo)
{
    const QString texto = QStringLiteral("o resumo da reunião foi bom");
    responderOpenAI(QStringLiteral(R"({"acao": "resumir", "confianca": "media"})"));
    auto r = rodar({QStringLiteral("intencao"), texto});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("media resumir\n"));
    ASSERT_EQ(servidor.requisicoes().size(), 1);
    EXPECT_TRUE(QJsonDocument::fromJson(servidor.requisicoes()[0].corpo)
                    .object()[QStringLiteral("messages")][0][QStringLiteral("content")]
                    .toString()
                    .contains(QStringLiteral("Texto do usuário: \"") + texto + u'"'));

    // The same answer two seconds late loses to the deadline.
    responderOpenAI(QStringLiteral(R"({"acao": "resumir", "confianca": "alta"})"), 2000);
    QElapsedTimer relogio;
    relogio.start();
    r = rodar({QStringLiteral("intencao"), texto});
    EXPECT_GE(relogio.elapsed(), 1400); // it did wait for the model, up to the deadline
    EXPECT_EQ(r.codigo, 0);
    EXPECT_EQ(utf8(r.saida), QStringLiteral("nenhuma nil\n"));
    EXPECT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_TRUE(utf8(amb.lerLog()).contains(QStringLiteral("Vozel [Intent] LLM fallback falhou: Erro de rede: tempo esgotado\n")));
}

TEST_F(LinhaDeComandoIA, IntencaoComAnthropicEDesligada)
{
    Configuracoes config(amb.arquivoConfig());
    config.definir(QStringLiteral("aiProvider"), QStringLiteral("anthropic"));
    ASSERT_FALSE(KeychainService(amb.pastaDados()).salvarChave(AIProviderID::anthropic, QStringLiteral("sk-ant")));
    servidor.enfileirar(Resposta::json(200, R"({"content":[{"type":"text","text":"{\"acao\":\"email\",\"confianca\":\"alta\"}"}]})"));
    auto r = rodar({QStringLiteral("intencao"), QStringLiteral("chegou um email")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("alta email\n"));
    ASSERT_EQ(servidor.requisicoes().size(), 1);
    EXPECT_EQ(servidor.requisicoes()[0].caminho, QByteArray("/v1/messages"));
    EXPECT_EQ(servidor.requisicoes()[0].cabecalho("x-api-key"), QByteArray("sk-ant"));

    config.definir(QStringLiteral("intentDetectionEnabled"), false);
    r = rodar({QStringLiteral("intencao"), QStringLiteral("faz um resumo disso")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("nenhuma nil\n"));
}

TEST_F(LinhaDeComandoIA, AuditarEnfileiraAPartirDe07EAsSugestoesSaoAprovadasOuRejeitadas)
{
    historico({QStringLiteral("abri o cloud code"), QStringLiteral("o cloud code travou"), QStringLiteral("subi no get hub")});
    responderOpenAI(QStringLiteral(R"(Segue:
[
  {"ouvido": "abaixo", "provavel": "limite", "confianca": 0.69, "ocorrencias": 1},
  {"ouvido": "cloud code", "provavel": "Claude Code", "confianca": 0.7, "ocorrencias": 2},
  {"ouvido": "get hub", "provavel": "GitHub", "confianca": 1, "ocorrencias": 1}
])"));
    auto r = rodar({QStringLiteral("auditar")});
    ASSERT_EQ(r.codigo, 0) << r.erro.constData();
    const QStringList novas = ids(r.saida);
    ASSERT_EQ(novas.size(), 2) << r.saida.constData();
    EXPECT_TRUE(utf8(r.saida).contains(novas[0] + QStringLiteral("  cloud code -> Claude Code  (confiança 0.70, 2 ocorrências)\n")))
        << r.saida.constData();
    EXPECT_TRUE(utf8(r.saida).contains(novas[1] + QStringLiteral("  get hub -> GitHub  (confiança 1.00, 1 ocorrências)\n")));
    EXPECT_FALSE(utf8(r.saida).contains(QStringLiteral("abaixo")));
    EXPECT_EQ(modoDe(fila()), 0600);

    // Listed as queued; the same answer again adds nothing.
    r = rodar({QStringLiteral("sugestoes")});
    EXPECT_EQ(r.codigo, 0);
    EXPECT_EQ(ids(r.saida), novas);
    responderOpenAI(QStringLiteral(R"([{"ouvido": "Cloud Code", "provavel": "claude code", "confianca": 0.9}])"));
    r = rodar({QStringLiteral("auditar")});
    EXPECT_EQ(r.codigo, 0);
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Nenhuma sugestão nova.\n"));

    // Approve one (lower-case id accepted), reject the other.
    r = rodar({QStringLiteral("sugestoes"), QStringLiteral("aprovar"), novas[0].toLower()});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Aprovada: cloud code -> Claude Code (adicionada ao vocabulário)\n"));
    EXPECT_TRUE(utf8(lerArquivo(amb.pastaDados() + QStringLiteral("/vocabulary.md"))).contains(QStringLiteral("\n- cloud code -> Claude Code\n")));
    r = rodar({QStringLiteral("corrigir"), QStringLiteral("abri o cloud code")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("abri o Claude Code\n"));

    r = rodar({QStringLiteral("sugestoes"), QStringLiteral("rejeitar"), novas[1]});
    EXPECT_EQ(r.codigo, 0);
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Rejeitada: get hub -> GitHub\n"));
    r = rodar({QStringLiteral("sugestoes")});
    EXPECT_EQ(utf8(r.saida), QStringLiteral("Nenhuma sugestão pendente.\n"));

    // An id no longer queued, or not an id at all.
    r = rodar({QStringLiteral("sugestoes"), QStringLiteral("rejeitar"), novas[1]});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Nenhuma sugestão pendente com o ID %1 (veja: sonvo sugestoes)\n").arg(novas[1]));
    EXPECT_EQ(rodar({QStringLiteral("sugestoes"), QStringLiteral("aprovar"), QStringLiteral("xyz")}).codigo, 1);
    EXPECT_EQ(rodar({QStringLiteral("sugestoes"), QStringLiteral("aprovar")}).codigo, 2);
    EXPECT_EQ(rodar({QStringLiteral("sugestoes"), QStringLiteral("apagar"), novas[1]}).codigo, 2);
    EXPECT_EQ(rodar({QStringLiteral("auditar"), QStringLiteral("agora")}).codigo, 2);
}

TEST_F(LinhaDeComandoIA, AuditarFalhaComAMensagemDoErro)
{
    auto r = rodar({QStringLiteral("auditar")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Sem transcrições suficientes para auditar.\n"));
    EXPECT_TRUE(r.saida.isEmpty());

    historico({QStringLiteral("um texto")});
    ASSERT_FALSE(KeychainService(amb.pastaDados()).salvarChave(AIProviderID::openai, QString()));
    r = rodar({QStringLiteral("auditar")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Auditor LLM falhou: Chave não encontrada (openai_api_key)\n"));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
}

TEST_F(LinhaDeComandoIA, FilaIlegivelEAvisadaEGuardadaAoAuditar)
{
    ASSERT_TRUE(gravarArquivo(fila(), "[{\"ouvido\":"));
    auto r = rodar({QStringLiteral("sugestoes")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Não foi possível ler a fila de sugestões em %1\n").arg(fila()));

    historico({QStringLiteral("um texto")});
    responderOpenAI(QStringLiteral(R"([{"ouvido":"a","provavel":"b","confianca":0.8}])"));
    r = rodar({QStringLiteral("auditar")});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(ids(r.saida).size(), 1);
    const QStringList guardados = QDir(amb.pastaDados()).entryList({QStringLiteral("vocabulary-audit-pending.json.corrupt-*")}, QDir::Files);
    ASSERT_EQ(guardados.size(), 1);
    EXPECT_EQ(lerArquivo(amb.pastaDados() + u'/' + guardados[0]), QByteArray("[{\"ouvido\":"));
    EXPECT_EQ(ids(rodar({QStringLiteral("sugestoes")}).saida), ids(r.saida));
}

TEST_F(LinhaDeComandoIA, AjudaMostraOsComandos)
{
    const QString ajuda = utf8(rodar({QStringLiteral("--help")}).saida);
    EXPECT_TRUE(ajuda.contains(QStringLiteral("sonvo intencao [TEXTO]")));
    EXPECT_TRUE(ajuda.contains(QStringLiteral("sonvo auditar ")));
    EXPECT_TRUE(ajuda.contains(QStringLiteral("sonvo sugestoes [aprovar ID | rejeitar ID]")));
}
