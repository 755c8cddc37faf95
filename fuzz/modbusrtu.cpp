// The Modbus RTU driver, loaded from its file, against a port that answers whatever the input says.
// Whatever it reports as read or written must follow from the frames that went over the port, taken
// apart here by the protocol's rules.
#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "input.h"
#include "modbusframe.h"
#include "tests/support/answeringport.h"

#include <ctime>
#include <memory>
#include <string>
#include <vector>

/// Stands in for the system's: the silence that the driver keeps before every frame takes no time
/// here.
extern "C" int nanosleep(const timespec*, timespec*)
{
    return 0;
}

namespace
{

using namespace modbusframe;
using std::string;

struct Exchange {
    string request;
    string reply; ///< as far as it was read
};

/// Answers every request as the input says, most of them as a station would.
class ChosenPort : public AnsweringPort
{
public:
    explicit ChosenPort(Input input)
        : AnsweringPort([this](const string& request) { return answer(request); })
        , m_input(input)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        require(maxLength > 0 && maxLength <= 256, "no frame is longer than 256 bytes");
        const int count = AnsweringPort::read(buffer, maxLength);
        exchanges.back().reply.append(buffer, size_t(count));
        return count;
    }

    int write(const char* data, int length) override
    {
        exchanges.push_back({string(data, size_t(length)), string()});
        return AnsweringPort::write(data, length);
    }

    std::vector<Exchange> exchanges;

private:
    string answer(const string& request)
    {
        const int choice = m_input.byte();
        string reply = goodAnswer(request);
        if (choice < 0xC0)
            return reply;
        if (choice < 0xC8)
            return withCrc({request[0], char(request[1] | 0x80), char(choice - 0xC0)});
        if (choice < 0xD8)
            return withCrc(m_input.text().toStdString());
        if (choice < 0xE0)
            return m_input.text().toStdString();
        const size_t place = m_input.number(1) % reply.size();
        if (choice >= 0xF0)
            return reply.substr(0, place);
        reply[place] = char(m_input.byte());
        const bool checkFollows = choice < 0xE8;
        return checkFollows ? withCrc(reply.substr(0, reply.size() - 2)) : reply;
    }

    string goodAnswer(const string& request)
    {
        const int function = byteAt(request, 1), count = wordAt(request, 4);
        if (isWrite(function))
            return withCrc(request.substr(0, 6));
        const int bytes = dataBytes(function, count);
        string reply = request.substr(0, 2) + char(bytes);
        const int first = m_input.byte();
        for (int i = 0; i < bytes; ++i)
            reply += char(first + 7 * i);
        return withCrc(reply);
    }

    Input m_input;
};

/// A sound request: its check and its size are right, and it asks for what a frame can carry.
void checkRequest(const string& request)
{
    const int function = byteAt(request, 1), count = wordAt(request, 4);
    const bool writes = isWrite(function);
    require(request.size() >= 8 && hasGoodCrc(request), "the check of a request");
    require(byteAt(request, 0) >= 1 && byteAt(request, 0) <= 247, "the station of a request");
    const int most = function == ReadCoils        ? 2000
                     : function == ReadRegisters  ? 125
                     : function == WriteCoils     ? 1968
                     : function == WriteRegisters ? 123
                                                  : 0;
    require(count >= 1 && count <= most, "the count of a request");
    require(wordAt(request, 2) + count <= 65536, "the last device of a request");
    const int bytes = dataBytes(function, count);
    require(int(request.size()) == (writes ? 9 + bytes : 8), "the size of a request");
    require(!writes || byteAt(request, 6) == bytes, "the byte count of a request");
}

bool isGood(const Exchange& exchange)
{
    const string &request = exchange.request, &reply = exchange.reply;
    const int function = byteAt(request, 1), count = wordAt(request, 4);
    if (reply.size() < 5 || !hasGoodCrc(reply))
        return false;
    if (isWrite(function))
        return reply.substr(0, 6) == request.substr(0, 6) && reply.size() == 8;
    const int bytes = dataBytes(function, count);
    return reply.substr(0, 2) == request.substr(0, 2) && byteAt(reply, 2) == bytes &&
           int(reply.size()) == 5 + bytes;
}

