#pragma once

#include "vocabulary/FonteTranscricoes.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace sonvo {

struct TranscriptionEntry {
    QString texto; // raw, before any vocabulary correction
    QDateTime timestamp;
    std::optional<QString> bundleID;
    bool operator==(const TranscriptionEntry&) const = default;
};

// The raw text of the last 200 dictations in "transcription-history.json", for the vocabulary
// audit. Nothing is kept in memory: every call reads the file. Confined to the main thread.
class TranscriptionHistory : public FonteTranscricoes {
public:
    static constexpr const char* kArquivo = "transcription-history.json";
    static constexpr qsizetype kCapacidade = 200;
    using Relogio = std::function<QDateTime()>;

    explicit TranscriptionHistory(QString pasta, Relogio relogio = &QDateTime::currentDateTimeUtc);
    QString arquivo() const;

    // A file that cannot be decoded is kept beside it ("<name>.corrupt-<time>") and the
    // history starts over; when it cannot be kept, nothing is written. Never fails to the caller.
    void append(const QString& texto, const std::optional<QString>& bundleID);
    // The last `n` entries, newest first; an unreadable file reads as empty.
    QList<TranscriptionEntry> lerUltimas(qsizetype n) const;
    // Every entry, oldest first: empty for a missing file, nothing when the file cannot be read
    // or decoded (so callers that must tell the user can).
    std::optional<QList<TranscriptionEntry>> lerTodas() const;
    QStringList textosRecentes(qsizetype n) const override;
    qsizetype quantidade() const override;

    // An array of {"texto", "timestamp" (ISO 8601), "bundleID" (optional)}; one bad entry
    // spoils the whole file.
    static std::optional<QList<TranscriptionEntry>> decodificar(const QByteArray& json);
    // Pretty-printed, sorted keys, UTC dates; "bundleID" left out when absent.
    static QByteArray codificar(const QList<TranscriptionEntry>& entradas);

private:
    QString m_pasta;
    Relogio m_relogio;
};

} // namespace sonvo
