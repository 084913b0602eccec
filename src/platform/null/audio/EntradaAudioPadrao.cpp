#include "platform/null/PlataformaNula.h"

namespace sonvo {

// Builds without PortAudio have no microphone.
std::unique_ptr<EntradaAudio> criarEntradaAudio()
{
    return std::make_unique<EntradaAudioNula>();
}

} // namespace sonvo
