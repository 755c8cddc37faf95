#include "bench.h"

#include "project.h"
#include "report.h"

#include "bench/tags.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;

/// Where the driver lies, seen from this program: in the build tree, and installed.
const char* const DriverPlaces[] = {PLCCTL_BUILT_DRIVER, PLCCTL_INSTALLED_DRIVER};

/// Where a TCP port leads; nothing for a serial line and the simulated controller.
std::optional<host::PortAddress> tcpAddress(const bench::PortOptions& port,
                                            const bench::Driver& driver)
{
    if (port.isSimulated())
        return std::nullopt;
    const host::PortAddress address = bench::portAddress(port.port, driver);
    if (address.kind != host::PortAddress::Kind::Tcp)
        return std::nullopt;
    return address;
}

/// Finds the port in the project and names it in its setting.
LinkIdStationId linkInProject(const BenchOptions& options, const bench::Driver& driver,
                              DeviceSetting& setting)
{
    const Project project(options.project);
    const auto address = tcpAddress(options.port, driver);
    if (address)
        setting.string = QStringLiteral("ETHERNET");
    if (!options.portName.empty())
        setting.string = QString::fromStdString(options.portName);
    if (!address)
        return project.linkOn(setting.string);
    setting.socketList = {{address->place, address->tcpPort}};
    return project.linkOn(setting.string, address->place, address->tcpPort);
}

} // namespace

std::string driverFile(const std::string& name)
{
    if (!name.empty())
        return name;
    const QDir here(QCoreApplication::applicationDirPath());
    for (const char* place : DriverPlaces) {
        if (QFileInfo::exists(here.filePath(place)))
            return here.filePath(place).toStdString();
    }
    throw Failure(FailureKind::CannotOpen, "there is no driver beside this program",
                  "Build or install it, or name a plug-in with --driver.");
}

Bench::Bench(const BenchOptions& options)
    : m_options(options)
    , m_driver(driverFile(options.driverFile))
{
    if (!options.tagFile.empty())
        m_tags = bench::loadTags(options.tagFile, m_driver.devices());
    if (options.trace)
        m_options.port.trace = printTrace;
}

Bench::~Bench()
{
    // Closing the port may wait for late replies, and a signal must end that too.
    if (m_port)
        m_port->settle();
    m_stop.interrupts(nullptr);
}

std::vector<bench::Point> Bench::points(const std::vector<std::string>& texts, int count) const
{
    const bench::Names known = names();
    std::vector<bench::Point> points;
    for (const std::string& text : texts) {
        const auto found = bench::resolve(text, known, count);
        points.insert(points.end(), found.begin(), found.end());
    }
    return points;
}

bench::Names Bench::names() const
{
    bench::Names names{m_tags, m_driver.devices()};
    if (!m_options.type.empty())
        names.defaultType = bench::typeNamed(m_options.type);
    return names;
}

bench::Session& Bench::session()
{
    if (m_session)
        return *m_session;
    m_port = std::make_unique<bench::OpenPort>(
        m_options.port, m_driver, [this](bench::OpenPort* port) { m_stop.interrupts(port); });
    if (m_options.port.port.empty())
        note("without --port: the built-in simulated controller (" +
             m_driver.description().protocol + ") answers");
    if (!m_options.project.empty())
        tellDriverOfProject();
    m_session = std::make_unique<bench::Session>(m_driver, m_port->port(),
                                                 [this] { return m_port->lastFailure(); });
    if (m_hearsLateReplies)
        m_session->beforeFailure = [this] {
            m_port->settle();
        }; // at once unless a reply is missing
    m_session->isStopped = [this] { return isStopped(); };
    return *m_session;
}

void Bench::interrupt()
{
    if (m_port)
        m_port->interrupt();
}

bool Bench::waitForStop(std::chrono::microseconds time) const
{
    using std::chrono::ceil;
    using std::chrono::milliseconds;
    return m_stop.waitFor(static_cast<int>(ceil<milliseconds>(time).count()));
}

/// Tells the driver what its link and station are in a panel project, the way a panel does: by the
/// settings of its port.
void Bench::tellDriverOfProject()
{
    const std::unique_ptr<DeviceSetting> setting(m_driver.object().getDefaultSerialDeviceSetting());
    const LinkIdStationId link = linkInProject(m_options, m_driver, *setting);
    setting->linkID = link.linkId;
    setting->auxValue = link.stationId;
    if (!m_driver.object().deviceSettingChanged(setting.get()))
        throw bench::wrongUsage("the driver refuses link " + std::to_string(link.linkId) +
                                ", station " + std::to_string(link.stationId));
    note(setting->string.toStdString() + " is link " + std::to_string(link.linkId) +
         " of the project, station " + std::to_string(link.stationId));
}

std::vector<bench::TypedDevice> devicesOf(const std::vector<bench::Point>& points)
{
    std::vector<bench::TypedDevice> devices;
    for (const bench::Point& point : points)
        devices.push_back(point.device);
    return devices;
}

} // namespace plcctl
