#include "core/TextoUnicode.h"

#include <QStringDecoder>

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

#include <array>
#include <memory>
#include <mutex>

namespace sonvo::TextoUnicode {

namespace {

const UChar* comoUChar(QStringView s)
{
    return reinterpret_cast<const UChar*>(s.utf16());
}

icu::UnicodeString paraIcu(QStringView s)
{
    return icu::UnicodeString(false, comoUChar(s), static_cast<int32_t>(s.size())); // read-only alias
}

QString deIcu(const icu::UnicodeString& s)
{
    return QString(reinterpret_cast<const QChar*>(s.getBuffer()), s.length());
}

const icu::Normalizer2* nfd()
{
    static const icu::Normalizer2* n = [] {
        UErrorCode e = U_ZERO_ERROR;
        const icu::Normalizer2* r = icu::Normalizer2::getNFDInstance(e);
        return U_SUCCESS(e) ? r : nullptr;
    }();
    return n;
}

const icu::Normalizer2* instanciaNfc()
{
    static const icu::Normalizer2* n = [] {
        UErrorCode e = U_ZERO_ERROR;
        const icu::Normalizer2* r = icu::Normalizer2::getNFCInstance(e);
        return U_SUCCESS(e) ? r : nullptr;
    }();
    return n;
}

icu::UnicodeString decomporSemMarcas(const icu::UnicodeString& s)
{
    icu::UnicodeString d = s;
    if (const auto* n = nfd()) {
        UErrorCode e = U_ZERO_ERROR;
        icu::UnicodeString r = n->normalize(s, e);
        if (U_SUCCESS(e))
            d = r;
    }
    icu::UnicodeString saida;
    for (int32_t i = 0; i < d.length();) {
        const UChar32 c = d.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK)
            saida.append(c);
        i += U16_LENGTH(c);
    }
    return saida;
}

// Folding of one code point. Decomposing and stripping marks again after the case fold makes
// the fold idempotent (a folded text folds to itself), so folded patterns and folded text agree.
icu::UnicodeString dobrarPontoIcu(UChar32 cp)
{
    icu::UnicodeString s = decomporSemMarcas(icu::UnicodeString(cp));
    s.foldCase(U_FOLD_CASE_DEFAULT);
    return decomporSemMarcas(s);
}

// Latin, Greek, Cyrillic and the combining marks are folded once and kept in a table: they are
// nearly all a Portuguese transcript holds, and ICU per character would dominate the cost.
constexpr char32_t kTabelaLimite = 0x800;
struct Dobra {
    std::array<char16_t, 4> u{};
    quint8 n = 0;
    bool tabelado = false;
};

const std::array<Dobra, kTabelaLimite>& tabela()
{
    static const auto t = [] {
        auto tab = std::make_unique<std::array<Dobra, kTabelaLimite>>();
        for (char32_t cp = 0; cp < kTabelaLimite; ++cp) {
            const icu::UnicodeString r = dobrarPontoIcu(static_cast<UChar32>(cp));
            Dobra& d = (*tab)[cp];
            if (r.length() <= static_cast<int32_t>(d.u.size())) {
                for (int32_t i = 0; i < r.length(); ++i)
                    d.u[static_cast<size_t>(i)] = r.charAt(i);
                d.n = static_cast<quint8>(r.length());
                d.tabelado = true;
            }
        }
        return tab;
    }();
    return *t;
}

template <typename Emitir>
void dobrarPonto(char32_t cp, Emitir&& emitir)
{
    if (cp < 0x80) {
        emitir(static_cast<char16_t>(cp >= u'A' && cp <= u'Z' ? cp + 32 : cp));
        return;
    }
    if (cp < kTabelaLimite) {
        const Dobra& d = tabela()[cp];
        if (d.tabelado) {
            for (quint8 i = 0; i < d.n; ++i)
                emitir(d.u[i]);
            return;
        }
    }
    const icu::UnicodeString r = dobrarPontoIcu(static_cast<UChar32>(cp));
    for (int32_t i = 0; i < r.length(); ++i)
        emitir(static_cast<char16_t>(r.charAt(i)));
}

template <typename Visitar>
void porPontoDeCodigo(QStringView s, Visitar&& visitar)
{
    const qsizetype n = s.size();
    for (qsizetype i = 0; i < n;) {
        const char16_t c = s[i].unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(s[i + 1].unicode())) {
            visitar(i, QChar::surrogateToUcs4(c, s[i + 1].unicode()));
            i += 2;
        } else {
            visitar(i, static_cast<char32_t>(c)); // a lone surrogate stands for itself
            i += 1;
        }
    }
}

