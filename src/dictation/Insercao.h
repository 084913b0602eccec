#pragma once

#include "vocabulary/SugestaoFuzzy.h"

#include <QList>
#include <QString>
#include <QCoroTask>

namespace sonvo {

// What the dictation pipeline needs from the insertion service: put the text where the user
// types, and search the Tier 2 suggestions against what was inserted before.
class Insercao {
public:
    virtual ~Insercao() = default;
    virtual QCoro::Task<> inserir(QString texto) = 0;
    virtual QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString& transcricao) = 0;
};

} // namespace sonvo