/// The exchanges of the last attempt: each asks for what follows the one before.
std::vector<Exchange> lastAttempt(const std::vector<Exchange>& all)
{
    size_t first = all.empty() ? 0 : all.size() - 1;
    while (first > 0 && isGood(all[first - 1]) &&
           wordAt(all[first - 1].request, 2) + wordAt(all[first - 1].request, 4) ==
               wordAt(all[first].request, 2))
        --first;
    return {all.begin() + long(first), all.end()};
}

/// What the good replies to reads say, as the driver must hand it out.
string dataOf(const std::vector<Exchange>& exchanges)
{
    string data;
    for (const Exchange& exchange : exchanges) {
        const string values = exchange.reply.substr(3, exchange.reply.size() - 5);
        const int count = wordAt(exchange.request, 4);
        for (int i = 0; i < count; ++i) {
            if (byteAt(exchange.request, 1) == ReadCoils)
                data += char(byteAt(values, size_t(i / 8)) >> i % 8 & 1);
            else
                data += {values[size_t(2 * i + 1)], values[size_t(2 * i)]};
        }
    }
    return data;
}

/// The data of the writes, as the driver was given it.
string writtenBy(const std::vector<Exchange>& exchanges)
{
    std::vector<Exchange> asReads = exchanges;
    for (Exchange& exchange : asReads) {
        const string& request = exchange.request;
        exchange.reply = request.substr(4);
        exchange.request[1] = char(byteAt(request, 1) == WriteCoils ? ReadCoils : ReadRegisters);
    }
    return dataOf(asReads);
}

QString chosenAddress(Input& input, bool ofBits)
{
    const int choice = input.byte();
    if (choice >= 0xE0)
        return QString::fromLatin1(input.text());
    const QString station = choice < 0x80 ? "" : QString::number(input.number(1)) + ':';
    return station + (ofBits ? "C" : "HR") + QString::number(input.number(2));
}

DriverInterface& driver()
{
    static const std::unique_ptr<host::DriverPlugin> plugin = [] {
        QString error;
        auto loaded = host::DriverPlugin::load(MODBUS_DRIVER, &error);
        require(loaded != nullptr, qPrintable(error));
        return loaded;
    }();
    return *plugin->driver();
}

int unitBytes(int dataType)
{
    static const int bytes[] = {1, 1, 2, 4, 8, 1, 1};
    return dataType >= 0 && dataType <= 6 ? bytes[dataType] : 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const int flags = input.byte();
    const bool writes = flags & 1;
    CommunicatorCommand command;
    command.dataType = static_cast<int8_t>(input.byte()) % 9;
    command.length = flags & 2 ? static_cast<int32_t>(input.number(4)) : input.shortNumber() % 600;
    const bool ofBits = command.dataType == DataBit || command.dataType == DataBitGroup;
    command.address = chosenAddress(input, ofBits);
    const QByteArray values = QByteArray(writes ? int(input.number(2) % 1500) : 0, char(flags));
    ChosenPort port(input);

    string result;
    if (writes)
        result = driver().write(&port, command, values) ? values.toStdString() : string();
    else
        result = driver().read(&port, command).toStdString();

    for (const Exchange& exchange : port.exchanges)
        checkRequest(exchange.request);
    if (driver().hasError()) {
        require(result.empty(), "a failure gives nothing");
        require(!driver().getLastError().isEmpty(), "a failure has a reason");
        return 0;
    }
    const auto exchanges = lastAttempt(port.exchanges);
    require(exchanges.size() == port.exchanges.size(), "one attempt, without a gap");
    require(std::all_of(exchanges.begin(), exchanges.end(), isGood),
            "success of good replies only");
    string wanted = writes ? writtenBy(exchanges) : dataOf(exchanges);
    if (writes) {
        for (char& bit : result)
            bit = ofBits ? bit != 0 : bit;
        result.resize(wanted.size()); // a zero beside an odd last byte
    } else {
        const int64_t bytes = int64_t(std::max(0, command.length)) * unitBytes(command.dataType);
        require(int64_t(result.size()) == bytes, "as much as was asked for");
        require(wanted.size() - result.size() < 2, "no more read than was asked for");
        wanted.resize(result.size());
    }
    require(result == wanted, "data");
    return 0;
}
