// What a new driver derives from: everything that drivers have in common is done here, and what is
// left is an identity and one attempt at a read and at a write.
#ifndef DRIVERS_BASICDRIVER_H
#define DRIVERS_BASICDRIVER_H

#include "drivers/abstractdeviceinterface.h"
#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/errortexts.h"
#include "drivers/parts/attempts.h"
#include "drivers/parts/devicetext.h"
#include "drivers/parts/errorstate.h"
#include "drivers/parts/exchange.h"
#include "drivers/parts/identity.h"
#include "drivers/parts/pluginentry.h"
#include "drivers/parts/runs.h"
#include "drivers/parts/units.h"

#include <QObject>

/// A request is tried until an attempt leaves no error or the port allows no more. A width that is
/// not served ends at once, with an empty result or false; so does a read of no units (empty) and a
/// write of no data (true). None of these sets an error or sends anything.
class DRIVER_KIT_EXPORT BasicDriver : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)

public:
    int totalSize() override;
    bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
               const QByteArray& data) override;
    QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) override;
    bool initialize(AbstractDeviceInterface* port) override;
    bool validation(const QString& text) override;
    QString name() override;
    QString vender() override;
    QString getVersionNumber() override;
    DeviceSetting* getDefaultSerialDeviceSetting() override;
    DriverSetting* getDefaultDriverSetting() override;
    QString getStringBasedDefaultDriverSetting() override;
    int supportedCommunicationFlags() override;
    void setDebugMode(bool on) override;
    int getBlockAccessSize() override;
    int getBitBlockAccessSize() override;
    bool hasError() override;
    QString getLastError() override;
    QObject* getThisObject() override;

protected:
    /// identity  constant data that outlives the driver
    explicit BasicDriver(const driverkit::Identity& identity);

    /// One attempt at a read of command.length units, 1 or more, of a width that is served.
    /// Returns them as DriverInterface::read does. A failure goes through fail(); what is returned
    /// with it is dropped.
    virtual QByteArray readOnce(AbstractDeviceInterface* port,
                                const CommunicatorCommand& command) = 0;

    /// One attempt at a write of data that is not empty. Returns whether all of it was written; a
    /// failure goes through fail().
    virtual bool writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                           const QByteArray& data) = 0;

    /// For the parts that report failures.
    driverkit::ErrorState& error() { return m_error; }

    /// Sets the error to `text`, which begins like one of errortexts.h, followed by `detail`.
    /// Returns false, for the caller to hand on.
    bool fail(const char* text, const QString& detail = QString());

    /// Says that the command names no device, or more than there are. Returns false.
    bool failAddress(const CommunicatorCommand& command);

private:
    const driverkit::Identity& m_identity;
    driverkit::ErrorState m_error;
};

#endif
