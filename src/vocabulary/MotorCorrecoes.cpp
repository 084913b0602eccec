#include "vocabulary/MotorCorrecoes.h"

#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "vocabulary/TextoEmCorrecao.h"

namespace sonvo::MotorCorrecoes {

namespace {

bool ehTrimavelToken(QChar c)
{
    switch (c.unicode()) {
    case u'.': case u',': case u';': case u':': case u'!': case u'?': case u'"':
    case u'\'': case u'(': case u')': case u'[': case u']': case u'{': case u'}':
        return true;
    default:
        return false;
    }
}

} // namespace

QStringList tokenizar(const QString& texto)
{
    QStringList palavras;
    const qsizetype n = texto.size();
    qsizetype inicio = 0;
    for (qsizetype i = 0; i <= n; ++i) {
        if (i < n && !TextoUnicode::ehEspacoOuQuebra(texto[i].unicode()))
            continue;
        qsizetype a = inicio;
        qsizetype b = i;
        while (a < b && ehTrimavelToken(texto[a]))
            ++a;
        while (b > a && ehTrimavelToken(texto[b - 1]))
            --b;
        if (b > a)
            palavras.append(texto.mid(a, b - a));
        inicio = i + 1;
    }
    return palavras;
}

QString aplicar(const QMap<QString, QString>& correcoes, const QSet<QString>& whitelist, const QString& em)
{
    if (correcoes.isEmpty() || em.isEmpty())
        return em;
    QSet<QString> protegidas;
    protegidas.reserve(whitelist.size());
    for (const QString& w : whitelist)
        protegidas.insert(TextoUnicode::dobrar(w));

    TextoEmCorrecao texto(em);
    for (auto it = correcoes.begin(); it != correcoes.end(); ++it) {
        const QString padrao = TextoUnicode::dobrar(it.key());
        if (padrao.isEmpty() || protegidas.contains(padrao))
            continue;
        if (texto.substituir(padrao, it.value()) == TextoEmCorrecao::Efeito::grandeDemais)
            Log::tag("Vocab", QStringLiteral("correção '%@' não aplicada: o texto passaria de %d caracteres"),
                     {it.key(), TextoEmCorrecao::limiteDeTamanho(em.size())});
    }
    return texto.texto();
}

} // namespace sonvo::MotorCorrecoes
