#include "station.h"

#include <modbus/modbus.h>

#include <algorithm>
#include <mutex>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace
{

void require(bool done, const char* what)
{
    if (!done)
        throw std::runtime_error(what);
}

/// A pseudo-terminal without echo or translation. The slave stays open, so that the line outlives
/// those who use it.
struct Terminal {
    Terminal()
    {
        termios raw = {};
        cfmakeraw(&raw);
        require(openpty(&master, &slave, nullptr, &raw, nullptr) == 0, "openpty");
        device = ttyname(slave);
    }
    ~Terminal()
    {
        ::close(master);
        ::close(slave);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int master = -1;
    int slave = -1;
    std::string device;
};

struct ModbusDeleter {
    void operator()(modbus_t* modbus) const
    {
        modbus_close(modbus);
        modbus_free(modbus);
    }
    void operator()(modbus_mapping_t* memory) const { modbus_mapping_free(memory); }
};

} // namespace

struct Station::Inside {
    explicit Inside(int number);
    ~Inside();

    void serve();
    void carry();
    void carryRequest();
    void carryReply();
    bool waitFor(pollfd* files, int count);

    Terminal driverSide;
    Terminal stationSide;
    const int stop = eventfd(0, 0);
    std::unique_ptr<modbus_t, ModbusDeleter> modbus;
    std::unique_ptr<modbus_mapping_t, ModbusDeleter> memory;

    std::mutex mutex; ///< of the members that follow, and of the memory
    Fault fault;
    int exceptionCode = 0;
    int replyBytes = 0; ///< of the current reply, spoiled or not
    std::vector<QByteArray> requests;

    std::thread server;
    std::thread line;
};

Station::Inside::Inside(int number)
    : modbus(modbus_new_rtu(stationSide.device.c_str(), 9600, 'E', 8, 1))
    , memory(modbus_mapping_new(CoilCount, 0, RegisterCount, 0))
{
    require(modbus && memory && modbus_set_slave(modbus.get(), number) == 0, "libmodbus");
    require(modbus_connect(modbus.get()) == 0, "modbus_connect");
    server = std::thread([this] { serve(); });
    line = std::thread([this] { carry(); });
}

Station::Inside::~Inside()
{
    eventfd_write(stop, 1);
    server.join();
    line.join();
    ::close(stop);
}

/// False once the station shall stop.
bool Station::Inside::waitFor(pollfd* files, int count)
{
    return poll(files, count, -1) > 0 && files[0].revents == 0;
}

void Station::Inside::serve()
{
    pollfd files[] = {{stop, POLLIN, 0}, {modbus_get_socket(modbus.get()), POLLIN, 0}};
    unsigned char request[MODBUS_RTU_MAX_ADU_LENGTH];
    while (waitFor(files, 2)) {
        const int size = modbus_receive(modbus.get(), request);
        if (size <= 0)
            continue; // for another station, or spoiled
        const std::lock_guard<std::mutex> lock(mutex);
        requests.emplace_back(reinterpret_cast<const char*>(request), size);
        if (exceptionCode != 0)
            modbus_reply_exception(modbus.get(), request, exceptionCode);
        else
            modbus_reply(modbus.get(), request, size, memory.get());
    }
}

void Station::Inside::carry()
{
    pollfd files[] = {
        {stop, POLLIN, 0}, {driverSide.master, POLLIN, 0}, {stationSide.master, POLLIN, 0}};
    while (waitFor(files, 3)) {
        if (files[1].revents != 0)
            carryRequest();
        if (files[2].revents != 0)
            carryReply();
    }
}

void Station::Inside::carryRequest()
{
    char bytes[512];
    const ssize_t size = ::read(driverSide.master, bytes, sizeof bytes);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (replyBytes > 0 && fault.repliesLeft != INT_MAX)
            --fault.repliesLeft;
        replyBytes = 0;
    }
    require(::write(stationSide.master, bytes, size) == size, "carry a request");
}

void Station::Inside::carryReply()
{
    const std::lock_guard<std::mutex> lock(mutex);
    char byte;
    require(::read(stationSide.master, &byte, 1) == 1, "take a reply");
    const int place = replyBytes++;
    const bool isSpoiled = fault.repliesLeft > 0;
    if (isSpoiled && place == fault.flippedByte)
        byte ^= fault.flippedBits;
    if (!isSpoiled || place < fault.bytesLeft)
        require(::write(driverSide.master, &byte, 1) == 1, "carry a reply");
}

Station::Station(int number)
    : m_inside(std::make_unique<Inside>(number))
{
}

Station::~Station() = default;

QString Station::device() const
{
    return QString::fromStdString(m_inside->driverSide.device);
}

std::vector<int> Station::registers(int first, int count) const
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    const auto* const begin = m_inside->memory->tab_registers + first;
    return {begin, begin + count};
}

std::vector<int> Station::coils(int first, int count) const
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    const auto* const begin = m_inside->memory->tab_bits + first;
    return {begin, begin + count};
}

void Station::setRegisters(int first, const std::vector<int>& values)
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    std::copy(values.begin(), values.end(), m_inside->memory->tab_registers + first);
}

void Station::setCoils(int first, const std::vector<int>& values)
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    std::copy(values.begin(), values.end(), m_inside->memory->tab_bits + first);
}

void Station::spoilReplies(const Fault& fault)
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    m_inside->fault = fault;
}

void Station::refuseWith(int exceptionCode)
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    m_inside->exceptionCode = exceptionCode;
}

std::vector<QByteArray> Station::takeRequests()
{
    const std::lock_guard<std::mutex> lock(m_inside->mutex);
    return std::exchange(m_inside->requests, {});
}
