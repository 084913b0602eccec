#pragma once

#include "platform/Plataforma.h"

namespace sonvo::wayland {

// The services of a Wayland session: for each, the best way the compositor offers, then XWayland
// or the RemoteDesktop portal, and inert ones last. `arquivoTokenPortal` keeps the portal's
// consent between runs.
Plataforma criarPlataformaWayland(const QString& arquivoTokenPortal);

} // namespace sonvo::wayland
