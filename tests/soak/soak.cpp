// Lets the KV-1000 plug-in talk to a simulated controller at the far end of a pseudo-terminal,
// while replies come late, cut, garbled or not at all. Every value that the driver delivers, and
// every one that it reports written, is compared with what the controller holds.
//
//   soak SECONDS [SEED]
#include "meteredport.h"

#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "host/exchangesettings.h"
#include "host/linesettings.h"
#include "host/makeport.h"
#include "host/port.h"
#include "host/portaddress.h"
#include "simulator/kv1000/controller.h"
#include "simulator/server.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <map>
#include <memory>
#include <random>

namespace
{

const int Retries = 2;
const int Baud = 115200;
const double MsPerByte = 11 * 1000.0 / Baud;
const double GrossExcessMs = 5000; ///< no busy machine alone delays a call so much
const double HeapNoiseKb = 64;     ///< what Qt and the C library may keep

// What goes wrong

struct Plan {
    const char* name;
    const char* faults; ///< as in plcctl simulate --fault
    int timeoutMs;
    enum { Nothing, Some, All } delivers; ///< which requests have to succeed
};

const Plan Plans[] = {
    {"sound", "", 2000, Plan::All},
    {"slow", "dribble=1ms:0.02,late=10ms:0.1", 50, Plan::Some},
    {"lost", "silent:0.03", 25, Plan::Some},
    {"cut", "cut:0.05", 25, Plan::Some},
    {"garbled", "garble:0.05,nul:0.03", 25, Plan::Some},
    {"refused", "error=0:0.05", 25, Plan::Some},
    {"late", "late=30ms:0.03,late=60ms:0.02", 25, Plan::Some},
    {"overdue", "late=70ms:0.9", 25, Plan::Nothing},
    {"all", "late=30ms:0.02,late=90ms:0.01,silent:0.01,cut:0.02,garble:0.02,dribble:0.01,nul:0.01",
     25, Plan::Some},
};

// What the controller holds

struct Area {
    const char* symbol;
    int firstNumber;
    int cells;
    int cellBytes;   ///< 1 stands for a bit
    bool inChannels; ///< numbers are channel * 100 + bit
};

/// More words than one command can carry.
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

QByteArray bytesOf(quint32 value, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes += char(value >> 8 * i);
    return bytes;
}

struct Tally {
    long requests = 0, exchanges = 0, values = 0, wrong = 0;
    std::map<QString, long> failures; ///< requests by the text of their error
    TimedCall slowest;
};

[[noreturn]] void giveUp(const QString& why)
{
    std::fprintf(stderr, "soak: %s\n", qPrintable(why));
    std::exit(EXIT_FAILURE);
}

void giveUpUnless(bool good, const std::string& why)
{
    if (!good)
        giveUp(QString::fromStdString(why));
}

simulator::FaultPlan faultsOf(const Plan& plan, quint32 seed, const simulator::Controller& plc)
{
    std::string why;
    const auto faults = simulator::FaultPlan::parse(plan.faults, seed, plc.commands(), why);
    giveUpUnless(faults.has_value(), why);
    return *faults;
}

/// Requests chosen at random, one after the other, to a controller that holds random values.
class Soak
{
public:
    Soak(DriverInterface& driver, const Plan& plan, quint32 seed)
        : m_driver(driver)
        , m_random(seed)
        , m_server(m_plc, faultsOf(plan, seed, m_plc))
    {
        std::string why;
        for (const Area& area : Areas) {
            QStringList values;
            for (int cell = 0; cell < area.cells; ++cell)
                values += QString::number(anyValue(area));
            const QString preset = deviceOf(area, 0) + '=' + values.join(',');
            giveUpUnless(m_plc.preset(preset.toStdString(), why), why);
        }
        giveUpUnless(m_server.openPty("", why), why);
        m_server.start();

        host::LineSettings line;
        line.baud = Baud;
        const auto device = QString::fromStdString(m_server.ptyPath());
        m_port = host::makePort({host::PortAddress::Kind::Serial, device, 0}, line,
                                {plan.timeoutMs, Retries, 0 /* ms pause */});
        giveUpUnless(m_port->open(), m_port->lastFailure().toStdString());
        m_meter = std::make_unique<MeteredPort>(*m_port, plan.timeoutMs, MsPerByte);
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

    Tally tally() const
    {
        Tally tally = m_tally;
        tally.exchanges = m_meter->exchanges;
        tally.slowest = m_meter->slowest;
        return tally;
    }

private:
    int chosen(int below) { return int(m_random() % quint32(below)); }

    quint32 anyValue(const Area& area)
    {
        return area.cellBytes == 1 ? m_random() & 1 : m_random() >> (32 - 8 * area.cellBytes);
    }

    /// Most reads have the form of the one before, as those of a panel that polls: a reply to
    /// another request then differs in nothing but its values.
    void read()
    {
        if (chosen(8) == 0)
            chooseForm();
        const int first = chosen(m_area->cells - m_cells + 1);
        CommunicatorCommand command;
        command.dataType = m_type;
        command.address = deviceOf(*m_area, first);
        command.length = m_cells * m_area->cellBytes / m_unitBytes;
        const QByteArray data = m_driver.read(m_meter.get(), command);
        if (!m_driver.hasError())
            compare(*m_area, first, m_cells, data);
    }

    void chooseForm()
    {
        static const DriverDataType types[] = {DataByte, DataWord, DataDoubleWord};
        m_area = &Areas[chosen(AreaCount)];
        const bool isBit = m_area->cellBytes == 1;
        const int width = isBit ? 0 : chosen(3);
        m_type = isBit ? DataBit : types[width];
        m_unitBytes = 1 << width;
        m_cells = 2 * (1 + chosen(chosen(8) == 0 ? m_area->cells / 2 : 10));
    }

    void write()
    {
        const Area& area = Areas[chosen(AreaCount)];
        const int first = chosen(area.cells);
        const int most = area.cellBytes == 1 ? 3 : chosen(8) == 0 ? 400 : 20;
        const int count = std::min(area.cells - first, 1 + chosen(most));
        CommunicatorCommand command;
        command.dataType = area.cellBytes == 1   ? DataBit
                           : area.cellBytes == 2 ? DataWord
                                                 : DataDoubleWord;
        command.address = deviceOf(area, first);
        QByteArray data;
        for (int i = 0; i < count; ++i)
            data += bytesOf(anyValue(area), area.cellBytes);
        if (m_driver.write(m_meter.get(), command, data))
            compare(area, first, count, data);
    }

    /// What the controller holds now is what it held for the request: nothing was sent since, and
    /// it carries commands out in their order.
    void compare(const Area& area, int first, int cells, const QByteArray& data)
    {
        if (data.size() != cells * area.cellBytes)
            noteWrong(deviceOf(area, first), data);
        for (int cell = 0; cell < data.size() / area.cellBytes; ++cell) {
            const QString device = deviceOf(area, first + cell);
            const QByteArray value = data.mid(cell * area.cellBytes, area.cellBytes);
            ++m_tally.values;
            if (value != bytesOf(m_plc.look(device.toStdString()).value(), area.cellBytes))
                noteWrong(device, value);
        }
    }

    void noteWrong(const QString& device, const QByteArray& got)
    {
        const long printed = 10;
        if (++m_tally.wrong <= printed)
            std::printf("wrong: %s is %s\n", qPrintable(device), got.toHex(' ').constData());
    }

    DriverInterface& m_driver;
    std::mt19937 m_random;
    Tally m_tally;
    simulator::kv1000::Controller m_plc;
    simulator::Server m_server;
    std::unique_ptr<host::Port> m_port;
    std::unique_ptr<MeteredPort> m_meter;

    // The form of reads.
    const Area* m_area = Areas;
    DriverDataType m_type = DataWord;
    int m_unitBytes = 2;
    int m_cells = 2;
};

Tally runPlan(DriverInterface& driver, const Plan& plan, quint32 seed, qint64 milliseconds)
{
    Soak soak(driver, plan, seed);
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(milliseconds))
        soak.oneRequest();
    return soak.tally();
}

/// Prints a row of the table and returns whether it is as it must be.
bool report(const Plan& plan, const Tally& tally)
{
    QStringList failures;
    for (const auto& failure : tally.failures)
        failures += QString("%1 %2").arg(failure.second).arg(failure.first.trimmed());
    std::printf("%-8s %8ld %9ld %9ld %6ld %6.0f of %-4.0f  %s\n", plan.name, tally.requests,
                tally.exchanges, tally.values, tally.wrong, tally.slowest.ms, tally.slowest.boundMs,
                qPrintable(failures.join(", ")));
    const bool delivers = (plan.delivers != Plan::All || failures.isEmpty()) &&
                          (plan.delivers == Plan::Nothing || tally.values > 0);
    if (!delivers)
        std::printf("%s: too few requests succeed\n", plan.name);
    const bool returns = tally.slowest.excessMs() < GrossExcessMs;
    if (!returns)
        std::printf("%s: a call took far too long\n", plan.name);
    std::fflush(stdout);
    return delivers && returns && tally.wrong == 0;
}

bool soakFor(DriverInterface& driver, qint64 milliseconds, quint32 seed)
{
    std::printf("seed %u; call: ms of the call that went furthest towards or beyond its limit\n",
                seed);
    std::printf("%-8s %8s %9s %9s %6s %14s  %s\n", "faults", "requests", "exchanges", "values",
                "wrong", "call", "failed requests");
    bool good = true;
    for (const Plan& plan : Plans)
        good &= report(plan, runPlan(driver, plan, seed++,
                                     milliseconds / qint64(sizeof Plans / sizeof *Plans)));
    return good;
}

struct Usage {
    int descriptors;
    double heapKb;

    bool isAtMost(const Usage& before) const
    {
        return descriptors <= before.descriptors && heapKb <= before.heapKb + HeapNoiseKb;
    }
};

/// AddressSanitizer has a heap of its own, of which these figures are 0; it finds leaks itself.
Usage usage()
{
    const struct mallinfo2 heap = mallinfo2();
    return {int(QDir("/proc/self/fd").entryList(QDir::Files | QDir::System).size()),
            double(heap.uordblks + heap.hblkhd) / 1024};
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
    const Usage before = usage();
    bool good = soakFor(*plugin->driver(), qint64(seconds) * 1000, seed);
    const Usage after = usage();
    std::printf("descriptors: %d at the start, %d at the end; heap: %.0f kB, %.0f kB\n",
                before.descriptors, after.descriptors, before.heapKb, after.heapKb);
    good &= after.isAtMost(before);
    std::printf("%s\n", good ? "no wrong value" : "FAILED");
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
