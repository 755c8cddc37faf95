// A port to a simulated Modbus station, in virtual time: it waits for nothing.
#ifndef TESTS_EXAMPLES_MODBUSRTU_SIMULATEDPORT_H
#define TESTS_EXAMPLES_MODBUSRTU_SIMULATEDPORT_H

#include "drivers/abstractdeviceinterface.h"
#include "simulator/channel.h"
#include "simulator/modbusrtu/controller.h"

#include <QByteArray>
#include <QVariant>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

class SimulatedPort : public AbstractDeviceInterface
{
public:
    /// plan  faults of the station, as typed
    SimulatedPort(simulator::Controller& station, const char* plan, int timeoutMs, int retries)
        : m_plan(planOf(station, plan))
        , m_channel("line", station, m_plan, m_log)
        , m_timeoutMs(timeoutMs)
        , m_retries(retries)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        const simulator::TimeMs deadline = m_now + m_timeoutMs;
        while (m_unread.size() < maxLength &&
               m_channel.nextDue().value_or(deadline + 1) <= deadline)
            advanceTo(*m_channel.nextDue());
        if (m_unread.size() < maxLength)
            advanceTo(deadline);
        const int length = std::min(maxLength, m_unread.size());
        std::memcpy(buffer, m_unread.constData(), size_t(length));
        m_unread.remove(0, length);
        return length;
    }

    int write(const char* data, int length) override
    {
        requests.emplace_back(data, length);
        advanceTo(m_now + SilenceMs); // that the driver keeps before every request
        m_channel.receive({data, size_t(length)}, m_now);
        advanceTo(m_now);
        return length;
    }

    void setOption(int, const QVariant&) override { m_unread.clear(); }
    int retry() override { return m_retries; }
    int delay() override { return 0; }

    std::vector<QByteArray> requests; ///< frames as they were written

private:
    static constexpr simulator::TimeMs SilenceMs = 5;

    static simulator::FaultPlan planOf(const simulator::Controller& station, const char* text)
    {
        std::string why;
        return simulator::FaultPlan::parse(text, 1, station.commands(), why).value();
    }

    void advanceTo(simulator::TimeMs time)
    {
        m_now = std::max(m_now, time);
        for (std::string_view due; !(due = m_channel.due(m_now)).empty();) {
            m_unread.append(due.data(), int(due.size()));
            m_channel.sent(due.size(), m_now);
        }
    }

    simulator::FaultPlan m_plan;
    simulator::TrafficLog m_log;
    simulator::Channel m_channel;
    const int m_timeoutMs;
    const int m_retries;
    simulator::TimeMs m_now = 0;
    QByteArray m_unread;
};

#endif
