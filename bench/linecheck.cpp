#include "bench/linecheck.h"

#include "bench/internal/text.h"

#include "host/exchangesettings.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace bench
{

namespace
{

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// A line that loses more attempts than this, and not only those that a retry made up for, has a
// fault that no setting cures.
constexpr double UsableLostShare = 0.05;

// Fewer reads say little: one lost in a hundred would go unseen more often than not.
constexpr std::uint64_t ConvincingReads = 100;

std::optional<FailureKind> worstOf(const Summary& summary)
{
    const auto worst = std::max_element(summary.failures.begin(), summary.failures.end());
    if (*worst == 0)
        return std::nullopt;
    return static_cast<FailureKind>(worst - summary.failures.begin());
}

std::uint64_t lossesAmong(const FailureCounts& counts)
{
    return counts[std::size_t(FailureKind::NoReply)] +
           counts[std::size_t(FailureKind::InvalidReply)];
}

double lostShareOf(const Summary& summary)
{
    const std::uint64_t attempts = summary.succeeded() + sumOf(summary.failedAttempts);
    return attempts == 0 ? 0 : double(lossesAmong(summary.failedAttempts)) / double(attempts);
}

std::string percent(double share)
{
    return share > 0 && share < 0.001 ? "under 0.1 %"
                                      : fixedText(share * 100, share < 0.1 ? 1 : 0) + " %";
}

/// Whether what counts as lost may have come after the time-out, without being heard.
bool areMaybeLate(const LineRecord& record)
{
    const bool areMissing = record.summary.failedAttemptsOf(FailureKind::NoReply) > 0;
    return areMissing && (!record.hearsLateReplies || record.longestPrompt > record.timeout / 2);
}

Trust trustIn(const LineRecord& record, double lostShare)
{
    const Summary& summary = record.summary;
    if (summary.requests == 0)
        return Trust::Unusable;
    if (record.lateReplies > 0 && record.lateReplies == lossesAmong(summary.failedAttempts))
        return Trust::Late;
    if (lossesAmong(summary.failures) > 0 && lostShare > UsableLostShare)
        return Trust::Unusable;
    return lostShare > 0 ? Trust::Losses : Trust::Trustworthy;
}

milliseconds timeoutFor(const LineRecord& record)
{
    if (record.lateReplies == 0 && (!record.longestPrompt || areMaybeLate(record)))
        return milliseconds(0);
    const auto prompt = std::chrono::ceil<milliseconds>(
        record.longestPrompt.value_or(std::chrono::microseconds(0)));
    const auto longest = std::max(record.lateness, prompt);
    const milliseconds sufficient(host::sufficientTimeoutMs(longest.count()));
    const bool areMissing = record.summary.failedAttemptsOf(FailureKind::NoReply) > 0;
    return areMissing ? std::max(sufficient, record.timeout) : sufficient;
}

std::string inWords(const LineRecord& record, const LineVerdict& verdict)
{
    const Summary& summary = record.summary;
    const std::string share = percent(verdict.lostShare) + " of all attempts";
    switch (verdict.trust) {
    case Trust::Trustworthy:
        return summary.requests < ConvincingReads ? "trustworthy, as far as so few reads can tell"
                                                  : "trustworthy";
    case Trust::Late:
        return "the time-out is too short: " + share + " were answered too late";
    case Trust::Losses:
        return (verdict.lostShare > UsableLostShare ? "frequent" : "occasional") +
               (" losses: keep the retries (" + share + " lost)");
    case Trust::Unusable:
        break;
    }
    return "not usable: " + (summary.requests == 0 ? "nothing was read" : share + " lost");
}

std::string adviceOnLosses(const LineRecord& record, const LineVerdict& verdict)
{
    const bool isSerial = record.hearsLateReplies;
    if (record.breaks * 2 > lossesAmong(record.summary.failedAttempts))
        return isSerial ? "The port failed or is gone. Is the adapter still plugged in?"
                        : "The connection ended or could not be made. Check the network, and that "
                          "the controller and any gateway in between are running.";
    if (record.lateReplies > 0)
        return "Replies came up to " + std::to_string(record.lateness.count()) +
               " ms after their command. Check again with a longer time-out.";
    if (areMaybeLate(record))
        return isSerial
                   ? "Some replies took more than half of the time-out; what is lost may only be "
                     "late. Check again with a longer one."
                   : "What is lost may only be late. Check again with a longer time-out, and that "
                     "the controller and any gateway in between are running.";
    if (verdict.worst == FailureKind::InvalidReply)
        return isSerial ? "Replies are garbled. Check the line's settings (speed, parity), shield "
                          "and ground, and that no other program uses the line."
                        : "Replies are garbled. Check the address, and the settings of any gateway "
                          "in between.";
    if (!record.longestPrompt)
        return "Check cable, power, the port and the line's settings (speed, parity), or allow a "
               "longer time-out.";
    return isSerial ? "Check plugs, shield and ground, and the length of the cable for this speed."
                    : "Check plugs and cables, and any gateway in between.";
}

/// Whether nothing but losses came of a serial line that stayed open.
bool maybeWrongSettings(const LineRecord& record, const LineVerdict& verdict)
{
    return record.hearsLateReplies && record.breaks == 0 && record.lateReplies == 0 &&
           verdict.lostShare == 1;
}

std::string adviceOn(const LineRecord& record, const LineVerdict& verdict)
{
    const Summary& summary = record.summary;
    if (verdict.lostShare > 0)
        return adviceOnLosses(record, verdict);
    if (summary.failedAttemptsOf(FailureKind::ControllerRefused) == 0)
        return std::string();
    return summary.succeeded() == 0
               ? "The controller answers, but refuses to read this device. Check another one."
               : "The controller answers, but refused some of the attempts.";
}

/// Takes in what a session does, as long as it lives.
class LineCheck
{
public:
    LineCheck(Session& session, OpenPort& port, milliseconds timeout)
        : m_session(session)
        , m_port(port)
    {
        m_record.timeout = timeout;
        m_record.hearsLateReplies = port.hearsLateReplies();
        session.onFailedAttempt = [this](FailureKind kind) { listen(kind); };
        session.onRequest = [this](const RequestRecord& request) { add(request); };
    }
    ~LineCheck()
    {
        m_session.onFailedAttempt = nullptr;
        m_session.onRequest = nullptr;
    }

    LineCheck(const LineCheck&) = delete;
    LineCheck& operator=(const LineCheck&) = delete;

    const LineRecord& record()
    {
        m_record.summary = m_statistics.summary();
        return m_record;
    }

private:
    /// Without this the late reply would meet the next attempt, and when it came were not known.
    void listen(FailureKind kind)
    {
        if (kind != FailureKind::NoReply)
            return;
        if (m_port.lastFailure().isBroken) {
            ++m_record.breaks;
            return;
        }
        const Clock::time_point begin = Clock::now();
        const milliseconds lateness = m_port.settle();
        m_listened += std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
        m_record.lateReplies += lateness.count() > 0 ? 1 : 0;
        m_record.lateness = std::max(m_record.lateness, lateness);
    }

    void add(RequestRecord request)
    {
        request.took -= std::exchange(m_listened, {});
        m_statistics.add(request);
        if (!request.failure && request.retries() == 0)
            m_record.longestPrompt = std::max(m_record.longestPrompt, std::optional(request.took));
    }

    Session& m_session;
    OpenPort& m_port;
    Statistics m_statistics;
    LineRecord m_record;
    std::chrono::microseconds m_listened{0}; ///< within the request under way
};

} // namespace

const char* nameOf(Trust trust)
{
    switch (trust) {
    case Trust::Trustworthy:
        return "trustworthy";
    case Trust::Late:
        return "late";
    case Trust::Losses:
        return "losses";
    case Trust::Unusable:
        break;
    }
    return "unusable";
}

LineVerdict judge(const LineRecord& record)
{
    LineVerdict verdict = {};
    verdict.worst = worstOf(record.summary);
    verdict.lostShare = lostShareOf(record.summary);
    verdict.trust = trustIn(record, verdict.lostShare);
    verdict.advisedTimeout =
        verdict.trust == Trust::Unusable ? milliseconds(0) : timeoutFor(record);
    verdict.text = inWords(record, verdict);
    verdict.advice = adviceOn(record, verdict);
    if (maybeWrongSettings(record, verdict))
        verdict.topics = {Topic::Line, Topic::LineSearch};
    return verdict;
}

nlohmann::json toJson(const LineRecord& record, const LineVerdict& verdict)
{
    nlohmann::json json = toJson(record.summary);
    json.erase("rounds");
    json.erase("intervalMs");
    json["trust"] = nameOf(verdict.trust);
    json["lostShare"] = verdict.lostShare;
    json["lateReplies"] = record.lateReplies;
    if (record.lateReplies > 0)
        json["latenessMs"] = record.lateness.count();
    json["text"] = verdict.text;
    json["advice"] = verdict.advice;
    if (verdict.advisedTimeout.count() > 0)
        json["advisedTimeoutMs"] = verdict.advisedTimeout.count();
    return json;
}

LineRecord checkLine(Session& session, OpenPort& port, const TypedDevice& device,
                     milliseconds timeout, const std::function<bool(const LineRecord&)>& goesOn)
{
    LineCheck check(session, port, timeout);
    const std::vector<TypedDevice> devices = {device};
    const auto plan = planReads(devices, session.driver().blocks());
    do {
        const std::vector<Reading> readings = session.read(plan, devices);
        const auto& failure = readings.front().failure;
        if (failure && failure->kind() == FailureKind::WrongUsage)
            throw *failure;
    } while (goesOn(check.record()));
    return check.record();
}

} // namespace bench
