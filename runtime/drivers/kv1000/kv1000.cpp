// The driver object: who it is, what it remembers of a failure, and the attempts at a request. The
// link session is in link.cpp, what goes over it in reads.cpp and writes.cpp.
#include "drivers/kv1000/kv1000.h"

#include "drivers/devicesetting.h"
#include "drivers/parts/attempts.h"
#include "drivers/parts/identity.h"
#include "drivers/parts/units.h"

namespace
{

// The longest reply and the longest write command, each with its NUL.
const int RxBufferSize = 1538;
const int TxBufferSize = 1553;

/// The port kinds that the driver can talk through, SerialPortDevice among them.
const int SupportedPortKinds = 0x70;

const int ServedWidths =
    driverkit::Bits | driverkit::Bytes | driverkit::Words | driverkit::DoubleWords;

const driverkit::Identity KV1000Identity = {
    "KEYENCE KV-1000",
    "KEYENCE",
    "1.0.0",
    {"COM2", 9600, 8, driverkit::EvenParity, driverkit::OneStopBit},
    SupportedPortKinds,
    {500 /* ms */, 3 /* retries */, 0 /* station */, 0 /* ms pause */},
    {1024 /* units */, 1024 /* bits */},
    {ServedWidths, ServedWidths},
};

} // namespace

static QString VERSION_STRING(KV1000Identity.version);

DriverKV1000::DriverKV1000()
    : m_debugMode(false)
    , rxBuffer(RxBufferSize, '\0')
    , txBuffer(TxBufferSize, '\0')
{
}

DriverKV1000::~DriverKV1000() {}

QByteArray DriverKV1000::read(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    driverkit::Attempts attempts(*this, m_error, port);
    QByteArray data;
    do {
        attempts.begin();
        if (!driverkit::serves(KV1000Identity.widths.read, command.dataType))
            return QByteArray();
        data = readOnce(port, command);
    } while (attempts.again());
    return data;
}

QByteArray DriverKV1000::readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    switch (driverkit::unitBits(command.dataType)) {
    case 1:
        return readBits(port, command);
    case 8:
        return readBytes(port, command);
    case 16:
        return readWords(port, command);
    default:
        return readDWords(port, command);
    }
}

bool DriverKV1000::write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                         const QByteArray& data)
{
    driverkit::Attempts attempts(*this, m_error, port);
    bool written = false;
    do {
        attempts.begin();
        if (!driverkit::serves(KV1000Identity.widths.write, command.dataType))
            return false;
        const bool areBits = driverkit::serves(driverkit::Bits, command.dataType);
        written = areBits ? writeBits(port, command, data) : writeBytes(port, command, data);
    } while (attempts.again());
    return written;
}

int DriverKV1000::totalSize()
{
    return KV1000Identity.blocks.units;
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
    return QString::fromLatin1(KV1000Identity.name);
}
QString DriverKV1000::vender()
{
    return QString::fromLatin1(KV1000Identity.vendor);
}
QString DriverKV1000::getVersionNumber()
{
    return VERSION_STRING;
}
int DriverKV1000::supportedCommunicationFlags()
{
    return KV1000Identity.portKinds;
}
DeviceSetting* DriverKV1000::getDefaultSerialDeviceSetting()
{
    return driverkit::newDeviceSetting(KV1000Identity.line);
}
DriverSetting* DriverKV1000::getDefaultDriverSetting()
{
    return driverkit::newDriverSetting(KV1000Identity.exchange);
}
void DriverKV1000::setDebugMode(bool on)
{
    m_debugMode = on;
}
int DriverKV1000::getBlockAccessSize()
{
    return KV1000Identity.blocks.units;
}
int DriverKV1000::getBitBlockAccessSize()
{
    return KV1000Identity.blocks.bits;
}
QString DriverKV1000::getLastError()
{
    return m_error.text();
}
bool DriverKV1000::hasError()
{
    return m_error.isSet();
}
QString DriverKV1000::getStringBasedDefaultDriverSetting()
{
    return driverkit::lineText(KV1000Identity.line);
}
QObject* DriverKV1000::getThisObject()
{
    return this;
}

void DriverKV1000::clearError()
{
    m_error.clear();
}
void DriverKV1000::setCommError(const QString& text)
{
    m_error.set(text);
}
