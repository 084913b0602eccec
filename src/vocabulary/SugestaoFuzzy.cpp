#include "vocabulary/SugestaoFuzzy.h"

#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "vocabulary/Levenshtein.h"
#include "vocabulary/MotorCorrecoes.h"

#include <QHash>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace sonvo {

namespace {

// Gives each grapheme cluster an integer: single units below U+0300 are their own code, longer
// clusters get codes above the UTF-16 range, equal for canonically equal clusters. A word is
// then split once and compared with every other word as a plain integer sequence.
class Codificador {
public:
    std::vector<int> codificar(const QString& palavra)
    {
        std::vector<int> codigos;
        if (TextoUnicode::unidadesSaoGrafemas(palavra)) {
            codigos.reserve(static_cast<size_t>(palavra.size()));
            for (QChar c : palavra)
                codigos.push_back(c.unicode());
            return codigos;
        }
        for (const QString& g : TextoUnicode::grafemasCanonicos(palavra)) {
            if (g.size() == 1 && g[0].unicode() < 0x300) {
                codigos.push_back(g[0].unicode());
                continue;
            }
            auto it = m_codigos.constFind(g);
            if (it == m_codigos.constEnd())
                it = m_codigos.insert(g, 0x10000 + static_cast<int>(m_codigos.size()));
            codigos.push_back(it.value());
        }
        return codigos;
    }

private:
    QHash<QString, int> m_codigos;
};

struct Frequente {
    QString palavra;
    int ocorrencias;
    std::vector<int> codigos;         // lower-cased, for the match test
    std::vector<int> codigosComoEsta; // as stored, for the distance reported (empty: same)
};

} // namespace

QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QMap<QString, int>& frequentes, const QString& transcricao)
{
    if (frequentes.isEmpty())
        return {};
    Codificador codificador;
    std::vector<Frequente> candidatas;
    candidatas.reserve(static_cast<size_t>(frequentes.size()));
    for (auto it = frequentes.begin(); it != frequentes.end(); ++it) {
        const QString minusculo = TextoUnicode::minusculas(it.key());
        Frequente f{it.key(), it.value(), codificador.codificar(minusculo), {}};
        if (minusculo != it.key())
            f.codigosComoEsta = codificador.codificar(it.key());
        if (f.codigos.size() >= 4)
            candidatas.push_back(std::move(f));
    }

    QList<SugestaoFuzzy> sugestoes;
    for (const QString& token : MotorCorrecoes::tokenizar(transcricao)) {
        if (TextoUnicode::contarGrafemas(token) < 4)
            continue;
        const QString minusculo = TextoUnicode::minusculas(token);
        if (frequentes.contains(TextoUnicode::nfc(minusculo)))
            continue; // already a word the user inserts
        const std::vector<int> codigos = codificador.codificar(minusculo);
        if (codigos.size() < 4)
            continue;
        const Frequente* melhor = nullptr;
        int melhorDistancia = 0;
        for (const Frequente& f : candidatas) {
            // The distance is at least the difference in length: most pairs end here.
            const auto diferenca = std::abs(static_cast<long>(codigos.size()) - static_cast<long>(f.codigos.size()));
            if (diferenca >= 3)
                continue;
            int d = Levenshtein::distancia(codigos, f.codigos);
            if (d == 0 || d >= 3)
                continue;
            if (!f.codigosComoEsta.empty())
                d = Levenshtein::distancia(codigos, f.codigosComoEsta);
            if (!melhor || d < melhorDistancia || (d == melhorDistancia && f.ocorrencias > melhor->ocorrencias)) {
                melhor = &f;
                melhorDistancia = d;
            }
        }
        if (!melhor)
            continue;
        sugestoes.append({token, melhor->palavra, melhorDistancia, melhor->ocorrencias});
        Log::tag("Vocab/Tier2", QStringLiteral("sugestão '%@' → '%@' (dist=%d, ocorrencias=%d)"),
                 {token, melhor->palavra, melhorDistancia, melhor->ocorrencias});
    }
    std::stable_sort(sugestoes.begin(), sugestoes.end(),
                     [](const SugestaoFuzzy& a, const SugestaoFuzzy& b) { return a.ocorrenciasNoBuffer > b.ocorrenciasNoBuffer; });
    return sugestoes;
}

} // namespace sonvo
