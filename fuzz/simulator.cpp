// The simulated controller: bytes from a host in portions of any size, under a fault plan in any
// words. The input is the plan's text, a line feed, a seed byte, and what the host sends.
#include "input.h"
#include "simulator/channel.h"
#include "simulator/kv1000/controller.h"

#include <optional>
#include <string>

namespace
{

using std::string;

/// What a controller sends back under a plan.
string conversation(const simulator::FaultPlan& plan, const QByteArray& sent)
{
    simulator::kv1000::Controller controller;
    simulator::FaultPlan faults = plan;
    const simulator::TrafficLog log;
    simulator::Channel channel("line", controller, faults, log);
    string replies;
    simulator::TimeMs now = 0;
    const auto listen = [&] {
        while (const auto due = channel.nextDue()) {
            require(*due >= now, "replies are due in order");
            now = *due;
            replies += channel.due(now);
            channel.sent(channel.due(now).size(), now);
        }
        require(channel.idle(), "a channel without replies is idle");
    };
    for (int place = 0; place < sent.size();) {
        const QByteArray portion = sent.mid(place, 1 + (sent.at(place) & 0x3F));
        channel.receive({portion.constData(), size_t(portion.size())}, now);
        place += portion.size();
        listen();
    }
    return replies;
}

bool isOneOf(char c, const char* set)
{
    return string(set).find(c) != string::npos;
}

/// CC, CF, OK, E and a digit, or values: bits, words of 5 digits, values of 10, or triples.
bool isReply(const string& line)
{
    if (line == "CC" || line == "CF" || line == "OK" ||
        (line.size() == 2 && line[0] == 'E' && isOneOf(line[1], "0123456789")))
        return true;
    const size_t itemEnd = std::min(line.find(' '), line.size());
    string shape = line;
    for (char& c : shape)
        c = isOneOf(c, "0123456789") ? 'd' : c;
    const string item = shape.substr(0, itemEnd);
    if (item != "d" && item != "ddddd" && item != "dddddddddd" && item != "d,dddddddddd,dddddddddd")
        return false;
    for (size_t i = itemEnd; i < shape.size(); i += item.size() + 1)
        if (shape.compare(i, item.size() + 1, ' ' + item) != 0)
            return false;
    return true;
}

void checkReplies(const QByteArray& sent)
{
    const string replies = conversation(simulator::FaultPlan(), sent);
    size_t start = 0;
    int lines = 0;
    while (start < replies.size()) {
        const size_t end = replies.find("\r\n", start);
        require(end != string::npos, "a reply ends with CR LF");
        require(isReply(replies.substr(start, end - start)), "a reply of a known form");
        start = end + 2;
        ++lines;
    }
    require(lines <= sent.count('\n'), "no more replies than commands");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char*>(data), int(size));
    const int lineEnd = input.contains('\n') ? input.indexOf('\n') : input.size();
    const string planText = input.left(lineEnd).toStdString();
    const QByteArray sent = input.mid(lineEnd + 2);
    const uint32_t seed = lineEnd + 1 < input.size() ? uint32_t(input.at(lineEnd + 1)) : 0;

    string why;
    const auto plan = simulator::FaultPlan::parse(planText, seed,
                                                  simulator::kv1000::Controller().commands(), why);
    require(plan.has_value() == why.empty(), "a bad plan, and only a bad plan, has a reason");
    checkReplies(sent);
    if (plan)
        require(conversation(*plan, sent) == conversation(*plan, sent), "the same faults again");
    return 0;
}
