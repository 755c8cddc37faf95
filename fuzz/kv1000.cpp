// The KV-1000 driver against a port that answers whatever the input says. A model, written from the
// description of the host link and sharing nothing with the driver, plays the same request against
// the same port: every call, the result and the error text have to agree.
#include "drivers/driverinterface.h"
#include "input.h"
#include "tests/support/answeringport.h"
#include "tests/support/kv1000naming.h"

#include <QRegExp>

#include <climits>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

extern "C" DriverInterface* CreateDriver();

namespace
{

using namespace naming;

const size_t RxBufferSize = 1538, TxBufferSize = 1553;
const size_t LongestReadCommand = 19, LongestDevice = 10;
const int BitsPerChannel = 16, ChannelStep = 100;

enum Form { Bits, Words, Values, Triples };

/// By form: the characters of an item.
const int ItemLengths[] = {1, 5, 10, 23};

int replyLength(Form form, int items)
{
    return (ItemLengths[form] + 1) * std::max(1, items) + 1;
}

struct Request {
    bool isWrite;
    int retries;
    CommunicatorCommand command;
    QByteArray data;
    Form form; ///< of a good reply to a read
};

// The port

/// Notes every call, and answers the commands as the plan says. The same plan and the same calls
/// give the same answers.
class PlannedPort : public AnsweringPort
{
public:
    PlannedPort(const Request& request, Input plan)
        : AnsweringPort([this](const string& command) { return answer(command); })
        , m_request(request)
        , m_plan(plan)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        calls.push_back("read " + std::to_string(maxLength));
        return AnsweringPort::read(buffer, maxLength) + m_countError;
    }

    int write(const char* data, int length) override
    {
        calls.push_back("write " + string(data, size_t(length)));
        return AnsweringPort::write(data, length);
    }

    void setOption(int option, const QVariant& value) override
    {
        calls.push_back("option " + std::to_string(option) + ' ' + value.toString().toStdString());
        AnsweringPort::setOption(option, value);
    }

    int retry() override
    {
        calls.push_back("retry");
        return m_request.retries;
    }

    int delay() override
    {
        calls.push_back("delay");
        return AnsweringPort::delay();
    }

    std::vector<string> calls;

private:
    string answer(const string& command)
    {
        const int choice = m_plan.byte();
        m_countError = choice == 0xFF ? 1 : choice == 0xFE ? -1 : 0;
        string reply = goodAnswer(command);
        if (choice < 0xC0 || m_countError != 0)
            return reply;
        if (choice < 0xCA)
            return string("E") + char('0' + choice - 0xC0) + "\r\n";
        if (choice < 0xE0)
            return m_plan.text().toStdString();
        const size_t place = m_plan.number(2) % reply.size();
        if (choice >= 0xF0)
            return reply.substr(0, place);
        reply[place] = char(m_plan.byte());
        return reply;
    }

    string goodAnswer(const string& command)
    {
        if (command == "CR\r\n")
            return "CC\r\n";
        if (command == "CQ\r\n")
            return "CF\r\n";
        if (command.compare(0, 4, "RDS ") != 0)
            return "OK\r\n";
        return dataReply(std::stoi(command.substr(command.rfind(' '))));
    }

    string dataReply(int items)
    {
        std::minstd_rand random(m_plan.number(1) + 1);
        const auto digits = [&](int count) {
            string text;
            while (count-- > 0)
                text += char('0' + random() % 10);
            return text;
        };
        const auto bit = [&] { return string(1, char('0' + random() % 2)); };
        string reply;
        for (int i = 0; i < std::max(1, items); ++i) {
            reply += i == 0 ? "" : " ";
            if (m_request.form == Bits)
                reply += bit();
            else if (m_request.form == Triples)
                reply += bit() + ',' + digits(10) + ',' + digits(10);
            else
                reply += digits(ItemLengths[m_request.form]);
        }
        return reply + "\r\n";
    }

    const Request& m_request;
    Input m_plan;
    int m_countError = 0;
};

// Device texts

bool fits(const string& device)
{
    const auto printable = [](char c) { return c > ' ' && c <= '~'; };
    return !device.empty() && std::all_of(device.begin(), device.end(), printable) &&
           device.size() + zerosFor(device) <= LongestDevice;
}

