#include "dictation/DeteccaoFala.h"

#include <QFile>

#include <sndfile.h>

#include <cmath>
#include <vector>

namespace sonvo {

namespace {
// Letters and digits only, case-folded and without accents: "Obrigado!" and "obrigado" are one.
QString normalizar(const QString& s)
{
    QString r;
    for (const QChar c : s.normalized(QString::NormalizationForm_D))
        if (c.isLetterOrNumber())
            r += c.toCaseFolded();
    return r;
}

bool frasePronta(const QString& normalizado)
{
    static const char* const inteiras[] = {"obrigado", "obrigada", "obrigadoporassistir", "obrigadaporassistir",
                                           "tchau", "tchautchau", "inscrevasenocanal", "ateaproxima",
                                           "legendaspelacomunidadeamaraorg"};
    static const char* const prefixos[] = {"legendaspelacomunidade", "legendaadrianazanotto", "legendasadrianazanotto"};
    for (const char* f : inteiras)
        if (normalizado == QLatin1String(f))
            return true;
    for (const char* p : prefixos)
        if (normalizado.startsWith(QLatin1String(p)))
            return true;
    return false;
}
} // namespace

Resultado<AnaliseFala, QString> analisarFala(const QString& arquivo)
{
    SF_INFO info{};
    SNDFILE* f = sf_open(QFile::encodeName(arquivo).constData(), SFM_READ, &info);
    if (!f)
        return QString::fromUtf8(sf_strerror(nullptr));
    if (info.channels < 1 || info.samplerate < 1) {
        sf_close(f);
        return QStringLiteral("áudio sem canais");
    }
    const auto porJanela = static_cast<sf_count_t>(std::lround(info.samplerate * AnaliseFala::kJanelaSegundos));
    const double limiar = std::pow(10.0, AnaliseFala::kLimiarFalaDbfs / 10.0); // on the mean square
    std::vector<float> bloco(static_cast<size_t>(porJanela * info.channels));
    long long janelasComFala = 0;
    sf_count_t quadros = 0;
    for (;;) {
        const sf_count_t lidos = sf_readf_float(f, bloco.data(), porJanela);
        if (lidos <= 0)
            break;
        quadros += lidos;
        double soma = 0.0;
        for (sf_count_t i = 0; i < lidos * info.channels; ++i)
            soma += static_cast<double>(bloco[static_cast<size_t>(i)]) * bloco[static_cast<size_t>(i)];
        // A short last window is judged on what it has.
        if (soma / static_cast<double>(lidos * info.channels) > limiar)
            ++janelasComFala;
    }
    sf_close(f);
    AnaliseFala a;
    a.duracao = static_cast<double>(quadros) / info.samplerate;
    a.segundosComFala = static_cast<double>(janelasComFala) * AnaliseFala::kJanelaSegundos;
    return a;
}

bool pareceAlucinacao(const QString& texto, const std::optional<QString>& prompt, const AnaliseFala& analise)
{
    const QString t = normalizar(texto);
    if (t.isEmpty())
        return false;
    if (prompt && t == normalizar(*prompt))
        return true;
    return analise.segundosComFala < 1.0 && frasePronta(t);
}

} // namespace sonvo
