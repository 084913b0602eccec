#include "capture/InsertBuffer.h"
#include "vocab_suporte.h"
#include "vocabulary/Levenshtein.h"
#include "vocabulary/SugestaoFuzzy.h"
#include "vocabulary/VocabularyNotifications.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QThread>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

using Tier1 = BaseVocab;
using Tier2 = BaseVocab;
using Candidato = VocabularyService::Candidato;

QMap<QString, int> contagens(std::initializer_list<std::pair<QString, int>> pares)
{
    QMap<QString, int> m;
    for (const auto& [k, v] : pares)
        m.insert(k, v);
    return m;
}

} // namespace

TEST(Levenshtein, DistanciaEmCaracteresPercebidos)
{
    EXPECT_EQ(Levenshtein::distancia(QString(), QStringLiteral("abc")), 3);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("abc"), QString()), 3);
    EXPECT_EQ(Levenshtein::distancia(QString(), QString()), 0);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("kitten"), QStringLiteral("sitting")), 3);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("sitting"), QStringLiteral("kitten")), 3);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("Casa"), QStringLiteral("casa")), 1);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("ab"), QStringLiteral("ba")), 2); // no transposition
    // Clusters compare by canonical equivalence and count as one character each.
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("café"), QStringLiteral("cafe\u0301")), 0);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("cafe"), QStringLiteral("cafe\u0301")), 1);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("👍🏽👍"), QStringLiteral("👍👍")), 1);
    EXPECT_EQ(Levenshtein::distancia(QStringLiteral("a\r\nb"), QStringLiteral("ab")), 1);
}

TEST_F(Tier1, TresEdicoesIguaisViramUmCandidatoAnunciado)
{
    QSignalSpy spy(&VocabularyNotifications::instance(), &VocabularyNotifications::notificacao);
    const QString original = QStringLiteral("abri o cloud hoje");
    const QString editado = QStringLiteral("  abri o Claude hoje\n");
    EXPECT_TRUE(vocab.aprenderCorrecao(original, editado, QStringLiteral("code")).isEmpty());
    EXPECT_TRUE(vocab.aprenderCorrecao(original, editado, std::nullopt).isEmpty());
    EXPECT_EQ(vocab.pendingCorrections(), contagens({{"cloud|Claude", 2}}));
    EXPECT_EQ(spy.count(), 0);

    // Counters survive in the settings: a new service (a new launch) continues from them.
    VocabularyService outro(pasta, config);
    EXPECT_EQ(outro.aprenderCorrecao(QStringLiteral("CLOUD!"), QStringLiteral("Claude!"), std::nullopt),
              (QList<Candidato>{{"cloud", "Claude"}}));
    EXPECT_TRUE(outro.pendingCorrections().isEmpty()); // proposed once per three sightings
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toString(), QStringLiteral("SonvoVocabularyCandidatoTier1"));
    EXPECT_EQ(spy.at(0).at(1).toMap(),
              (QVariantMap{{QStringLiteral("ouvido"), QStringLiteral("cloud")}, {QStringLiteral("escrever"), QStringLiteral("Claude")}}));
    EXPECT_EQ(config.dados(QStringLiteral("vocabPendingCorrections")), QByteArray("{}"));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Vocab/Tier1] candidato 'cloud' → 'Claude' count=1\n"
                                              "Vozel [Vocab/Tier1] candidato 'cloud' → 'Claude' count=2\n")));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Vocab/Tier1] candidato 'CLOUD' → 'Claude' count=3\n")));
}

TEST_F(Tier1, SoContaPalavrasLongasQueMudamUmOuDoisCaracteres)
{
    // casa -> Casa: case only; app -> apps: too short; gato -> gatos: counted; distance 3: not.
    vocab.aprenderCorrecao(QStringLiteral("casa app gato kitten sete"), QStringLiteral("Casa apps gatos sitting sete"), std::nullopt);
    EXPECT_EQ(vocab.pendingCorrections(), contagens({{"gato|gatos", 1}}));
    EXPECT_EQ(QJsonDocument::fromJson(config.dados(QStringLiteral("vocabPendingCorrections"))).object(),
              QJsonObject({{"gato|gatos", 1}}));

    // Positions pair as they stand: an inserted word shifts every later pair.
    vocab.aprenderCorrecao(QStringLiteral("gato preto"), QStringLiteral("meu gatos preto"), std::nullopt);
    EXPECT_EQ(vocab.pendingCorrections(), contagens({{"gato|gatos", 1}}));

    // Texts equal once trimmed teach nothing and change nothing.
    vocab.aprenderCorrecao(QStringLiteral(" gato "), QStringLiteral("gato\n"), std::nullopt);
    EXPECT_EQ(vocab.pendingCorrections(), contagens({{"gato|gatos", 1}}));

    // Decomposed and precomposed spellings of the same word are the same word.
    vocab.aprenderCorrecao(QStringLiteral("café"), QStringLiteral("cafe\u0301"), std::nullopt);
    EXPECT_EQ(vocab.pendingCorrections(), contagens({{"gato|gatos", 1}}));
}

