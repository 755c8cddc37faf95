#include "bench/openport.h"

#include "bench/portadvice.h"

#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "host/makeport.h"
#include "host/port.h"
#include "host/tracingport.h"

namespace bench
{

namespace
{

std::unique_ptr<SimulatedController> simulatedFor(const Driver& driver,
                                                  const ControllerOptions& options)
{
    const std::string& protocol = driver.description().protocol;
    if (!isSimulated(protocol))
        throw wrongUsage("there is no simulated controller for the driver " + driver.name(),
                         "Name the port of a real one.", {Topic::Port});
    return std::make_unique<SimulatedController>(protocol, options);
}

/// Runs a controller in a thread of its own. Returns the device that leads to it.
std::string serve(SimulatedController& controller)
{
    std::string why;
    if (!controller.server().openPty(std::string(), why))
        throw Failure(FailureKind::CannotOpen, why);
    controller.server().start();
    return controller.server().ptyPath();
}

void refuseControllerOptions(const ControllerOptions& options)
{
    if (!options.faults.empty() || !options.presets.empty() || !options.movements.empty())
        throw wrongUsage("faults, start values and movements need the simulated controller",
                         "Omit the port, or simulate the controller in a program of its own.",
                         {Topic::Port, Topic::Simulator});
}

} // namespace

host::LineSettings lineSettings(const PortOptions& options, const Driver& driver)
{
    const QString text = options.line.empty() ? driver.object().getStringBasedDefaultDriverSetting()
                                              : QString::fromStdString(options.line);
    QString error;
    const auto settings = host::lineSettingsFromText(text, &error);
    if (!settings)
        throw wrongUsage(error.toStdString(), "", {Topic::Line});
    return *settings;
}

host::ExchangeSettings exchangeSettings(const PortOptions& options, const Driver& driver)
{
    const std::unique_ptr<DriverSetting> defaults(driver.object().getDefaultDriverSetting());
    host::ExchangeSettings exchange = host::exchangeSettingsFrom(*defaults);
    exchange.timeoutMs = options.timeoutMs.value_or(exchange.timeoutMs);
    exchange.retry = options.retry.value_or(exchange.retry);
    exchange.delayMs = options.delayMs.value_or(exchange.delayMs);
    return exchange;
}

host::PortAddress portAddress(const std::string& port, const Driver& driver)
{
    QString error;
    auto address = host::portAddressFromText(QString::fromStdString(port), &error);
    if (!address)
        throw wrongUsage(error.toStdString(), "", {Topic::Port});
    if (address->kind == host::PortAddress::Kind::Tcp && address->tcpPort == 0) {
        if (!driver.description().tcpPort)
            throw wrongUsage(port + " has no port number, and the driver names none",
                             "Type " + port + ":PORT.", {Topic::Port});
        address->tcpPort = *driver.description().tcpPort;
    }
    return *address;
}

OpenPort::OpenPort(const PortOptions& options, const Driver& driver,
                   const std::function<void(OpenPort*)>& opening)
{
    const host::LineSettings line = lineSettings(options, driver);
    std::string place = options.port;
    if (options.isSimulated()) {
        m_controller = simulatedFor(driver, options.controller);
        place = serve(*m_controller);
    } else {
        refuseControllerOptions(options.controller);
    }
    m_address = portAddress(place, driver);
    m_port = host::makePort(m_address, line, exchangeSettings(options, driver));
    if (opening)
        opening(this);
    if (!m_port->open()) {
        if (opening)
            opening(nullptr);
        const PortReport report = lastFailure();
        throw Failure(FailureKind::CannotOpen, report.text,
                      report.isBroken ? portAdvice(m_address) : std::string());
    }
    if (options.trace)
        m_trace = std::make_unique<host::TracingPort>(
            *m_port, [trace = options.trace](const QString& text) { trace(text.toStdString()); });
}

OpenPort::~OpenPort() = default;

AbstractDeviceInterface& OpenPort::port() const
{
    if (m_trace)
        return *m_trace;
    return *m_port;
}

PortReport OpenPort::lastFailure() const
{
    return {m_port->lastFailure().toStdString(), m_port->isOwnFailure(), m_port->isBroken(),
            m_address};
}

std::chrono::milliseconds OpenPort::settle()
{
    m_port->settle();
    return std::chrono::milliseconds(m_port->latenessMs());
}

bool OpenPort::hearsLateReplies() const
{
    return m_port->keepsLateReplies();
}

void OpenPort::interrupt()
{
    m_port->interrupt();
}

} // namespace bench
