// The settings of a serial device in the kernel's terms. <termios.h>, which has fewer of them,
// can't be included beside this.
#ifndef HOST_SERIALSETTINGS_H
#define HOST_SERIALSETTINGS_H

#include <QString>

#include <asm/termbits.h>

namespace host
{

struct LineSettings;

/// Every byte as it is, without flow control. A byte with bad parity is dropped: the reply falls
/// short and is asked for again, where a wrong byte could pass as data.
termios2 serialSettings(const LineSettings& line);

/// What a device was set to. A pseudo-terminal always has 8 data bits and no parity.
enum class DeviceKind { SerialPort, PseudoTerminal };

/// Why the settings that a device took do not do for those it was given; empty when they do. A
/// device that can't have a setting takes another without an error. Speeds may differ by 3 %.
QString settingNotTaken(const termios2& given, const termios2& taken, DeviceKind kind);

} // namespace host

#endif
