#include "bench/scan.h"

#include "bench/session.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"

#include <QVariant>

#include <algorithm>
#include <memory>

namespace bench
{

namespace
{

using host::LineSettings;
using host::Parity;
using host::StopBits;
using std::chrono::microseconds;

constexpr int Speeds[] = {9600, 19200, 38400, 57600, 115200, 4800, 2400, 1200};

struct CharacterForm {
    int dataBits;
    Parity parity;
    StopBits stopBits;
};

constexpr CharacterForm Forms[] = {
    {8, Parity::Even, StopBits::One}, {8, Parity::None, StopBits::One},
    {8, Parity::Odd, StopBits::One},  {8, Parity::None, StopBits::Two},
    {7, Parity::Even, StopBits::One}, {7, Parity::Odd, StopBits::One},
    {7, Parity::Even, StopBits::Two}, {7, Parity::None, StopBits::Two},
};

bool isSame(const LineSettings& left, const LineSettings& right)
{
    return left.baud == right.baud && left.parity == right.parity &&
           left.dataBits == right.dataBits && left.stopBits == right.stopBits;
}

void addOnce(std::vector<LineSettings>& lines, const LineSettings& line)
{
    const auto same = [&](const LineSettings& other) { return isSame(line, other); };
    if (std::none_of(lines.begin(), lines.end(), same))
        lines.push_back(line);
}

/// One after the other at all speeds, the preferred speed first.
void addSpeeds(std::vector<LineSettings>& lines, const CharacterForm& form,
               const LineSettings& preferred)
{
    LineSettings line = preferred;
    line.dataBits = form.dataBits;
    line.parity = form.parity;
    line.stopBits = form.stopBits;
    addOnce(lines, line);
    for (const int baud : Speeds) {
        line.baud = baud;
        addOnce(lines, line);
    }
}

/// Hands all calls on and takes the time from each command to the end of its reply.
class StopwatchPort : public AbstractDeviceInterface
{
public:
    explicit StopwatchPort(AbstractDeviceInterface& port)
        : m_port(port)
    {
    }
    int read(char* buffer, int maxLength) override
    {
        const int count = m_port.read(buffer, maxLength);
        if (count == maxLength)
            longest = std::max(longest, std::chrono::duration_cast<microseconds>(
                                            std::chrono::steady_clock::now() - m_sent));
        return count;
    }
    int write(const char* data, int length) override
    {
        m_sent = std::chrono::steady_clock::now();
        return m_port.write(data, length);
    }
    void setOption(int option, const QVariant& value) override { m_port.setOption(option, value); }
    int retry() override { return m_port.retry(); }
    int delay() override { return m_port.delay(); }

    microseconds longest{0};

private:
    AbstractDeviceInterface& m_port;
    std::chrono::steady_clock::time_point m_sent = std::chrono::steady_clock::now();
};

/// Drivers have other texts for what they refuse by themselves, without a reply.
bool isErrorReply(const Failure& failure)
{
    return std::string(failure.what()).rfind(errortext::ErrorReply, 0) == 0;
}

ProbeOutcome outcomeOf(const std::optional<Failure>& failure)
{
    if (!failure)
        return ProbeOutcome::Answered;
    switch (failure->kind()) {
    case FailureKind::ControllerRefused:
        return isErrorReply(*failure) ? ProbeOutcome::Refused : ProbeOutcome::Garbled;
    case FailureKind::NoReply:
        return ProbeOutcome::NoReply;
    case FailureKind::InvalidReply:
        return ProbeOutcome::Garbled;
    default:
        throw *failure;
    }
}

/// The state that probes of one scan share.
class SerialProbe
{
public:
    SerialProbe(Driver& driver, const TypedDevice& device, const PortOptions& port,
                std::function<void(OpenPort*)> opened)
        : m_driver(driver)
        , m_device(device)
        , m_options(port)
        , m_opened(std::move(opened))
    {
        m_options.retry = 0;
        m_options.timeoutMs = port.timeoutMs.value_or(ScanTimeoutMs);
    }