bool isOneOf(const string& symbol, std::initializer_list<const char*> symbols)
{
    return std::find(symbols.begin(), symbols.end(), symbol) != symbols.end();
}

bool isTimerOrCounter(const string& device)
{
    return isOneOf(inUpperCase(symbolOf(device)), {"T", "C", "CTC", "CTH", "TS", "CS", "PCTC"});
}

bool isContact(const string& device)
{
    const char first = device.empty() ? '\0' : upper(device[0]);
    return (first == 'C' && device.compare(1, 2, "TC") == 0) ||
           ((first == 'C' || first == 'T') && device.size() > 1 && isDigit(device[1]));
}

bool isSetValue(const string& device)
{
    return startsWith(device, "PCTC") || startsWith(device, "TS") || startsWith(device, "CS");
}

int64_t nextInChannels(int64_t number)
{
    return number % ChannelStep > BitsPerChannel - 2 ? (number / ChannelStep + 1) * ChannelStep
                                                     : number + 1;
}

struct Part {
    string device;
    int count;
};

/// The commands that a run of devices takes, each as large as `capacity` allows for its first
/// device; none when the run can't be cut.
std::vector<Part> cutRun(const string& device, int count, bool ofBits,
                         const std::function<int(const string&)>& capacity)
{
    if (count <= capacity(device))
        return {{device, count}};
    const string symbol = symbolOf(device), digits = device.substr(symbol.size());
    const bool inChannels = ofBits && isOneOf(inUpperCase(symbol), {"R", "MR", "LR", "CR"});
    const bool byOne = holdsWords(device) || startsWith(device, "AT") || isTimerOrCounter(device);
    if ((!inChannels && !byOne) || !std::all_of(digits.begin(), digits.end(), isDigit))
        return {};

    std::vector<Part> parts;
    int room = 0;
    int64_t number = digits.empty() ? 0 : std::stoll(digits);
    string text;
    for (int i = 0; i < count; ++i) {
        text = std::to_string(number);
        text = symbol + string(digits.size() - std::min(digits.size(), text.size()), '0') + text;
        if (room == 0) {
            parts.push_back({i == 0 ? device : text, 0});
            room = capacity(parts.back().device);
        }
        ++parts.back().count;
        --room;
        number = inChannels ? nextInChannels(number) : number + 1;
    }
    const size_t width = size_t(digitWidth(device));
    const bool leavesArea = width > 1 && text.size() - symbol.size() > width;
    return leavesArea || text.size() > LongestDevice ? std::vector<Part>() : parts;
}

// The model

/// What becomes of an item: the number at a place of it, as some bytes.
struct Field {
    int offset, digits, bytes;
};

class Model
{
public:
    Model(const Request& request, AbstractDeviceInterface& port)
        : m_command(request.command)
        , m_address(request.command.address.toLatin1().toStdString())
        , m_data(request.data.toStdString())
        , m_port(port)
    {
    }

    string read()
    {
        return repeated<string>([this] { return readOnce(); });
    }
    bool write()
    {
        return repeated<bool>([this] { return writeOnce(); });
    }

    bool failed = false;
    string error;

private:
    template <typename Result>
    Result repeated(const std::function<Result()>& attempt)
    {
        for (int done = 0;; ++done) {
            m_port.delay();
            failed = false;
            const Result result = attempt();
            if (!failed || done >= m_port.retry())
                return result;
        }
    }

    bool fail(const string& text)
    {
        failed = true;
        error = text;
        return false;
    }
    bool refuse(const string& text) { return fail(text + m_address); }

    // Exchanges

    std::optional<string> receive(int length)
    {
        string bytes(size_t(length), '\0');
        if (m_port.read(&bytes[0], length) == length)
            return bytes;
        fail("packet loss");
        return std::nullopt;
    }

    static bool isError(const string& reply)
    {
        return reply.size() >= 3 && reply[0] == 'E' && isDigit(reply[1]) && reply[2] == '\r' &&
               (reply.size() == 3 || reply.substr(3) == "\n");
    }

    void discard() { m_port.setOption(12, QVariant(0)); }
    void send(const string& command) { m_port.write(command.data(), int(command.size())); }

    bool acknowledged(const string& command, const string& wanted)
    {
        discard();
        send(command);
        const auto reply = receive(4);
        if (!reply)
            return false;
        if (isError(*reply))
            return fail("Response During an Error:" + *reply);
        return *reply == wanted || fail("invalid response");
    }
    bool open() { return acknowledged("CR\r\n", "CC\r\n"); }
    bool close() { return acknowledged("CQ\r\n", "CF\r\n"); }

