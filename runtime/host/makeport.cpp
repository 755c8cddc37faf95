#include "host/makeport.h"

#include "host/transport.h"

namespace host
{

std::unique_ptr<Port> makePort(const PortAddress& address, const LineSettings& line,
                               const ExchangeSettings& exchange)
{
    const bool serial = address.kind == PortAddress::Kind::Serial;
    return std::make_unique<Port>(serial ? makeSerialTransport(address.place, line)
                                         : makeTcpTransport(address.place, address.tcpPort),
                                  exchange);
}

} // namespace host
