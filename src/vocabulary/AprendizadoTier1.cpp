#include "vocabulary/AprendizadoTier1.h"

#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "vocabulary/Levenshtein.h"
#include "vocabulary/MotorCorrecoes.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace sonvo {

AprendizadoTier1::AprendizadoTier1(Configuracoes& config, QObject* parent) : QObject(parent), m_config(config) {}

void AprendizadoTier1::carregarPendentes()
{
    const QByteArray dados = m_config.dados(QString::fromLatin1(kChavePendentes));
    if (dados.isEmpty())
        return;
    const QJsonDocument doc = QJsonDocument::fromJson(dados);
    if (!doc.isObject())
        return;
    QMap<QString, int> lidos;
    const QJsonObject o = doc.object();
    for (auto it = o.begin(); it != o.end(); ++it) {
        const double v = it.value().toDouble(std::nan(""));
        if (!it.value().isDouble() || v != std::floor(v) || v < -2147483648.0 || v > 2147483647.0)
            return; // one bad counter spoils the decode, as for any typed decode
        lidos.insert(it.key(), static_cast<int>(v));
    }
    m_pending = lidos;
}

void AprendizadoTier1::salvarPendentes()
{
    QJsonObject o;
    for (auto it = m_pending.begin(); it != m_pending.end(); ++it)
        o.insert(it.key(), it.value());
    m_config.definir(QString::fromLatin1(kChavePendentes), QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QList<AprendizadoTier1::Candidato> AprendizadoTier1::aprenderCorrecao(const QString& original, const QString& editado,
                                                                       const std::optional<QString>& contextoApp)
{
    Q_UNUSED(contextoApp); // accepted for the callers' sake; corrections are learnt globally
    if (m_pending.isEmpty())
        carregarPendentes();
    const QString o = TextoUnicode::apararComQuebras(original).toString();
    const QString e = TextoUnicode::apararComQuebras(editado).toString();
    if (o == e)
        return {};

    const QStringList antes = MotorCorrecoes::tokenizar(o);
    const QStringList depois = MotorCorrecoes::tokenizar(e);
    QList<Candidato> candidatos;
    // Positions are paired as they stand: an inserted or deleted word shifts the rest, and
    // such pairs rarely pass the tests below.
    const qsizetype n = std::min(antes.size(), depois.size());
    for (qsizetype i = 0; i < n; ++i) {
        const QString a = TextoUnicode::minusculas(antes[i]);
        const QString b = TextoUnicode::minusculas(depois[i]);
        if (TextoUnicode::contarGrafemas(a) < 4 || TextoUnicode::contarGrafemas(b) < 4)
            continue;
        if (a == b)
            continue; // a change of case alone is never learnt
        const int d = Levenshtein::distancia(a, b);
        if (d == 0 || d >= 3)
            continue;
        const QString chave = TextoUnicode::nfc(a + u'|' + depois[i]);
        const int conta = m_pending.value(chave, 0) + 1;
        m_pending.insert(chave, conta);
        Log::tag("Vocab/Tier1", QStringLiteral("candidato '%@' → '%@' count=%d"), {antes[i], depois[i], conta});
        if (conta >= 3) {
            candidatos.append({a, depois[i]});
            m_pending.remove(chave);
        }
    }
    salvarPendentes();
    for (const Candidato& c : candidatos)
        Q_EMIT candidato(c.ouvido, c.escrever);
    return candidatos;
}

} // namespace sonvo
