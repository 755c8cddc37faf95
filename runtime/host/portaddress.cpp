#include "host/portaddress.h"

#include "host/line.h"
#include "host/lineport.h"

namespace host
{

namespace
{

const QLatin1String TcpPrefix("tcp:");

/// "HOST" and "PORT" of HOST:PORT, where HOST may be an IPv6 address in brackets; a null port
/// text when there is none.
struct HostAndPort {
    QString host;
    QString port;
};

std::optional<HostAndPort> bracketed(const QString& text)
{
    const int end = text.indexOf(QLatin1Char(']'));
    const QString rest = text.mid(end + 1);
    if (end < 0 || !(rest.isEmpty() || rest.startsWith(QLatin1Char(':'))))
        return std::nullopt;
    return HostAndPort{text.mid(1, end - 1), rest.isEmpty() ? QString() : rest.mid(1)};
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
    *error = QStringLiteral("port \"%1\": %2").arg(text, QLatin1String(reason));
    return std::nullopt;
}

std::optional<PortAddress> tcpAddress(const QString& text, QString* error)
{
    const std::optional<HostAndPort> parts = hostAndPort(text.mid(TcpPrefix.size()));
    if (!parts)
        return refuse(error, text, "an IPv6 address stands in brackets, as in tcp:[::1]:8501");
    if (parts->host.isEmpty())
        return refuse(error, text, "the host is missing, as in tcp:192.168.0.10:8501");
    if (parts->port.isNull())
        return PortAddress{PortAddress::Kind::Tcp, parts->host, PortAddress::DefaultTcpPort};

    bool isNumber = false;
    const quint16 port = parts->port.toUShort(&isNumber);
    if (!isNumber || port == 0)
        return refuse(error, text, "the port number is not one from 1 to 65535");
    return PortAddress{PortAddress::Kind::Tcp, parts->host, port};
}

} // namespace

std::optional<PortAddress> portAddressFromText(const QString& text, QString* error)
{
    if (text.startsWith(TcpPrefix, Qt::CaseInsensitive))
        return tcpAddress(text, error);
    if (text.isEmpty())
        return refuse(error, text, "expected a serial device or tcp:HOST:PORT");
    return PortAddress{PortAddress::Kind::Serial, text, PortAddress::DefaultTcpPort};
}

std::unique_ptr<LinePort> makePort(const PortAddress& address, const LineSettings& line,
                                   const ExchangeSettings& exchange)
{
    const bool serial = address.kind == PortAddress::Kind::Serial;
    return std::make_unique<LinePort>(serial ? makeSerialLine(address.place, line)
                                             : makeTcpLine(address.place, address.tcpPort),
                                      exchange);
}

} // namespace host
