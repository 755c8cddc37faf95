// The abstract driver: what the runtime asks of every PLC driver plug-in. Ports, requests and
// settings pass through by reference.
#ifndef DRIVERS_DRIVERINTERFACE_H
#define DRIVERS_DRIVERINTERFACE_H

#include "drivers/communicatorcommand.h"
#include "drivers/export.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QtPlugin>

class AbstractDeviceInterface;
class DeviceSetting;
class DriverSetting;

/// The order of the operations is binary contract: runtimes and drivers are built apart from each
/// other and meet through the table of virtual operations. Add at the end, never move.
class DRIVER_KIT_EXPORT DriverInterface
{
public:
    virtual ~DriverInterface() {}

    /// What runtimes use it for is not part of this contract; drivers here answer as
    /// getBlockAccessSize() does.
    virtual int totalSize() = 0;

    /// Writes `data` to the device that `command` names. `data` holds multi-byte values least
    /// significant byte first, and bits as one byte each.
    /// Returns true when everything was written; the reason of a failure is in getLastError().
    virtual bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                       const QByteArray& data) = 0;

    /// Reads `command.length` units. Returns them least significant byte first, bits as one byte
    /// each; empty on failure, with the reason in getLastError().
    virtual QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) = 0;

    /// Around the opening of a port, perhaps never. True unless the driver knows better.
    virtual bool initialize(AbstractDeviceInterface* port) = 0;

    /// Judges a text; which ones is not part of this contract. Drivers here answer false to all.
    virtual bool validation(const QString& text) = 0;

    /// Who the driver is: its own name, its maker's and its version. The same at every call.
    virtual QString name() { return QString::fromLatin1("Not Assigned"); }
    virtual QString vender() { return QString::fromLatin1("Not Assigned"); }
    virtual QString getVersionNumber() { return QString::fromLatin1("Not Assigned"); }

    /// New objects at each call; the caller owns and deletes them.
    virtual DeviceSetting* getDefaultSerialDeviceSetting() = 0;
    virtual DriverSetting* getDefaultDriverSetting() = 0;

    /// The default line as text: kind, baud rate, parity, data bits, stop bits.
    virtual QString getStringBasedDefaultDriverSetting()
    {
        return QString::fromLatin1("RS232,9600,EVEN,7,1");
    }

    /// The port kinds the driver can talk through, a mask of device_type codes.
    virtual int supportedCommunicationFlags() = 0;

    /// May come at any time and must do no harm. No driver here consults it.
    virtual void setDebugMode(bool on) = 0;

    /// How many units, or bits, the runtime may ask for in one request.
    virtual int getBlockAccessSize() = 0;
    virtual int getBitBlockAccessSize() = 0;

    /// The outcome of the last attempt. The text stays readable after a later success: ask
    /// hasError() first.
    virtual bool hasError() = 0;
    virtual QString getLastError() = 0;

    /// The driver as the QObject that it also is.
    virtual QObject* getThisObject() = 0;

    /// Session commands: a list of requests that a driver may serve together.
    virtual bool isSupportSessionCommand() { return false; }
    virtual void setSessionCommand(QList<CommunicatorCommand> commands) { Q_UNUSED(commands); }
    virtual void clearSessionCommand() {}

    /// Tells the port's setting when it is known or changes, perhaps never. `setting` belongs to
    /// the caller and is valid during the call only.
    virtual bool deviceSettingChanged(const DeviceSetting* setting)
    {
        Q_UNUSED(setting);
        return true;
    }

    /// Asked around the opening of a port, perhaps never. True unless the driver knows better.
    virtual bool isConnected(AbstractDeviceInterface* port)
    {
        Q_UNUSED(port);
        return true;
    }
};

/// By this identifier the runtime recognises a driver plug-in.
#define DriverInterface_iid "com.talvorin.drivers.DriverInterface/1.1"
Q_DECLARE_INTERFACE(DriverInterface, DriverInterface_iid)

#endif