std::unique_ptr<icu::BreakIterator> novoIteradorCaracteres()
{
    UErrorCode e = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> bi(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), e));
    if (U_FAILURE(e))
        return nullptr;
    return bi;
}

// Creating a break iterator costs far more than using one: one per thread.
icu::BreakIterator* iteradorDaThread()
{
    thread_local std::unique_ptr<icu::BreakIterator> bi = novoIteradorCaracteres();
    return bi.get();
}

// Walks the grapheme boundaries of `s` (0 and s.size() included) until `parar` returns true.
template <typename Parar>
void porLimites(QStringView s, Parar&& parar)
{
    icu::BreakIterator* bi = iteradorDaThread();
    if (!bi) { // no ICU data: code points stand in for clusters
        bool parou = false;
        porPontoDeCodigo(s, [&](qsizetype i, char32_t) {
            if (!parou)
                parou = parar(i);
        });
        if (!parou)
            parar(s.size());
        return;
    }
    UErrorCode e = U_ZERO_ERROR;
    UText* ut = utext_openUChars(nullptr, comoUChar(s), s.size(), &e);
    if (U_FAILURE(e))
        return;
    bi->setText(ut, e);
    if (U_SUCCESS(e)) {
        for (int32_t p = bi->first(); p != icu::BreakIterator::DONE; p = bi->next())
            if (parar(static_cast<qsizetype>(p)))
                break;
    }
    // Leave the shared iterator pointing at nothing we are about to free.
    static const UChar vazio[1] = {0};
    UErrorCode e2 = U_ZERO_ERROR;
    UText* nada = utext_openUChars(nullptr, vazio, 0, &e2);
    bi->setText(nada, e2);
    utext_close(nada);
    utext_close(ut);
}

} // namespace

