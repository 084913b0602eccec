#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringView>

#include <optional>
#include <vector>

namespace sonvo::TextoUnicode {

// Whole-file UTF-8 decoding that refuses invalid bytes instead of replacing them, so a file in
// another encoding is treated as unreadable rather than silently mangled. A leading byte-order
// mark is kept as U+FEFF, so the bytes written back are the ones read.
std::optional<QString> decodificarUtf8(const QByteArray& bytes);

// Spaces and tabs: horizontal tab plus the space separators (general category Zs).
bool ehEspaco(char16_t c);
// Also line breaks: U+000A..U+000D, U+0085, U+2028, U+2029.
bool ehEspacoOuQuebra(char16_t c);
QStringView aparar(QStringView s);            // spaces and tabs only: a carriage return stays
QStringView apararComQuebras(QStringView s);  // spaces, tabs and line breaks

// Locale-independent full lower-casing (root locale), as the words are compared everywhere.
QString minusculas(const QString& s);

// Length in user-perceived characters (extended grapheme clusters).
qsizetype contarGrafemas(QStringView s);
// The first `n` grapheme clusters of `s` (all of it when shorter).
QString prefixoGrafemas(const QString& s, qsizetype n);
// One entry per grapheme cluster, in canonical composition, so clusters compare by canonical
// equivalence with a plain ==.
QList<QString> grafemasCanonicos(QStringView s);
// Canonical composition (NFC), so canonically equivalent spellings become equal keys.
QString nfc(const QString& s);
// True when every UTF-16 unit is below U+0300 and there is no CR LF pair: each unit is then one
// grapheme cluster and units compare like clusters.
bool unidadesSaoGrafemas(QStringView s);

// Case- and diacritic-insensitive folding: canonical decomposition, nonspacing marks removed,
// full case folding. `origem[i]` is the index in the original text of the code point that
// produced unit i of `dobrado`; `origem` has one more entry, the original length.
struct TextoDobrado {
    QString dobrado;
    std::vector<qsizetype> origem;
};
TextoDobrado dobrarComMapa(QStringView s);
// The same, appended to existing buffers; `base` is added to every index written to `origem`,
// and no final entry is written.
void acrescentarDobrado(QStringView s, qsizetype base, QString& dobrado, std::vector<qsizetype>& origem);
QString dobrar(QStringView s);

// Grapheme boundaries of one text, answered without ICU where the neighbours make it obvious;
// after a few dozen questions for ICU every boundary is marked in one pass, so the answers stay
// linear in total even inside very long clusters.
class LimitesGrafema {
public:
    explicit LimitesGrafema(QStringView texto);
    ~LimitesGrafema();
    LimitesGrafema(const LimitesGrafema&) = delete;
    LimitesGrafema& operator=(const LimitesGrafema&) = delete;
    bool ehLimite(qsizetype indice);

private:
    QStringView m_texto;
    struct Icu;
    Icu* m_icu = nullptr;
};

} // namespace sonvo::TextoUnicode
