#include "vocabulary/Levenshtein.h"

#include "core/TextoUnicode.h"

#include <algorithm>
#include <vector>

namespace sonvo {

namespace {

// Two rows of the classic dynamic programme; `igual(i, j)` compares a[i] with b[j].
template <typename Igual>
int duasLinhas(qsizetype na, qsizetype nb, Igual&& igual)
{
    if (na == 0)
        return static_cast<int>(nb);
    if (nb == 0)
        return static_cast<int>(na);
    std::vector<int> anterior(static_cast<size_t>(nb) + 1);
    std::vector<int> atual(static_cast<size_t>(nb) + 1);
    for (qsizetype j = 0; j <= nb; ++j)
        anterior[static_cast<size_t>(j)] = static_cast<int>(j);
    for (qsizetype i = 1; i <= na; ++i) {
        atual[0] = static_cast<int>(i);
        for (qsizetype j = 1; j <= nb; ++j) {
            const auto uj = static_cast<size_t>(j);
            const int custo = igual(i - 1, j - 1) ? 0 : 1;
            atual[uj] = std::min({anterior[uj] + 1, atual[uj - 1] + 1, anterior[uj - 1] + custo});
        }
        std::swap(anterior, atual);
    }
    return anterior[static_cast<size_t>(nb)];
}

} // namespace

int Levenshtein::distancia(const QString& a, const QString& b)
{
    // Most words hold only units that are clusters by themselves: compare the units directly.
    if (TextoUnicode::unidadesSaoGrafemas(a) && TextoUnicode::unidadesSaoGrafemas(b))
        return duasLinhas(a.size(), b.size(), [&](qsizetype i, qsizetype j) { return a[i] == b[j]; });
    const QList<QString> ga = TextoUnicode::grafemasCanonicos(a);
    const QList<QString> gb = TextoUnicode::grafemasCanonicos(b);
    return duasLinhas(ga.size(), gb.size(), [&](qsizetype i, qsizetype j) { return ga[i] == gb[j]; });
}

int Levenshtein::distancia(std::span<const int> a, std::span<const int> b)
{
    return duasLinhas(static_cast<qsizetype>(a.size()), static_cast<qsizetype>(b.size()),
                      [&](qsizetype i, qsizetype j) { return a[static_cast<size_t>(i)] == b[static_cast<size_t>(j)]; });
}

} // namespace sonvo
