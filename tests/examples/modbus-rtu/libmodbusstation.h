// A Modbus RTU station at the end of a serial line that a public implementation of the protocol
// plays.
#ifndef TESTS_EXAMPLES_MODBUSRTU_LIBMODBUSSTATION_H
#define TESTS_EXAMPLES_MODBUSRTU_LIBMODBUSSTATION_H

#include "support/descriptor.h"

#include <QString>

#include <modbus/modbus.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>

class LibmodbusStation
{
public:
    static constexpr int RegisterCount = 400;
    static constexpr int CoilCount = 5000;

    explicit LibmodbusStation(int number)
        : m_device(openPseudoTerminal(m_line))
        , m_deviceHeld(open(m_device.c_str(), O_RDWR | O_NOCTTY))
        , m_stop(eventfd(0, 0))
        , m_modbus(modbus_new_rtu("unused", 9600, 'E', 8, 1))
        , m_memory(modbus_mapping_new(CoilCount, 0, RegisterCount, 0))
    {
        require(m_modbus && m_memory && modbus_set_slave(m_modbus, number) == 0 &&
                    modbus_set_socket(m_modbus, m_line.get()) == 0,
                "station");
        m_server = std::thread([this] { serve(); });
    }

    ~LibmodbusStation()
    {
        eventfd_write(m_stop.get(), 1);
        m_server.join();
        modbus_mapping_free(m_memory);
        modbus_free(m_modbus);
    }

    QString device() const { return QString::fromStdString(m_device); }

    // Use these while no request is under way: one number for each register, 0 or 1 for each coil.
    uint16_t* registers() { return m_memory->tab_registers; }
    uint8_t* coils() { return m_memory->tab_bits; }

private:
    void serve()
    {
        pollfd files[] = {{m_stop.get(), POLLIN, 0}, {m_line.get(), POLLIN, 0}};
        unsigned char request[MODBUS_RTU_MAX_ADU_LENGTH];
        while (poll(files, 2, -1) > 0 && files[0].revents == 0) {
            const int size = modbus_receive(m_modbus, request);
            if (size > 0) // else for another station, or damaged
                modbus_reply(m_modbus, request, size, m_memory);
        }
    }

    Descriptor m_line; ///< the station's end of a pseudo-terminal
    const std::string m_device;
    const Descriptor m_deviceHeld; ///< open, so that the line outlives those who use it
    const Descriptor m_stop;
    modbus_t* const m_modbus;
    modbus_mapping_t* const m_memory;
    std::thread m_server;
};

#endif
