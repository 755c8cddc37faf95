// Lets the KV-1000 plug-in talk to a simulated controller, a process of its own at the far end of a
// pseudo-terminal, while replies come late, cut, garbled or not at all. Every value that the driver
// delivers is compared with what that device must hold at that moment.
//
//   soak SECONDS [SEED]
#include "drivers/abstractdeviceinterface.h"
#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "host/exchangesettings.h"
#include "host/linesettings.h"
#include "host/makeport.h"
#include "host/port.h"
#include "host/portaddress.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QVariant>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <unistd.h>
#include <vector>

namespace
{

const int Retries = 2;
const int SilenceInTimeouts = 4; ///< option 12 may wait so long for silence
const int Baud = 115200, BitsPerByte = 11;

// What goes wrong

struct Plan {
    const char* name;
    const char* faults; ///< as in plcctl simulate --fault
    int timeoutMs;
    bool losesNothing; ///< no request may fail
};

const Plan Plans[] = {
    {"sound", "", 2000, true},
    {"slow", "dribble=1ms:0.02,late=10ms:0.1", 50, false},
    {"lost", "silent:0.03", 25, false},
    {"cut", "cut:0.05", 25, false},
    {"garbled", "garble:0.05,nul:0.03", 25, false},
    {"refused", "error=0:0.05", 25, false},
    {"late", "late=30ms:0.03,late=60ms:0.02", 25, false},
    {"overdue", "late=70ms:0.9", 25, false},
    {"all", "late=30ms:0.02,late=90ms:0.01,silent:0.01,cut:0.02,garble:0.02,dribble:0.01,nul:0.01",
     25, false},
};

// What the controller holds

struct Area {
    const char* symbol;
    int firstNumber;
    int cells;
    int cellBytes;   ///< 1 stands for a bit
    bool inChannels; ///< numbers are channel * 100 + bit
};

/// Away from the devices that the controller's demonstration changes. More words than one command
/// can carry.
const Area Areas[] = {
    {"DM", 20000, 600, 2, false}, {"EM", 20000, 300, 2, false}, {"T", 2000, 100, 4, false},
    {"TS", 2000, 100, 4, false},  {"CS", 2000, 50, 4, false},   {"AT", 1000, 50, 4, false},
    {"MR", 50000, 64, 1, true},   {"R", 30000, 64, 1, true},
};
const int AreaCount = sizeof Areas / sizeof *Areas;

QString deviceOf(const Area& area, int cell)
{
    const int number = area.inChannels ? cell / 16 * 100 + cell % 16 : cell;
    return area.symbol + QString::number(area.firstNumber + number);
}

/// A value that no other device has, and this one only every 64th time that it is written; bits can
/// but look random.
quint32 valueOf(int area, int cell, quint32 generation)
{
    switch (Areas[area].cellBytes) {
    case 1:
        return (((area * 64 + cell) * 2654435761u) ^ (generation * 2246822519u)) >> 15 & 1;
    case 2:
        return (area * 600 + cell) << 6 | (generation & 0x3F);
    default:
        return area << 24 | cell << 8 | (generation & 0x3F);
    }
}

QByteArray bytesOf(quint32 value, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes += char(value >> 8 * i);
    return bytes;
}

/// What a device may hold: one value, or several after a write that was reported failed, for it may
/// have been carried out all the same.
struct Cell {
    std::vector<quint32> possible;
    quint32 generation = 0;

    void written(quint32 value, bool reportedDone)
    {
        if (reportedDone)
            possible.clear();
        possible.push_back(value);
    }

    /// Whether the device can hold the value whose low bytes were read; from now on it does.
    bool agrees(const QByteArray& lowBytes)
    {
        std::vector<quint32> left;
        for (const quint32 value : possible)
            if (bytesOf(value, lowBytes.size()) == lowBytes)
                left.push_back(value);
        if (!left.empty())
            possible = left;
        return !left.empty();
    }
};

// What is measured

struct Tally {
    long requests = 0, exchanges = 0, values = 0, wrong = 0;
    std::map<QString, long> failures;             ///< requests by the text of their error
    double longestCallMs = 0, longestBoundMs = 0; ///< the time it may take
};

/// Counts and times what a driver asks of its port.
class MeteredPort : public AbstractDeviceInterface
{
public:
    MeteredPort(AbstractDeviceInterface& port, int timeoutMs, Tally& tally)
        : m_port(port)
        , m_timeoutMs(timeoutMs)
        , m_tally(tally)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        return timed(transferBoundMs(maxLength), [&] { return m_port.read(buffer, maxLength); });
    }
    int write(const char* data, int length) override
    {
        ++m_tally.exchanges;
        return timed(transferBoundMs(length), [&] { return m_port.write(data, length); });
    }
    void setOption(int option, const QVariant& value) override
    {
        timed(SilenceInTimeouts * m_timeoutMs, [&] { return m_port.setOption(option, value), 0; });
    }
    int retry() override { return m_port.retry(); }
    int delay() override { return m_port.delay(); }

private:
    double transferBoundMs(int bytes) const
    {
        return m_timeoutMs + bytes * BitsPerByte * 1000.0 / Baud;
    }

