#include "host/tracingport.h"

#include <QElapsedTimer>
#include <QVariant>

namespace host
{

namespace
{

TracingPort::Clock clockFromNow()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.nsecsElapsed() / 1000; };
}

QString escaped(char byte)
{
    switch (byte) {
    case '\r':
        return QStringLiteral("\\r");
    case '\n':
        return QStringLiteral("\\n");
    case '\t':
        return QStringLiteral("\\t");
    case '"':
        return QStringLiteral("\\\"");
    case '\\':
        return QStringLiteral("\\\\");
    }
    const uchar value = static_cast<uchar>(byte);
    if (value >= 0x20 && value < 0x7f)
        return QString(QLatin1Char(byte));
    return QStringLiteral("\\x%1").arg(value, 2, 16, QLatin1Char('0'));
}

} // namespace

QString quoted(const char* data, int length)
{
    QString text(QLatin1Char('"'));
    for (int i = 0; i < length; ++i)
        text += escaped(data[i]);
    return text + QLatin1Char('"');
}

TracingPort::TracingPort(AbstractDeviceInterface& port, Sink sink)
    : TracingPort(port, std::move(sink), clockFromNow())
{
}

TracingPort::TracingPort(AbstractDeviceInterface& port, Sink sink, Clock clock)
    : m_port(port)
    , m_sink(std::move(sink))
    , m_clock(std::move(clock))
    , m_startUs(m_clock())
{
}

int TracingPort::read(char* buffer, int maxLength)
{
    const int count = m_port.read(buffer, maxLength);
    trace(QStringLiteral("read %1 -> %2  %3")
              .arg(maxLength)
              .arg(count)
              .arg(quoted(buffer, qBound(0, count, qMax(0, maxLength)))));
    return count;
}

int TracingPort::write(const char* data, int length)
{
    const int count = m_port.write(data, length);
    trace(QStringLiteral("write %1 -> %2  %3").arg(length).arg(count).arg(quoted(data, length)));
    return count;
}

void TracingPort::setOption(int option, const QVariant& value)
{
    m_port.setOption(option, value);
    trace(QStringLiteral("setOption %1 %2").arg(option).arg(value.toString()));
}

int TracingPort::retry()
{
    const int repeats = m_port.retry();
    trace(QStringLiteral("retry -> %1").arg(repeats));
    return repeats;
}

int TracingPort::delay()
{
    const int pauseMs = m_port.delay();
    trace(QStringLiteral("delay -> %1").arg(pauseMs));
    return pauseMs;
}

void TracingPort::trace(const QString& what)
{
    const double elapsedMs = static_cast<double>(m_clock() - m_startUs) / 1000;
    m_sink(QStringLiteral("+%1 ms  ").arg(elapsedMs, 0, 'f', 3) + what);
}

} // namespace host
