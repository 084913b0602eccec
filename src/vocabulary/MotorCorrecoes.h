#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

namespace sonvo::MotorCorrecoes {

// Words split on white space and line breaks, with surrounding punctuation trimmed; shared by
// the insert buffer and the learning tiers so that they count the same words.
QStringList tokenizar(const QString& texto);
// Plain-substring replacement ignoring case and diacritics, no word boundaries; a pair whose
// heard phrase folds to a whitelisted word is skipped.
QString aplicar(const QMap<QString, QString>& correcoes, const QSet<QString>& whitelist, const QString& em);

} // namespace sonvo::MotorCorrecoes