std::optional<QString> decodificarUtf8(const QByteArray& bytes)
{
    QStringDecoder dec(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString texto = dec.decode(bytes);
    if (dec.hasError())
        return std::nullopt;
    return texto;
}

bool ehEspaco(char16_t c)
{
    if (c == u'\t' || c == u' ')
        return true;
    if (c < 0xA0)
        return false;
    return u_charType(c) == U_SPACE_SEPARATOR;
}

bool ehEspacoOuQuebra(char16_t c)
{
    if ((c >= 0x09 && c <= 0x0D) || c == u' ' || c == 0x85 || c == 0x2028 || c == 0x2029)
        return true;
    return ehEspaco(c);
}

namespace {
template <typename Pred>
QStringView apararCom(QStringView s, Pred&& pred)
{
    qsizetype ini = 0;
    qsizetype fim = s.size();
    while (ini < fim && pred(s[ini].unicode()))
        ++ini;
    while (fim > ini && pred(s[fim - 1].unicode()))
        --fim;
    return s.mid(ini, fim - ini);
}
} // namespace

QStringView aparar(QStringView s)
{
    return apararCom(s, ehEspaco);
}

QStringView apararComQuebras(QStringView s)
{
    return apararCom(s, ehEspacoOuQuebra);
}

QString minusculas(const QString& s)
{
    bool simples = true;
    for (QChar c : s) {
        // Below U+0130 Unicode's full lower-casing is the simple one-to-one mapping Qt applies.
        if (c.unicode() >= 0x130) {
            simples = false;
            break;
        }
    }
    if (simples)
        return s.toLower();
    icu::UnicodeString u(comoUChar(s), static_cast<int32_t>(s.size()));
    u.toLower(icu::Locale::getRoot());
    return deIcu(u);
}

bool unidadesSaoGrafemas(QStringView s)
{
    char16_t anterior = 0;
    for (QChar q : s) {
        const char16_t c = q.unicode();
        if (c >= 0x300 || (c == u'\n' && anterior == u'\r'))
            return false;
        anterior = c;
    }
    return true;
}

qsizetype contarGrafemas(QStringView s)
{
    if (unidadesSaoGrafemas(s))
        return s.size();
    qsizetype limites = 0;
    porLimites(s, [&](qsizetype) {
        ++limites;
        return false;
    });
    return limites > 0 ? limites - 1 : 0;
}

QString prefixoGrafemas(const QString& s, qsizetype n)
{
    if (n <= 0)
        return {};
    if (s.size() <= n) // a cluster has at least one unit
        return s;
    if (unidadesSaoGrafemas(s))
        return s.left(n);
    qsizetype corte = s.size();
    qsizetype vistos = -1; // the first boundary is 0
    porLimites(s, [&](qsizetype p) {
        if (++vistos == n) {
            corte = p;
            return true;
        }
        return false;
    });
    return s.left(corte);
}

QList<QString> grafemasCanonicos(QStringView s)
{
    QList<QString> saida;
    if (unidadesSaoGrafemas(s)) {
        saida.reserve(s.size());
        for (QChar c : s)
            saida.append(QString(c));
        return saida;
    }
    qsizetype anterior = -1;
    porLimites(s, [&](qsizetype p) {
        if (anterior >= 0) {
            const QStringView cluster = s.mid(anterior, p - anterior);
            if (cluster.size() == 1 && cluster[0].unicode() < 0x300) {
                saida.append(cluster.toString());
            } else {
                QString canonico = cluster.toString();
                if (const auto* n = instanciaNfc()) {
                    UErrorCode e = U_ZERO_ERROR;
                    const icu::UnicodeString r = n->normalize(paraIcu(cluster), e);
                    if (U_SUCCESS(e))
                        canonico = deIcu(r);
                }
                saida.append(canonico);
            }
        }
        anterior = p;
        return false;
    });
    return saida;
}

QString nfc(const QString& s)
{
    if (unidadesSaoGrafemas(s)) // nothing below U+0300 composes
        return s;
    const auto* n = instanciaNfc();
    if (!n)
        return s;
    UErrorCode e = U_ZERO_ERROR;
    const icu::UnicodeString r = n->normalize(paraIcu(s), e);
    return U_SUCCESS(e) ? deIcu(r) : s;
}

void acrescentarDobrado(QStringView s, qsizetype base, QString& dobrado, std::vector<qsizetype>& origem)
{
    porPontoDeCodigo(s, [&](qsizetype i, char32_t cp) {
        dobrarPonto(cp, [&](char16_t u) {
            dobrado.append(QChar(u));
            origem.push_back(base + i);
        });
    });
}

TextoDobrado dobrarComMapa(QStringView s)
{
    TextoDobrado r;
    r.dobrado.reserve(s.size() + 8);
    r.origem.reserve(size_t(s.size()) + 9);
    acrescentarDobrado(s, 0, r.dobrado, r.origem);
    r.origem.push_back(s.size());
    return r;
}

QString dobrar(QStringView s)
{
    QString saida;
    saida.reserve(s.size());
    porPontoDeCodigo(s, [&](qsizetype, char32_t cp) { dobrarPonto(cp, [&](char16_t u) { saida.append(QChar(u)); }); });
    return saida;
}

struct LimitesGrafema::Icu {
    std::unique_ptr<icu::BreakIterator> bi;
    UText* ut = nullptr;
    int consultas = 0;
    std::vector<bool> limite; // every boundary, once asking one by one stopped paying off
};

LimitesGrafema::LimitesGrafema(QStringView texto) : m_texto(texto) {}

LimitesGrafema::~LimitesGrafema()
{
    if (m_icu) {
        m_icu->bi.reset();
        if (m_icu->ut)
            utext_close(m_icu->ut);
        delete m_icu;
    }
}

bool LimitesGrafema::ehLimite(qsizetype i)
{
    if (i <= 0 || i >= m_texto.size())
        return true;
    const char16_t a = m_texto[i - 1].unicode();
    const char16_t b = m_texto[i].unicode();
    // Below U+0300 there are no extending marks, joiners or Hangul: only CR LF stays together.
    if (a < 0x300 && b < 0x300)
        return !(a == u'\r' && b == u'\n');
    if (!m_icu) {
        m_icu = new Icu;
        if (icu::BreakIterator* proto = iteradorDaThread())
            m_icu->bi.reset(proto->clone());
        if (m_icu->bi) {
            UErrorCode e = U_ZERO_ERROR;
            m_icu->ut = utext_openUChars(nullptr, comoUChar(m_texto), m_texto.size(), &e);
            if (U_SUCCESS(e))
                m_icu->bi->setText(m_icu->ut, e);
            if (U_FAILURE(e))
                m_icu->bi.reset();
        }
    }
    if (!m_icu->bi) // no ICU data: never split a surrogate pair, accept the rest
        return !(QChar::isHighSurrogate(a) && QChar::isLowSurrogate(b));
    // A single question costs little, but inside a long cluster each one rescans it: past a
    // few dozen questions, one pass over the whole text marks every boundary instead.
    constexpr int kConsultasAvulsas = 32;
    if (m_icu->limite.empty() && ++m_icu->consultas > kConsultasAvulsas) {
        m_icu->limite.assign(size_t(m_texto.size()) + 1, false);
        for (int32_t p = m_icu->bi->first(); p != icu::BreakIterator::DONE; p = m_icu->bi->next())
            m_icu->limite[size_t(p)] = true;
    }
    if (!m_icu->limite.empty())
        return m_icu->limite[size_t(i)];
    return m_icu->bi->isBoundary(static_cast<int32_t>(i));
}

} // namespace sonvo::TextoUnicode
