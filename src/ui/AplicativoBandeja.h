#pragma once

namespace sonvo::desktop {

// The tray application: refuses to start without a graphical session.
int executarAplicativo(int argc, char** argv);

} // namespace sonvo::desktop
