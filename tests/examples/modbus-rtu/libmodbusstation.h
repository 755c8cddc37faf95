// A Modbus RTU station at the end of a serial line that a public implementation of the protocol
// plays.
#ifndef TESTS_MODBUS_LIBMODBUSSTATION_H
#define TESTS_MODBUS_LIBMODBUSSTATION_H

#include <QString>

#include <modbus/modbus.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

class LibmodbusStation
{
public:
    static constexpr int RegisterCount = 400;
    static constexpr int CoilCount = 5000;

    explicit LibmodbusStation(int number)
        : m_stop(eventfd(0, 0))
        , m_modbus(modbus_new_rtu("unused", 9600, 'E', 8, 1))
        , m_memory(modbus_mapping_new(CoilCount, 0, RegisterCount, 0))
    {
        termios raw = {};
        cfmakeraw(&raw);
        if (openpty(&m_line, &m_device, nullptr, &raw, nullptr) != 0 || !m_modbus || !m_memory ||
            modbus_set_slave(m_modbus, number) != 0 || modbus_set_socket(m_modbus, m_line) != 0)
            throw std::runtime_error("no station");
        m_server = std::thread([this] { serve(); });
    }

    ~LibmodbusStation()
    {
        eventfd_write(m_stop, 1);
        m_server.join();
        modbus_mapping_free(m_memory);
        modbus_free(m_modbus);
        for (int file : {m_line, m_device, m_stop})
            ::close(file);
    }

    QString device() const { return QString::fromLocal8Bit(ttyname(m_device)); }

    // Use these while no request is under way: one number for each register, 0 or 1 for each coil.
    uint16_t* registers() { return m_memory->tab_registers; }
    uint8_t* coils() { return m_memory->tab_bits; }

private:
    void serve()
    {
        pollfd files[] = {{m_stop, POLLIN, 0}, {m_line, POLLIN, 0}};
        unsigned char request[MODBUS_RTU_MAX_ADU_LENGTH];
        while (poll(files, 2, -1) > 0 && files[0].revents == 0) {
            const int size = modbus_receive(m_modbus, request);
            if (size > 0) // else for another station, or damaged
                modbus_reply(m_modbus, request, size, m_memory);
        }
    }

    int m_line = -1;   ///< the station's end of a pseudo-terminal
    int m_device = -1; ///< the driver's, open so that the line outlives those who use it
    const int m_stop;
    modbus_t* const m_modbus;
    modbus_mapping_t* const m_memory;
    std::thread m_server;
};

#endif
