#pragma once

#include "platform/Plataforma.h"

namespace sonvo::x11 {

// The services of an X11 session (also the fallbacks of a Wayland one, through XWayland).
Plataforma criarPlataformaX11();
// Whether this process runs Qt on xcb, which serving the X11 clipboard needs.
bool qtNoXcb();

} // namespace sonvo::x11
