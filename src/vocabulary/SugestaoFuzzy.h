#pragma once

#include <QList>
#include <QMap>
#include <QString>

namespace sonvo {

// One Tier 2 suggestion: a transcribed word close to a word the user inserts often.
struct SugestaoFuzzy {
    QString palavraTranscrita; // as it stands in the transcription
    QString sugestao;          // the frequent inserted word
    int distancia = 0;
    int ocorrenciasNoBuffer = 0;
    bool operator==(const SugestaoFuzzy&) const = default;
};

// Words of the transcription (four or more characters) within edit distance 1 or 2 of a word
// seen at least twice in the insert buffer, best match per word (smallest distance, then most
// occurrences, then first found), sorted by occurrences, highest first, stably.
// `frequentes` maps the lower-cased inserted words to how often they were seen.
QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QMap<QString, int>& frequentes, const QString& transcricao);

} // namespace sonvo
