// A Modbus RTU master as a driver plug-in: holding registers and coils of the stations on a line.
// It opens no port and keeps none; each request brings its own.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/crc.h"
#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "drivers/portoptions.h"
#include "drivers/tools.h"
#include "drivers/txpackage.h"

#include <QObject>
#include <QVariant>

#include <algorithm>

namespace
{

/// What the protocol says of one kind of device.
struct Table {
    const char* symbol;
    int bits; ///< that one device holds
    int readFunction;
    int writeFunction;
    int maxRead; ///< devices in one frame; for coils whole bytes of them
    int maxWrite;
};

const Table Coils = {"C", 1, 0x01, 0x0F, 2000, 1968};
const Table HoldingRegisters = {"HR", 16, 0x03, 0x10, 125, 123};

const int DevicesPerStation = 65536, MaxDigits = 5;
const int DefaultStation = 1, LastStation = 247;
const int BlockAccessSize = 1024;
const int ExceptionFlag = 0x80, ExceptionSize = 5; // no reply is shorter
const int CrcSize = 2;
const int SilenceMs = 5; // 3.5 characters at 9600 baud

/// By the code of the exception.
const char* const ExceptionTexts[] = {"of its own", "illegal function", "illegal data address",
                                      "illegal data value", "device failure"};
const int ExceptionTextCount = sizeof ExceptionTexts / sizeof *ExceptionTexts;

/// The devices that a request, or one frame of it, covers.
struct Run {
    const Table* table;
    int station;
    int first;
    int count;

    int bytes() const { return NumOfBitsToNumOfBytes(0, count * table->bits); }
};

} // namespace

/// Devices are HR0 to HR65535, read and written as numbers, and C0 to C65535, read and written as
/// bits, counted as on the line: HR0 is what some manuals call 40001. In front of a device may
/// stand its station, as in 2:HR100; without one it is the station of the port's setting, or 1.
///
/// Wider units take several registers, the low word first; a byte is half a register, the low half
/// first. Beside the last byte of an odd number of them a zero is written.
class DriverModbusRtu : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)

public:
    QString name() override { return "Modbus RTU"; }
    QString vender() override { return "Modbus"; }
    QString getVersionNumber() override { return "1.0.0"; }
    QObject* getThisObject() override { return this; }

    QString getStringBasedDefaultDriverSetting() override { return "RS232,9600,EVEN,8,1"; }
    DeviceSetting* getDefaultSerialDeviceSetting() override
    {
        return new DeviceSetting(SerialPortDevice, "COM2", 9600, 8, 0 /* one stop */, 2 /* even */);
    }
    DriverSetting* getDefaultDriverSetting() override
    {
        return new DriverSetting(500 /* ms */, 3 /* retries */, DefaultStation, 0 /* ms pause */);
    }
    int supportedCommunicationFlags() override { return SerialPortDevice; }
    int totalSize() override { return BlockAccessSize; }
    int getBlockAccessSize() override { return BlockAccessSize; }
    int getBitBlockAccessSize() override { return BlockAccessSize; }

    bool initialize(AbstractDeviceInterface*) override { return true; }
    bool validation(const QString&) override { return false; }
    void setDebugMode(bool) override {}

    /// A runtime that knows the station on this port hands it over in `auxValue`.
    bool deviceSettingChanged(const DeviceSetting* setting) override
    {
        const int station = setting ? setting->auxValue : 0;
        m_station = station >= 1 && station <= LastStation ? station : DefaultStation;
        return true;
    }

    QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) override
    {
        return tryRepeatedly(port, [&] { return readOnce(port, command); });
    }
    bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
               const QByteArray& data) override
    {
        return tryRepeatedly(port, [&] { return writeOnce(port, command, data); });
    }
    bool hasError() override { return m_failed; }
    QString getLastError() override { return m_lastError; }

private:
    /// Every attempt does the whole request anew; one that leaves no error is the last.
    template <typename Attempt>
    auto tryRepeatedly(AbstractDeviceInterface* port, Attempt attempt) -> decltype(attempt())
    {
        for (int repeats = 0;; ++repeats) {
            HRSleep(std::max(0, port->delay()));
            m_failed = false;
            const auto result = attempt();
            if (!hasError() || repeats >= port->retry())
                return result;
        }
    }

    QByteArray readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command);
    bool writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                   const QByteArray& data);
    bool locate(const CommunicatorCommand& command, qint64 bits, Run* run);
    QByteArray exchange(AbstractDeviceInterface* port, TxPackage* request, const QByteArray& head,
                        int valueBytes);
    bool isAnswer(const QByteArray& reply, const QByteArray& head);
    bool receive(AbstractDeviceInterface* port, char* buffer, int count);

    /// Returns false, for the caller to hand on.
    bool fail(const QString& text)
    {
        m_failed = true;
        m_lastError = text;
        return false;
    }

    int m_station = DefaultStation; ///< of devices that name none
    bool m_failed = false;
    QString m_lastError;

#if QT_VERSION >= 0x050000
    Q_PLUGIN_METADATA(IID DriverInterface_iid)
#endif
};

/// The bits of one unit are the bytes of eight; 0 for a width that does not exist.
static int unitBits(CommunicatorCommand command)
{
    command.length = 8;
    return GetSafeDataLen(command);
}

/// The value of a text of one to five digits, -1 for any other: the 0 that the toolkit gives for
/// what is no number would be another device.
static int plainNumber(const QByteArray& text)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.isEmpty() || text.size() > MaxDigits ||
        !std::all_of(text.begin(), text.end(), isDigit))
        return -1;
    return ExtractPLCDeviceAddress(text, 10);
}

