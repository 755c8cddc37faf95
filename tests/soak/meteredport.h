// A port that counts the exchanges over another port, and times its calls.
#ifndef TESTS_SOAK_METEREDPORT_H
#define TESTS_SOAK_METEREDPORT_H

#include "drivers/abstractdeviceinterface.h"

#include <QElapsedTimer>
#include <QVariant>

#include <cmath>

/// A call, and the time that it may take.
struct TimedCall {
    double ms = 0;
    double boundMs = INFINITY;

    double excessMs() const { return ms - boundMs; }
};

class MeteredPort : public AbstractDeviceInterface
{
public:
    MeteredPort(AbstractDeviceInterface& port, int timeoutMs, double msPerByte)
        : m_port(port)
        , m_timeoutMs(timeoutMs)
        , m_msPerByte(msPerByte)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        return timed(m_timeoutMs + maxLength * m_msPerByte,
                     [&] { return m_port.read(buffer, maxLength); });
    }
    int write(const char* data, int length) override
    {
        ++exchanges;
        return timed(m_timeoutMs + length * m_msPerByte,
                     [&] { return m_port.write(data, length); });
    }
    void setOption(int option, const QVariant& value) override
    {
        timed(SilenceInTimeouts * m_timeoutMs, [&] { return m_port.setOption(option, value), 0; });
    }
    int retry() override { return m_port.retry(); }
    int delay() override { return m_port.delay(); }

    long exchanges = 0;
    TimedCall slowest; ///< the one furthest above its bound

private:
    static constexpr int SilenceInTimeouts = 5; ///< option 12 may wait so long for silence

    template <typename Call>
    int timed(double boundMs, Call call)
    {
        QElapsedTimer timer;
        timer.start();
        const int result = call();
        const TimedCall timed = {double(timer.nsecsElapsed()) / 1e6, boundMs};
        if (timed.excessMs() > slowest.excessMs())
            slowest = timed;
        return result;
    }

    AbstractDeviceInterface& m_port;
    const int m_timeoutMs;
    const double m_msPerByte;
};

#endif
