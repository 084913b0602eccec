#include "dictation/NivelAudio.h"

#include <algorithm>
#include <cmath>

namespace sonvo {

float nivelDoBuffer(const float* intercalado, std::size_t quadros, int canais)
{
    if (!intercalado || canais < 1)
        return 0.0f;
    float somaQuadrados = 0.0f;
    float pico = 0.0f;
    for (std::size_t i = 0; i < quadros; ++i) {
        const float v = intercalado[i * static_cast<std::size_t>(canais)];
        somaQuadrados += v * v;
        pico = std::max(pico, std::fabs(v));
    }
    float mix = 0.0f;
    if (quadros > 0) {
        const float rms = std::sqrt(somaQuadrados / static_cast<float>(quadros));
        mix = 0.3f * pico + 0.7f * rms;
    }
    const float db = 20.0f * std::log10(std::max(mix, 1e-7f));
    const float normalizado = std::min((db + 44.0f) / 36.0f, 1.0f);
    const float curvado = std::pow(std::max(normalizado, 0.0f), 0.7f);
    if (curvado < 0.12f)
        return 0.0f;
    return std::min((curvado - 0.12f) / 0.88f, 1.0f);
}

} // namespace sonvo
