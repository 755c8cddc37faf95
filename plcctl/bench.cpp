// Puts a driver and a port together and lets requests through.
#include "bench.h"

#include "controller.h"
#include "failure.h"
#include "project.h"

#include "drivers/communicatorcommand.h"
#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "host/driverplugin.h"
#include "host/makeport.h"
#include "host/tracingport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace plcctl
{

namespace
{

/// Where the driver lies, seen from this program: in the build tree, and installed.
const char* const DriverPlaces[] = {PLCCTL_BUILT_DRIVER, PLCCTL_INSTALLED_DRIVER};

QString ownDriver()
{
    const QDir here(QCoreApplication::applicationDirPath());
    for (const char* place : DriverPlaces) {
        if (QFileInfo::exists(here.filePath(place)))
            return here.filePath(place);
    }
    throw Failure(CannotOpen, "there is no driver beside this program",
                  "Build or install it, or name a plug-in with --driver.");
}

host::ExchangeSettings exchangeOf(const BenchOptions& options, DriverInterface& driver)
{
    const std::unique_ptr<DriverSetting> defaults(driver.getDefaultDriverSetting());
    host::ExchangeSettings exchange = host::exchangeSettingsFrom(*defaults);
    exchange.timeoutMs = options.timeoutMs.value_or(exchange.timeoutMs);
    exchange.retry = options.retry.value_or(exchange.retry);
    exchange.delayMs = options.delayMs.value_or(exchange.delayMs);
    return exchange;
}

host::LineSettings lineOf(const BenchOptions& options, DriverInterface& driver)
{
    const QString text = options.line.empty() ? driver.getStringBasedDefaultDriverSetting()
                                              : QString::fromStdString(options.line);
    QString error;
    const auto settings = host::lineSettingsFromText(text, &error);
    if (!settings)
        throw Failure(WrongUsage, "--line: " + error.toStdString());
    return *settings;
}

host::PortAddress addressOf(const std::string& port)
{
    QString error;
    const auto address = host::portAddressFromText(QString::fromStdString(port), &error);
    if (!address)
        throw Failure(WrongUsage, "--port: " + error.toStdString());
    return *address;
}

bool isSimulatedPort(const BenchOptions& options)
{
    return options.port == BenchOptions::SimulatedPort;
}

void refuseControllerOptions(const ControllerOptions& controller)
{
    if (!controller.faults.empty() || !controller.presets.empty())
        throw Failure(WrongUsage, "--fault and --set are for --port sim only");
}

/// Makes the built-in controller that the driver speaks to, and tells the person that it is one.
std::unique_ptr<SimulatedController> builtInController(const std::string& driverName,
                                                       const ControllerOptions& options)
{
    const std::optional<std::string> protocol = protocolOfDriver(driverName);
    if (!protocol)
        throw Failure(WrongUsage, "no simulated controller speaks to the driver '" + driverName +
                                      "'; --port is needed");
    auto controller = std::make_unique<SimulatedController>(*protocol, options);
    std::fprintf(stderr,
                 "using the built-in simulated controller (%s); --port leads to a real one\n",
                 protocol->c_str());
    return controller;
}

/// Runs a controller in a thread of its own. Returns the device that leads to it.
std::string serve(SimulatedController& controller)
{
    std::string why;
    if (!controller.server().openPty(std::string(), why))
        throw Failure(CannotOpen, why);
    controller.server().start();
    return controller.server().ptyPath();
}

CommunicatorCommand commandFor(const std::string& device, const Unit& unit, int count)
{
    CommunicatorCommand command;
    command.dataType = unit.dataType;
    command.length = count;
    command.address = QString::fromStdString(device);
    return command;
}

/// Finds the port in the project and names it in its setting.
LinkIdStationId linkInProject(const BenchOptions& options, DeviceSetting& setting)
{
    const Project project(options.project);
    const bool isTcp =
        !isSimulatedPort(options) && addressOf(options.port).kind == host::PortAddress::Kind::Tcp;
    if (isTcp)
        setting.string = QStringLiteral("ETHERNET");
    if (!options.portName.empty())
        setting.string = QString::fromStdString(options.portName);
    if (!isTcp)
        return project.linkOn(setting.string);
    const host::PortAddress address = addressOf(options.port);
    setting.socketList = {{address.place, address.tcpPort}};
    return project.linkOn(setting.string, address.place, address.tcpPort);
}

void printTrace(const QString& line)
{
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
}

} // namespace

std::unique_ptr<host::DriverPlugin> loadDriver(const std::string& file)
{
    const QString name = file.empty() ? ownDriver() : QString::fromStdString(file);
    QString error;
    auto plugin = host::DriverPlugin::load(name, &error);
    if (!plugin)
        throw Failure(CannotOpen, error.toStdString());
    return plugin;
}

Bench::Bench(const BenchOptions& options)
    : m_plugin(loadDriver(options.driverFile))
{
    const host::LineSettings line = lineOf(options, driver());
    std::string port = options.port;
    if (isSimulatedPort(options)) {
        m_controller = builtInController(driverName(), options.controller);
        port = serve(*m_controller);
    } else {
        refuseControllerOptions(options.controller);
    }
    m_line = host::makePort(addressOf(port), line, exchangeOf(options, driver()));
    if (!m_line->open())
        throw Failure(CannotOpen, m_line->lastFailure().toStdString());
    if (!options.project.empty())
        tellDriverOfProject(options);
    if (options.trace)
        m_trace = std::make_unique<host::TracingPort>(*m_line, printTrace);
}

Bench::~Bench() = default;

/// Tells the driver what its link and station are in a panel project, the way a panel does: by the
/// settings of its port.
void Bench::tellDriverOfProject(const BenchOptions& options)
{
    const std::unique_ptr<DeviceSetting> setting(driver().getDefaultSerialDeviceSetting());
    const LinkIdStationId link = linkInProject(options, *setting);
    setting->linkID = link.linkId;
    setting->auxValue = link.stationId;
    if (!driver().deviceSettingChanged(setting.get()))
        throw Failure(WrongUsage, "the driver refuses link " + std::to_string(link.linkId) +
                                      ", station " + std::to_string(link.stationId));
    std::fprintf(stderr, "%s is link %d of the project, station %d\n",
                 setting->string.toLocal8Bit().constData(), link.linkId, link.stationId);
}

std::string Bench::driverName() const
{
    return driver().name().toStdString();
}

void Bench::checkCount(std::size_t count, const Unit& unit) const
{
    const int most =
        unit.dataType == DataBit ? driver().getBitBlockAccessSize() : driver().getBlockAccessSize();
    if (count > static_cast<std::size_t>(most))
        throw Failure(WrongUsage,
                      "the driver takes at most " + counted(most, unit) + " in one request");
}

std::vector<std::uint32_t> Bench::read(const std::string& device, const Unit& unit, int count)
{
    const QByteArray data = driver().read(&port(), commandFor(device, unit, count));
    if (driver().hasError())
        fail();
    if (data.size() != count * unit.bytes)
        throw Failure(InvalidReply, "the driver returned " + std::to_string(data.size()) +
                                        " bytes for " + counted(count, unit));
    return valuesOf(data, unit);
}

void Bench::write(const std::string& device, const Unit& unit,
                  const std::vector<std::uint32_t>& values)
{
    const int count = static_cast<int>(values.size());
    if (driver().write(&port(), commandFor(device, unit, count), dataOf(values, unit)))
        return;
    if (driver().hasError())
        fail();
    throw Failure(WrongUsage, std::string("the driver writes no units of type ") + unit.name);
}

void Bench::fail() const
{
    const Failure failure = driverFailure(driver().getLastError());
    m_line->settle(); // so that it can say how late the replies are
    const QString reason = m_line->lastFailure();
    if (reason.isEmpty())
        throw failure;
    throw Failure(failure.status(), failure.what() + (" (" + reason.toStdString() + ")"),
                  failure.advice());
}

DriverInterface& Bench::driver() const
{
    return *m_plugin->driver();
}

AbstractDeviceInterface& Bench::port() const
{
    if (m_trace != nullptr)
        return *m_trace;
    return *m_line;
}

} // namespace plcctl