    template <typename Call>
    int timed(double boundMs, Call call)
    {
        QElapsedTimer timer;
        timer.start();
        const int result = call();
        const double ms = double(timer.nsecsElapsed()) / 1e6;
        if (ms > m_tally.longestCallMs) {
            m_tally.longestCallMs = ms;
            m_tally.longestBoundMs = boundMs;
        }
        return result;
    }

    AbstractDeviceInterface& m_port;
    int m_timeoutMs;
    Tally& m_tally;
};

int openDescriptors()
{
    return int(QDir("/proc/self/fd").entryList(QDir::Files | QDir::System).size());
}

double residentMegabytes()
{
    QFile file("/proc/self/statm");
    const QList<QByteArray> fields =
        file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QList<QByteArray>();
    return fields.size() < 2 ? 0 : fields[1].toDouble() * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

[[noreturn]] void giveUp(const QString& why)
{
    std::fprintf(stderr, "soak: %s\n", qPrintable(why));
    std::exit(EXIT_FAILURE);
}

/// Requests chosen at random, one after the other.
class Soak
{
public:
    Soak(DriverInterface& driver, AbstractDeviceInterface& port, const Plan& plan, quint32 seed,
         Tally& tally)
        : m_driver(driver)
        , m_port(port, plan.timeoutMs, tally)
        , m_random(seed)
        , m_tally(tally)
    {
        for (int area = 0; area < AreaCount; ++area)
            for (int cell = 0; cell < Areas[area].cells; ++cell)
                m_held[area].push_back({{valueOf(area, cell, 0)}});
    }

    /// The first values as arguments of plcctl simulate.
    static QStringList presets()
    {
        QStringList arguments;
        for (int area = 0; area < AreaCount; ++area) {
            QStringList values;
            for (int cell = 0; cell < Areas[area].cells; ++cell)
                values += QString::number(valueOf(area, cell, 0));
            arguments += {"--set", deviceOf(Areas[area], 0) + '=' + values.join(',')};
        }
        return arguments;
    }

    void oneRequest()
    {
        if (chosen(4) == 0)
            write();
        else
            read();
        ++m_tally.requests;
        if (m_driver.hasError())
            ++m_tally.failures[m_driver.getLastError()];
    }

private:
    int chosen(int below) { return int(m_random() % quint32(below)); }

    /// Most reads have the form of the one before, as those of a panel that polls: a reply to
    /// another request then differs in nothing but its values.
    void read()
    {
        if (chosen(8) == 0)
            chooseForm();
        const Area& area = Areas[m_area];
        const int first = chosen(area.cells - m_cells + 1), bytes = m_cells * area.cellBytes;
        CommunicatorCommand command;
        command.dataType = m_type;
        command.address = deviceOf(area, first);
        command.length = bytes / m_unitBytes;
        const QByteArray data = m_driver.read(&m_port, command);
        if (m_driver.hasError())
            return;
        if (data.size() != bytes)
            tellWrong(command.address, data);
        for (int cell = 0; cell < data.size() / area.cellBytes; ++cell) {
            const QByteArray value = data.mid(cell * area.cellBytes, area.cellBytes);
            ++m_tally.values;
            if (!m_held[m_area][size_t(first + cell)].agrees(value))
                tellWrong(deviceOf(area, first + cell), value);
        }
    }

    void chooseForm()
    {
        static const struct {
            DriverDataType type;
            int bytes;
        } widths[] = {{DataByte, 1}, {DataWord, 2}, {DataDoubleWord, 4}};
        m_area = chosen(AreaCount);
        const bool isBit = Areas[m_area].cellBytes == 1;
        const auto& width = widths[isBit ? 0 : chosen(3)];
        m_type = isBit ? DataBit : width.type;
        m_unitBytes = width.bytes;
        m_cells = 2 * (1 + chosen(chosen(8) == 0 ? Areas[m_area].cells / 2 : 10));
    }

    void tellWrong(const QString& device, const QByteArray& got)
    {
        const long told = 10;
        if (++m_tally.wrong <= told)
            std::printf("wrong: %s is %s\n", qPrintable(device), got.toHex(' ').constData());
    }

    void write()
    {
        const int area = chosen(AreaCount), cellBytes = Areas[area].cellBytes;
        const int first = chosen(Areas[area].cells);
        const int most = cellBytes == 1 ? 3 : chosen(8) == 0 ? 400 : 20;
        const int count = std::min(Areas[area].cells - first, 1 + chosen(most));
        CommunicatorCommand command;
        command.dataType = cellBytes == 1 ? DataBit : cellBytes == 2 ? DataWord : DataDoubleWord;
        command.address = deviceOf(Areas[area], first);
        QByteArray data;
        for (int i = first; i < first + count; ++i)
            data += bytesOf(valueOf(area, i, ++m_held[area][size_t(i)].generation), cellBytes);
        const bool done = m_driver.write(&m_port, command, data);
        for (int i = first; i < first + count; ++i) {
            Cell& cell = m_held[area][size_t(i)];
            cell.written(valueOf(area, i, cell.generation), done);
        }
    }

    DriverInterface& m_driver;
    MeteredPort m_port;
    std::mt19937 m_random;
    Tally& m_tally;
    std::vector<Cell> m_held[AreaCount];

    // The form of reads.
    int m_area = 0;
    DriverDataType m_type = DataWord;
    int m_unitBytes = 2;
    int m_cells = 2;
};

Tally runPlan(DriverInterface& driver, const Plan& plan, quint32 seed, qint64 milliseconds)
{
    const QTemporaryDir directory;
    const QString link = directory.filePath("line");
    QProcess controller;
    controller.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    controller.start(PLCCTL, QStringList{"simulate", "--pty", link, "--fault", plan.faults,
                                         "--seed", QString::number(seed)} +
                                 Soak::presets());
    if (!controller.waitForReadyRead())
        giveUp("the simulated controller does not start");

    host::LineSettings line;
    line.baud = Baud;
    const auto port = host::makePort({host::PortAddress::Kind::Serial, link, 0}, line,
                                     {plan.timeoutMs, Retries, 0 /* ms pause */});
    if (!port->open())
        giveUp(port->lastFailure());
    Tally tally;
    Soak soak(driver, *port, plan, seed, tally);
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(milliseconds))
        soak.oneRequest();
    controller.terminate();
    controller.waitForFinished();
    return tally;
}

