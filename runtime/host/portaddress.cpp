#include "host/portaddress.h"

#include <algorithm>
#include <arpa/inet.h>

namespace host
{

namespace
{

const QLatin1String TcpPrefix("tcp:");

/// "HOST" and "PORT" of HOST:PORT, where HOST may be an IPv6 address in brackets; a null port
/// text if the port is missing.
struct HostAndPort {
    QString host;
    QString port;
};

std::optional<HostAndPort> bracketed(const QString& text)
{
    const int end = text.indexOf(QLatin1Char(']'));
    const QString rest = text.mid(end + 1);
    const QString host = text.mid(1, end - 1);
    if (end < 0 || host.contains(QLatin1Char('[')) ||
        !(rest.isEmpty() || rest.startsWith(QLatin1Char(':'))))
        return std::nullopt;
    return HostAndPort{host, rest.isEmpty() ? QString() : rest.mid(1)};
}

std::optional<HostAndPort> hostAndPort(const QString& text)
{
    if (text.startsWith(QLatin1Char('[')))
        return bracketed(text);
    const int colons = text.count(QLatin1Char(':'));
    if (colons > 1)
        return std::nullopt;
    if (colons == 0)
        return HostAndPort{text, QString()};
    return HostAndPort{text.section(QLatin1Char(':'), 0, 0), text.section(QLatin1Char(':'), 1)};
}

std::optional<PortAddress> refuse(QString* error, const QString& text, const char* reason)
{
    *error = QStringLiteral("\"%1\": %2").arg(text, QLatin1String(reason));
    return std::nullopt;
}

std::optional<quint16> portNumber(const QString& text, int lowest)
{
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    if (!isNumber || number < static_cast<uint>(lowest) || number > UINT16_MAX)
        return std::nullopt;
    return static_cast<quint16>(number);
}

/// "plc.local:8501"; no serial device is called so.
bool isHostAndPort(const QString& text)
{
    const std::optional<HostAndPort> parts = hostAndPort(text);
    return parts && !parts->port.isNull() && !text.contains(QLatin1Char('/')) &&
           portNumber(parts->port, 1);
}

/// "192.168.0.10", "192.168.0.10:8501", "::1" or "[::1]:8501".
bool isInternetAddress(const QString& text)
{
    in6_addr address;
    const std::optional<HostAndPort> parts = hostAndPort(text);
    const QByteArray host = (parts ? parts->host : text).toLatin1();
    return ::inet_pton(AF_INET, host.constData(), &address) == 1 ||
           ::inet_pton(AF_INET6, host.constData(), &address) == 1;
}

std::optional<PortAddress> tcpAddress(const QString& text, QString* error)
{
    const std::optional<HostAndPort> parts = hostAndPort(text.mid(TcpPrefix.size()));
    if (!parts)
        return refuse(error, text, "an IPv6 address must be in brackets, as in tcp:[::1]:8501");
    if (parts->host.isEmpty())
        return refuse(error, text, "the host is missing, as in tcp:192.168.0.10:8501");
    if (parts->port.isNull())
        return PortAddress{PortAddress::Kind::Tcp, parts->host, 0};
    const std::optional<quint16> port = portNumber(parts->port, 1);
    if (!port)
        return refuse(error, text, "the port number is not between 1 and 65535");
    return PortAddress{PortAddress::Kind::Tcp, parts->host, *port};
}

} // namespace

std::optional<PortAddress> portAddressFromText(const QString& text, QString* error)
{
    if (text.startsWith(TcpPrefix, Qt::CaseInsensitive))
        return tcpAddress(text, error);
    if (text.isEmpty())
        return refuse(error, text, "expected a serial device or tcp:HOST:PORT");
    if (isInternetAddress(text) || isHostAndPort(text)) {
        const bool isBareIpv6 = text.count(QLatin1Char(':')) > 1 && text[0] != QLatin1Char('[');
        *error = QStringLiteral("\"%1\": type %2 for a controller at this address")
                     .arg(text, TcpPrefix + (isBareIpv6 ? QLatin1Char('[') + text + QLatin1Char(']')
                                                        : text));
        return std::nullopt;
    }
    return PortAddress{PortAddress::Kind::Serial, text, 0};
}

std::optional<PortAddress> listenAddressFromText(const QString& text, QString* error)
{
    const bool isPortAlone = !text.contains(QLatin1Char(':'));
    const auto isOfAnAddress = [](QChar c) { return c == QLatin1Char('.') || c.isLetter(); };
    if (isPortAlone && std::any_of(text.begin(), text.end(), isOfAnAddress))
        return refuse(error, text, "the port is missing, as in 127.0.0.1:8501");
    const std::optional<HostAndPort> parts =
        isPortAlone ? HostAndPort{QStringLiteral("127.0.0.1"), text} : hostAndPort(text);
    if (!parts)
        return refuse(error, text, "an IPv6 address must be in brackets, as in [::1]:8501");
    if (parts->host.isEmpty())
        return refuse(error, text, "the address is missing, as in 0.0.0.0:8501");
    const std::optional<quint16> port = portNumber(parts->port, 0);
    if (!port)
        return refuse(error, text, "the port number is not between 0 and 65535");
    return PortAddress{PortAddress::Kind::Tcp, parts->host, *port};
}

QString devicePath(const QString& device)
{
    return device.contains(QLatin1Char('/')) ? device : QLatin1String("/dev/") + device;
}

QString textOf(const PortAddress& address)
{
    if (address.kind == PortAddress::Kind::Serial)
        return address.place;
    const QString host = address.place.contains(QLatin1Char(':'))
                             ? QLatin1Char('[') + address.place + QLatin1Char(']')
                             : address.place;
    const QString port =
        address.tcpPort == 0 ? QString() : QLatin1Char(':') + QString::number(address.tcpPort);
    return TcpPrefix + host + port;
}

} // namespace host
