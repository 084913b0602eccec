#include "platform/Plataforma.h"

namespace sonvo {

// A build without a desktop backend: every service inert, the microphone included.
Plataforma criarPlataformaDesktop()
{
    return criarPlataformaNula();
}

} // namespace sonvo