/// Finds the devices that hold `bits` bits from the command's address on.
bool DriverModbusRtu::locate(const CommunicatorCommand& command, qint64 bits, Run* run)
{
    const Table& table = unitBits(command) == 1 ? Coils : HoldingRegisters;
    const QByteArray text = command.address.toLatin1();
    const int colon = text.indexOf(':');
    const QByteArray device = text.mid(colon + 1);
    const QByteArray symbol = ExtractPrefixSymbol(device);
    const int station = colon < 0 ? m_station : plainNumber(text.left(colon));
    const int first = plainNumber(device.mid(symbol.size()));
    const qint64 count = (bits + table.bits - 1) / table.bits;
    *run = {&table, station, first, static_cast<int>(count)};
    return (symbol == table.symbol && station >= 1 && station <= LastStation && first >= 0 &&
            first + count <= DevicesPerStation) ||
           fail("invalid device address: " + command.address);
}

/// The six bytes that a request begins with.
static QByteArray requestHead(const Run& run, int function)
{
    return ByteArrayPack("CCnn", run.station, function, run.first, run.count);
}

/// The parts of a run that a frame of at most `limit` devices can take. No unit, which may be
/// several devices, is cut in two.
static QList<Run> framesOf(const Run& run, int limit, int unitBits)
{
    const int most = limit - limit % std::max(1, unitBits / run.table->bits);
    QList<Run> frames;
    for (int done = 0; done < run.count; done += most)
        frames += Run{run.table, run.station, run.first + done, std::min(most, run.count - done)};
    return frames;
}

QByteArray DriverModbusRtu::readOnce(AbstractDeviceInterface* port,
                                     const CommunicatorCommand& command)
{
    const int width = unitBits(command);
    Run run;
    if (width == 0 || !locate(command, qint64(command.length) * width, &run))
        return QByteArray();

    QByteArray values;
    for (const Run& frame : framesOf(run, run.table->maxRead, width)) {
        const int function = run.table->readFunction;
        TxPackage request;
        request.appendSection(requestHead(frame, function));
        const QByteArray head = ByteArrayPack("CCC", run.station, function, frame.bytes());
        values += exchange(port, &request, head, frame.bytes());
        if (hasError())
            return QByteArray();
    }
    if (width == 1)
        return ExpandBitsToBytes(values, 0, run.count);
    toLittleEndianUShortArray(values);
    return ToSafeData(command, values);
}

bool DriverModbusRtu::writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                                const QByteArray& data)
{
    const int width = unitBits(command);
    const int bitsPerByte = std::min(width, 8); // a bit comes as a whole byte
    Run run;
    if (width == 0 || !locate(command, qint64(data.size()) * bitsPerByte, &run))
        return false;

    QByteArray values;
    if (width == 1) {
        for (int i = 0; i < data.size(); ++i)
            setBit(values, i, data.at(i) != 0);
    } else {
        values = toBigEndianUShortArray(data);
    }
    for (const Run& frame : framesOf(run, run.table->maxWrite, width)) {
        const QByteArray head = requestHead(frame, run.table->writeFunction);
        TxPackage request;
        request.appendSection(head);
        request.appendByte(frame.bytes());
        request.appendSection(values.left(frame.bytes()));
        exchange(port, &request, head, 0);
        if (hasError())
            return false;
        values.remove(0, frame.bytes());
    }
    return true;
}

/// 0 over a frame that ends with its own check.
static unsigned short crcOf(const QByteArray& frame)
{
    unsigned short crc = 0xFFFF;
    for (char c : frame)
        crc = update_crc_16(crc, c);
    return crc;
}

/// Sends the request, whose check is still missing, and takes its reply apart.
///
/// head        what a good reply begins with
/// valueBytes  how many bytes follow it, before the check
/// Returns those bytes; none on failure.
QByteArray DriverModbusRtu::exchange(AbstractDeviceInterface* port, TxPackage* request,
                                     const QByteArray& head, int valueBytes)
{
    request->appendWord(crcOf(request->byteArrayData()));
    HRSleep(SilenceMs);
    port->setOption(DiscardUnreadInput, QVariant(0));
    port->write(request->data(), request->totalSize());

    QByteArray reply(head.size() + valueBytes + CrcSize, '\0');
    if (!receive(port, reply.data(), ExceptionSize))
        return QByteArray();
    if (reply.at(1) & ExceptionFlag)
        reply.truncate(ExceptionSize);
    else if (!receive(port, reply.data() + ExceptionSize, reply.size() - ExceptionSize))
        return QByteArray();
    return isAnswer(reply, head) ? reply.mid(head.size(), valueBytes) : QByteArray();
}

bool DriverModbusRtu::isAnswer(const QByteArray& reply, const QByteArray& head)
{
    if (crcOf(reply) != 0)
        return fail("invalid response: bad CRC");
    if (reply.startsWith(ByteArrayPack("CC", head.at(0), head.at(1) | ExceptionFlag))) {
        const int code = reply.at(2) & 0xFF;
        const char* const text = ExceptionTexts[code < ExceptionTextCount ? code : 0];
        return fail(QString("Response During an Error: exception %1, %2").arg(code).arg(text));
    }
    return reply.startsWith(head) || fail("invalid response: not what was asked for");
}

bool DriverModbusRtu::receive(AbstractDeviceInterface* port, char* buffer, int count)
{
    const int got = port->read(buffer, count);
    return got == count || fail(QString("packet loss: %1 of %2 bytes").arg(got).arg(count));
}

extern "C" Q_DECL_EXPORT DriverInterface* CreateDriver()
{
    return new DriverModbusRtu;
}

#if QT_VERSION < 0x050000
Q_EXPORT_PLUGIN2(modbusrtu, DriverModbusRtu)
#endif

#include "modbusrtu.moc"
