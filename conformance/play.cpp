#include "conformance/play.h"

#include "conformance/scriptedport.h"
#include "conformance/widths.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"
#include "drivers/errortexts.h"

#include <algorithm>
#include <sstream>

namespace
{

bool beginsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

/// Throws std::invalid_argument unless the whole text is a number.
int numberIn(const std::string& text)
{
    bool isNumber = false;
    const int number = QString::fromStdString(text).toInt(&isNumber);
    if (!isNumber)
        throw std::invalid_argument("not a number");
    return number;
}

int dataTypeNamed(const std::string& name)
{
    const Width* const width = widthNamed(name);
    return width ? width->dataType : numberIn(name);
}

struct Request {
    bool isWrite;
    CommunicatorCommand command;
    QByteArray data;
};

Request requestFrom(const std::string& text)
{
    std::istringstream words(text);
    std::string verb, type, device, rest;
    words >> verb >> type >> device;
    std::getline(words, rest);
    const QByteArray digits = QByteArray::fromStdString(rest).replace(' ', "");
    Request request = {verb == "write", {}, QByteArray::fromHex(digits)};
    const bool good = request.isWrite ? request.data.toHex() == digits.toLower() : verb == "read";
    if (!good || device.empty())
        throw std::invalid_argument("not a request");
    request.command.dataType = dataTypeNamed(type);
    request.command.address = QString::fromStdString(device);
    if (!request.isWrite)
        request.command.length = numberIn(rest);
    return request;
}

std::string failure(DriverInterface& driver)
{
    const std::string text = quoted(driver.getLastError().toLatin1());
    return "! " + text.substr(1, text.size() - 2);
}

/// What a person would say of the request's result, in the words of the stories.
std::string outcomeOf(DriverInterface& driver, AbstractDeviceInterface& port,
                      const Request& request)
{
    if (request.isWrite) {
        const bool written = driver.write(&port, request.command, request.data);
        return driver.hasError() ? (written ? "written in spite of an error" : failure(driver))
                                 : (written ? "= ok" : "= false");
    }
    const QByteArray data = driver.read(&port, request.command);
    if (driver.hasError())
        return data.isEmpty() ? failure(driver) : "data in spite of an error";
    return data.isEmpty() ? "= nothing" : "= " + data.toHex(' ').toUpper().toStdString();
}

/// A call of the list, or the mark after its end.
std::string callAt(const std::vector<std::string>& calls, size_t index)
{
    return index < calls.size() ? calls[index] : "no more calls";
}

/// What can go wrong at one read of a story.
struct Fault {
    std::string name;
    QByteArray bytes;
    std::string count; ///< what the port claims to have read, if not the number of bytes
    bool isLoss;       ///< the count is not what the driver asked for
};

std::vector<Fault> faultsOf(Damage damage, const QByteArray& whole)
{
    if (damage == Damage::Faults)
        return {{"more than asked for", whole, " as 10000", true},
                {"a negative count", whole, " as -1", true},
                {"other bytes", QByteArray(whole.size(), '#'), "", false},
                {"NUL bytes", QByteArray(whole.size(), '\0'), "", false}};
    std::vector<Fault> cuts;
    for (int length = 0; length < whole.size(); ++length)
        cuts.push_back({"cut to " + std::to_string(length), whole.left(length), "", true});
    return cuts;
}

const std::string NoMoreRetries = "retry 0";

/// The story with one read gone wrong. A loss ends the attempt; other bytes may be noticed only
/// after the rest of the reply.
std::vector<std::string> damaged(const Story& story, size_t step, const Fault& fault)
{
    std::vector<std::string> calls = story.calls;
    const std::string read = calls[step].substr(0, calls[step].find('"'));
    calls[step] = read + quoted(fault.bytes) + fault.count;
    if (fault.isLoss) {
        calls.resize(step + 1);
        calls.push_back(NoMoreRetries);
    }
    return calls;
}

std::string differenceWith(const Fault& fault, DriverInterface& driver, const Story& story,
                           size_t step)
{
    const std::string loss = "! " + std::string(errortext::PacketLoss);
    const std::vector<std::string> script = damaged(story, step, fault);
    Played alone = play(driver, story.request, script);
    if (!fault.isLoss && alone.outcome == story.outcome)
        return ""; // of no interest to the driver
    if (fault.isLoss && (alone.calls != script || !beginsWith(alone.outcome, loss)))
        return difference({script, loss}, alone);
    if (!beginsWith(alone.outcome, "! "))
        return difference({alone.calls, "! and a reason"}, alone);

    // What the driver did, and then the story from its beginning.
    std::vector<std::string> patient = alone.calls;
    patient.back() = "retry 1";
    patient.insert(patient.end(), story.calls.begin(), story.calls.end());
    return difference({patient, story.outcome}, play(driver, story.request, patient));
}

} // namespace

void checkRequest(const std::string& request)
{
    try {
        requestFrom(request);
    } catch (const std::logic_error&) {
        throw std::invalid_argument("neither read WIDTH DEVICE COUNT nor write WIDTH DEVICE "
                                    "BYTES: " +
                                    request);
    }
}

Played play(DriverInterface& driver, const std::string& request,
            const std::vector<std::string>& script)
{
    ScriptedPort port(script);
    const std::string outcome = outcomeOf(driver, port, requestFrom(request));
    return {port.calls(), outcome};
}

std::string difference(const Played& wanted, const Played& played)
{
    constexpr size_t Context = 3;
    const size_t common = std::min(wanted.calls.size(), played.calls.size());
    const auto end = wanted.calls.begin() + std::ptrdiff_t(common);
    const size_t first =
        size_t(std::mismatch(wanted.calls.begin(), end, played.calls.begin()).first -
               wanted.calls.begin());
    const bool sameCalls = wanted.calls == played.calls;
    if (sameCalls && wanted.outcome == played.outcome)
        return "";

    std::string text;
    if (first > Context)
        text += "    ...\n";
    for (size_t i = first - std::min(first, Context); i < first; ++i)
        text += "    " + wanted.calls[i] + "\n";
    if (!sameCalls) {
        text += "  - " + callAt(wanted.calls, first) + "\n";
        text += "  + " + callAt(played.calls, first) + "\n";
        if (first + 1 < std::max(wanted.calls.size(), played.calls.size()))
            text += "    ...\n";
    }
    if (wanted.outcome == played.outcome)
        return text + "    " + wanted.outcome + "\n";
    return text + "  - " + wanted.outcome + "\n  + " + played.outcome + "\n";
}

bool succeedsAtOnce(const Story& story)
{
    const auto isRetry = [](const std::string& call) { return beginsWith(call, "retry"); };
    return story.outcome[0] == '=' && std::none_of(story.calls.begin(), story.calls.end(), isRetry);
}

std::vector<Mismatch> playWith(Damage damage, DriverInterface& driver, const Story& story)
{
    if (damage == Damage::None)
        return {{story.name, difference({story.calls, story.outcome},
                                        play(driver, story.request, story.calls))}};
    std::vector<Mismatch> results;
    for (size_t step = 0; step < story.calls.size() && succeedsAtOnce(story); ++step) {
        if (!beginsWith(story.calls[step], "read "))
            continue;
        for (const Fault& fault : faultsOf(damage, unquoted(story.calls[step])))
            results.push_back({story.name + ", " + story.calls[step] + ": " + fault.name,
                               differenceWith(fault, driver, story, step)});
    }
    return results;
}
