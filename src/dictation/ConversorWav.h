#pragma once

#include <QString>

#include <optional>

namespace sonvo {

// Both conversions read the recording block by block, average its channels and resample it to
// 16 kHz with a band-limited filter, so a 20-minute recording never sits whole in memory.
// Each returns the cause on failure.

// 16-bit PCM WAV, the input local recognisers expect.
std::optional<QString> converterParaReconhecimento(const QString& origem, const QString& destino);

// Ogg/Opus around 26 kbit/s: a twentieth of a 16 kHz WAV and a fiftieth of the 48 kHz float
// recording, which the transcription service takes as it is.
std::optional<QString> converterParaOpus(const QString& origem, const QString& destino);

} // namespace sonvo
