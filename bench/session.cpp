#include "bench/session.h"

#include "bench/nearest.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/driverinterface.h"

#include <QVariant>

#include <algorithm>
#include <chrono>
#include <thread>

namespace bench
{

namespace
{

using Clock = std::chrono::steady_clock;

/// Hands all calls on and reports each attempt that failed: after it, drivers ask for retries.
/// Before each attempt they ask for the pause, and it is made here, where it can be cut short.
class AttemptsPort : public AbstractDeviceInterface
{
public:
    AttemptsPort(AbstractDeviceInterface& port, std::function<void()> onFailedAttempt,
                 const std::function<bool()>& isStopped)
        : m_port(port)
        , m_onFailedAttempt(std::move(onFailedAttempt))
        , m_isStopped(isStopped)
    {
    }
    int read(char* buffer, int maxLength) override { return m_port.read(buffer, maxLength); }
    int write(const char* data, int length) override { return m_port.write(data, length); }
    void setOption(int option, const QVariant& value) override { m_port.setOption(option, value); }
    int retry() override
    {
        m_onFailedAttempt();
        return m_port.retry();
    }
    int delay() override
    {
        constexpr int StepMs = 50;
        for (int leftMs = m_port.delay(); leftMs > 0; leftMs -= StepMs) {
            if (m_isStopped && m_isStopped())
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(std::min(leftMs, StepMs)));
        }
        return 0;
    }

private:
    AbstractDeviceInterface& m_port;
    std::function<void()> m_onFailedAttempt;
    const std::function<bool()>& m_isStopped;
};

Failure stopped()
{
    return Failure(FailureKind::NoReply, "stopped");
}

} // namespace

Failure WriteFailure::at(const std::string& first) const
{
    const std::string before =
        index == 0 ? "" : " (at least " + counted(index, "value") + " written before it)";
    const std::string partly =
        count > 1               ? "; some of these " + counted(count, "value") + " may be written"
        : isLineFailure(kind()) ? "; it may be written"
                                : "";
    return prefixed(firstAndMore(first, count) + ": ").with(before + partly);
}

Session::Session(Driver& driver, AbstractDeviceInterface& port,
                 std::function<PortReport()> portReport)
    : m_driver(driver)
    , m_port(port)
    , m_portReport(std::move(portReport))
{
}

std::vector<Reading> Session::read(const std::vector<TypedDevice>& devices)
{
    return read(planReads(devices, m_driver.blocks()), devices);
}

std::vector<Reading> Session::read(const std::vector<ReadRequest>& plan,
                                   const std::vector<TypedDevice>& devices)
{
    std::vector<Reading> readings(devices.size());
    for (const ReadRequest& request : plan)
        readRequest(request, devices, readings);
    return readings;
}

void Session::readRequest(const ReadRequest& request, const std::vector<TypedDevice>& devices,
                          std::vector<Reading>& readings)
{
    QByteArray answer;
    const auto failure = ask(request, devices[request.parts.front().index], &answer);
    if (!failure) {
        takeAnswer(request, answer, devices, readings);
    } else if (failure->kind() == FailureKind::ControllerRefused && request.parts.size() > 1) {
        for (const ReadRequest& half : halves(request, devices, m_driver.blocks()))
            readRequest(half, devices, readings);
    } else {
        takeFailure(request, *failure, readings);
    }
}

std::optional<Failure> Session::ask(const ReadRequest& request, const TypedDevice& first,
                                    QByteArray* answer)
{
    return perform(first, Direction::Read, [&](AbstractDeviceInterface& port) {
        *answer = m_driver.object().read(&port, request.command);
        return true;
    });
}

void Session::write(const std::vector<TypedDevice>& devices, const std::vector<Value>& values)
{
    for (const WriteRequest& request : planWrites(devices, values, m_driver.blocks())) {
        const TypedDevice& first = devices[request.indices.front()];
        const auto failure = perform(first, Direction::Write, [&](AbstractDeviceInterface& port) {
            return m_driver.object().write(&port, request.command, request.data);
        });
        if (failure)
            throw WriteFailure(*failure, request.indices.front(), request.indices.size());
    }
}

/// request  bool(AbstractDeviceInterface&): false when the driver served nothing
template <typename Request>
std::optional<Failure> Session::perform(const TypedDevice& first, Direction direction,
                                        Request request)
{
    if (isStopped && isStopped())
        return stopped();
    RequestRecord record;
    AttemptsPort port(
        m_port, [&] { countAttempt(first, direction, record); }, isStopped);
    const Clock::time_point begin = Clock::now();
    const bool served = request(port);
    record.took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    if (isStopped && isStopped() && m_driver.object().hasError()) {
        reportCutShort(record);
        return stopped();
    }

    std::optional<Failure> failure;
    if (m_driver.object().hasError() && beforeFailure)
        beforeFailure();
    if (m_driver.object().hasError())
        failure = failureOf(first, direction);
    else if (!served)
        failure = notServed(first, direction);
    if (failure)
        record.failure = failure->kind();
    // Not every driver asks for retries.
    if (failure && sumOf(record.failedAttempts) == 0)
        record.failedAttempts[std::size_t(failure->kind())] = 1;
    if (onRequest)
        onRequest(record);
    return failure;
}

/// The attempt that was cut short says nothing about the line; those that failed before it do.
void Session::reportCutShort(RequestRecord& record) const
{
    const FailureCounts& failed = record.failedAttempts;
    if (sumOf(failed) == 0 || !onRequest)
        return;
    const auto mostFrequent = std::max_element(failed.begin(), failed.end());
    record.failure = FailureKind(mostFrequent - failed.begin());
    onRequest(record);
}

void Session::countAttempt(const TypedDevice& first, Direction direction,
                           RequestRecord& record) const
{
    const RequestContext context = contextOf(first, direction);
    if ((isStopped && isStopped()) || context.port.isOwnFailure)
        return;
    const FailureKind kind = driverFailureKind(errorText(), context);
    ++record.failedAttempts[std::size_t(kind)];
    if (onFailedAttempt)
        onFailedAttempt(kind);
}

Failure Session::failureOf(const TypedDevice& first, Direction direction) const
{
    const RequestContext context = contextOf(first, direction);
    const Failure failure = driverFailure(errorText(), context);
    // When nothing was sent, the port last spoke of an earlier request.
    if (failure.kind() == FailureKind::WrongUsage || context.port.text.empty())
        return failure;
    return failure.with(" (" + context.port.text + ")");
}

RequestContext Session::contextOf(const TypedDevice& first, Direction direction) const
{
    return {m_driver.description(), first, direction, m_portReport ? m_portReport() : PortReport()};
}

std::string Session::errorText() const
{
    return m_driver.object().getLastError().toStdString();
}

} // namespace bench
