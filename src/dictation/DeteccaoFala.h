#pragma once

#include "core/Resultado.h"

#include <QString>

#include <optional>

namespace sonvo {

// How much of a recording is speech: a 30 ms window counts when its RMS (over every channel) is
// above kLimiarFalaDbfs. Tuned on the virtual microphone's digital silence, room noise at -50 dBFS
// and espeak-ng speech, whose words sit between -37 and -13 dBFS.
struct AnaliseFala {
    static constexpr double kJanelaSegundos = 0.030;
    static constexpr double kLimiarFalaDbfs = -40.0;
    // Below this much speech there is nothing to transcribe: a click or a breath, not a word.
    static constexpr double kFalaMinimaSegundos = 0.15;

    double duracao = 0.0;
    double segundosComFala = 0.0;
    bool temFala() const { return segundosComFala >= kFalaMinimaSegundos; }
};

// Reads the file block by block (memory stays flat for a 20-minute recording); the cause when it
// cannot be read.
Resultado<AnaliseFala, QString> analisarFala(const QString& arquivo);

// Speech models answer silence with the prompt they were given or with a few stock phrases
// ("Obrigado.", "Legendas pela comunidade Amara.org"). Such a transcript is taken for silence:
// the prompt always, a stock phrase only when under a second of the audio was speech.
bool pareceAlucinacao(const QString& texto, const std::optional<QString>& prompt, const AnaliseFala& analise);

} // namespace sonvo
