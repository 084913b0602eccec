// "transcription-history.json" as found on disk: any bytes.
#include "core/Arquivos.h"
#include "dictation/TranscriptionHistory.h"

#include <cstddef>
#include <cstdint>

using namespace sonvo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(dados), qsizetype(tamanho));
    const auto entradas = TranscriptionHistory::decodificar(bytes);
    if (!entradas)
        return 0;
    // What was read must survive being written back: same texts, applications and written dates.
    const auto relidas = TranscriptionHistory::decodificar(TranscriptionHistory::codificar(*entradas));
    if (!relidas || relidas->size() != entradas->size())
        __builtin_trap();
    for (qsizetype i = 0; i < entradas->size(); ++i) {
        const TranscriptionEntry& a = entradas->at(i);
        const TranscriptionEntry& b = relidas->at(i);
        if (a.texto != b.texto || a.bundleID != b.bundleID || Json::dataIso(a.timestamp) != Json::dataIso(b.timestamp))
            __builtin_trap();
    }
    return 0;
}
