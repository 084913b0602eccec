#include "vocabulary/TextoEmCorrecao.h"

#include "core/TextoUnicode.h"

#include <algorithm>
#include <utility>

namespace sonvo {

struct TextoEmCorrecao::Memoria {
    QString texto[2];
    QString dobrado[2];
    std::vector<qsizetype> origem[2]; // one entry per folded unit, plus the text's length
    std::vector<std::uint64_t> filtro; // two halves: 4-grams, then 8-grams
    bool emUso = false;
};

namespace {

constexpr qsizetype kQ = 4;
constexpr qsizetype kQLongo = 8;

std::uint64_t hashQgrama(const QChar* p)
{
    const std::uint64_t k = (std::uint64_t(p[0].unicode()) << 48) | (std::uint64_t(p[1].unicode()) << 32)
        | (std::uint64_t(p[2].unicode()) << 16) | std::uint64_t(p[3].unicode());
    return k * 0x9E3779B97F4A7C15ull;
}

std::uint64_t hashQgramaLongo(const QChar* p)
{
    const std::uint64_t b = hashQgrama(p + 4);
    return (hashQgrama(p) ^ ((b << 29) | (b >> 35))) * 0xD6E8FEB86659FD93ull;
}

TextoEmCorrecao::Memoria& memoriaDaThread()
{
    thread_local TextoEmCorrecao::Memoria m;
    return m;
}

// Empties a buffer without giving its storage back.
void esvaziar(QString& s)
{
    if (s.isDetached())
        s.resize(0);
    else
        s = QString();
}

} // namespace

qsizetype TextoEmCorrecao::limiteDeTamanho(qsizetype tamanhoInicial)
{
    return std::max(4 * tamanhoInicial, tamanhoInicial + (qsizetype(1) << 20));
}

TextoEmCorrecao::TextoEmCorrecao(const QString& texto, qsizetype limite)
    : m_limite(limite < 0 ? limiteDeTamanho(texto.size()) : limite)
{
    m_mem = &memoriaDaThread();
    if (m_mem->emUso) {
        m_propria = std::make_unique<Memoria>();
        m_mem = m_propria.get();
    }
    m_mem->emUso = true;

    QString& t = m_mem->texto[0];
    esvaziar(t);
    t.append(texto);
    QString& d = m_mem->dobrado[0];
    std::vector<qsizetype>& o = m_mem->origem[0];
    esvaziar(d);
    o.clear();
    TextoUnicode::acrescentarDobrado(texto, 0, d, o);
    o.push_back(texto.size());

    // About 64 bits per q-gram keeps false positives near 1.5%.
    m_bitsFiltro = 12;
    while ((qsizetype(1) << m_bitsFiltro) < d.size() * 64 && m_bitsFiltro < 24)
        ++m_bitsFiltro;
    m_mem->filtro.assign(size_t(2) << (m_bitsFiltro - 6), 0);
    marcar(0, d.size());
}

TextoEmCorrecao::~TextoEmCorrecao()
{
    // Keep buffers for dictation-sized texts only; one huge text must not pin its memory.
    constexpr qsizetype kGuardarAte = 1 << 18;
    if (m_mem->dobrado[0].capacity() > kGuardarAte || m_mem->dobrado[1].capacity() > kGuardarAte)
        *m_mem = Memoria{};
    m_mem->emUso = false;
}

QString TextoEmCorrecao::texto() const
{
    return m_mem->texto[m_atual];
}

void TextoEmCorrecao::marcar(qsizetype de, qsizetype ate)
{
    const QString& dobrado = m_mem->dobrado[m_atual];
    const QChar* d = dobrado.constData();
    const qsizetype fim = std::min(ate, dobrado.size());
    std::uint64_t* curtos = m_mem->filtro.data();
    std::uint64_t* longos = curtos + (size_t(1) << (m_bitsFiltro - 6));
    for (qsizetype i = std::max<qsizetype>(de, 0); i + kQ <= fim; ++i) {
        const std::uint64_t h = hashQgrama(d + i) >> (64 - m_bitsFiltro);
        curtos[h >> 6] |= std::uint64_t(1) << (h & 63);
        if (i + kQLongo <= fim) {
            const std::uint64_t g = hashQgramaLongo(d + i) >> (64 - m_bitsFiltro);
            longos[g >> 6] |= std::uint64_t(1) << (g & 63);
        }
    }
}

bool TextoEmCorrecao::podeConter(QStringView padrao) const
{
    // The filters only ever gain bits (splices add, nothing removes), so one missing q-gram
    // proves the phrase is absent.
    const std::uint64_t* curtos = m_mem->filtro.data();
    const std::uint64_t* longos = curtos + (size_t(1) << (m_bitsFiltro - 6));
    for (qsizetype i = 0; i + kQLongo <= padrao.size(); ++i) {
        const std::uint64_t g = hashQgramaLongo(padrao.data() + i) >> (64 - m_bitsFiltro);
        if (!(longos[g >> 6] & (std::uint64_t(1) << (g & 63))))
            return false;
    }
    for (qsizetype i = 0; i + kQ <= padrao.size(); ++i) {
        const std::uint64_t h = hashQgrama(padrao.data() + i) >> (64 - m_bitsFiltro);
        if (!(curtos[h >> 6] & (std::uint64_t(1) << (h & 63))))
            return false;
    }
    return true;
}

TextoEmCorrecao::Efeito TextoEmCorrecao::substituir(const QString& padrao, const QString& escrever)
{
    if (padrao.isEmpty() || !podeConter(padrao))
        return Efeito::nenhum;
    const QString& textoAtual = m_mem->texto[m_atual];
    const QString& dobradoAtual = m_mem->dobrado[m_atual];
    const std::vector<qsizetype>& origem = m_mem->origem[m_atual];
    const QStringView alvo(dobradoAtual);
    qsizetype pos = alvo.indexOf(padrao);
    if (pos < 0)
        return Efeito::nenhum;

    const qsizetype n = alvo.size();
    TextoUnicode::LimitesGrafema limites(textoAtual);
    // Not half of the "ss" folded from "ß", and whole grapheme clusters of the source.
    auto aceita = [&](qsizetype ini, qsizetype fim) {
        if (ini > 0 && origem[size_t(ini - 1)] == origem[size_t(ini)])
            return false;
        if (fim < n && origem[size_t(fim - 1)] == origem[size_t(fim)])
            return false;
        return limites.ehLimite(origem[size_t(ini)]) && limites.ehLimite(origem[size_t(fim)]);
    };
    std::vector<std::pair<qsizetype, qsizetype>> casamentos;
    while (pos >= 0) {
        const qsizetype fim = pos + padrao.size();
        if (aceita(pos, fim)) {
            casamentos.emplace_back(pos, fim);
            pos = alvo.indexOf(padrao, fim);
        } else {
            pos = alvo.indexOf(padrao, pos + 1);
        }
    }
    if (casamentos.empty())
        return Efeito::nenhum;
    qsizetype tamanhoNovo = textoAtual.size();
    for (const auto& [ini, fim] : casamentos)
        tamanhoNovo += escrever.size() - (origem[size_t(fim)] - origem[size_t(ini)]);
    if (tamanhoNovo > m_limite)
        return Efeito::grandeDemais;

    // Folding works character by character, so the fold of the new text is the fold of the
    // untouched stretches plus the fold of each replacement.
    const int proximo = 1 - m_atual;
    QString& texto = m_mem->texto[proximo];
    QString& dobrado = m_mem->dobrado[proximo];
    std::vector<qsizetype>& mapa = m_mem->origem[proximo];
    esvaziar(texto);
    esvaziar(dobrado);
    mapa.clear();
    std::vector<std::pair<qsizetype, qsizetype>> inseridos;
    inseridos.reserve(casamentos.size());

    qsizetype copiadoTexto = 0;
    qsizetype copiadoDobrado = 0;
    auto copiarTrecho = [&](qsizetype ateDobrado, qsizetype ateTexto) {
        const qsizetype base = texto.size();
        texto.append(QStringView(textoAtual).mid(copiadoTexto, ateTexto - copiadoTexto));
        dobrado.append(QStringView(dobradoAtual).mid(copiadoDobrado, ateDobrado - copiadoDobrado));
        for (qsizetype i = copiadoDobrado; i < ateDobrado; ++i)
            mapa.push_back(origem[size_t(i)] - copiadoTexto + base);
    };
    for (const auto& [ini, fim] : casamentos) {
        copiarTrecho(ini, origem[size_t(ini)]);
        const qsizetype inicio = dobrado.size();
        TextoUnicode::acrescentarDobrado(escrever, texto.size(), dobrado, mapa);
        texto.append(escrever);
        inseridos.emplace_back(inicio, dobrado.size());
        copiadoTexto = origem[size_t(fim)];
        copiadoDobrado = fim;
    }
    copiarTrecho(n, textoAtual.size());
    mapa.push_back(texto.size());

    m_atual = proximo;
    // New q-grams exist only in and around what was inserted.
    for (const auto& [ini, fim] : inseridos)
        marcar(ini - (kQLongo - 1), fim + (kQLongo - 1));
    return Efeito::substituiu;
}

} // namespace sonvo
