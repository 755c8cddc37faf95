#include "bench/explain.h"

#include "bench/controllers.h"
#include "bench/session.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/portoptions.h"

#include <QVariant>

#include <algorithm>

namespace bench
{

namespace
{

/// A port whose far end is a simulated controller, in memory and without time.
class PortToMemory : public AbstractDeviceInterface
{
public:
    explicit PortToMemory(simulator::Controller& controller)
        : m_session(controller.newSession())
    {
    }

    int read(char* buffer, int maxLength) override
    {
        const std::string part =
            m_unread.substr(0, static_cast<std::size_t>(std::max(0, maxLength)));
        m_unread.erase(0, part.size());
        std::copy(part.begin(), part.end(), buffer);
        waitFor(static_cast<int>(part.size()));
        return static_cast<int>(part.size());
    }

    int write(const char* data, int length) override
    {
        const std::string command(data, static_cast<std::size_t>(std::max(0, length)));
        m_exchanges.push_back({command, 0, 0, false});
        m_onLine = m_exchanges.back().commandBytes();
        m_received += command;
        const bool wasOpen = m_session->isOpen();
        while (const auto request = m_session->takeRequest(m_received))
            answer(m_session->answer(*request));
        m_exchanges.back().opensSession = !wasOpen && m_session->isOpen();
        return length;
    }

    void setOption(int option, const QVariant& value) override
    {
        if (option == DiscardUnreadInput && value.toInt() == 0)
            m_unread.clear();
    }

    int retry() override { return 0; }
    int delay() override { return 0; }

    /// Those since the last call.
    ExplainedRequest takeExchanges() { return std::exchange(m_exchanges, {}); }

private:
    void answer(const std::string& reply)
    {
        m_unread += reply;
        m_exchanges.back().replyBytes += static_cast<int>(reply.size());
    }

    void waitFor(int characters)
    {
        if (m_exchanges.empty())
            return;
        Exchange& exchange = m_exchanges.back();
        exchange.longestWait = std::max(exchange.longestWait, m_onLine + characters);
        m_onLine = 0;
    }

    std::unique_ptr<simulator::Session> m_session;
    std::string m_received; ///< by the controller
    std::string m_unread;   ///< by the driver
    int m_onLine = 0;       ///< characters of a command since the last wait
    ExplainedRequest m_exchanges;
};

std::unique_ptr<simulator::Controller> controllerFor(const Driver& driver)
{
    const std::string& protocol = driver.description().protocol;
    if (!isSimulated(protocol))
        throw wrongUsage("explain has no simulated controller for the driver " + driver.name(),
                         "It counts the replies of one that speaks the driver's protocol.");
    return makeController(protocol);
}

/// talk  void(Session&): makes the requests
template <typename Talk>
std::vector<ExplainedRequest> explain(Driver& driver, Talk talk)
{
    const auto controller = controllerFor(driver);
    PortToMemory port(*controller);
    Session session(driver, port);
    std::vector<ExplainedRequest> requests;
    session.onRequest = [&](const RequestRecord&) { requests.push_back(port.takeExchanges()); };
    try {
        talk(session);
    } catch (const Failure& failure) {
        if (failure.kind() != FailureKind::ControllerRefused)
            throw;
        throw Failure(failure.kind(),
                      std::string("the simulated controller refused this: ") + failure.what(),
                      "It may have fewer devices than yours; explain a device that it has.");
    }
    return requests;
}

bool isAlike(const Exchange& left, const Exchange& right)
{
    return left.command.size() == right.command.size() && left.replyBytes == right.replyBytes;
}

bool isAlikeRequest(const ExplainedRequest& left, const ExplainedRequest& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), isAlike);
}

/// The longest sequence that is looked for in repetitions: what a driver does for one device.
constexpr std::ptrdiff_t LongestPeriod = 8;

