#pragma once

namespace sonvo::desktop {

// `sonvo diagnostico`: the services of this session as the tray would use them, one line each;
// 0 when a dictation can land, 1 otherwise.
int executarDiagnostico(int argc, char** argv);

// Qt on XWayland in a Wayland session that has it (see executarAplicativo); before the
// application object exists.
void escolherPluginDoQt();

} // namespace sonvo::desktop
