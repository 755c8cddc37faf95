// Serial lines. The kernel's own interface is used for the settings because it takes any baud rate
// and says what becomes of bytes with bad parity; <termios.h> and its header exclude each other.
#include "host/descriptortransport.h"
#include "host/linesettings.h"
#include "host/portaddress.h"

#include <QFile>

#include <asm/termbits.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace host
{

namespace
{

tcflag_t parityFlags(Parity parity)
{
    switch (parity) {
    case Parity::None:
        return 0;
    case Parity::Odd:
        return PARENB | PARODD;
    case Parity::Even:
        return PARENB;
    case Parity::Mark:
        return PARENB | CMSPAR | PARODD;
    case Parity::Space:
        return PARENB | CMSPAR;
    }
    return 0;
}

tcflag_t sizeFlags(int dataBits)
{
    switch (dataBits) {
    case 5:
        return CS5;
    case 6:
        return CS6;
    case 7:
        return CS7;
    default:
        return CS8;
    }
}

/// Every byte as it is, without flow control. A byte with bad parity is dropped: the reply falls
/// short and is asked for again, where a wrong byte could pass as data.
bool setUp(int descriptor, const LineSettings& line)
{
    termios2 settings = {};
    settings.c_iflag = IGNBRK | IGNPAR | (line.parity == Parity::None ? 0 : INPCK);
    settings.c_cflag = CREAD | CLOCAL | BOTHER | sizeFlags(line.dataBits) |
                       parityFlags(line.parity) | (line.stopBits == StopBits::Two ? CSTOPB : 0);
    settings.c_ispeed = settings.c_ospeed = static_cast<speed_t>(line.baud);
    settings.c_cc[VMIN] = 1; // so that "nothing there" differs from the end of the line
    return ::ioctl(descriptor, TCSETS2, &settings) == 0;
}

QString reasonOf(int error)
{
    switch (error) {
    case EWOULDBLOCK: // locked
    case EBUSY:       // opened for exclusive use
        return QStringLiteral("another program uses it");
    case ENOTTY:
        return QStringLiteral("it is not a serial port");
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}

class SerialTransport : public DescriptorTransport
{
public:
    SerialTransport(const QString& device, const LineSettings& settings)
        : m_device(devicePath(device))
        , m_settings(settings)
    {
    }

    bool keepsLateReplies() const override { return true; }

    qint64 transferMs(int byteCount) const override
    {
        return qint64(byteCount) * bitsPerCharacter(m_settings) * 1000 / m_settings.baud + 1;
    }

protected:
    int openDescriptor(int, QString* error) override
    {
        const int descriptor =
            ::open(QFile::encodeName(m_device), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (descriptor >= 0 && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0 &&
            setUp(descriptor, m_settings))
            return descriptor;
        *error = QStringLiteral("can't open %1: %2").arg(m_device, reasonOf(errno));
        if (descriptor >= 0)
            ::close(descriptor);
        return NoDescriptor;
    }

    ssize_t writeSome(int descriptor, const char* data, size_t length) override
    {
        return ::write(descriptor, data, length);
    }

    QString name() const override { return m_device; }

private:
    QString m_device; ///< its path
    LineSettings m_settings;
};

} // namespace

std::unique_ptr<Transport> makeSerialTransport(const QString& device, const LineSettings& settings)
{
    return std::make_unique<SerialTransport>(device, settings);
}

} // namespace host
