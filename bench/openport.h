// The port that requests go through: a serial line, a TCP connection, or a simulated controller
// inside this program.
#ifndef BENCH_OPENPORT_H
#define BENCH_OPENPORT_H

#include "bench/controllers.h"
#include "bench/driver.h"
#include "bench/session.h"

#include "host/exchangesettings.h"
#include "host/linesettings.h"
#include "host/portaddress.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class AbstractDeviceInterface;

namespace host
{
class Port;
class TracingPort;
} // namespace host

namespace bench
{

struct PortOptions {
    /// "/dev/ttyUSB0", "tcp:HOST:PORT", or Simulated, also when empty.
    std::string port;
    std::string line;             ///< such as "RS232,9600,EVEN,8,1"; empty: the driver's default
    std::optional<int> timeoutMs; ///< the driver's defaults where not given
    std::optional<int> retry;
    std::optional<int> delayMs;
    ControllerOptions controller; ///< of the simulated one

    /// Receives a line for every call and byte; empty for none.
    std::function<void(const std::string& line)> trace;

    static constexpr const char* Simulated = "sim";

    bool isSimulated() const { return port.empty() || port == Simulated; }
};

// The settings that the options and the driver's defaults come to. Each throws a Failure
// (WrongUsage) whose topic is the option that is wrong.

host::LineSettings lineSettings(const PortOptions& options, const Driver& driver);
host::ExchangeSettings exchangeSettings(const PortOptions& options, const Driver& driver);
host::PortAddress portAddress(const std::string& port, const Driver& driver);

class OpenPort
{
public:
    /// Throws a Failure: WrongUsage for options that are wrong and for a driver whose protocol no
    /// simulated controller speaks, CannotOpen when the port can't be opened.
    ///
    /// opening  called with this object, which can be interrupted from then on, before the port is
    ///          opened, and with null when that failed
    OpenPort(const PortOptions& options, const Driver& driver,
             const std::function<void(OpenPort*)>& opening = {});
    ~OpenPort();

    OpenPort(const OpenPort&) = delete;
    OpenPort& operator=(const OpenPort&) = delete;

    AbstractDeviceInterface& port() const;

    PortReport lastFailure() const;

    /// Waits until no late reply can be under way, as closing does; this wait can be interrupted.
    /// Returns how long after their command replies came that were too late, the longest since the
    /// last good reply; 0 when none was heard.
    std::chrono::milliseconds settle();

    /// Whether late replies can be heard; not on a connection, which is opened again instead.
    bool hearsLateReplies() const;

    /// Lets a call that waits return at once, and every later one. Safe in a signal handler.
    void interrupt();

private:
    // The last to be created goes first: nothing is used after it has gone.
    std::unique_ptr<SimulatedController> m_controller;
    host::PortAddress m_address;
    std::unique_ptr<host::Port> m_port;
    std::unique_ptr<host::TracingPort> m_trace;
};

} // namespace bench

#endif
