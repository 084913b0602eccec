// The fast correction engine against the plain algorithm. The input is a text, then pairs
// "heard\x1freplacement", separated by \x1e; the first pair's heard phrase is also whitelisted
// when the input starts with '!'. Replacements are cut at 64 units: longer ones only make
// every run spend its time copying megabytes (the growth limit has its own unit test).
#include "vocab_referencia.h"
#include "vocabulary/VocabularyService.h"

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
        correcoes.insert(sep < 0 ? p : p.left(sep), sep < 0 ? QString() : p.mid(sep + 1, 64));
    }
    QSet<QString> whitelist;
    if (texto.startsWith(u'!') && !correcoes.isEmpty())
        whitelist.insert(correcoes.firstKey());
    if (VocabularyService::aplicar(correcoes, whitelist, texto) != teste::aplicarReferencia(correcoes, whitelist, texto))
        __builtin_trap();
    return 0;
}
