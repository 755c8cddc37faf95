// Makes the port for an address.
#ifndef HOST_MAKEPORT_H
#define HOST_MAKEPORT_H

#include "host/exchangesettings.h"
#include "host/linesettings.h"
#include "host/port.h"
#include "host/portaddress.h"

#include <memory>

namespace host
{

/// Makes the port, closed: Port::open() says whether the device or the server is there.
///
/// line  used by serial ports only
std::unique_ptr<Port> makePort(const PortAddress& address, const LineSettings& line,
                               const ExchangeSettings& exchange);

} // namespace host

#endif
