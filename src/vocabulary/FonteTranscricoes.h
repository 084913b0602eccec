#pragma once

#include <QStringList>

namespace sonvo {

// What the vocabulary audit reads of the dictation history: the raw texts, before any correction.
class FonteTranscricoes {
public:
    virtual ~FonteTranscricoes() = default;
    // The newest `n` texts, newest first; an unreadable history reads as empty.
    virtual QStringList textosRecentes(qsizetype n) const = 0;
    // How many dictations are kept; an unreadable history counts none.
    virtual qsizetype quantidade() const = 0;
};

} // namespace sonvo
