#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

namespace sonvo {

// One parsed vocabulary source: the global Markdown document or one application's entry of the
// per-application JSON.
struct VocabularioSnapshot {
    QMap<QString, QString> correcoes; // heard phrase (lower-cased) -> replacement (as written)
    QStringList prioritarios;         // file order, duplicates kept
    QSet<QString> whitelist;          // lower-cased

    // What every reader returns for a missing or unreadable source.
    static const VocabularioSnapshot& vazio();
    bool operator==(const VocabularioSnapshot&) const = default;
};

} // namespace sonvo
