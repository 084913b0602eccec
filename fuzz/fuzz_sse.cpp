// What reaches the streaming readers from the network: any bytes, cut into chunks anywhere.
#include "ai/Dialeto.h"

#include <cstddef>
#include <cstdint>

using namespace sonvo;

namespace {

template <typename Interpretador>
QStringList ler(const QList<QByteArray>& pedacos, bool& fim)
{
    LinhasSSE linhas;
    Interpretador interp;
    QStringList fragmentos;
    fim = false;
    auto tratar = [&](const QByteArray& l) {
        if (fim)
            return;
        // A delivered line is never empty and never holds a line feed.
        if (l.isEmpty() || l.contains('\n'))
            __builtin_trap();
        const PassoSSE p = interp.linha(l);
        if (p.fragmento) {
            if (p.fragmento->isEmpty())
                __builtin_trap();
            fragmentos << *p.fragmento;
        }
        fim = p.fim;
    };
    for (const QByteArray& p : pedacos)
        for (const QByteArray& l : linhas.alimentar(p))
            tratar(l);
    if (const auto ultima = linhas.terminar())
        tratar(*ultima);
    return fragmentos;
}

// However the network cuts the stream, the reader sees the same fragments and the same end.
template <typename Interpretador>
void mesmoResultado(const QByteArray& tudo, const QList<QByteArray>& pedacos)
{
    bool fimInteiro = false, fimPartido = false;
    const QStringList inteiro = ler<Interpretador>({tudo}, fimInteiro);
    const QStringList partido = ler<Interpretador>(pedacos, fimPartido);
    if (inteiro != partido || fimInteiro != fimPartido)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    if (tamanho < 1)
        return 0;
    // The first byte chooses where the stream is cut.
    const size_t passo = 1 + dados[0] % 64;
    const QByteArray tudo(reinterpret_cast<const char*>(dados + 1), static_cast<qsizetype>(tamanho - 1));
    QList<QByteArray> pedacos;
    for (qsizetype i = 0; i < tudo.size(); i += static_cast<qsizetype>(passo))
        pedacos << tudo.mid(i, static_cast<qsizetype>(passo));
    mesmoResultado<InterpretadorOpenAI>(tudo, pedacos);
    mesmoResultado<InterpretadorAnthropic>(tudo, pedacos);
    return 0;
}
