#include "dictation/ConversorWav.h"

#include <QFile>

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace sonvo {

namespace {
constexpr int kTaxaSaida = 16000;
constexpr int kMeiaJanela = 16; // taps on each side of the windowed sinc
constexpr sf_count_t kBloco = 4096;
// libsndfile maps its compression level linearly onto Opus bitrates, from about 256 kbit/s at 0
// to 6 kbit/s at 1: 0.92 asks for about 26 kbit/s, plenty for a voice at 16 kHz.
constexpr double kNivelOpus = 0.92;

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

// A windowed-sinc resampler fed block by block: it keeps only the input its filter still needs.
// Output n sits at input position n × taxa / 16000, whose fraction takes 16000 / gcd values: the
// filter's taps are computed once per fraction, not per sample.
class Reamostrador {
public:
    explicit Reamostrador(int taxaEntrada)
        : m_taxa(taxaEntrada), m_fases(kTaxaSaida / std::gcd(taxaEntrada, kTaxaSaida)),
          m_pesos(static_cast<size_t>(m_fases) * 2 * kMeiaJanela)
    {
        const double corte = std::min(1.0, static_cast<double>(kTaxaSaida) / taxaEntrada) * 0.95;
        for (long long f = 0; f < m_fases; ++f) {
            const double fracao = static_cast<double>(f) / static_cast<double>(m_fases);
            for (int j = 0; j < 2 * kMeiaJanela; ++j) {
                const double d = fracao - static_cast<double>(j - kMeiaJanela + 1);
                const double janela = 0.5 + 0.5 * std::cos(M_PI * d / (kMeiaJanela + 1));
                m_pesos[static_cast<size_t>(f * 2 * kMeiaJanela + j)] = corte * sinc(corte * d) * janela;
            }
        }
    }

    // Appends input and returns every output sample whose filter it now covers.
    void alimentar(const float* mono, size_t n, std::vector<float>& saida)
    {
        m_entrada.insert(m_entrada.end(), mono, mono + n);
        m_recebidas += static_cast<long long>(n);
        produzir(saida, false);
    }
    // The samples near the end, whose filter runs past the input, computed with what there is.
    void terminar(std::vector<float>& saida) { produzir(saida, true); }

private:
    void produzir(std::vector<float>& saida, bool fim)
    {
        const long long total = m_recebidas * kTaxaSaida / m_taxa;
        for (; m_proxima < total; ++m_proxima) {
            const long long posicao = m_proxima * m_taxa; // in 1/16000ths of an input sample
            const long long centro = posicao / kTaxaSaida;
            if (!fim && centro + kMeiaJanela >= m_recebidas)
                break;
            const long long fase = (posicao % kTaxaSaida) * m_fases / kTaxaSaida;
            const double* pesos = &m_pesos[static_cast<size_t>(fase * 2 * kMeiaJanela)];
            double acc = 0.0;
            double soma = 0.0;
            for (int j = 0; j < 2 * kMeiaJanela; ++j) {
                const long long k = centro - kMeiaJanela + 1 + j;
                if (k < 0 || k >= m_recebidas)
                    continue;
                acc += pesos[j] * m_entrada[static_cast<size_t>(k - m_base)];
                soma += pesos[j];
            }
            saida.push_back(static_cast<float>(std::clamp(soma != 0.0 ? acc / soma : 0.0, -1.0, 1.0)));
        }
        // What the next output's filter no longer reaches is dropped.
        const long long primeiraUtil = m_proxima * m_taxa / kTaxaSaida - kMeiaJanela;
        if (primeiraUtil - m_base > static_cast<long long>(kBloco)) {
            m_entrada.erase(m_entrada.begin(), m_entrada.begin() + (primeiraUtil - m_base));
            m_base = primeiraUtil;
        }
    }

    long long m_taxa;
    long long m_fases;
    std::vector<double> m_pesos; // per fraction, the 2 × kMeiaJanela taps around it
    std::vector<float> m_entrada;
    long long m_base = 0;      // index of m_entrada[0] in the whole input
    long long m_recebidas = 0; // input samples so far
    long long m_proxima = 0;   // next output sample
};

// Reads `origem`, hands 16 kHz mono blocks to `escrever`; the cause on failure.
template<typename Escrever>
std::optional<QString> reamostrar(const QString& origem, Escrever escrever)
{
    SF_INFO info{};
    Arquivo entrada;
    entrada.f = sf_open(QFile::encodeName(origem).constData(), SFM_READ, &info);
    if (!entrada.f)
        return QString::fromUtf8(sf_strerror(nullptr));
    if (info.channels < 1 || info.samplerate < 1)
        return QStringLiteral("áudio sem canais");
    Reamostrador r(info.samplerate);
    std::vector<float> bloco(static_cast<size_t>(kBloco * info.channels));
    std::vector<float> mono(static_cast<size_t>(kBloco));
    std::vector<float> saida;
    for (;;) {
        const sf_count_t lidos = sf_readf_float(entrada.f, bloco.data(), kBloco);
        if (lidos <= 0)
            break;
        for (sf_count_t i = 0; i < lidos; ++i) {
            float soma = 0.0f;
            for (int c = 0; c < info.channels; ++c)
                soma += bloco[static_cast<size_t>(i * info.channels + c)];
            mono[static_cast<size_t>(i)] = soma / static_cast<float>(info.channels);
        }
        saida.clear();
        r.alimentar(mono.data(), static_cast<size_t>(lidos), saida);
        if (const auto erro = escrever(saida))
            return erro;
    }
    // A read error looks like the end of the file: a cut recording must not pass for a whole one.
    if (sf_error(entrada.f) != SF_ERR_NO_ERROR)
        return QString::fromUtf8(sf_strerror(entrada.f));
    saida.clear();
    r.terminar(saida);
    return escrever(saida);
}

std::optional<QString> converter(const QString& origem, const QString& destino, int formato, bool opus)
{
    SF_INFO infoSaida{};
    infoSaida.samplerate = kTaxaSaida;
    infoSaida.channels = 1;
    infoSaida.format = formato;
    Arquivo out;
    out.f = sf_open(QFile::encodeName(destino).constData(), SFM_WRITE, &infoSaida);
    if (!out.f)
        return QString::fromUtf8(sf_strerror(nullptr));
    if (opus) {
        double nivel = kNivelOpus;
        sf_command(out.f, SFC_SET_COMPRESSION_LEVEL, &nivel, sizeof nivel);
    }
    const auto erro = reamostrar(origem, [&](const std::vector<float>& amostras) -> std::optional<QString> {
        const auto n = static_cast<sf_count_t>(amostras.size());
        if (n > 0 && sf_writef_float(out.f, amostras.data(), n) != n)
            return QString::fromUtf8(sf_strerror(out.f));
        return std::nullopt;
    });
    if (erro)
        return erro;
    // Closing writes the last pages (Ogg) or the final header (WAV).
    const int fechamento = sf_close(out.f);
    out.f = nullptr;
    if (fechamento != 0)
        return QString::fromUtf8(sf_error_number(fechamento));
    return std::nullopt;
}
} // namespace

std::optional<QString> converterParaReconhecimento(const QString& origem, const QString& destino)
{
    return converter(origem, destino, SF_FORMAT_WAV | SF_FORMAT_PCM_16, false);
}

std::optional<QString> converterParaOpus(const QString& origem, const QString& destino)
{
    return converter(origem, destino, SF_FORMAT_OGG | SF_FORMAT_OPUS, true);
}

} // namespace sonvo
