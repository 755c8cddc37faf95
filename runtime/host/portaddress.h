// Where a port leads, from the text that a user types.
#ifndef HOST_PORTADDRESS_H
#define HOST_PORTADDRESS_H

#include <QString>

#include <optional>

namespace host
{

struct PortAddress {
    enum class Kind { Serial, Tcp };

    Kind kind = Kind::Serial;
    QString place;       ///< path of a serial device, or host without brackets
    quint16 tcpPort = 0; ///< 0 for a serial line, and where a text names none
};

/// Reads "/dev/ttyUSB0", "tcp:HOST" or "tcp:HOST:PORT"; an IPv6 address must be in brackets.
///
/// error  receives a sentence that names what is wrong; untouched on success
std::optional<PortAddress> portAddressFromText(const QString& text, QString* error);

/// Reads the place where a server listens: "PORT", "HOST:PORT" or "[IPV6]:PORT". Without a host it
/// is this machine's loopback; port 0 means any free one.
///
/// error  as above
std::optional<PortAddress> listenAddressFromText(const QString& text, QString* error);

/// The file of a serial device. A name without a slash is one of the devices in /dev.
QString devicePath(const QString& device);

/// The text of a TCP address that portAddressFromText() reads again, such as "tcp:[::1]:8501"; the
/// path of a serial device as it is.
QString textOf(const PortAddress& address);

} // namespace host

#endif
