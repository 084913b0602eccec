#pragma once

#include <QString>

namespace sonvo {

// Where the desktop cannot bind Sonvo's hotkeys, the user binds commands: the exact lines for each
// desktop, as the first-run window and the preferences show (and copy) them.
QString comandosParaAssociar();

} // namespace sonvo