TEST_F(Tier1, ContadoresIlegiveisNasConfiguracoesRecomecamDoZero)
{
    for (const QByteArray& ruim : {QByteArray("não é json"), QByteArray("[1]"), QByteArray(R"({"a|b": 1.5})"), QByteArray(R"({"a|b": "2"})")}) {
        config.definir(QStringLiteral("vocabPendingCorrections"), ruim);
        VocabularyService v(pasta, config);
        v.aprenderCorrecao(QStringLiteral("gato"), QStringLiteral("gatos"), std::nullopt);
        EXPECT_EQ(v.pendingCorrections(), contagens({{"gato|gatos", 1}})) << ruim.constData();
    }
}

TEST(Notificacoes, PostadasDeOutraThreadChegamNaThreadPrincipal)
{
    QSignalSpy spy(&VocabularyNotifications::instance(), &VocabularyNotifications::notificacao);
    QThread* recebida = nullptr;
    const auto conexao = QObject::connect(&VocabularyNotifications::instance(), &VocabularyNotifications::notificacao,
                                          &VocabularyNotifications::instance(), [&] { recebida = QThread::currentThread(); });
    std::unique_ptr<QThread> t(QThread::create([] {
        VocabularyNotifications::postar(QString::fromLatin1(VocabularyNotifications::tier2Notification),
                                        {{QStringLiteral("ouvido"), QStringLiteral("a")}, {QStringLiteral("ocorrencias"), 3}});
    }));
    t->start();
    t->wait();
    const bool chegou = spy.wait(5000);
    QObject::disconnect(conexao);
    ASSERT_TRUE(chegou);
    EXPECT_EQ(recebida, QThread::currentThread());
    EXPECT_EQ(spy.at(0).at(0).toString(), QStringLiteral("SonvoVocabTier2Candidate"));
    EXPECT_EQ(spy.at(0).at(1).toMap().value(QStringLiteral("ocorrencias")).toInt(), 3);
}

TEST_F(Tier2, PalavraParecidaComUmaQueOUsuarioInsereMuito)
{
    InsertBuffer buffer;
    EXPECT_TRUE(sugerirCorrecaoFuzzy(buffer, QStringLiteral("cloude")).isEmpty());
    for (int i = 0; i < 3; ++i)
        buffer.adicionar(QStringLiteral("Claude escreveu o código"));
    buffer.adicionar(QStringLiteral("claude, código"));
    const auto s = sugerirCorrecaoFuzzy(buffer, QStringLiteral("O cloude e o Claude escreveram codigo"));
    ASSERT_EQ(s.size(), 2);
    // "Claude" is itself frequent; "escreveram" is three edits from "escreveu".
    EXPECT_EQ(s[0], (SugestaoFuzzy{"cloude", "claude", 1, 4}));
    EXPECT_EQ(s[1], (SugestaoFuzzy{"codigo", "código", 1, 4}));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Vocab/Tier2] sugestão 'cloude' → 'claude' (dist=1, ocorrencias=4)\n"
                                              "Vozel [Vocab/Tier2] sugestão 'codigo' → 'código' (dist=1, ocorrencias=4)\n")));
}

TEST(Tier2Busca, RegrasDeEscolhaEOrdem)
{
    // The transcribed word itself being frequent (in any case) means no suggestion.
    EXPECT_TRUE(sugerirCorrecaoFuzzy(contagens({{"claude", 5}, {"claudi", 9}}), QStringLiteral("CLAUDE")).isEmpty());
    // At equal distance the word inserted more often wins; a smaller distance beats more
    // occurrences; at equal distance and occurrences the first in the map's order stays.
    EXPECT_EQ(sugerirCorrecaoFuzzy(contagens({{"gatas", 2}, {"gatos", 5}}), QStringLiteral("gatus")).value(0).sugestao, QStringLiteral("gatos"));
    EXPECT_EQ(sugerirCorrecaoFuzzy(contagens({{"gatos", 2}, {"gxtxs", 9}}), QStringLiteral("gatus")).value(0).sugestao, QStringLiteral("gatos"));
    EXPECT_EQ(sugerirCorrecaoFuzzy(contagens({{"gatas", 3}, {"gatos", 3}}), QStringLiteral("gatus")).value(0).sugestao, QStringLiteral("gatas"));
    // The match is decided on lower case; the distance reported is to the word as given.
    EXPECT_EQ(sugerirCorrecaoFuzzy(contagens({{"Gatos", 2}}), QStringLiteral("gatus")), (QList<SugestaoFuzzy>{{"gatus", "Gatos", 2, 2}}));
    // Short tokens and words three edits away are left alone.
    EXPECT_TRUE(sugerirCorrecaoFuzzy(contagens({{"gatos", 3}}), QStringLiteral("gat gxxxs gatosxxx")).isEmpty());
    // Sorted by occurrences, highest first; equal counts keep the order of the text.
    const auto s = sugerirCorrecaoFuzzy(contagens({{"pedra", 2}, {"carro", 7}, {"casas", 2}}), QStringLiteral("pedro casos carra pedro"));
    ASSERT_EQ(s.size(), 4);
    EXPECT_EQ(s[0], (SugestaoFuzzy{"carra", "carro", 1, 7}));
    EXPECT_EQ(s[1].palavraTranscrita, QStringLiteral("pedro"));
    EXPECT_EQ(s[2].palavraTranscrita, QStringLiteral("casos"));
    EXPECT_EQ(s[3].palavraTranscrita, QStringLiteral("pedro"));
}
