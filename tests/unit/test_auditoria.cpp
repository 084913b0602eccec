#include "core/KeychainService.h"
#include "support/ServidorTeste.h"
#include "vocab_suporte.h"
#include "vocabulary/VocabularyAuditService.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;
using Auto = VocabularyAuditService::Automatico;

namespace {

AuditSugestao sugestao(const QString& ouvido, const QString& provavel) { return {QUuid::createUuid(), ouvido, provavel, 0.9, 3, kAgora}; }

QStringList pares(const QList<AuditSugestao>& lista)
{
    QStringList r;
    for (const AuditSugestao& s : lista)
        r << s.ouvido + u"->"_s + s.provavel;
    return r;
}

} // namespace

TEST(AuditoriaTextos, PromptByteAByteMensagensDeErroELeituraDaResposta)
{
    // 417 bytes of instructions, the texts, then 360 of rules: the digest pins every fixed byte.
    const QByteArray vazio = VocabularyAuditService::montarPrompt({}).toUtf8();
    EXPECT_EQ(QCryptographicHash::hash(vazio, QCryptographicHash::Sha256).toHex(), "5e64b8cab8efd578c362853b2d9a81453c678649b0d264b388066c89e417017a");
    EXPECT_EQ(VocabularyAuditService::montarPrompt({"usei o cloud code", "linha\ncom quebra"}).toUtf8(),
              vazio.left(417) + "usei o cloud code\n---\nlinha\ncom quebra" + vazio.mid(417));
    EXPECT_EQ(AuditErro::llm(u"x"_s).errorDescription(), u"Auditor LLM falhou: x"_s);
    EXPECT_EQ(AuditErro::semHistorico().errorDescription(), u"Sem transcrições suficientes para auditar."_s);
    EXPECT_EQ(AuditErro::formato().errorDescription(), u"Resposta do LLM em formato inesperado."_s);

    auto parse = [](const QString& raw) { return VocabularyAuditService::parseSugestoes(raw, kAgora); };
    const auto r = parse(u"Encontrei isto:\n```json\n[{\"ouvido\": \"Cloud Code\", \"provavel\": \"Claude Code\", \"confianca\": 0.92, "
                         "\"ocorrencias\": 7},\n" R"({"ouvido":"a [x]","provavel":"d]","confianca":1,"ocorrencias":7.0,"extra":[[1],{"y":[]}]},)"
                         R"({"ouvido":"sem provavel"}, {"ouvido":"","provavel":"vazio"}, {"ouvido":5,"provavel":"número"},)"
                         R"({"ouvido":" ","provavel":"texto","confianca":"0.9","ocorrencias":"7"},)"
                         R"( {"ouvido":"x","provavel":"y","ocorrencias":7.5}])" "\n```\nAbraço."_s);
    ASSERT_EQ(r.size(), 4);
    EXPECT_EQ(r[0], (AuditSugestao{r[0].id, "Cloud Code", "Claude Code", 0.92, 7, kAgora}));
    EXPECT_EQ(r[1], (AuditSugestao{r[1].id, "a [x]", "d]", 1.0, 7, kAgora}));
    EXPECT_EQ(r[2], (AuditSugestao{r[2].id, " ", "texto", 0.0, 0, kAgora})); // numbers in strings are not numbers
    EXPECT_EQ(r[3], (AuditSugestao{r[3].id, "x", "y", 0.0, 0, kAgora}));
    EXPECT_TRUE(!r[0].id.isNull() && r[0].id != r[1].id);
    for (const char* inutil : {"Nenhum erro encontrado.", "] ao contrário [", "[{\"ouvido\": \"a\", ]", R"([{"ouvido":"a","provavel":"b"}, 3])",
                               "[ok] texto [e mais]", "[]"})
        EXPECT_TRUE(parse(QString::fromUtf8(inutil)).isEmpty()) << inutil;
}

namespace {

struct HistoricoFixo : FonteTranscricoes {
    QStringList textos{"t2", "t1", "t0"}; // newest first
    QStringList textosRecentes(qsizetype n) const override { return textos.mid(0, n); }
    qsizetype quantidade() const override { return textos.size(); }
};

// The audit against the loopback server, with a clock of its own.
struct Auditoria : BaseVocab {
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    HistoricoFixo historico;
    QDateTime agora = kAgora;
    std::chrono::seconds passoDoRelogio{0}; // how far the clock moves each time it is read
    VocabularyAuditService::Relogio relogio = [this] { return std::exchange(agora, agora.addSecs(passoDoRelogio.count())); };
    VocabularyAuditService aud{config, rede, pasta, historico, relogio};

