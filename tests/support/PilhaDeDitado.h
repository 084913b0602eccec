#pragma once

#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/RecordingViewModel.h"
#include "capture/Insercao.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/null/PlataformaNula.h"
#include "support/Ambiente.h"
#include "vocabulary/VocabularyService.h"

#include <QNetworkAccessManager>

#include <functional>

namespace sonvo::teste {

// Insertion that only records what it was given, and where it would have gone (the application
// `frente` reports as being in front at that moment).
class InsercaoGravada : public Insercao {
public:
    std::function<std::optional<QString>()> frente;
    QList<QPair<QString, std::optional<QString>>> insercoes;
    QCoro::Task<> inserir(QString texto) override
    {
        insercoes << qMakePair(texto, frente ? frente() : std::nullopt);
        co_return;
    }
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString&) override { return {}; }
};

// A real speech manager and its view model in a throw-away home: no microphone, the network
// for loopback servers, insertions recorded. Fixtures derive from it next to ::testing::Test.
struct PilhaDeDitado {
    AmbienteTemporario amb;
    Configuracoes config{amb.arquivoConfig()};
    QNetworkAccessManager rede;
    EntradaAudioNula audio;
    InsercaoGravada insercao;
    SomNulo som;
    QString pasta = Caminhos::pastaDados();
    VocabularyService vocab{pasta, config};
    TranscriptionHistory historico{pasta};
    SpeechManager sm{SpeechManager::Dependencias{config, rede, pasta, audio, insercao, som, vocab, historico,
                                                 amb.raiz(), [] { return std::nullopt; }}};
    RecordingViewModel vm{sm};
};

} // namespace sonvo::teste
