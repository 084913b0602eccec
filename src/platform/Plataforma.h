#pragma once

#include "platform/AreaTransferencia.h"
#include "platform/Atalhos.h"
#include "platform/EntradaAudio.h"
#include "platform/Janelas.h"
#include "platform/Notificacoes.h"

#include <memory>

namespace sonvo {

// Every operating-system service Sonvo uses, one interface each; the backends are chosen by CMake.
struct Plataforma {
    std::unique_ptr<EntradaAudio> audio;
    std::unique_ptr<AreaTransferencia> clipboard;
    std::unique_ptr<TeclasSinteticas> teclas;
    std::unique_ptr<Janelas> janelas;
    std::unique_ptr<SomEvento> som;
    std::unique_ptr<AtalhosGlobais> atalhos;
    std::unique_ptr<NotificacoesUsuario> notificacoes;
};

// The microphone: PortAudio where it was built in, else an input that reports there is none.
std::unique_ptr<EntradaAudio> criarEntradaAudio();
// Everything inert: no windows, no keys, no sound, no hotkeys, no notifications, a clipboard kept
// in memory (headless use, tests).
Plataforma criarPlataformaNula();
// The desktop's own services (X11 now); defined by the backend the build selected.
Plataforma criarPlataformaDesktop();

} // namespace sonvo
