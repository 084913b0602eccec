#pragma once

#include "core/Arquivos.h"
#include "core/Configuracoes.h"
#include "dictation/SpeechManager.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/null/PlataformaNula.h"
#include "shell/RecordingViewModel.h"
#include "support/Ambiente.h"
#include "support/Falsos.h"
#include "vocabulary/VocabularyService.h"

#include <QNetworkAccessManager>


namespace sonvo::teste {

// A real speech manager and its view model in a throw-away home: no microphone (a silent one when
// `audio.presente`), the network for loopback servers, insertions recorded. Fixtures derive from it next to ::testing::Test.
struct PilhaDeDitado {
    AmbienteTemporario amb;
    Configuracoes config{amb.arquivoConfig()};
    QNetworkAccessManager rede;
    MicrofoneMudo audio;
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
