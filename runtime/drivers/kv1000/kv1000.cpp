// The driver object: who it is, what it remembers of a failure, and the retry loop of read and
// write. The link session is in link.cpp, what goes over it in reads.cpp and writes.cpp.
#include "drivers/kv1000/kv1000.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/devicesetting.h"
#include "drivers/driversetting.h"
#include "drivers/internal/qtcompat.h"

static QString VERSION_STRING("1.0.0");

namespace
{

const int BlockAccessSize = 1024;

// The longest reply and the longest write command, each with its NUL.
const int RxBufferSize = 1538;
const int TxBufferSize = 1553;

/// The port kinds that the driver can talk through, SerialPortDevice among them.
const int SupportedPortKinds = 0x70;

// Codes of the port layer.
const int OneStopBit = 0;
const int EvenParity = 2;

QRegExp pattern(const char* text)
{
    return QRegExp(QString::fromLatin1(text), Qt::CaseSensitive, QRegExp::RegExp);
}

} // namespace

DriverKV1000::DriverKV1000()
    : errorFlag(false)
    , debugMode(false)
    , lastError(QString::fromLatin1(""))
    , bitsRspRegExp(pattern("[01](?: [01])*\\x0D\\x0A"))
    , uint16sRspRegExp(pattern("\\d{5}(?: \\d{5})*\\x0D\\x0A"))
    , uint32sRspRegExp(pattern("\\d{10}(?: \\d{10})*\\x0D\\x0A"))
    , timerCounterRspRegExp(pattern("[01],\\d{10},\\d{10}(?: [01],\\d{10},\\d{10})*\\x0D\\x0A"))
    , errorRspRegExp(pattern("E\\d\\x0D\\x0A"))
    , shortErrorRspRegExp(pattern("E\\d\\x0D"))
    , rxBuffer(RxBufferSize, '\0')
    , txBuffer(TxBufferSize, '\0')
{
}

DriverKV1000::~DriverKV1000() {}

int DriverKV1000::totalSize()
{
    return BlockAccessSize;
}

bool DriverKV1000::write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                         const QByteArray& data)
{
    return tryRepeatedly(port, [&] { return writeOnce(port, command, data); });
}

QByteArray DriverKV1000::read(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    return tryRepeatedly(port, [&] { return readOnce(port, command); });
}

bool DriverKV1000::initialize(AbstractDeviceInterface*)
{
    return true;
}
bool DriverKV1000::validation(const QString&)
{
    return false;
}
QString DriverKV1000::name()
{
    return QString::fromLatin1("KEYENCE KV-1000");
}
QString DriverKV1000::vender()
{
    return QString::fromLatin1("KEYENCE");
}
QString DriverKV1000::getVersionNumber()
{
    return VERSION_STRING;
}
int DriverKV1000::supportedCommunicationFlags()
{
    return SupportedPortKinds;
}

DeviceSetting* DriverKV1000::getDefaultSerialDeviceSetting()
{
    return new DeviceSetting(SerialPortDevice, QString::fromLatin1("COM2"), 9600, 8, OneStopBit,
                             EvenParity);
}

DriverSetting* DriverKV1000::getDefaultDriverSetting()
{
    return new DriverSetting(500, 3, 0, 0);
}
void DriverKV1000::setDebugMode(bool on)
{
    debugMode = on;
}
int DriverKV1000::getBlockAccessSize()
{
    return BlockAccessSize;
}
int DriverKV1000::getBitBlockAccessSize()
{
    return BlockAccessSize;
}
QString DriverKV1000::getLastError()
{
    return lastError;
}
bool DriverKV1000::hasError()
{
    return errorFlag;
}

QString DriverKV1000::getStringBasedDefaultDriverSetting()
{
    return QString::fromLatin1("RS232,9600,EVEN,8,1");
}

QObject* DriverKV1000::getThisObject()
{
    return qobject_cast<QObject*>(this);
}

void DriverKV1000::clearError()
{
    errorFlag = false;
}

void DriverKV1000::setCommError(const QString& text)
{
    errorFlag = true;
    lastError = text;
}

bool DriverKV1000::fail(const char* text, const QString& detail)
{
    setCommError(QString::fromLatin1(text) + detail);
    return false;
}

/// Makes one attempt after the other until one leaves no error or the port allows no more. Every
/// attempt starts the request anew.
template <typename Attempt>
auto DriverKV1000::tryRepeatedly(AbstractDeviceInterface* port, Attempt attempt)
    -> decltype(attempt())
{
    for (int repeats = 0;; ++repeats) {
        qtcompat::sleepMs(port->delay());
        clearError();
        const auto result = attempt();
        if (!hasError() || repeats >= port->retry())
            return result;
    }
}

/// A width that the driver does not serve gives an empty result without an error, so that it is not
/// tried again.
QByteArray DriverKV1000::readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    switch (command.dataType) {
    case DataBit:
    case DataBitGroup:
        return readBits(port, command);
    case DataByte:
    case DataBlock:
        return readBytes(port, command);
    case DataWord:
        return readWords(port, command);
    case DataDoubleWord:
        return readDWords(port, command);
    default:
        return QByteArray();
    }
}

bool DriverKV1000::writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                             const QByteArray& data)
{
    switch (command.dataType) {
    case DataBit:
    case DataBitGroup:
        return writeBits(port, command, data);
    case DataByte:
    case DataBlock:
    case DataWord:
    case DataDoubleWord:
        return writeBytes(port, command, data);
    default:
        return false;
    }
}
