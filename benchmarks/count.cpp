// Counts what requests and kit functions cost in instructions and heap blocks, whatever the
// machine. The driver stands above a port that answers at once.
//
//   count measure FILE            does the work; callgrind dumps its counters at every mark() and
//                                 the heap blocks go to FILE
//   count report FILE DUMP...     prints the table, with the goals, from FILE and callgrind's dumps
#include "drivers/abstractdeviceinterface.h"
#include "drivers/communicatorcommand.h"
#include "drivers/crc.h"
#include "drivers/driverinterface.h"
#include "drivers/tools.h"
#include "drivers/txpackage.h"

#include <QVariant>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" DriverInterface* CreateDriver();

// Heap blocks are counted on their way to the C library.

static long blocks = 0;

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size)
{
    ++blocks;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size)
{
    ++blocks;
    return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size)
{
    ++blocks;
    return __libc_realloc(block, size);
}

/// Callgrind dumps its counters before this is entered.
__attribute__((noinline)) void mark()
{
    asm volatile("");
}
}

namespace
{

const int Repeats = 10;

/// Keeps a result from being optimized away.
template <typename Value>
void use(const Value& value)
{
    asm volatile("" : : "r"(&value) : "memory");
}

/// Acknowledges every command, and answers reads by one prepared reply.
class PromptPort : public AbstractDeviceInterface
{
public:
    PromptPort(const char* item, int items)
    {
        for (int i = 0; i < items; ++i)
            m_data += std::string(i == 0 ? "" : " ") + item;
        m_data += "\r\n";
    }

    int read(char* buffer, int maxLength) override
    {
        std::memcpy(buffer, m_reply, size_t(maxLength));
        m_reply += maxLength;
        return maxLength;
    }

    int write(const char* data, int length) override
    {
        const bool opens = data[0] == 'C' && data[1] == 'R', closes = data[0] == 'C' && !opens;
        const bool reads = data[0] == 'R' && data[1] == 'D';
        m_reply = opens ? "CC\r\n" : closes ? "CF\r\n" : reads ? m_data.c_str() : "OK\r\n";
        return length;
    }

