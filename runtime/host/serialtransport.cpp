// Serial lines. The kernel's own interface is used for the settings because it takes any baud rate
// and says what becomes of bytes with bad parity.
#include "host/descriptortransport.h"
#include "host/linesettings.h"
#include "host/portaddress.h"
#include "host/serialsettings.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace host
{

namespace
{

QString reasonOf(int error)
{
    switch (error) {
    case EWOULDBLOCK: // locked
    case EBUSY:       // opened for exclusive use
        return QStringLiteral("another program uses it");
    case ENOTTY:
        return QStringLiteral("it is not a serial port");
    default:
        return qt_error_string(error);
    }
}

DeviceKind kindOf(int descriptor)
{
    constexpr unsigned FirstMajor = 136, LastMajor = 143; // of pseudo-terminals
    struct stat status = {};
    const bool isKnown = ::fstat(descriptor, &status) == 0;
    const unsigned number = major(status.st_rdev);
    return isKnown && number >= FirstMajor && number <= LastMajor ? DeviceKind::PseudoTerminal
                                                                  : DeviceKind::SerialPort;
}

/// Returns the reason where that fails, else an empty text.
QString setUp(int descriptor, const LineSettings& line)
{
    const termios2 settings = serialSettings(line);
    termios2 taken;
    if (::ioctl(descriptor, TCSETS2, &settings) != 0 || ::ioctl(descriptor, TCGETS2, &taken) != 0)
        return reasonOf(errno);
    return settingNotTaken(settings, taken, kindOf(descriptor));
}

/// Opens a device for this program alone. Returns the reason where that fails, else an empty text.
QString openDevice(const QString& device, const LineSettings& line, int& descriptor)
{
    descriptor = ::open(QFile::encodeName(device), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0 || ::flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return reasonOf(errno);
    return setUp(descriptor, line);
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
        int descriptor = NoDescriptor;
        const QString reason = openDevice(m_device, m_settings, descriptor);
        if (reason.isEmpty())
            return descriptor;
        *error = QStringLiteral("can't open %1: %2").arg(m_device, reason);
        if (descriptor >= 0)
            ::close(descriptor);
        return NoDescriptor;
    }

    ssize_t writeSome(int descriptor, const char* data, size_t length) override
    {
        return ::write(descriptor, data, length);
    }

    QString name() const override { return m_device; }

    QString endReason() const override { return QStringLiteral("the device hung up or is gone"); }

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
