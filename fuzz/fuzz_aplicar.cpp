// The fast correction engine against the plain algorithm. The input is a text, then pairs
// "heard\x1freplacement", separated by \x1e; the first pair's heard phrase is also whitelisted
// when the input starts with '!'. The growth limit is brought down to a few thousand units, so
// runs exercise it instead of copying megabytes.
#include "vocab_referencia.h"
#include "vocabulary/TextoEmCorrecao.h"
#include "vocabulary/TextoUnicode.h"

#include <cstddef>
#include <cstdint>

using namespace sonvo;

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

    // What VocabularyService::aplicar does, with the smaller limit.
    QSet<QString> protegidas;
    for (const QString& w : whitelist)
        protegidas.insert(TextoUnicode::dobrar(w));
    TextoEmCorrecao rapido(texto, limite);
    for (auto it = correcoes.begin(); it != correcoes.end(); ++it) {
        const QString padrao = TextoUnicode::dobrar(it.key());
        if (!padrao.isEmpty() && !protegidas.contains(padrao))
            rapido.substituir(padrao, it.value());
    }
    if (rapido.texto() != teste::aplicarReferencia(correcoes, whitelist, texto, limite))
        __builtin_trap();
    return 0;
}
