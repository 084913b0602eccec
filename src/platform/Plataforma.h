#pragma once

#include "platform/AreaTransferencia.h"
#include "platform/Atalhos.h"
#include "platform/EntradaAudio.h"
#include "platform/Janelas.h"
#include "platform/Notificacoes.h"

#include <QList>
#include <QString>

#include <memory>

namespace sonvo {

// One line of `sonvo diagnostico`: a service and the way it works in this session.
struct FormaServico {
    QString servico;
    QString forma;
    bool disponivel = false;
};

// Every operating-system service Sonvo uses, one interface each; the backends are chosen at run
// time from the session.
struct Plataforma {
    std::unique_ptr<EntradaAudio> audio;
    std::unique_ptr<AreaTransferencia> clipboard;
    std::unique_ptr<TeclasSinteticas> teclas;
    std::unique_ptr<Janelas> janelas;
    std::unique_ptr<SomEvento> som;
    std::unique_ptr<AtalhosGlobais> atalhos;
    std::unique_ptr<NotificacoesUsuario> notificacoes;
    // The way each window-system service works here, as the backend chose it.
    QList<FormaServico> formas;
};

// The microphone: PortAudio where it was built in, else an input that reports there is none.
std::unique_ptr<EntradaAudio> criarEntradaAudio();
// Everything inert: no windows, no keys, no sound, no hotkeys, no notifications, a clipboard kept
// in memory (headless use, tests).
Plataforma criarPlataformaNula();
// The desktop's own services: X11 or Wayland as the session is (SONVO_PLATAFORMA overrides), inert
// ones without a desktop. Defined with the backends, which need the display libraries.
Plataforma criarPlataformaDesktop();

} // namespace sonvo