    /// The first bytes of a reply; an error reply among them closes the link.
    std::optional<string> probe(int length)
    {
        const auto reply = receive(length);
        if (!reply || !isError(*reply))
            return reply;
        fail("Response During an Error:" + *reply);
        char lineFeed;
        if (length < 4)
            m_port.read(&lineFeed, 1);
        close();
        return std::nullopt;
    }

    // Reads

    string readOnce()
    {
        switch (m_command.dataType) {
        case DataBit:
        case DataBitGroup:
            return isContact(m_address)
                       ? readRun(m_address, 1, Triples, {0, 1, 1}, "invalid response3")
                       : readRun(m_address, 1, Bits, {0, 1, 1}, "invalid response2");
        case DataByte:
        case DataBlock:
            return readValues(1, {"invalid response:", "invalid response", "invalid response"});
        case DataWord:
            return readValues(2, {"invalid response", "invalid response", "invalid response"});
        case DataDoubleWord:
            return readValues(4, {"invalid response1", "invalid response2", "invalid response3"});
        default:
            return string();
        }
    }

    struct Mismatches {
        const char *words, *values, *triples;
    };

    string readValues(int unitBytes, const Mismatches& texts)
    {
        if (!fits(m_address))
            refuse("invalid device address: ");
        else if (holdsWords(m_address))
            return readRun(m_address, unitBytes, Words, {0, 5, 2}, texts.words);
        else if (startsWith(m_address, "AT"))
            return readRun(m_address, unitBytes, Values, {0, 10, 4}, texts.values);
        else if (isTimerOrCounter(m_address))
            return readRun(startsWith(m_address, "PCTC") ? m_address.substr(1) : m_address,
                           unitBytes, Triples, {isSetValue(m_address) ? 13 : 2, 10, 4},
                           texts.triples);
        else
            refuse("can't read word from ");
        return string();
    }

    string readRun(const string& device, int unitBytes, Form form, const Field& field,
                   const char* mismatch)
    {
        const int bytes = m_command.length * unitBytes;
        const int items = bytes / field.bytes + (bytes % field.bytes > 0);
        int capacity = 1;
        while (size_t(replyLength(form, capacity + 1)) + 1 <= RxBufferSize)
            ++capacity;

        const auto parts = fits(device) ? cutRun(device, items, field.bytes == 1,
                                                 [&](const string&) { return capacity; })
                                        : std::vector<Part>();
        std::vector<string> commands;
        for (const Part& part : parts)
            commands.push_back("RDS " + spelling(part.device) + ' ' + std::to_string(part.count) +
                               "\r\n");
        const auto tooLong = [](const string& text) { return text.size() > LongestReadCommand; };
        if (parts.empty() || std::any_of(commands.begin(), commands.end(), tooLong)) {
            refuse("invalid device address: ");
            return string();
        }

        if (!open())
            return string();
        string data;
        for (size_t i = 0; i < parts.size(); ++i) {
            discard();
            send(commands[i]);
            const auto reply = receiveReply(form, parts[i].count, mismatch);
            if (!reply)
                return string();
            data += converted(*reply, ItemLengths[form] + 1, parts[i].count, field);
        }
        return close() ? data.substr(0, size_t(std::max(0, bytes))) : string();
    }

    std::optional<string> receiveReply(Form form, int items, const char* mismatch)
    {
        const int length = replyLength(form, items);
        auto reply = probe(std::min(length, 4));
        if (reply && length > 4) {
            const auto more = receive(length - 4);
            if (!more)
                return std::nullopt;
            *reply += *more;
        }
        if (reply && !hasForm(*reply, form)) {
            fail(mismatch);
            return std::nullopt;
        }
        return reply;
    }

    static bool hasForm(const string& reply, Form form)
    {
        static const QRegExp patterns[] = {
            QRegExp("[01](?: [01])*\\x0D\\x0A"),
            QRegExp("\\d{5}(?: \\d{5})*\\x0D\\x0A"),
            QRegExp("\\d{10}(?: \\d{10})*\\x0D\\x0A"),
            QRegExp("[01],\\d{10},\\d{10}(?: [01],\\d{10},\\d{10})*\\x0D\\x0A"),
        };
        return patterns[form].exactMatch(QString::fromLatin1(reply.data(), int(reply.size())));
    }

