#include "drivers/parts/runs.h"

#include <climits>

namespace driverkit
{

namespace
{

const int BitsPerChannel = 16;
const int ChannelStep = 100;

} // namespace

qint64 numberAfter(qint64 number, qint64 steps, Numbering numbering)
{
    if (numbering == CountsByOne || steps == 0)
        return number + steps;
    const qint64 channel = number / ChannelStep;
    const qint64 bit = qMin<qint64>(number % ChannelStep, BitsPerChannel - 1) + steps;
    return (channel + bit / BitsPerChannel) * ChannelStep + bit % BitsPerChannel;
}

RunParts::RunParts(qint64 count)
    : m_total(count)
    , m_offset(0)
    , m_count(0)
    , m_started(false)
{
}

void RunParts::next(int capacity)
{
    m_offset = end();
    m_count = static_cast<int>(qBound<qint64>(INT_MIN, m_total - m_offset, capacity));
    m_started = true;
}

} // namespace driverkit
