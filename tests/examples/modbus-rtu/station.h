// A Modbus RTU station at the end of a serial line, played by libmodbus, that can be told to spoil
// what it replies. It knows nothing of the driver under test.
#ifndef TESTS_MODBUS_STATION_H
#define TESTS_MODBUS_STATION_H

#include <QByteArray>
#include <QString>

#include <climits>
#include <modbus/modbus.h>
#include <mutex>
#include <thread>
#include <vector>

/// What happens to the bytes of a reply, counted from 0, before they reach the driver.
struct Fault {
    int flippedByte = -1;
    int flippedBits = 0;
    int bytesLeft = INT_MAX; ///< the reply ends behind them
};

class Station
{
public:
    static constexpr int RegisterCount = 400;
    static constexpr int CoilCount = 5000;

    explicit Station(int number = 1);
    ~Station();

    /// The serial device that leads to the station.
    QString device() const;

    // Call these while no request is under way.

    /// A part of the station's memory: a number for each register, 0 or 1 for each coil.
    std::vector<int> registers(int first, int count);
    std::vector<int> coils(int first, int count);
    void setRegisters(int first, const std::vector<int>& values);
    void setCoils(int first, const std::vector<int>& values);

    void spoilReplies(const Fault& fault);

    /// Answers every request by this exception; 0 stands for none.
    void refuseWith(int exceptionCode);

    /// The requests that were for this station, checks included, since the last call.
    std::vector<QByteArray> takeRequests();

private:
    void serve();
    void reply(const unsigned char* request, int size);
    QByteArray spoiled(QByteArray reply);

    int m_line = -1;   ///< the station's end of a pseudo-terminal
    int m_device = -1; ///< the driver's, open so that the line outlives those who use it
    int m_replies[2];  ///< a pipe: libmodbus replies into it, so that replies can be spoiled
    const int m_stop;
    modbus_t* const m_modbus;
    modbus_mapping_t* const m_memory;

    std::mutex m_mutex; ///< of the members that follow, and of the memory
    Fault m_fault;
    int m_exceptionCode = 0;
    std::vector<QByteArray> m_requests;

    std::thread m_server;
};

#endif
