#pragma once

#include <cstddef>

namespace sonvo {

// The waveform's input level from one buffer, 0 to 1: channel 0 only (interleaved with
// `canais` channels), 0.3 × peak + 0.7 × RMS in dBFS, -44 dB maps to 0 and -8 dB and louder to 1,
// curved by 0.7 and gated below 0.12.
float nivelDoBuffer(const float* intercalado, std::size_t quadros, int canais);

} // namespace sonvo
