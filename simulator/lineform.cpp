#include "simulator/lineform.h"

// In place of <termios.h>, which has no speeds but the usual ones.
#include <asm/termbits.h>
#include <sys/ioctl.h>

namespace simulator
{

LineForm lineFormOf(int terminal)
{
    termios2 settings = {};
    if (ioctl(terminal, TCGETS2, &settings) != 0)
        return {0, false};
    return {settings.c_ospeed, (settings.c_cflag & CSTOPB) != 0};
}

} // namespace simulator
