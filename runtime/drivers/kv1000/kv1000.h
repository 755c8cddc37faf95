// The KV-1000 driver: the object that the runtime loads and asks to read and write a controller.
// It opens no port and keeps none; each request brings its own.
#ifndef DRIVERS_KV1000_KV1000_H
#define DRIVERS_KV1000_KV1000_H

#include "drivers/driverinterface.h"
#include "drivers/export.h"
#include "drivers/kv1000/replies.h"

#include <QObject>
#include <QRegExp>
#include <QString>

#include <vector>

struct ReadForm;
struct ReadRequest;

class DRIVER_KIT_EXPORT DriverKV1000 : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)
#if QT_VERSION >= 0x050000
    Q_PLUGIN_METADATA(IID DriverInterface_iid)
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

    // Link session. What returns false has left its reason in getLastError().

    /// Opens the link: "CR" is answered by "CC".
    bool startComm(AbstractDeviceInterface* port);
    /// Closes the link: "CQ" is answered by "CF".
    bool endComm(AbstractDeviceInterface* port);
    /// Reads the first four bytes of a reply into `rxBuffer`, which the caller has zero-filled. An
    /// error reply is reported and the link closed; a short count leaves the link as it is.
    ///
    /// buffer  names the area that receives the bytes; it is always `rxBuffer`
    /// count   receives what the port returned
    bool readMinRsp(AbstractDeviceInterface* port, char* buffer, int& count);

    // One attempt at one request, in a link session of its own. Data or true on success; an empty
    // array or false, and the error flag set, on failure.
    QByteArray readBits(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    QByteArray readWords(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    QByteArray readDWords(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    QByteArray readBytes(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    bool writeBit(AbstractDeviceInterface* port, const QByteArray& symbol, int number, bool value);
    bool writeBytes(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                    const QByteArray& data);

private:
    template <typename Attempt>
    auto tryRepeatedly(AbstractDeviceInterface* port, Attempt attempt) -> decltype(attempt());

    QByteArray readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    bool writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                   const QByteArray& data);
    bool writeBits(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                   const QByteArray& data);
    bool sendWrite(AbstractDeviceInterface* port, int length);

    /// Sets the error to `text` followed by `detail`. Returns false, for the caller to hand on.
    bool fail(const char* text, const QString& detail = QString());

    bool exchangeAcknowledge(AbstractDeviceInterface* port, const char* command,
                             const char* expected);
    bool passesAsNoError(const char* reply, const QRegExp& errorPattern);
    bool readExactly(AbstractDeviceInterface* port, char* buffer, int length);

    QByteArray readValues(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                          int unitBytes);
    QByteArray readRun(AbstractDeviceInterface* port, const ReadRequest& request);
    bool readReply(AbstractDeviceInterface* port, const ReadForm& form, int count);
    bool readInTwoSteps(AbstractDeviceInterface* port, int length);
    bool readSingleBit(AbstractDeviceInterface* port);
    const QRegExp& patternOf(ReplyKind kind) const;
    QByteArray nothingRead(const char* text, const QString& address);

    bool errorFlag;
    bool debugMode;
    QString lastError;
    QRegExp bitsRspRegExp;
    QRegExp uint16sRspRegExp;
    QRegExp uint32sRspRegExp;
    QRegExp timerCounterRspRegExp;
    QRegExp errorRspRegExp;
    QRegExp shortErrorRspRegExp;
    std::vector<char> rxBuffer; ///< a reply and the NUL behind it
    std::vector<char> txBuffer; ///< the text of a write command
};

#endif