/// Prints a row of the table and returns whether it is as it must be.
bool report(const Plan& plan, const Tally& tally)
{
    QStringList failures;
    for (const auto& failure : tally.failures)
        failures += QString("%1 %2").arg(failure.second).arg(failure.first.trimmed());
    std::printf("%-8s %8ld %9ld %9ld %6ld %6.0f of %-4.0f  %s\n", plan.name, tally.requests,
                tally.exchanges, tally.values, tally.wrong, tally.longestCallMs,
                tally.longestBoundMs, qPrintable(failures.join(", ")));
    std::fflush(stdout);
    const bool delivers = !plan.losesNothing || (failures.isEmpty() && tally.values > 0);
    if (!delivers)
        std::printf("%s: requests fail that must not\n", plan.name);
    return delivers && tally.wrong == 0;
}

bool soakFor(DriverInterface& driver, qint64 milliseconds, quint32 seed)
{
    std::printf("seed %u; the longest call of the port in ms, of what it may take\n", seed);
    std::printf("%-8s %8s %9s %9s %6s %14s  %s\n", "faults", "requests", "exchanges", "values",
                "wrong", "call", "failed requests");
    bool good = true;
    for (const Plan& plan : Plans)
        good &= report(plan, runPlan(driver, plan, seed++,
                                     milliseconds / qint64(sizeof Plans / sizeof *Plans)));
    return good;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 0;
    if (seconds <= 0)
        giveUp("usage: soak SECONDS [SEED]");
    const quint32 seed =
        argc > 2 ? quint32(std::strtoul(argv[2], nullptr, 10)) : quint32(std::random_device()());
    QString error;
    const auto plugin = host::DriverPlugin::load(KV1000_DRIVER, &error);
    if (!plugin)
        giveUp(error);

    runPlan(*plugin->driver(), Plans[0], seed, 100); // what is loaded once is loaded now
    const int descriptors = openDescriptors();
    const double megabytes = residentMegabytes();
    const bool good = soakFor(*plugin->driver(), qint64(seconds) * 1000, seed);
    std::printf("descriptors: %d at the start, %d at the end; memory: %.1f MB, %.1f MB\n",
                descriptors, openDescriptors(), megabytes, residentMegabytes());
    const bool closed = openDescriptors() == descriptors;
    std::printf("%s\n", good && closed ? "no wrong value" : "FAILED");
    return good && closed ? EXIT_SUCCESS : EXIT_FAILURE;
}
