#pragma once

#include "capture/Insercao.h"

namespace sonvo::teste {

// Insertion that does nothing: for tests of the pipeline's states, not of where the text goes.
class SemInsercao : public Insercao {
public:
    QCoro::Task<> inserir(QString) override { co_return; }
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString&) override { return {}; }
};

} // namespace sonvo::teste
