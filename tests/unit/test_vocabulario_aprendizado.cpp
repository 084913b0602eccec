#include "core/Configuracoes.h"
#include "dictation/InsertBuffer.h"
#include "support/Ambiente.h"
#include "vocabulary/AprendizadoTier1.h"
#include "vocabulary/Levenshtein.h"
#include "vocabulary/SugestaoFuzzy.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace sonvo;
using Contagens = QMap<QString, int>;

struct Tier1 : ::testing::Test {
    teste::AmbienteTemporario amb;
    Configuracoes config{amb.arquivoConfig()};
    AprendizadoTier1 tier1{config};
    QSignalSpy spy{&tier1, &AprendizadoTier1::candidato};
};

TEST_F(Tier1, TerceiraEdicaoIgualViraCandidatoEZeraOContador)
{
    const QString original = u"abri o cloud hoje"_s, editado = u"  abri o Claude hoje\n"_s;
    EXPECT_TRUE(tier1.aprenderCorrecao(original, editado, u"code"_s).isEmpty());
    EXPECT_TRUE(tier1.aprenderCorrecao(original, editado, std::nullopt).isEmpty());
    EXPECT_EQ(tier1.pendingCorrections(), (Contagens{{"cloud|Claude", 2}}));
    // Counters live in the settings: a new instance (a new launch) continues from them.
    AprendizadoTier1 outro(config);
    QSignalSpy spyOutro(&outro, &AprendizadoTier1::candidato);
    EXPECT_EQ(outro.aprenderCorrecao(u"CLOUD!"_s, u"Claude!"_s, std::nullopt),
              (QList<AprendizadoTier1::Candidato>{{"cloud", "Claude"}}));
    EXPECT_EQ(QList<QVariantList>(spyOutro), (QList<QVariantList>{{u"cloud"_s, u"Claude"_s}}));
    outro.aprenderCorrecao(original, editado, std::nullopt); // once proposed, it starts over
    EXPECT_EQ(outro.pendingCorrections(), (Contagens{{"cloud|Claude", 1}}));
    EXPECT_EQ(spyOutro.count() + spy.count(), 1);
}

TEST_F(Tier1, SoContaPalavrasLongasQuaseIguaisEContadorIlegivelRecomeca)
{
    const std::pair<QString, QString> casos[] = {
        {"casa app gato kitten sete", "Casa apps gatos sitting sete"}, // case only; too short; counted; three edits
        {"gato preto", "meu gatos preto"},                             // an inserted word shifts the later pairs
        {" gato ", "gato\n"},                                          // equal once trimmed
        {"café", "cafe\u0301"},                                        // canonically equivalent
    };
    // Twice over: only gato -> gatos is ever counted, and nothing reaches a third sighting.
    for (int vez = 1; vez <= 2; ++vez)
        for (const auto& [original, editado] : casos) {
            tier1.aprenderCorrecao(original, editado, std::nullopt);
            EXPECT_EQ(tier1.pendingCorrections(), (Contagens{{"gato|gatos", vez}})) << original.toStdString();
        }
    EXPECT_EQ(config.dados(u"vocabPendingCorrections"_s), R"({"gato|gatos":2})");
    EXPECT_EQ(spy.count(), 0);

    for (const char* ruim : {"não é json", "[1]", R"({"gato|gatos": 2, "a|b": 1.5})", R"({"gato|gatos": 2, "a|b": "2"})", R"({"gato|gatos": 2, "z": 1e20})"}) {
        config.definir(u"vocabPendingCorrections"_s, QByteArray(ruim));
        AprendizadoTier1 t(config);
        // One bad counter spoils them all: the stored 2 does not make this the third sighting.
        EXPECT_TRUE(t.aprenderCorrecao(u"gato"_s, u"gatos"_s, std::nullopt).isEmpty()) << ruim;
        EXPECT_EQ(t.pendingCorrections(), (Contagens{{"gato|gatos", 1}})) << ruim;
    }
}

TEST(Tier2, DistanciaEmGrafemasEscolhaEOrdemEOBufferDosCinquentaUltimos)
{
    EXPECT_EQ(Levenshtein::distancia(u"café"_s, u"cafe\u0301"_s), 0); // clusters, canonically compared
    EXPECT_EQ(Levenshtein::distancia(u"👍🏽👍"_s, u"👍👍"_s), 1);
    auto primeira = [](const Contagens& f) { return sugerirCorrecaoFuzzy(f, u"gatus"_s).value(0).sugestao; };
    // Equal distance: more occurrences win; a smaller distance beats more occurrences.
    EXPECT_EQ(primeira({{"gatas", 2}, {"gatos", 5}}), u"gatos"_s);
    EXPECT_EQ(primeira({{"gatos", 2}, {"gxtxs", 9}}), u"gatos"_s);
    // The transcribed word itself being frequent (in any case) means no suggestion; short tokens and words three
    // edits away are left alone.
    EXPECT_TRUE(sugerirCorrecaoFuzzy({{"claude", 5}, {"claudi", 9}}, u"CLAUDE"_s).isEmpty());
    EXPECT_TRUE(sugerirCorrecaoFuzzy({{"gatos", 3}}, u"gat gxxxs gatosxxx"_s).isEmpty());
    // Matched on lower case, distance to the word as given; highest occurrences first, then the order of the text.
    EXPECT_EQ(sugerirCorrecaoFuzzy({{"Gatos", 2}, {"carro", 7}}, u"pedro gatus carra pedro"_s),
              (QList<SugestaoFuzzy>{{"carra", "carro", 1, 7}, {"gatus", "Gatos", 2, 2}}));
    EXPECT_EQ(sugerirCorrecaoFuzzy({{"pedra", 2}, {"casas", 2}}, u"pedro casos pedro"_s),
              (QList<SugestaoFuzzy>{{"pedro", "pedra", 1, 2}, {"casos", "casas", 1, 2}, {"pedro", "pedra", 1, 2}}));

    InsertBuffer buffer; // blank text is left out (the insertion tests show it)
    for (int i = 0; i <= 51; ++i)
        buffer.adicionar(u"\n texto %1\u2028"_s.arg(i));
    buffer.adicionar(u"Casa casa, CASA! não não (casa) café cafe\u0301 ÁRVORE árvore arco"_s);
    ASSERT_EQ(buffer.entradas().size(), 50);
    EXPECT_EQ(buffer.entradas().first().texto, u"texto 3"_s); // the oldest went; line separators are trimmed too
    // Three characters or fewer never count; case and canonically equivalent spellings count together.
    EXPECT_EQ(buffer.palavrasFrequentes(2), (Contagens{{"texto", 49}, {"casa", 4}, {"café", 2}, {"árvore", 2}}));
}
