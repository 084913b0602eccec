#pragma once

#include "platform/Plataforma.h"

namespace sonvo::wayland {

// The services of a Wayland session: for each, the best way the compositor offers, then XWayland
// or the RemoteDesktop portal, and inert ones last. In `pastaPortal`: the RemoteDesktop consent kept
// between runs, and the desktop's last refusal of the hotkeys.
Plataforma criarPlataformaWayland(const QString& pastaPortal);

} // namespace sonvo::wayland
