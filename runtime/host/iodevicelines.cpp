// Serial and TCP lines over Qt's devices. What they share stands once, in IoDeviceLine.
#include "host/line.h"
#include "host/linesettings.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QSerialPort>
#include <QTcpSocket>

namespace host
{

namespace
{

/// A line over any QIODevice that can be waited for. Broken devices are thrown away and made anew:
/// that drops whatever was buffered in either direction.
template <typename Device>
class IoDeviceLine : public Line
{
public:
    IoDeviceLine() { m_clock.start(); }

    bool open(int timeoutMs) override
    {
        m_device = std::make_unique<Device>();
        return connectDevice(*m_device, timeoutMs) || fail(openFailure(*m_device));
    }

    bool isOpen() const override { return m_device != nullptr; }

    bool write(const char* data, int length, int timeoutMs) override
    {
        if (!m_device)
            return false;
        const QDeadlineTimer deadline(timeoutMs);
        m_device->write(data, length);
        while (m_device->bytesToWrite() > 0) {
            if (!m_device->waitForBytesWritten(static_cast<int>(deadline.remainingTime())))
                return fail(
                    QStringLiteral("can't write to %1: %2").arg(name(), m_device->errorString()));
        }
        return true;
    }

    int read(char* buffer, int maxLength, int waitMs) override
    {
        if (!m_device)
            return Failed;
        if (m_device->bytesAvailable() == 0)
            m_device->waitForReadyRead(waitMs);
        const qint64 count = m_device->read(buffer, maxLength);
        if (count > 0)
            return static_cast<int>(count);
        if (!isBroken(*m_device))
            return 0;
        fail(QStringLiteral("%1: %2").arg(name(), m_device->errorString()));
        return Failed;
    }

    qint64 nowMs() const override { return m_clock.elapsed(); }
    QString trouble() const override { return m_trouble; }

protected:
    virtual bool connectDevice(Device& device, int timeoutMs) = 0;
    virtual bool isBroken(const Device& device) const = 0;
    virtual QString openFailure(const Device& device) const = 0;
    virtual QString name() const = 0;

private:
    bool fail(const QString& trouble)
    {
        m_trouble = trouble;
        m_device.reset();
        return false;
    }

    std::unique_ptr<Device> m_device;
    QElapsedTimer m_clock;
    QString m_trouble;
};

QSerialPort::Parity qtParity(Parity parity)
{
    switch (parity) {
    case Parity::None:
        return QSerialPort::NoParity;
    case Parity::Odd:
        return QSerialPort::OddParity;
    case Parity::Even:
        return QSerialPort::EvenParity;
    case Parity::Mark:
        return QSerialPort::MarkParity;
    case Parity::Space:
        return QSerialPort::SpaceParity;
    }
    return QSerialPort::NoParity;
}

class SerialLine : public IoDeviceLine<QSerialPort>
{
public:
    SerialLine(const QString& device, const LineSettings& settings)
        : m_device(device)
        , m_settings(settings)
    {
    }

    Reopening reopening() const override { return Reopening::KeepsLateReplies; }

    qint64 transferMs(int byteCount) const override
    {
        const int parityBits = m_settings.parity == Parity::None ? 0 : 1;
        const int stopBits = m_settings.stopBits == StopBits::One ? 1 : 2;
        const qint64 bitsPerByte = 1 + m_settings.dataBits + parityBits + stopBits;
        return byteCount * bitsPerByte * 1000 / m_settings.baud + 1;
    }

protected:
    bool connectDevice(QSerialPort& device, int) override
    {
        device.setPortName(m_device);
        device.setBaudRate(m_settings.baud);
        device.setParity(qtParity(m_settings.parity));
        device.setDataBits(static_cast<QSerialPort::DataBits>(m_settings.dataBits));
        device.setStopBits(m_settings.stopBits == StopBits::One ? QSerialPort::OneStop
                                                                : QSerialPort::TwoStop);
        return device.open(QIODevice::ReadWrite);
    }

    bool isBroken(const QSerialPort& device) const override
    {
        return device.error() != QSerialPort::NoError &&
               device.error() != QSerialPort::TimeoutError;
    }

    QString openFailure(const QSerialPort& device) const override
    {
        return QStringLiteral("can't open %1: %2").arg(m_device, device.errorString());
    }

    QString name() const override { return m_device; }

private:
    QString m_device;
    LineSettings m_settings;
};

class TcpLine : public IoDeviceLine<QTcpSocket>
{
public:
    TcpLine(const QString& host, quint16 port)
        : m_host(host)
        , m_port(port)
    {
    }

    Reopening reopening() const override { return Reopening::ShedsLateReplies; }
    qint64 transferMs(int) const override { return 0; }

protected:
    bool connectDevice(QTcpSocket& device, int timeoutMs) override
    {
        // A controller stands on the plant's own network, never behind the desktop's web proxy.
        device.setProxy(QNetworkProxy::NoProxy);
        device.connectToHost(m_host, m_port);
        if (!device.waitForConnected(timeoutMs))
            return false;
        device.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        return true;
    }

    bool isBroken(const QTcpSocket& device) const override
    {
        return device.state() != QAbstractSocket::ConnectedState;
    }

    QString openFailure(const QTcpSocket& device) const override
    {
        return QStringLiteral("can't connect to %1: %2").arg(name(), device.errorString());
    }

    QString name() const override
    {
        const QString host = m_host.contains(QLatin1Char(':'))
                                 ? QLatin1Char('[') + m_host + QLatin1Char(']')
                                 : m_host;
        return host + QLatin1Char(':') + QString::number(m_port);
    }

private:
    QString m_host;
    quint16 m_port;
};

} // namespace

std::unique_ptr<Line> makeSerialLine(const QString& device, const LineSettings& settings)
{
    return std::make_unique<SerialLine>(device, settings);
}

std::unique_ptr<Line> makeTcpLine(const QString& host, quint16 port)
{
    return std::make_unique<TcpLine>(host, port);
}

} // namespace host
