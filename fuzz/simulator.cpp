// The simulated controllers. The KV-1000 gets bytes from a host in portions of any size, under a
// fault plan in any words: the input is the plan's text, a line feed, a seed byte, and what the
// host sends. The Modbus station gets frames made from the same bytes.
#include "input.h"
#include "modbusframe.h"
#include "simulator/channel.h"
#include "simulator/kv1000/controller.h"
#include "simulator/modbusrtu/controller.h"

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

/// A frame with a correct check, mostly to station 1 and of a function that it has.
string chosenFrame(Input& input)
{
    using namespace modbusframe;
    static const int functions[] = {ReadCoils, ReadRegisters, WriteCoils, WriteRegisters, 6};
    const int choice = input.byte(), function = functions[choice % 5];
    string frame = {char(choice < 0xF0 ? 1 : 2), char(function)};
    for (int i = 0; i < 2; ++i)
        frame += char(input.byte());
    const int count = input.byte() * (choice & 0x40 ? 9 : 1);
    frame += {char(count >> 8), char(count)};
    if (isWrite(function)) {
        const int bytes = dataBytes(function, count) & 0xFF;
        frame += char(bytes);
        for (int i = 0; i < bytes; ++i)
            frame += char(input.byte());
    }
    return withCrc(frame);
}

/// What these devices hold, as the data of a reply.
string readBack(simulator::Session& session, const string& write)
{
    using namespace modbusframe;
    const char function = char(byteAt(write, 1) == WriteCoils ? ReadCoils : ReadRegisters);
    string frame = withCrc(string{write[0], function} + write.substr(2, 4));
    const string reply = session.answer(session.takeRequest(frame).value());
    return reply.substr(3, reply.size() - 5);
}

void checkModbusReply(simulator::Session& session, const string& request, const string& reply)
{
    using namespace modbusframe;
    const int function = byteAt(request, 1), count = wordAt(request, 4);
    const int bytes = dataBytes(function, count);
    require(byteAt(request, 0) == 1 && hasGoodCrc(request), "a request to this station");
    require(hasGoodCrc(reply) && reply[0] == request[0], "a reply of this station");
    if (byteAt(reply, 1) == (function | 0x80)) {
        require(reply.size() == 5 && reply[2] >= 1 && reply[2] <= 3, "an exception");
        return;
    }
    require(reply[1] == request[1], "the function of a reply");
    require(count >= 1 && wordAt(request, 2) + count <= 10000, "devices that exist");
    if (!isWrite(function)) {
        require(int(reply.size()) == 5 + bytes && byteAt(reply, 2) == bytes, "data of a read");
        return;
    }
    require(reply.substr(0, 6) == request.substr(0, 6) && reply.size() == 8, "reply to a write");
    string written = request.substr(7, size_t(bytes));
    if (function == WriteCoils && count % 8 != 0)
        written.back() = char(byteAt(written, written.size() - 1) & ((1 << count % 8) - 1));
    require(readBack(session, request) == written, "what was written is read");
}

void checkModbus(Input input)
{
    simulator::modbusrtu::Controller controller;
    const auto session = controller.newSession();
    while (!input.atEnd()) {
        string received = chosenFrame(input);
        while (const auto request = session->takeRequest(received))
            checkModbusReply(*session, *request, session->answer(*request));
    }
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
    checkModbus(Input(reinterpret_cast<const uint8_t*>(sent.constData()), size_t(sent.size())));
    if (plan)
        require(conversation(*plan, sent) == conversation(*plan, sent), "the same faults again");
    return 0;
}
