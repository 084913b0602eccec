#include "platform/Janelas.h"

#include <linux/input-event-codes.h>

namespace sonvo {

QList<int> codigosEvdev(TeclaColar tecla)
{
    switch (tecla) {
    case TeclaColar::ctrlV:
        return {KEY_LEFTCTRL, KEY_V};
    case TeclaColar::ctrlShiftV:
        return {KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V};
    case TeclaColar::shiftInsert:
        return {KEY_LEFTSHIFT, KEY_INSERT};
    }
    return {};
}

} // namespace sonvo
