#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>

#include <functional>

namespace sonvo {

// The texts Sonvo inserted most recently, in memory only, so the Tier 2 search can see which
// words the user keeps producing. Confined to the main thread.
class InsertBuffer {
public:
    static constexpr qsizetype kCapacidade = 50;
    struct Entrada {
        QString texto; // trimmed
        QDateTime timestamp;
    };
    using Relogio = std::function<QDateTime()>;

    explicit InsertBuffer(Relogio relogio = &QDateTime::currentDateTimeUtc);

    // Blank texts are ignored; the oldest entries leave once there are more than 50.
    void adicionar(const QString& texto);
    // Lower-cased words of four or more characters counted over every entry (each occurrence
    // counts), keeping those seen at least `minOcorrencias` times. Canonically equivalent
    // spellings count as one word.
    QMap<QString, int> palavrasFrequentes(int minOcorrencias) const;
    const QList<Entrada>& entradas() const { return m_entradas; }

private:
    Relogio m_relogio;
    QList<Entrada> m_entradas; // oldest first
};

} // namespace sonvo
