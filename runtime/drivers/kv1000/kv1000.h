// The KV-1000 driver: the object that the runtime loads and asks to read and write a controller.
// It opens no port and keeps none; each request brings its own.
#ifndef DRIVERS_KV1000_KV1000_H
#define DRIVERS_KV1000_KV1000_H

#include "drivers/driverinterface.h"
#include "drivers/export.h"
#include "drivers/parts/errorstate.h"

#include <QObject>
#include <QString>

#include <vector>

namespace driverkit
{
class Exchange;
}

namespace kv1000
{
struct ReadRequest;
}

class DRIVER_KIT_EXPORT DriverKV1000 : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)
#if QT_VERSION >= 0x050000
    Q_PLUGIN_METADATA(IID DriverInterface_iid FILE "kv1000.json")
#endif

public:
    DriverKV1000();
    ~DriverKV1000() override;

    // The order of the virtual operations is binary contract: never move one.
    int totalSize() override;
    bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
               const QByteArray& data) override;
    QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) override;
    bool initialize(AbstractDeviceInterface* port) override;
    bool validation(const QString& text) override;
    QString name() override;
    QString vender() override;
    QString getVersionNumber() override;
    int supportedCommunicationFlags() override;
    DeviceSetting* getDefaultSerialDeviceSetting() override;
    DriverSetting* getDefaultDriverSetting() override;
    void setDebugMode(bool on) override;
    int getBlockAccessSize() override;
    int getBitBlockAccessSize() override;
    QString getLastError() override;
    bool hasError() override;
    QString getStringBasedDefaultDriverSetting() override;
    QObject* getThisObject() override;

    /// Clears the error flag; the text of the last failure stays readable.
    void clearError();
    /// Sets the error flag and the text together.
    void setCommError(const QString& text);

    // Link session. Operations that return false have left the reason in getLastError().

    /// Opens the link: "CR" is answered by "CC".
    bool startComm(AbstractDeviceInterface* port);
    /// Closes the link: "CQ" is answered by "CF".
    bool endComm(AbstractDeviceInterface* port);
    /// Reads the first four bytes of a reply into `rxBuffer`, which the caller has zero-filled. An
    /// error reply is reported and the link closed; a short count leaves the link as it is.
    ///
    /// buffer  ignored: the bytes always go to `rxBuffer`
    /// count   receives what the port returned
    bool readMinRsp(AbstractDeviceInterface* port, char* buffer, int& count);

    // One attempt at one request, in a link session of its own. Data or true on success; an empty
    // array or false, and the error flag set, on failure.
    QByteArray readBits(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    QByteArray readWords(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    QByteArray readDWords(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    QByteArray readBytes(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    /// Sets or resets one bit.
    ///
    /// symbol  letters such as "MR", in any case
    /// number  decimal; of relays, channel * 100 + bit
    bool writeBit(AbstractDeviceInterface* port, const QByteArray& symbol, int number, bool value);
    bool writeBytes(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                    const QByteArray& data);

private:
    DRIVER_KIT_HIDDEN QByteArray readOnce(AbstractDeviceInterface* port,
                                          const CommunicatorCommand& command);
    DRIVER_KIT_HIDDEN bool writeBits(AbstractDeviceInterface* port,
                                     const CommunicatorCommand& command, const QByteArray& data);
    DRIVER_KIT_HIDDEN bool sendWrite(AbstractDeviceInterface* port, int length);

    DRIVER_KIT_HIDDEN driverkit::Exchange exchangeOver(AbstractDeviceInterface* port);
    DRIVER_KIT_HIDDEN bool exchangeAcknowledge(AbstractDeviceInterface* port, const char* command,
                                               const char* expected);
    DRIVER_KIT_HIDDEN bool failWithReply(const char* reply);

    DRIVER_KIT_HIDDEN QByteArray readValues(AbstractDeviceInterface* port,
                                            const CommunicatorCommand& command, int unitBytes);
    DRIVER_KIT_HIDDEN QByteArray readRun(AbstractDeviceInterface* port,
                                         const kv1000::ReadRequest& request);
    DRIVER_KIT_HIDDEN bool readReply(AbstractDeviceInterface* port, int length);
    DRIVER_KIT_HIDDEN bool readSingleBit(AbstractDeviceInterface* port);
    DRIVER_KIT_HIDDEN QByteArray nothingRead(const char* text, const QString& detail = QString());

    driverkit::ErrorState m_error;
    bool m_debugMode;
    std::vector<char> rxBuffer; ///< a reply and the NUL after it
    std::vector<char> txBuffer; ///< the text of a write command
};

#endif
