// The vocabulary document as a user's editor may leave it: any bytes.
#include "core/TextoUnicode.h"
#include "vocabulary/DocumentoVocabulario.h"
#include "vocabulary/MotorCorrecoes.h"

#include <cstddef>
#include <cstdint>

using namespace sonvo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(dados), qsizetype(tamanho));
    // What a read sees: strict UTF-8 or nothing; and the lossy decoding, for stranger text.
    for (const QString& texto : {TextoUnicode::decodificarUtf8(bytes).value_or(QString()), QString::fromUtf8(bytes)}) {
        const VocabularioSnapshot s = DocumentoVocabulario::parseMarkdown(texto);
        for (auto it = s.correcoes.begin(); it != s.correcoes.end(); ++it)
            if (it.key().isEmpty() || it.value().isEmpty() || it.key() != TextoUnicode::minusculas(it.key()))
                __builtin_trap();
        for (const QString& t : s.prioritarios)
            if (t.isEmpty())
                __builtin_trap();
        // The parsed lists go where a dictation sends them.
        const QString corrigido = MotorCorrecoes::aplicar(s.correcoes, s.whitelist, QStringLiteral("abri o vs code, você e o cloud code!"));
        if (!s.prioritarios.isEmpty()) {
            const QString dica = TextoUnicode::prefixoGrafemas(s.prioritarios.join(QStringLiteral(", ")), 1000);
            if (TextoUnicode::contarGrafemas(dica) > 1000)
                __builtin_trap();
        }
        (void)corrigido;
    }
    return 0;
}
