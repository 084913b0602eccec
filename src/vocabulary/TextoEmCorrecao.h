#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>
#include <memory>
#include <vector>

namespace sonvo {

// A text going through a list of corrections, with its case- and diacritic-folded form kept in
// step. A correction that matches is spliced into both forms, so the text is folded only once
// however many corrections apply; presence filters of the folded text's 4-grams and 8-grams let
// the many heard phrases that cannot occur skip the search altogether. The result is the one of
// folding and searching the whole text again for every correction.
class TextoEmCorrecao {
public:
    // `limite`: the size past which a correction is not applied; by default limiteDeTamanho().
    explicit TextoEmCorrecao(const QString& texto, qsizetype limite = -1);
    ~TextoEmCorrecao();
    TextoEmCorrecao(const TextoEmCorrecao&) = delete;
    TextoEmCorrecao& operator=(const TextoEmCorrecao&) = delete;

    enum class Efeito { nenhum, substituiu, grandeDemais };
    // Replaces every match of `padraoDobrado` (already folded), left to right without overlaps,
    // by `escrever` verbatim. A match covers whole source characters and starts and ends on
    // grapheme boundaries of the text. Corrections feed on each other's output, so a vocabulary
    // whose replacements contain later heard phrases could grow the text without bound: a
    // correction that would take it past four times its first size plus a million units is
    // not applied (grandeDemais).
    Efeito substituir(const QString& padraoDobrado, const QString& escrever);
    static qsizetype limiteDeTamanho(qsizetype tamanhoInicial);
    QString texto() const;

    // Working buffers, kept per thread between texts: allocating them afresh for every
    // correction made the allocator map and unmap pages far more often than it searched.
    struct Memoria;

private:
    bool podeConter(QStringView padrao) const;
    void marcar(qsizetype de, qsizetype ate);

    Memoria* m_mem = nullptr;
    std::unique_ptr<Memoria> m_propria; // when the thread's buffers are already in use
    int m_atual = 0;                    // which of the two buffer sets holds the current text
    int m_bitsFiltro = 0;
    qsizetype m_limite = 0;
};

} // namespace sonvo
