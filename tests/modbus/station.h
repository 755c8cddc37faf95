// A Modbus RTU station at the end of a serial line, played by libmodbus, and a line that can be
// told to spoil what the station replies. It knows nothing of the driver under test.
#ifndef TESTS_MODBUS_STATION_H
#define TESTS_MODBUS_STATION_H

#include <QByteArray>
#include <QString>

#include <climits>
#include <memory>
#include <vector>

/// What happens to the bytes of a reply, counted from 0, before they reach the driver.
struct Fault {
    int flippedByte = -1;
    int flippedBits = 0;
    int bytesLeft = INT_MAX;   ///< the reply ends behind them
    int repliesLeft = INT_MAX; ///< later ones arrive as they were sent
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
    std::vector<int> registers(int first, int count) const;
    std::vector<int> coils(int first, int count) const;
    void setRegisters(int first, const std::vector<int>& values);
    void setCoils(int first, const std::vector<int>& values);

    void spoilReplies(const Fault& fault);

    /// Answers every request by this exception; 0 stands for none.
    void refuseWith(int exceptionCode);

    /// The requests that were for this station, checks included, since the last call.
    std::vector<QByteArray> takeRequests();

private:
    struct Inside;
    std::unique_ptr<Inside> m_inside;
};

#endif