    static string converted(const string& reply, int stride, int items, const Field& field)
    {
        string data;
        for (int i = 0; i < items; ++i) {
            const string digits =
                reply.substr(size_t(i * stride + field.offset), size_t(field.digits));
            const auto value = std::min<unsigned long long>(std::stoull(digits), UINT32_MAX);
            for (int byte = 0; byte < field.bytes; ++byte)
                data += char(value >> (8 * byte));
        }
        return data;
    }

    // Writes

    bool writeOnce()
    {
        switch (m_command.dataType) {
        case DataBit:
        case DataBitGroup:
            return writeBits();
        case DataByte:
        case DataWord:
        case DataDoubleWord:
        case DataBlock:
            return writeValues();
        default:
            return false;
        }
    }

    bool writeBits()
    {
        if (m_data.empty())
            return true;
        const auto start = std::find_if(m_address.begin(), m_address.end(), isDigit);
        const string digits(std::find_if(start, m_address.end(), [](char c) { return c != '0'; }),
                            m_address.end());
        const bool plain = std::all_of(digits.begin(), digits.end(), isDigit) && digits.size() < 18;
        const bool linear = isTimerContact() || startsWith(m_address, "CTC");
        int64_t number = digits.empty() || !plain ? 0 : std::stoll(digits);
        std::vector<int64_t> numbers;
        for (size_t i = 0; i < m_data.size(); ++i) {
            numbers.push_back(number);
            number = linear ? number + 1 : nextInChannels(number);
        }
        if (!plain || numbers.back() > INT_MAX)
            return refuse("invalid device address: ");
        for (size_t i = 0; i < m_data.size(); ++i)
            if (!writeBit(std::to_string(numbers[i]), m_data[i] != 0))
                return false;
        return true;
    }

    bool isTimerContact() const
    {
        return (startsWith(m_address, "T") || startsWith(m_address, "C")) && m_address.size() > 1 &&
               isDigit(m_address[1]);
    }

    bool writeBit(const string& number, bool on)
    {
        static const struct {
            const char *letters, *spelling;
            size_t digits;
        } rows[] = {{"CTC", "CTC", 1}, {"CR", "CR", 4}, {"C", "C", 4}, {"L", "LR", 5},
                    {"M", "MR", 5},    {"R", "", 5},    {"T", "T", 4}};
        if (!open())
            return false;
        const auto isSymbol = [](char c) { return isLetter(c) || c == '_'; };
        const string symbol(m_address.begin(),
                            std::find_if_not(m_address.begin(), m_address.end(), isSymbol));
        for (const auto& row : rows) {
            if (!startsWith(symbol, row.letters))
                continue;
            const string zeros(row.digits - std::min(row.digits, number.size()), '0');
            send((on ? "ST " : "RS ") + (row.spelling + zeros) + number + "\r\n");
            const auto reply = probe(4);
            return reply && (*reply == "OK\r\n" ? close() : fail("invalid response"));
        }
        return fail("can't write bit to " + symbol + number);
    }

    bool writeValues()
    {
        if (startsWith(m_address, "CTC"))
            return refuse("can't write word to ");
        if (!fits(m_address))
            return refuse("invalid device address: ");
        const size_t valueBytes = holdsWords(m_address) ? 2 : 4;
        const size_t digits = valueBytes == 2 ? 5 : 10;
        string data = m_data;
        data.resize((data.size() + valueBytes - 1) / valueBytes * valueBytes);
        const auto capacity = [&](const string& device) {
            size_t count = 1;
            const size_t fixed = string("WRS   \r\n").size() - 1 + spelling(device).size();
            while (fixed + std::to_string(count + 1).size() + (count + 1) * (1 + digits) <
                   TxBufferSize)
                ++count;
            return int(count);
        };
        const auto parts = cutRun(startsWith(m_address, "PCTC") ? m_address.substr(1) : m_address,
                                  int(data.size() / valueBytes), false, capacity);
        if (parts.empty())
            return refuse("invalid device address: ");
        if (!open())
            return false;
        size_t done = 0;
        for (const Part& part : parts) {
            string command = (writesSetValue(part.device) ? "WSS " : "WRS ") +
                             spelling(part.device) + ' ' + std::to_string(part.count);
            for (int i = 0; i < part.count; ++i, done += valueBytes) {
                const string value = valueText(data.substr(done, valueBytes));
                command += ' ' + string(digits - value.size(), '0') + value;
            }
            send(command + "\r\n");
            if (!probe(4))
                return false;
        }
        return close();
    }

