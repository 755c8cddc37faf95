#include "drivers/basicdriver.h"

#include "drivers/devicesetting.h"
#include "drivers/driversetting.h"

BasicDriver::BasicDriver(const driverkit::Identity& identity)
    : m_identity(identity)
{
}

QByteArray BasicDriver::read(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    driverkit::Attempts attempts(*this, m_error, port);
    QByteArray data;
    do {
        attempts.begin();
        if (!driverkit::serves(m_identity.widths.read, command.dataType) || command.length <= 0)
            return QByteArray();
        data = readOnce(port, command);
    } while (attempts.again());
    return hasError() ? QByteArray() : data;
}

bool BasicDriver::write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                        const QByteArray& data)
{
    driverkit::Attempts attempts(*this, m_error, port);
    bool written = false;
    do {
        attempts.begin();
        if (!driverkit::serves(m_identity.widths.write, command.dataType))
            return false;
        written = data.isEmpty() || writeOnce(port, command, data);
    } while (attempts.again());
    return written && !hasError();
}

int BasicDriver::totalSize()
{
    return m_identity.blocks.units;
}
bool BasicDriver::initialize(AbstractDeviceInterface*)
{
    return true;
}
bool BasicDriver::validation(const QString&)
{
    return false;
}
QString BasicDriver::name()
{
    return QString::fromLatin1(m_identity.name);
}
QString BasicDriver::vender()
{
    return QString::fromLatin1(m_identity.vendor);
}
QString BasicDriver::getVersionNumber()
{
    return QString::fromLatin1(m_identity.version);
}

DeviceSetting* BasicDriver::getDefaultSerialDeviceSetting()
{
    return driverkit::newDeviceSetting(m_identity.line);
}
DriverSetting* BasicDriver::getDefaultDriverSetting()
{
    return driverkit::newDriverSetting(m_identity.exchange);
}
QString BasicDriver::getStringBasedDefaultDriverSetting()
{
    return driverkit::lineText(m_identity.line);
}
int BasicDriver::supportedCommunicationFlags()
{
    return m_identity.portKinds;
}

void BasicDriver::setDebugMode(bool) {}

int BasicDriver::getBlockAccessSize()
{
    return m_identity.blocks.units;
}
int BasicDriver::getBitBlockAccessSize()
{
    return m_identity.blocks.bits;
}
bool BasicDriver::hasError()
{
    return m_error.isSet();
}
QString BasicDriver::getLastError()
{
    return m_error.text();
}
QObject* BasicDriver::getThisObject()
{
    return this;
}

bool BasicDriver::fail(const char* text, const QString& detail)
{
    return m_error.fail(text, detail);
}

bool BasicDriver::failAddress(const CommunicatorCommand& command)
{
    return fail(errortext::InvalidAddress, command.address);
}
