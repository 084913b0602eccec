// What reaches intent detection from outside: the model's answer and the dictated text, any bytes.
#include "ai/IntentDetectionService.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace sonvo;

namespace {

// Nothing detected, or an enabled action with a confidence that means something.
void verificar(const IntentResult& r, const QSet<QuickAction>& habilitadas)
{
    if (r == IntentResult::nada())
        return;
    if (!r.acao || !habilitadas.contains(*r.acao) || r.confianca == IntentConfianca::nenhuma)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    if (tamanho == 0)
        return 0;
    // The first byte chooses the enabled actions, so disabled ones are exercised as well.
    QList<QuickAction> acoes;
    for (size_t i = 0; i < QuickActions::todas.size(); ++i)
        if (dados[0] & (1u << i))
            acoes.append(QuickActions::todas[i]);
    const QSet<QuickAction> habilitadas(acoes.begin(), acoes.end());
    const char* resto = reinterpret_cast<const char*>(dados + 1);
    const qsizetype n = qsizetype(tamanho - 1);

    // As UTF-8 (invalid bytes become replacement characters) and as raw UTF-16, which can carry
    // lone surrogates as a JSON escape can.
    QString utf16(n / 2, Qt::Uninitialized);
    std::memcpy(utf16.data(), resto, size_t(n / 2) * 2);
    for (const QString& texto : {QString::fromUtf8(resto, n), utf16}) {
        verificar(IntentDetectionService::parseRespostaLLM(texto, habilitadas), habilitadas);
        const IntentResult local = IntentDetectionService::classificarLocal(texto, acoes);
        verificar(local, habilitadas);
        if (local.confianca == IntentConfianca::nenhuma && local.acao)
            __builtin_trap();
        if (!IntentDetectionService::montarPrompt(texto, acoes).contains(texto))
            __builtin_trap();
    }
    return 0;
}
