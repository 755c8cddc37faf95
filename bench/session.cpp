#include "bench/session.h"

#include "bench/advice.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/driverinterface.h"

#include <QVariant>

namespace bench
{

namespace
{

using Clock = std::chrono::steady_clock;

/// Hands all calls on and counts the attempts that failed: drivers ask for retries after each.
class CountingPort : public AbstractDeviceInterface
{
public:
    explicit CountingPort(AbstractDeviceInterface& port)
        : m_port(port)
    {
    }
    int read(char* buffer, int maxLength) override { return m_port.read(buffer, maxLength); }
    int write(const char* data, int length) override { return m_port.write(data, length); }
    void setOption(int option, const QVariant& value) override { m_port.setOption(option, value); }
    int retry() override
    {
        ++failedAttempts;
        return m_port.retry();
    }
    int delay() override { return m_port.delay(); }

    int failedAttempts = 0;

private:
    AbstractDeviceInterface& m_port;
};

Failure stopped()
{
    return Failure(FailureKind::NoReply, "stopped");
}

} // namespace

Session::Session(Driver& driver, AbstractDeviceInterface& port,
                 std::function<std::string()> portFailure)
    : m_driver(driver)
    , m_port(port)
    , m_portFailure(std::move(portFailure))
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
            throw WriteFailure(*failure, request.indices.front());
    }
}

/// request  bool(AbstractDeviceInterface&): false when the driver served nothing
template <typename Request>
std::optional<Failure> Session::perform(const TypedDevice& first, Direction direction,
                                        Request request)
{
    if (isStopped && isStopped())
        return stopped();
    CountingPort port(m_port);
    const Clock::time_point begin = Clock::now();
    const bool served = request(port);
    // What was cut short says nothing about the line.
    if (isStopped && isStopped() && m_driver.object().hasError())
        return stopped();
    RequestRecord record;
    record.took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);

    std::optional<Failure> failure;
    if (m_driver.object().hasError())
        failure = failureOf(first, direction);
    else if (!served)
        failure = notServed(first, direction);
    record.retries = port.failedAttempts - (failure && port.failedAttempts > 0 ? 1 : 0);
    if (failure)
        record.failure = failure->kind();
    if (onRequest)
        onRequest(record);
    return failure;
}

Failure Session::failureOf(const TypedDevice& first, Direction direction) const
{
    const Failure failure = driverFailure(m_driver.object().getLastError().toStdString(),
                                          {m_driver.description(), first, direction});
    const std::string detail = m_portFailure ? m_portFailure() : std::string();
    return detail.empty() ? failure : failure.with(" (" + detail + ")");
}

} // namespace bench
