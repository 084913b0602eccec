#pragma once

#include <QString>

#include <optional>

namespace sonvo {

// Writes the recording as 16 kHz mono 16-bit PCM, the input local recognisers expect: channels
// averaged, band-limited resampling. Returns the cause on failure.
std::optional<QString> converterParaReconhecimento(const QString& origem, const QString& destino);

} // namespace sonvo