    void SetUp() override
    {
        BaseVocab::SetUp();
        amb.definir(u"SONVO_OPENAI_BASE_URL"_s, servidor.url().toString());
        chave(u"sk-teste"_s);
    }
    void chave(const QString& valor) { ASSERT_FALSE(KeychainService(pasta).salvarChave(u"openai_api_key"_s, valor)); }
    void responder(const QString& conteudo)
    {
        servidor.enfileirar(Resposta::json(200, QJsonDocument(QJsonObject{{"choices", QJsonArray{QJsonObject{{"message", QJsonObject{{"content", conteudo}}}}}}}).toJson()));
    }
    QList<AuditSugestao> auditar() // only where the audit must succeed
    {
        auto r = aguardar(aud.auditarAgora());
        EXPECT_TRUE(r.ok()) << r.erro().errorDescription().toStdString();
        return r.ok() ? r.valor() : QList<AuditSugestao>{};
    }
    Auto automatico() { return aguardar(aud.executarAutomatico()); }
};

} // namespace

TEST_F(Auditoria, PedidoComAsUltimas50TranscricoesLimiarDe07EDuplicatasIgnorandoCaixa)
{
    // Each provider's wire format belongs to the shared model query (ConsultasModelo, tested with the providers).
    for (int i = 3; i < 60; ++i)
        historico.textos.prepend(u"t%1"_s.arg(i)); // t59 (the newest) ... t0
    responder(u"[]"_s);
    auditar();
    const QString prompt = VocabularyAuditService::montarPrompt(historico.textos.mid(0, 50)); // t59 ... t10, newest first
    const QJsonObject esperado{{"model", "gpt-4o-mini"}, {"temperature", 0.2}, {"max_tokens", 800},
                               {"messages", QJsonArray{QJsonObject{{"role", "user"}, {"content", prompt}}}}};
    EXPECT_EQ(QJsonDocument::fromJson(servidor.requisicoes().value(0).corpo).object(), esperado);

    // The threshold is applied here: 0.69 goes, 0.7 and the integer 1 stay, in the answer's order.
    responder(uR"(Claro: [{"ouvido": "abaixo", "provavel": "limite", "confianca": 0.69},
                                {"ouvido": "Cloud Code", "provavel": "Claude Code", "confianca": 0.7}, {"ouvido": "jason", "provavel": "JSON", "confianca": 1}])"_s);
    const auto r = auditar();
    EXPECT_EQ(pares(r), (QStringList{"Cloud Code->Claude Code", "jason->JSON"}));

    // A pair already queued (ignoring case) is not queued again; repeats within one answer are.
    responder(uR"([{"ouvido": "CLOUD CODE", "provavel": "claude code", "confianca": 0.9},
                                 {"ouvido": "Ção", "provavel": "x", "confianca": 0.9}, {"ouvido": "ção", "provavel": "X", "confianca": 0.8}])"_s);
    const auto novas = auditar();
    EXPECT_EQ(pares(novas), (QStringList{"Ção->x", "ção->X"}));
    EXPECT_EQ(aud.pendentes(), r + novas);
}