/// How often the first `period` items are followed by others like them.
template <typename Iterator, typename Alike>
int repetitions(Iterator first, Iterator end, std::ptrdiff_t period, Alike alike)
{
    if (end - first < period)
        return 0;
    const auto differs = std::mismatch(first + period, end, first, alike).first;
    return static_cast<int>((differs - first) / period) - 1;
}

struct Repetition {
    std::ptrdiff_t period;
    int count; ///< after the first
};

/// The shortest one that begins here and is worth a line of its own.
Repetition repetitionAt(ExplainedRequest::const_iterator first,
                        ExplainedRequest::const_iterator end)
{
    for (std::ptrdiff_t period = 1; period <= LongestPeriod; ++period) {
        const int count = repetitions(first, end, period, isAlike);
        if (count * period >= 2)
            return {period, count};
    }
    return {1, 0};
}

void addShortened(std::vector<ShortRow>& rows, std::size_t number, const ExplainedRequest& request)
{
    for (auto exchange = request.begin(); exchange != request.end();) {
        const Repetition repetition = repetitionAt(exchange, request.end());
        for (auto shown = exchange; shown != exchange + repetition.period; ++shown)
            rows.push_back({number, &*shown, 0, 0});
        if (repetition.count > 0)
            rows.push_back({number, nullptr, repetition.count, int(repetition.period)});
        exchange += repetition.period * (1 + repetition.count);
    }
}

/// A simulated controller is silent only when another station than its own was asked.
Failure explained(const TypedDevice& device, const Failure& failure)
{
    if (failure.kind() != FailureKind::NoReply || !device.place.station)
        return failure;
    return wrongUsage("the simulated controller that explain counts with is not station " +
                          std::to_string(*device.place.station),
                      "Omit the station: commands and replies are as long without it.");
}

} // namespace

std::vector<ExplainedRequest> explainRead(Driver& driver, const std::vector<TypedDevice>& devices)
{
    return explain(driver, [&](Session& session) {
        const std::vector<Reading> readings = session.read(devices);
        for (std::size_t i = 0; i < readings.size(); ++i)
            if (readings[i].failure)
                throw explained(devices[i], *readings[i].failure);
    });
}

std::vector<ExplainedRequest> explainWrite(Driver& driver, const std::vector<TypedDevice>& devices,
                                           const std::vector<Value>& values)
{
    return explain(driver, [&](Session& session) {
        try {
            session.write(devices, values);
        } catch (const WriteFailure& failure) {
            throw explained(devices[failure.index], failure);
        }
    });
}

Totals totalsOf(const std::vector<ExplainedRequest>& requests)
{
    Totals totals;
    for (const ExplainedRequest& request : requests) {
        ++totals.requests;
        for (const Exchange& exchange : request) {
            ++totals.exchanges;
            totals.sessions += exchange.opensSession ? 1 : 0;
            totals.commandBytes += exchange.commandBytes();
            totals.replyBytes += exchange.replyBytes;
            totals.longestWait = std::max(totals.longestWait, exchange.longestWait);
        }
    }
    return totals;
}

std::chrono::microseconds timeOnLine(int characters, const host::LineSettings& line)
{
    const std::int64_t bits = std::int64_t(characters) * host::bitsPerCharacter(line);
    return std::chrono::microseconds((bits * 1000000 + line.baud / 2) / line.baud);
}

int leastTimeoutMs(const Totals& totals, const host::LineSettings& line)
{
    const auto wait = timeOnLine(totals.longestWait, line);
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(wait).count());
}

std::vector<ShortRow> shortened(const std::vector<ExplainedRequest>& requests)
{
    std::vector<ShortRow> rows;
    for (auto request = requests.begin(); request != requests.end();) {
        const auto number = static_cast<std::size_t>(request - requests.begin());
        const int alike = repetitions(request, requests.end(), 1, isAlikeRequest);
        addShortened(rows, number, *request);
        if (alike > 0)
            rows.push_back({number, nullptr, alike, 0});
        request += 1 + alike;
    }
    return rows;
}

} // namespace bench
