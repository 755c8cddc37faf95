#include "host/serialsettings.h"

#include "host/linesettings.h"

#include <cstdlib>

namespace host
{

namespace
{

/// Characters of 11 bits get lost when the ends are half a bit apart, 4.5 %. The other end has a
/// deviation of its own.
constexpr qint64 ToleratedPercent = 3;

tcflag_t parityFlags(Parity parity)
{
    switch (parity) {
    case Parity::None:
        return 0;
    case Parity::Odd:
        return PARENB | PARODD;
    case Parity::Even:
        return PARENB;
    case Parity::Mark:
        return PARENB | CMSPAR | PARODD;
    case Parity::Space:
        return PARENB | CMSPAR;
    }
    return 0;
}

tcflag_t sizeFlags(int dataBits)
{
    switch (dataBits) {
    case 5:
        return CS5;
    case 6:
        return CS6;
    case 7:
        return CS7;
    default:
        return CS8;
    }
}

bool isNear(speed_t given, speed_t taken)
{
    return std::abs(qint64(taken) - given) * 100 <= given * ToleratedPercent;
}

} // namespace

termios2 serialSettings(const LineSettings& line)
{
    termios2 settings = {};
    settings.c_iflag = IGNBRK | IGNPAR | (line.parity == Parity::None ? 0 : INPCK);
    settings.c_cflag = CREAD | CLOCAL | BOTHER | sizeFlags(line.dataBits) |
                       parityFlags(line.parity) | (line.stopBits == StopBits::Two ? CSTOPB : 0);
    settings.c_ispeed = settings.c_ospeed = static_cast<speed_t>(line.baud);
    settings.c_cc[VMIN] = 1; // so that "nothing there" differs from the end of the line
    return settings;
}

QString settingNotTaken(const termios2& given, const termios2& taken, DeviceKind kind)
{
    static const struct {
        const char* name;
        tcflag_t flags;
        tcflag_t onPseudoTerminal; ///< those of the flags that it keeps
    } settings[] = {
        {"number of data bits", CSIZE, 0},
        {"parity", PARENB | PARODD | CMSPAR, PARODD | CMSPAR},
        {"number of stop bits", CSTOPB, CSTOPB},
    };
    for (const auto& setting : settings) {
        const bool isReal = kind == DeviceKind::SerialPort;
        const tcflag_t flags = isReal ? setting.flags : setting.onPseudoTerminal;
        if ((given.c_cflag ^ taken.c_cflag) & flags)
            return QStringLiteral("it does not support this %1").arg(QLatin1String(setting.name));
    }
    for (const speed_t speed : {taken.c_ospeed, taken.c_ispeed}) {
        if (!isNear(given.c_ospeed, speed))
            return QStringLiteral("it runs at %1 baud when set to %2")
                .arg(speed)
                .arg(given.c_ospeed);
    }
    return QString();
}

} // namespace host