TEST_F(Auditoria, FalhasNaoTocamNaFilaEAutomaticoDiarioLigadoComDezTranscricoesACada24Horas)
{
    const QByteArray fila = VocabularyAuditService::codificar({sugestao(u"a"_s, u"b"_s)});
    ASSERT_TRUE(gravarArquivo(aud.arquivo(), fila));
    // The texts sent, the key, the server's answer, the deadline; an expected text ending in "…" fixes only its start.
    const std::tuple<int, QString, std::optional<Resposta>, std::chrono::milliseconds, QString> casos[] = {
        {0, "sk-teste", std::nullopt, 30s, "Sem transcrições suficientes para auditar."},
        {3, "", std::nullopt, 30s, "Auditor LLM falhou: Chave não encontrada (openai_api_key)"},
        {3, "sk-teste", Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"), 30s, "Auditor LLM falhou: Resposta inválida da API"},
        {3, "sk-teste", Resposta::comModo(Resposta::Modo::semResposta), 200ms, "Auditor LLM falhou: Erro de rede: tempo esgotado"},
    };
    for (const auto& [textos, chaveUsada, resposta, prazo, erro] : casos) {
        historico.textos = QStringList(textos, u"t"_s);
        chave(chaveUsada);
        if (resposta)
            servidor.enfileirar(*resposta);
        const qsizetype feitas = servidor.requisicoes().size();
        const auto r = aguardar(VocabularyAuditService(config, rede, pasta, historico, relogio, prazo).auditarAgora());
        const QString d = r.ok() ? QString() : r.erro().errorDescription();
        EXPECT_TRUE(erro.endsWith(u'…') ? d.startsWith(erro.chopped(1)) : d == erro) << d.toStdString() << " / " << erro.toStdString();
        EXPECT_EQ(servidor.requisicoes().size() - feitas, resposta ? 1 : 0) << d.toStdString(); // none without texts or key
        EXPECT_EQ(lerArquivo(aud.arquivo()), fila);
    }
}

TEST_F(Auditoria, AprovarEscreveNoVocabularioRejeitarSoTiraDaFilaEFilaIlegivelEGuardada)
{
    const AuditSugestao a = sugestao("Cloud Code", "Claude Code"), b = sugestao("get hub", "GitHub"), c = sugestao("jason", "JSON");
    ASSERT_EQ(aud.gravarPendentes({a, b, c}), std::nullopt);
    // No document yet: it is created from the template, with the correction under its heading.
    EXPECT_EQ(aud.aprovar(b), std::nullopt);
    EXPECT_EQ(aud.pendentes(), (QList<AuditSugestao>{a, c}));
    EXPECT_TRUE(lerArquivo(global()).contains("\n## Correções automáticas\n- get hub -> GitHub\n\n<!-- Formato"));
    const QByteArray antes = lerArquivo(global());
    EXPECT_EQ(aud.rejeitar(a), std::nullopt);
    EXPECT_EQ(aud.pendentes(), QList<AuditSugestao>{c});
    EXPECT_EQ(lerArquivo(global()), antes);

    // A document that is not UTF-8 is the user's and is not rewritten: the suggestion stays queued.
    escreverGlobal("## Corre\xe7\xf5" "es autom\xe1ticas\n");
    EXPECT_EQ(aud.aprovar(c), u"Não foi possível ler %1: o arquivo não é texto UTF-8 válido"_s.arg(global()));
    EXPECT_EQ(aud.pendentes(), QList<AuditSugestao>{c});
    EXPECT_EQ(lerArquivo(global()), "## Corre\xe7\xf5" "es autom\xe1ticas\n");

    const QString guardada = aud.arquivo() + u".corrupt-20250301T140509Z"_s;
    ASSERT_TRUE(gravarArquivo(aud.arquivo(), "[{\"ouvido\": \"meu dado\""));
    ASSERT_TRUE(QDir().mkpath(guardada + u"/ocupado"_s)); // it cannot be kept aside: nothing is written
    EXPECT_EQ(aud.gravarPendentes({sugestao(u"a"_s, u"b"_s)}),
              u"A fila de sugestões %1 está ilegível e não pôde ser guardada à parte; nada foi gravado"_s.arg(aud.arquivo()));
    EXPECT_EQ(lerArquivo(aud.arquivo()), "[{\"ouvido\": \"meu dado\"");
    ASSERT_TRUE(QDir(guardada).removeRecursively());
    responder(uR"([{"ouvido":"a","provavel":"b","confianca":0.9}])"_s);
    EXPECT_EQ(pares(auditar()), QStringList{"a->b"});
    EXPECT_EQ(aud.pendentes().size(), 1);
    EXPECT_EQ(lerArquivo(guardada), "[{\"ouvido\": \"meu dado\"");

    const QString ultima = u"vocabularyAuditLastRun"_s;
    const double inicio = static_cast<double>(kAgora.toSecsSinceEpoch());
    historico.textos = QStringList(9, u"t"_s);
    EXPECT_EQ(automatico(), Auto::desligado); // off unless turned on, before anything else
    config.definir(u"vocabularyAuditEnabled"_s, true);
    EXPECT_EQ(automatico(), Auto::historicoCurto);
    historico.textos << u"t"_s;
    chave(QString()); // never run, so due; a failure stores nothing and the next launch tries again
    EXPECT_EQ(automatico(), Auto::falhou);
    EXPECT_FALSE(config.contem(ultima));
    chave(u"sk-teste"_s);
    config.definir(ultima, inicio - 23 * 3600);
    EXPECT_EQ(automatico(), Auto::recente);
    // Exactly 24 hours: due. The clock moves an hour at each reading; the first one is stored.
    config.definir(ultima, inicio - 24 * 3600);
    passoDoRelogio = 3600s;
    responder(u"[]"_s); // nothing useful still counts
    EXPECT_EQ(automatico(), Auto::executado);
    EXPECT_EQ(config.real(ultima), inicio);
    EXPECT_EQ(automatico(), Auto::recente);
}
