#include "capture/InsertBuffer.h"

#include <gtest/gtest.h>

using namespace sonvo;

namespace {
QMap<QString, int> contagens(std::initializer_list<std::pair<QString, int>> pares)
{
    QMap<QString, int> m;
    for (const auto& [k, v] : pares)
        m.insert(k, v);
    return m;
}
} // namespace

TEST(InsertBuffer, GuardaTextosAparadosAteCinquenta)
{
    QDateTime agora = QDateTime(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);
    InsertBuffer buffer([&] { return agora; });
    buffer.adicionar(QStringLiteral(" \t\n "));
    buffer.adicionar(QString());
    EXPECT_TRUE(buffer.entradas().isEmpty());
    EXPECT_TRUE(buffer.palavrasFrequentes(1).isEmpty());

    for (int i = 1; i <= 51; ++i) {
        agora = agora.addSecs(1);
        buffer.adicionar(QStringLiteral("\n texto %1\u2028").arg(i));
    }
    ASSERT_EQ(buffer.entradas().size(), 50);
    EXPECT_EQ(buffer.entradas().first().texto, QStringLiteral("texto 2"));
    EXPECT_EQ(buffer.entradas().last().texto, QStringLiteral("texto 51"));
    EXPECT_EQ(buffer.entradas().last().timestamp, agora);
    EXPECT_EQ(buffer.palavrasFrequentes(50), contagens({{"texto", 50}}));
}

TEST(InsertBuffer, PalavrasFrequentesContamCadaOcorrencia)
{
    InsertBuffer buffer;
    buffer.adicionar(QStringLiteral("Casa casa, CASA! não sim"));
    buffer.adicionar(QStringLiteral("(casa) café cafe\u0301 ÁRVORE"));
    // Three characters or fewer never count, whatever the threshold; case and canonically
    // equivalent spellings count together.
    EXPECT_EQ(buffer.palavrasFrequentes(1), contagens({{"casa", 4}, {"café", 2}, {"árvore", 1}}));
    EXPECT_EQ(buffer.palavrasFrequentes(2), contagens({{"casa", 4}, {"café", 2}}));
    EXPECT_TRUE(buffer.palavrasFrequentes(5).isEmpty());
}
