#include "station.h"

#include <algorithm>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

namespace
{

void require(bool done, const char* what)
{
    if (!done)
        throw std::runtime_error(what);
}

} // namespace

Station::Station(int number)
    : m_stop(eventfd(0, 0))
    , m_modbus(modbus_new_rtu("unused", 9600, 'E', 8, 1))
    , m_memory(modbus_mapping_new(CoilCount, 0, RegisterCount, 0))
{
    termios raw = {};
    cfmakeraw(&raw);
    require(openpty(&m_line, &m_device, nullptr, &raw, nullptr) == 0, "openpty");
    require(pipe(m_replies) == 0, "pipe");
    require(m_modbus && m_memory && modbus_set_slave(m_modbus, number) == 0, "libmodbus");
    m_server = std::thread([this] { serve(); });
}

Station::~Station()
{
    eventfd_write(m_stop, 1);
    m_server.join();
    modbus_mapping_free(m_memory);
    modbus_free(m_modbus);
    for (int file : {m_line, m_device, m_replies[0], m_replies[1], m_stop})
        ::close(file);
}

void Station::serve()
{
    pollfd files[] = {{m_stop, POLLIN, 0}, {m_line, POLLIN, 0}};
    unsigned char request[MODBUS_RTU_MAX_ADU_LENGTH];
    while (poll(files, 2, -1) > 0 && files[0].revents == 0) {
        modbus_set_socket(m_modbus, m_line);
        const int size = modbus_receive(m_modbus, request);
        if (size > 0) // else for another station, or spoiled
            reply(request, size);
    }
}

void Station::reply(const unsigned char* request, int size)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.emplace_back(reinterpret_cast<const char*>(request), size);
    modbus_set_socket(m_modbus, m_replies[1]);
    if (m_exceptionCode != 0)
        modbus_reply_exception(m_modbus, request, unsigned(m_exceptionCode));
    else
        modbus_reply(m_modbus, request, size, m_memory);

    char bytes[MODBUS_RTU_MAX_ADU_LENGTH];
    const QByteArray reply =
        spoiled(QByteArray(bytes, int(::read(m_replies[0], bytes, sizeof bytes))));
    require(::write(m_line, reply.data(), size_t(reply.size())) == reply.size(), "reply");
}

QByteArray Station::spoiled(QByteArray reply)
{
    if (m_fault.flippedByte >= 0)
        reply[m_fault.flippedByte] = char(reply.at(m_fault.flippedByte) ^ m_fault.flippedBits);
    return reply.left(m_fault.bytesLeft);
}

QString Station::device() const
{
    return QString::fromLocal8Bit(ttyname(m_device));
}

std::vector<int> Station::registers(int first, int count)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {m_memory->tab_registers + first, m_memory->tab_registers + first + count};
}

std::vector<int> Station::coils(int first, int count)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {m_memory->tab_bits + first, m_memory->tab_bits + first + count};
}

void Station::setRegisters(int first, const std::vector<int>& values)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::copy(values.begin(), values.end(), m_memory->tab_registers + first);
}

void Station::setCoils(int first, const std::vector<int>& values)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::copy(values.begin(), values.end(), m_memory->tab_bits + first);
}

void Station::spoilReplies(const Fault& fault)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_fault = fault;
}

void Station::refuseWith(int exceptionCode)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_exceptionCode = exceptionCode;
}

std::vector<QByteArray> Station::takeRequests()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_requests, {});
}
