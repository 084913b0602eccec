#pragma once

#include "vocabulary/TextoUnicode.h"

#include <QMap>
#include <QSet>
#include <QString>

#include <algorithm>
#include <utility>
#include <vector>

namespace sonvo::teste {

// The plain correction algorithm, kept as the reference the fast one is compared with: fold the
// whole text again for every pair, search it, rebuild the text from the accepted matches.
// `limite`: the size past which a correction is skipped (by default the engine's own).
inline QString aplicarReferencia(const QMap<QString, QString>& correcoes, const QSet<QString>& whitelist, QString texto,
                                 qsizetype limite = -1)
{
    if (limite < 0)
        limite = std::max(4 * texto.size(), texto.size() + (qsizetype(1) << 20));
    QSet<QString> protegidas;
    for (const QString& w : whitelist)
        protegidas.insert(TextoUnicode::dobrar(w));
    for (auto it = correcoes.begin(); it != correcoes.end(); ++it) {
        const QString padrao = TextoUnicode::dobrar(it.key());
        if (padrao.isEmpty() || protegidas.contains(padrao))
            continue;
        const TextoUnicode::TextoDobrado d = TextoUnicode::dobrarComMapa(texto);
        TextoUnicode::LimitesGrafema limites(texto);
        const auto& o = d.origem;
        const qsizetype n = d.dobrado.size();
        std::vector<std::pair<qsizetype, qsizetype>> aceitos; // in the text
        qsizetype tamanho = texto.size();
        for (qsizetype pos = d.dobrado.indexOf(padrao); pos >= 0;) {
            const qsizetype fim = pos + padrao.size();
            const bool inteiro = (pos == 0 || o[size_t(pos - 1)] != o[size_t(pos)]) && (fim == n || o[size_t(fim - 1)] != o[size_t(fim)]);
            if (inteiro && limites.ehLimite(o[size_t(pos)]) && limites.ehLimite(o[size_t(fim)])) {
                aceitos.emplace_back(o[size_t(pos)], o[size_t(fim)]);
                tamanho += it.value().size() - (o[size_t(fim)] - o[size_t(pos)]);
                pos = d.dobrado.indexOf(padrao, fim);
            } else {
                pos = d.dobrado.indexOf(padrao, pos + 1);
            }
        }
        if (tamanho > limite)
            continue; // a correction that would grow the text past the limit is skipped
        QString saida;
        qsizetype copiado = 0;
        for (const auto& [ini, fim] : aceitos) {
            saida += texto.mid(copiado, ini - copiado) + it.value();
            copiado = fim;
        }
        texto = saida + texto.mid(copiado);
    }
    return texto;
}

} // namespace sonvo::teste