    void setOption(int, const QVariant&) override {}
    int retry() override { return 0; }
    int delay() override { return 0; }

private:
    std::string m_data;
    const char* m_reply = "";
};

using Work = std::function<void()>;

CommunicatorCommand commandFor(const char* address, DriverDataType type, int length)
{
    CommunicatorCommand command;
    command.dataType = type;
    command.length = length;
    command.address = address;
    return command;
}

struct Setup {
    std::shared_ptr<DriverInterface> driver{CreateDriver()};
    std::shared_ptr<PromptPort> port;
    CommunicatorCommand command;
    QByteArray data;
};

[[noreturn]] void giveUp(const char* why)
{
    std::fprintf(stderr, "count: %s\n", why);
    std::exit(EXIT_FAILURE);
}

Work readOf(const char* address, DriverDataType type, const char* item, int length)
{
    Setup s;
    s.port = std::make_shared<PromptPort>(item, length);
    s.command = commandFor(address, type, length);
    return [s] {
        use(s.driver->read(s.port.get(), s.command));
        if (s.driver->hasError())
            giveUp("a read failed");
    };
}

Work writeOf(const char* address, DriverDataType type, int bytes)
{
    Setup s;
    s.port = std::make_shared<PromptPort>("", 0);
    s.command = commandFor(address, type, 0);
    s.data = QByteArray(bytes, '\1');
    return [s] {
        if (!s.driver->write(s.port.get(), s.command, s.data))
            giveUp("a write failed");
    };
}

QByteArray block(int bytes)
{
    QByteArray data;
    for (int i = 0; i < bytes; ++i)
        data += char(i * 37 + 1);
    return data;
}

const unsigned char* unsignedBytes(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

/// Work on a block of bytes.
template <typename Function>
Work onBlock(int bytes, Function function)
{
    const QByteArray data = block(bytes);
    return [=] { function(data); };
}

/// What is counted: the same work at two sizes tells what a unit costs and what comes on top once.
struct Case {
    const char* what;
    const char* unit;
    int small, large;
    double unitGoal, fixedGoal, blocksGoal; ///< None for no goal
    std::function<Work(int size)> make;
};

const double None = INFINITY;

Work creation(int)
{
    return [] { delete CreateDriver(); };
}

const std::vector<Case>& cases()
{
    static const std::vector<Case> all = {
        {"read words", "word", 1, 256, 35, 3500, 2,
         [](int n) { return readOf("DM100", DataWord, "12345", n); }},
        {"read timers", "timer", 1, 64, None, 3500, 2,
         [](int n) { return readOf("T5", DataDoubleWord, "1,0000000012,0000000100", n); }},
        {"read bits", "bit", 2, 768, None, 3500, 2,
         [](int n) { return readOf("MR500", DataBit, "1", n); }},
        {"write words", "word", 1, 255, 35, 3500, 1,
         [](int n) { return writeOf("DM100", DataWord, 2 * n); }},
        {"write bits", "bit", 1, 16, 1500, None, None,
         [](int n) { return writeOf("MR500", DataBit, n); }},
        {"create and delete a driver", nullptr, 1, 1, None, 5000, None, creation},
        {"CRC16Calculate", "byte", 64, 4096, None, None, 0,
         [](int n) {
             return onBlock(n, [](const QByteArray& data) {
                 use(CRC16Calculate(unsignedBytes(data), data.size()));
             });
         }},
        {"update_crc_32", "byte", 64, 4096, None, None, 0,
         [](int n) {
             return onBlock(n, [](const QByteArray& data) {
                 unsigned long crc = 0;
                 for (const char c : data)
                     crc = update_crc_32(crc, c);
                 use(crc);
             });
         }},
        {"DataPack of five fields", nullptr, 1, 1, None, None, 0,
         [](int) {
             return Work([] {
                 unsigned char frame[10];
                 use(DataPack(frame, "CCnvN", 1, 3, 0x1234, 0x5678, 0x01020304));
             });
         }},
        {"dumpByteArray", "byte", 16, 1024, None, None, None,
         [](int n) {
             return onBlock(n, [](const QByteArray& data) { use(dumpByteArray(data)); });
         }},
        {"ExpandBitsToBytes", "bit", 64, 4096, None, None, 1,
         [](int n) {
             return onBlock(n / 8, [](const QByteArray& data) {
                 use(ExpandBitsToBytes(data, 0, data.size() * 8));
             });
         }},
        {"toBigEndianUShortArray", "word", 64, 4096, None, None, 1,
         [](int n) {
             return onBlock(2 * n,
                            [](const QByteArray& data) { use(toBigEndianUShortArray(data)); });
         }},
        {"TxPackage::dataAt of all sections", "section", 8, 256, None, None, None,
         [](int n) {
             const auto package = std::make_shared<TxPackage>();
             for (int i = 0; i < n; ++i)
                 package->appendWord(static_cast<unsigned short>(i));
             return Work([package] {
                 for (int i = 0; i < package->numberOfSections(); ++i)
                     use(package->dataAt(i));
             });
         }},
        {"ExtractPLCDeviceAddress", nullptr, 1, 1, None, None, None,
         [](int) {
             const QByteArray text = "MR00500";
             return Work([text] { use(ExtractPLCDeviceAddress(text, 10)); });
         }},
    };
    return all;
}

/// Does the work between two marks; what it took on the heap goes to the file.
void measure(std::ofstream& file, const Work& work, int times)
{
    const long before = blocks;
    mark();
    for (int i = 0; i < times; ++i)
        work();
    mark();
    file << double(blocks - before) / times << '\n';
}

void measureAll(const char* fileName)
{
    std::ofstream file(fileName);
    measure(file, creation(1), 1); // the first in this program
    for (const Case& row : cases()) {
        for (const int size : {row.small, row.large}) {
            const Work work = row.make(size);
            work(); // what is done once is done
            measure(file, work, Repeats);
        }
    }
}

struct Cost {
    double instructions, blocks;
};

/// Costs in the order in which they were measured. Between two measurements callgrind dumps what
/// stands before the next, so every other dump counts.
class Costs
{
public:
    Costs(const char* blocksFile, std::vector<std::string> dumps)
        : m_blocks(blocksFile)
        , m_dumps(std::move(dumps))
    {
    }

    Cost next(int times)
    {
        Cost cost = {0, 0};
        m_nextDump += 2;
        if (!(m_blocks >> cost.blocks) || m_nextDump >= m_dumps.size())
            giveUp("fewer measurements than cases");
        cost.instructions = totalOf(m_dumps[m_nextDump]) / times;
        return cost;
    }

private:
    static double totalOf(const std::string& dump)
    {
        std::ifstream file(dump);
        for (std::string line; std::getline(file, line);)
            if (line.compare(0, 9, "summary: ") == 0)
                return std::stod(line.substr(9));
        giveUp("a dump of callgrind without a summary");
    }

    std::ifstream m_blocks;
    std::vector<std::string> m_dumps;
    size_t m_nextDump = size_t(-1);
};

bool goalsReached = true;

/// "35", "0.3"; an empty text where there is no goal.
std::string text(double number, const char* mark = "")
{
    if (!std::isfinite(number))
        return std::string();
    char text[32];
    std::snprintf(text, sizeof text, "%.*f%s", number < 10 && number != std::floor(number) ? 1 : 0,
                  number, mark);
    return text;
}

/// A row of the table. Instructions and heap blocks that miss their goal get a "!".
void printRow(const std::string& what, const Cost& cost, double goal, double blocksGoal)
{
    const double rounding = 0.05; // as much as the table shows
    const bool good = cost.instructions <= goal, fewBlocks = cost.blocks <= blocksGoal + rounding;
    goalsReached = goalsReached && good && fewBlocks;
    std::printf("| %-42s | %12s | %5s | %6s | %4s |\n", what.c_str(),
                text(cost.instructions, good ? "" : " !").c_str(), text(goal).c_str(),
                text(cost.blocks, fewBlocks ? "" : " !").c_str(), text(blocksGoal).c_str());
}

void report(Costs costs)
{
    std::printf("| %-42s | instructions | goal  | blocks | goal |\n", "what");
    std::printf(
        "|--------------------------------------------|-------------:|------:|-------:|-----:"
        "|\n");
    printRow("create and delete the first driver", costs.next(1), 5000, None);
    for (const Case& row : cases()) {
        const Cost small = costs.next(Repeats), large = costs.next(Repeats);
        if (!row.unit) {
            printRow(row.what, large, row.fixedGoal, row.blocksGoal);
            continue;
        }
        const double units = row.large - row.small;
        const Cost unit = {(large.instructions - small.instructions) / units,
                           (large.blocks - small.blocks) / units};
        const Cost fixed = {small.instructions - row.small * unit.instructions,
                            small.blocks - row.small * unit.blocks};
        printRow(std::string(row.what) + ": per " + row.unit, unit, row.unitGoal, None);
        printRow(std::string(row.what) + ": fixed", fixed, row.fixedGoal, row.blocksGoal);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "measure")
        measureAll(argv[2]);
    else if (mode == "report")
        report(Costs(argv[2], {argv + 3, argv + argc}));
    else
        giveUp("usage: count measure FILE | count report FILE DUMP...");
    return goalsReached ? EXIT_SUCCESS : EXIT_FAILURE;
}
