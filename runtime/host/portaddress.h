// Where a port leads: the text that a user types, and the port that it stands for.
// It opens nothing; a port that it makes is still closed.
#ifndef HOST_PORTADDRESS_H
#define HOST_PORTADDRESS_H

#include "host/linesettings.h"

#include <QString>

#include <memory>
#include <optional>

namespace host
{

class LinePort;

struct PortAddress {
    enum class Kind { Serial, Tcp };

    static constexpr quint16 DefaultTcpPort = 8501;

    Kind kind = Kind::Serial;
    QString place;                    ///< path of a serial device, or host without brackets
    quint16 tcpPort = DefaultTcpPort; ///< meaningless for a serial line
};

/// Reads "/dev/ttyUSB0", "tcp:HOST" or "tcp:HOST:PORT"; an IPv6 address stands in brackets.
///
/// error  receives a sentence that names what is wrong; untouched on success
std::optional<PortAddress> portAddressFromText(const QString& text, QString* error);

/// Makes the port, closed: LinePort::open() tells whether the device or the server is there.
///
/// line  used by serial ports only
std::unique_ptr<LinePort> makePort(const PortAddress& address, const LineSettings& line,
                                   const ExchangeSettings& exchange);

} // namespace host

#endif
