#include "bench/linecheck.h"

#include "bench/internal/text.h"

#include "host/exchangesettings.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace bench
{

namespace
{

using std::chrono::milliseconds;

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

/// Reads that no retry could save.
std::uint64_t lostReads(const Summary& summary)
{
    return summary.failuresOf(FailureKind::NoReply) + summary.failuresOf(FailureKind::InvalidReply);
}

std::string percent(double share)
{
    return share > 0 && share < 0.001 ? "under 0.1 %"
                                      : fixedText(share * 100, share < 0.1 ? 1 : 0) + " %";
}

/// Whether what counts as lost may have come after the time-out.
bool areMaybeLate(const LineRecord& record, double lostShare)
{
    return lostShare > 0 && record.longestPrompt > record.timeout / 2;
}

Trust trustIn(const Summary& summary, double lostShare)
{
    if (summary.requests == 0 || (lostReads(summary) > 0 && lostShare > UsableLostShare))
        return Trust::Unusable;
    return lostShare > 0 ? Trust::Losses : Trust::Trustworthy;
}

std::string inWords(const LineRecord& record, const LineVerdict& verdict)
{
    const Summary& summary = record.summary;
    const std::string lost = percent(verdict.lostShare) + " of all attempts lost";
    switch (verdict.trust) {
    case Trust::Trustworthy:
        return summary.requests < ConvincingReads ? "trustworthy, as far as so few reads can tell"
                                                  : "trustworthy";
    case Trust::Losses:
        return (verdict.lostShare > UsableLostShare ? "frequent" : "occasional") +
               (" losses: keep the retries (" + lost + ")");
    case Trust::Unusable:
        break;
    }
    return "not usable: " + (summary.requests == 0 ? std::string("nothing was read") : lost);
}

std::string adviceOn(const LineRecord& record, const LineVerdict& verdict)
{
    const Summary& summary = record.summary;
    if (summary.failuresOf(FailureKind::ControllerRefused) > 0)
        return "The controller answers, but refuses to read this device. Check another one.";
    if (areMaybeLate(record, verdict.lostShare))
        return "Some replies took more than half of the time-out; what is lost may only be late. "
               "Check again with a longer one.";
    if (verdict.worst == FailureKind::InvalidReply)
        return "Replies are garbled. Check the line's settings (speed, parity), shield and ground, "
               "and that no other program uses the line.";
    if (!record.longestPrompt && verdict.lostShare > 0)
        return "Check cable, power, the port and the line's settings (speed, parity), or allow a "
               "longer time-out.";
    if (verdict.lostShare > 0)
        return "Check plugs, shield and ground, and the length of the cable for this speed.";
    return std::string();
}

} // namespace

const char* nameOf(Trust trust)
{
    switch (trust) {
    case Trust::Trustworthy:
        return "trustworthy";
    case Trust::Losses:
        return "losses";
    case Trust::Unusable:
        break;
    }
    return "unusable";
}

LineVerdict judge(const LineRecord& record)
{
    const Summary& summary = record.summary;
    const auto attempts = static_cast<double>(summary.requests + summary.retries);
    LineVerdict verdict = {};
    verdict.worst = worstOf(summary);
    verdict.lostShare =
        attempts > 0 ? static_cast<double>(summary.retries + lostReads(summary)) / attempts : 0;
    verdict.trust = trustIn(summary, verdict.lostShare);
    if (record.longestPrompt && !areMaybeLate(record, verdict.lostShare)) {
        const auto longest = std::chrono::ceil<milliseconds>(*record.longestPrompt);
        verdict.advisedTimeout = milliseconds(host::sufficientTimeoutMs(longest.count()));
    }
    verdict.text = inWords(record, verdict);
    verdict.advice = adviceOn(record, verdict);
    return verdict;
}

nlohmann::json toJson(const LineRecord& record, const LineVerdict& verdict)
{
    nlohmann::json json = toJson(record.summary);
    json.erase("rounds");
    json.erase("intervalMs");
    json["trust"] = nameOf(verdict.trust);
    json["lostShare"] = verdict.lostShare;
    json["text"] = verdict.text;
    json["advice"] = verdict.advice;
    if (verdict.advisedTimeout.count() > 0)
        json["advisedTimeoutMs"] = verdict.advisedTimeout.count();
    return json;
}

LineRecord checkLine(Session& session, const TypedDevice& device, milliseconds timeout,
                     const std::function<bool(const LineRecord&)>& goesOn)
{
    const std::vector<TypedDevice> devices = {device};
    const auto plan = planReads(devices, session.driver().blocks());
    Statistics statistics;
    LineRecord record;
    record.timeout = timeout;
    session.onRequest = [&](const RequestRecord& request) {
        statistics.add(request);
        if (!request.failure && request.retries == 0)
            record.longestPrompt = std::max(record.longestPrompt, std::optional(request.took));
    };
    do {
        const std::vector<Reading> readings = session.read(plan, devices);
        const auto& failure = readings.front().failure;
        if (failure && failure->kind() == FailureKind::WrongUsage) {
            session.onRequest = nullptr;
            throw *failure;
        }
        record.summary = statistics.summary();
    } while (goesOn(record));
    session.onRequest = nullptr;
    return record;
}

} // namespace bench
