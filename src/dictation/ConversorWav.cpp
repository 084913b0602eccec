#include "dictation/ConversorWav.h"

#include <QFile>

#include <sndfile.h>

#include <cmath>
#include <vector>

namespace sonvo {

namespace {
constexpr int kTaxaSaida = 16000;
constexpr int kMeiaJanela = 16; // taps on each side of the windowed sinc

struct Arquivo {
    SNDFILE* f = nullptr;
    ~Arquivo()
    {
        if (f)
            sf_close(f);
    }
};

double sinc(double x)
{
    return x == 0.0 ? 1.0 : std::sin(M_PI * x) / (M_PI * x);
}
} // namespace

std::optional<QString> converterParaReconhecimento(const QString& origem, const QString& destino)
{
    SF_INFO info{};
    Arquivo entrada;
    entrada.f = sf_open(QFile::encodeName(origem).constData(), SFM_READ, &info);
    if (!entrada.f)
        return QString::fromUtf8(sf_strerror(nullptr));
    if (info.channels < 1 || info.samplerate < 1)
        return QStringLiteral("áudio sem canais");

    std::vector<float> mono;
    mono.reserve(static_cast<size_t>(info.frames));
    std::vector<float> bloco(4096 * static_cast<size_t>(info.channels));
    for (;;) {
        const sf_count_t lidos = sf_readf_float(entrada.f, bloco.data(), 4096);
        if (lidos <= 0)
            break;
        for (sf_count_t i = 0; i < lidos; ++i) {
            float soma = 0.0f;
            for (int c = 0; c < info.channels; ++c)
                soma += bloco[static_cast<size_t>(i * info.channels + c)];
            mono.push_back(soma / static_cast<float>(info.channels));
        }
    }

    // Low-pass below the new Nyquist frequency while resampling, so that nothing folds back.
    const double razao = static_cast<double>(info.samplerate) / kTaxaSaida;
    const double corte = std::min(1.0, 1.0 / razao) * 0.95;
    const auto total = static_cast<size_t>(static_cast<double>(mono.size()) / razao);
    std::vector<short> saida(total);
    for (size_t n = 0; n < total; ++n) {
        const double t = static_cast<double>(n) * razao;
        const auto centro = static_cast<long long>(std::floor(t));
        double acc = 0.0;
        double pesos = 0.0;
        for (long long k = centro - kMeiaJanela + 1; k <= centro + kMeiaJanela; ++k) {
            if (k < 0 || k >= static_cast<long long>(mono.size()))
                continue;
            const double d = t - static_cast<double>(k);
            const double janela = 0.5 + 0.5 * std::cos(M_PI * d / (kMeiaJanela + 1));
            const double w = corte * sinc(corte * d) * janela;
            acc += w * mono[static_cast<size_t>(k)];
            pesos += w;
        }
        const double v = pesos != 0.0 ? acc / pesos : 0.0;
        saida[n] = static_cast<short>(std::lround(std::clamp(v, -1.0, 1.0) * 32767.0));
    }

    SF_INFO infoSaida{};
    infoSaida.samplerate = kTaxaSaida;
    infoSaida.channels = 1;
    infoSaida.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    Arquivo out;
    out.f = sf_open(QFile::encodeName(destino).constData(), SFM_WRITE, &infoSaida);
    if (!out.f)
        return QString::fromUtf8(sf_strerror(nullptr));
    if (sf_writef_short(out.f, saida.data(), static_cast<sf_count_t>(saida.size())) != static_cast<sf_count_t>(saida.size()))
        return QString::fromUtf8(sf_strerror(out.f));
    return std::nullopt;
}

} // namespace sonvo
