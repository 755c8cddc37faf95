#include "host/tracingport.h"

#include <QElapsedTimer>
#include <QVariant>

#include <algorithm>

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

bool isPrintable(char byte)
{
    return byte >= 0x20 && byte < 0x7f;
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
    if (isPrintable(byte))
        return QString(QLatin1Char(byte));
    return QStringLiteral("\\x%1").arg(static_cast<uchar>(byte), 2, 16, QLatin1Char('0'));
}

QString shown(const char* data, int length)
{
    return isText(data, length) ? quoted(data, length) : inHex(data, length);
}

} // namespace

bool isText(const char* data, int length)
{
    const auto count = std::count_if(data, data + length, [](char byte) {
        return isPrintable(byte) || byte == '\r' || byte == '\n' || byte == '\t';
    });
    return count * 4 >= length * 3;
}

QString inHex(const char* data, int length)
{
    return QString::fromLatin1(QByteArray(data, length).toHex(' ').toUpper());
}

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
              .arg(shown(buffer, qBound(0, count, qMax(0, maxLength)))));
    return count;
}

int TracingPort::write(const char* data, int length)
{
    const int count = m_port.write(data, length);
    trace(QStringLiteral("write %1 -> %2  %3")
              .arg(length)
              .arg(count)
              .arg(shown(data, qMax(0, length))));
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
