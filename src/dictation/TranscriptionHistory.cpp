#include "dictation/TranscriptionHistory.h"

#include "core/Arquivos.h"
#include "core/Log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace sonvo {

TranscriptionHistory::TranscriptionHistory(QString pasta, Relogio relogio) : m_pasta(std::move(pasta)), m_relogio(std::move(relogio)) {}

QString TranscriptionHistory::arquivo() const
{
    return m_pasta + u'/' + QLatin1String(kArquivo);
}

std::optional<QList<TranscriptionEntry>> TranscriptionHistory::decodificar(const QByteArray& json)
{
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &erro);
    if (erro.error != QJsonParseError::NoError || !doc.isArray())
        return std::nullopt;
    const QJsonArray a = doc.array();
    QList<TranscriptionEntry> entradas;
    entradas.reserve(a.size());
    for (const QJsonValue& v : a) {
        if (!v.isObject())
            return std::nullopt;
        const QJsonObject o = v.toObject();
        const QJsonValue texto = o.value(QStringLiteral("texto"));
        const QJsonValue quando = o.value(QStringLiteral("timestamp"));
        const QJsonValue bundle = o.value(QStringLiteral("bundleID"));
        if (!texto.isString() || !quando.isString())
            return std::nullopt;
        const auto data = Json::lerDataIso(quando.toString());
        if (!data)
            return std::nullopt;
        TranscriptionEntry e{texto.toString(), *data, std::nullopt};
        if (bundle.isString())
            e.bundleID = bundle.toString();
        else if (!bundle.isUndefined() && !bundle.isNull())
            return std::nullopt;
        entradas.append(std::move(e));
    }
    return entradas;
}

QByteArray TranscriptionHistory::codificar(const QList<TranscriptionEntry>& entradas)
{
    QJsonArray a;
    for (const TranscriptionEntry& e : entradas) {
        QJsonObject o;
        o.insert(QStringLiteral("texto"), e.texto);
        o.insert(QStringLiteral("timestamp"), Json::dataIso(e.timestamp));
        if (e.bundleID)
            o.insert(QStringLiteral("bundleID"), *e.bundleID);
        a.append(o);
    }
    return Json::bonito(QJsonDocument(a));
}

std::optional<QList<TranscriptionEntry>> TranscriptionHistory::lerTodas() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido) {
        if (lido.erro().naoExiste())
            return QList<TranscriptionEntry>{};
        return std::nullopt;
    }
    return decodificar(lido.valor());
}

void TranscriptionHistory::append(const QString& texto, const std::optional<QString>& bundleID)
{
    const QDateTime agora = m_relogio();
    auto entradas = lerTodas();
    if (!entradas) {
        // The history starts over, but what was there is kept for the user.
        const auto guardado = Arquivos::preservarCorrompido(arquivo(), agora);
        if (!guardado) {
            Log::tag("Speech", QStringLiteral("histórico ilegível em %@ não pôde ser guardado à parte; entrada descartada"), {arquivo()});
            return;
        }
        Log::tag("Speech", QStringLiteral("histórico ilegível; original guardado em %@"), {*guardado});
        entradas = QList<TranscriptionEntry>{};
    }
    if (entradas->size() >= kCapacidade)
        entradas->remove(0, entradas->size() - kCapacidade + 1);
    entradas->append({texto, agora, bundleID});
    Caminhos::garantirPasta(m_pasta);
    Arquivos::gravarAtomico(arquivo(), codificar(*entradas)); // a failed write leaves the old file
}

QList<TranscriptionEntry> TranscriptionHistory::lerUltimas(qsizetype n) const
{
    const auto entradas = lerTodas();
    if (!entradas || n <= 0)
        return {};
    QList<TranscriptionEntry> ultimas;
    const qsizetype k = std::min(n, entradas->size());
    ultimas.reserve(k);
    for (qsizetype i = 0; i < k; ++i)
        ultimas.append(entradas->at(entradas->size() - 1 - i));
    return ultimas;
}

QStringList TranscriptionHistory::textosRecentes(qsizetype n) const
{
    QStringList textos;
    for (const TranscriptionEntry& e : lerUltimas(n))
        textos << e.texto;
    return textos;
}

qsizetype TranscriptionHistory::quantidade() const
{
    return lerTodas().value_or(QList<TranscriptionEntry>{}).size();
}

} // namespace sonvo