    ProbeResult read(const LineSettings& line)
    {
        m_options.line = textOf(line).toStdString();
        const std::unique_ptr<OpenPort> port = open();
        if (!port)
            return {ProbeOutcome::NotPossible, microseconds(0)};
        tell(port.get());
        StopwatchPort stopwatch(port->port());
        const std::vector<Reading> readings = Session(m_driver, stopwatch).read({m_device});
        port->settle();
        tell(nullptr);
        return {outcomeOf(readings.front().failure), stopwatch.longest};
    }

private:
    /// Null when the port could be opened before, but not with this setting.
    std::unique_ptr<OpenPort> open()
    {
        try {
            auto port = std::make_unique<OpenPort>(m_options, m_driver);
            m_wasOpen = true;
            return port;
        } catch (const Failure& failure) {
            if (!m_wasOpen || failure.kind() != FailureKind::CannotOpen)
                throw;
            return nullptr;
        }
    }

    void tell(OpenPort* port)
    {
        if (m_opened)
            m_opened(port);
    }

    Driver& m_driver;
    const TypedDevice& m_device;
    PortOptions m_options;
    std::function<void(OpenPort*)> m_opened;
    bool m_wasOpen = false;
};

void refuseOtherLines(const PortOptions& port, const Driver& driver)
{
    if (port.isSimulated())
        throw wrongUsage("there is no line to find: the simulated controller is in this program",
                         "Name the serial port of a real one.", {Topic::Port});
    if (portAddress(port.port, driver).kind == host::PortAddress::Kind::Tcp)
        throw wrongUsage(
            port.port + " is a network address, which has no speed or parity to find",
            "If it does not answer, check address, port and cable, then read a device.");
}

/// Reads again at a setting that was found.
FoundLine confirm(const LineSettings& line, const ProbeResult& first, const ScanOptions& options,
                  const Probe& probe, const std::function<bool()>& isStopped)
{
    FoundLine found{line, first.outcome, 1, 1, first.reply, 0};
    for (int i = 0; i < options.moreReads && !(isStopped && isStopped()); ++i) {
        const ProbeResult result = probe(line);
        ++found.reads;
        found.answers += isFound(result.outcome) ? 1 : 0;
        found.longest = std::max(found.longest, result.reply);
    }
    const auto longest = std::chrono::ceil<std::chrono::milliseconds>(found.longest);
    found.timeoutMs = static_cast<int>(host::sufficientTimeoutMs(longest.count()));
    return found;
}

} // namespace

const char* nameOf(ProbeOutcome outcome)
{
    switch (outcome) {
    case ProbeOutcome::Answered:
        return "answered";
    case ProbeOutcome::Refused:
        return "answered with an error reply";
    case ProbeOutcome::Garbled:
        return "invalid reply";
    case ProbeOutcome::NoReply:
        return "no reply";
    case ProbeOutcome::NotPossible:
        break;
    }
    return "the port does not take this setting";
}

bool isFound(ProbeOutcome outcome)
{
    return outcome == ProbeOutcome::Answered || outcome == ProbeOutcome::Refused;
}

std::vector<LineSettings> linesToTry(const LineSettings& preferred)
{
    std::vector<LineSettings> lines;
    addSpeeds(lines, {preferred.dataBits, preferred.parity, preferred.stopBits}, preferred);
    for (const CharacterForm& form : Forms)
        addSpeeds(lines, form, preferred);
    return lines;
}

std::vector<FoundLine> scan(const std::vector<LineSettings>& lines, const ScanOptions& options,
                            const Probe& probe, const ScanEvents& events)
{
    std::vector<FoundLine> found;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (events.isStopped && events.isStopped())
            break;
        if (events.trying)
            events.trying(i + 1, lines[i]);
        const ProbeResult result = probe(lines[i]);
        if (events.tried)
            events.tried(lines[i], result.outcome);
        if (!isFound(result.outcome))
            continue;
        const FoundLine line = confirm(lines[i], result, options, probe, events.isStopped);
        if (line.answers < 2 && line.reads > 1)
            continue;
        found.push_back(line);
        if (!options.all)
            break;
    }
    return found;
}

Probe probeOf(Driver& driver, const TypedDevice& device, const PortOptions& port,
              std::function<void(OpenPort*)> opened)
{
    refuseOtherLines(port, driver);
    const auto probe = std::make_shared<SerialProbe>(driver, device, port, std::move(opened));
    return [probe](const LineSettings& line) { return probe->read(line); };
}

} // namespace bench
