// The fast correction engine against the plain algorithm. The input is a text, then pairs
// "heard\x1freplacement", separated by \x1e; the first pair's heard phrase is also whitelisted
// when the input starts with '!'. The growth limit is brought down to a few thousand units, so
// runs exercise it instead of copying megabytes.
#include "core/TextoUnicode.h"
#include "vocabulary/TextoEmCorrecao.h"

#include <QMap>
#include <QSet>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

using namespace sonvo;

namespace {

// The plain correction algorithm, kept as the reference the fast one is compared with: fold the
// whole text again for every pair, search it, rebuild the text from the accepted matches.
// `limite`: the size past which a correction is skipped.
QString aplicarReferencia(const QMap<QString, QString>& correcoes, const QSet<QString>& whitelist, QString texto, qsizetype limite)
{
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    const QString entrada = QString::fromUtf8(reinterpret_cast<const char*>(dados), qsizetype(tamanho));
    QStringList partes = entrada.split(QChar(0x1e));
    const QString texto = partes.takeFirst();
    QMap<QString, QString> correcoes;
    for (const QString& p : partes.mid(0, 16)) {
        const qsizetype sep = p.indexOf(QChar(0x1f));
        correcoes.insert(sep < 0 ? p : p.left(sep), sep < 0 ? QString() : p.mid(sep + 1));
    }
    QSet<QString> whitelist;
    if (texto.startsWith(u'!') && !correcoes.isEmpty())
        whitelist.insert(correcoes.firstKey());
    const qsizetype limite = 2 * texto.size() + 4096;

    // What MotorCorrecoes::aplicar does, with the smaller limit.
    QSet<QString> protegidas;
    for (const QString& w : whitelist)
        protegidas.insert(TextoUnicode::dobrar(w));
    TextoEmCorrecao rapido(texto, limite);
    for (auto it = correcoes.begin(); it != correcoes.end(); ++it) {
        const QString padrao = TextoUnicode::dobrar(it.key());
        if (!padrao.isEmpty() && !protegidas.contains(padrao))
            rapido.substituir(padrao, it.value());
    }
    if (rapido.texto() != aplicarReferencia(correcoes, whitelist, texto, limite))
        __builtin_trap();
    return 0;
}