    static string valueText(const string& bytes)
    {
        uint32_t value = 0;
        for (size_t i = bytes.size(); i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(bytes[i]);
        return std::to_string(value);
    }

    const CommunicatorCommand& m_command;
    const string m_address, m_data;
    AbstractDeviceInterface& m_port;
};

// Requests

QString chosenAddress(Input& input)
{
    static const char* const symbols[] = {"DM", "EM",  "FM",  "ZF",   "Z",  "CM",  "TM", "VM",
                                          "R",  "MR",  "LR",  "CR",   "B",  "T",   "C",  "TS",
                                          "CS", "CTC", "CTH", "PCTC", "AT", "ctc", "dm", "ts",
                                          "M",  "L",   "CT",  "TTC",  "A"};
    const int choice = input.byte();
    if (choice >= 0xC0)
        return QString::fromLatin1(input.text());
    const int digits = input.byte() % 8;
    const uint32_t number = input.number(3);
    QString address = symbols[choice % (sizeof symbols / sizeof *symbols)];
    if (choice < 0xB0)
        address += QString::number(number).right(digits ? digits : 8).rightJustified(digits, '0');
    if (choice >= 0x80)
        address.insert(input.byte() % (address.size() + 1), QLatin1Char(char(input.byte() % 0x90)));
    return address;
}

Form formOf(const CommunicatorCommand& command)
{
    const string address = command.address.toStdString();
    const bool ofBits = command.dataType == DataBit || command.dataType == DataBitGroup;
    if (ofBits)
        return isContact(address) ? Triples : Bits;
    return holdsWords(address) ? Words : startsWith(address, "AT") ? Values : Triples;
}

Request chosenRequest(Input& input)
{
    Request request;
    const int flags = input.byte();
    request.isWrite = flags & 1;
    request.retries = flags / 2 % 4 - 1;
    const int type = input.byte();
    request.command.dataType = type < 0xF0 ? type % 8 : static_cast<int8_t>(type);
    request.command.length = input.shortNumber() % (flags & 0x80 ? 20 : 2500);
    request.command.address = chosenAddress(input);
    if (flags & 0x40)
        request.command.address = request.command.address.toLower();
    request.form = formOf(request.command);
    if (request.isWrite) {
        const int size = int(input.number(2)) % (request.command.dataType % 6 ? 4000 : 40);
        request.data = input.text();
        if (!request.data.isEmpty())
            request.data = request.data.repeated(size / request.data.size() + 1).left(size);
    }
    return request;
}

/// Prints the request and the first call that differs before it stops the program.
void requireSameCalls(const Request& request, const std::vector<string>& calls,
                      const std::vector<string>& wanted)
{
    if (calls == wanted)
        return;
    size_t i = 0;
    while (i < calls.size() && i < wanted.size() && calls[i] == wanted[i])
        ++i;
    const auto callAt = [i](const std::vector<string>& list) {
        return i < list.size() ? list[i] : "no call";
    };
    std::fprintf(stderr, "%s, type %d, length %d, data %d\ncall %zu: %s\nwanted: %s\n",
                 qPrintable(request.command.address), request.command.dataType,
                 request.command.length, request.data.size(), i, callAt(calls).c_str(),
                 callAt(wanted).c_str());
    require(false, "the driver's calls");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const Request request = chosenRequest(input);
    PlannedPort port(request, input), modelPort(request, input);
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    Model model(request, modelPort);
    const string result = request.isWrite
                              ? driver->write(&port, request.command, request.data) ? "1" : ""
                              : driver->read(&port, request.command).toStdString();
    const string wanted = request.isWrite ? model.write() ? "1" : "" : model.read();
    const string error = driver->getLastError().toLatin1().toStdString();
    port.calls.push_back(driver->hasError() ? "failure: " + error : "success after: " + error);
    modelPort.calls.push_back((model.failed ? "failure: " : "success after: ") + model.error);
    requireSameCalls(request, port.calls, modelPort.calls);
    require(result == wanted, "result");
    return 0;
}
