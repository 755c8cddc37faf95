// A Modbus RTU master as a driver plug-in: holding registers and coils of the stations on a line.
#include "drivers/basicdriver.h"
#include "drivers/crc.h"
#include "drivers/tools.h"
#include "drivers/txpackage.h"

#include <algorithm>

using namespace driverkit;

namespace
{

const int DefaultStation = 1, LastStation = 247;
const int ExceptionFlag = 0x80;
const int ExceptionSize = 5; // no reply is shorter
const int CrcSize = 2;
const int SilenceMs = 5; // 3.5 characters at 9600 baud and faster; slower lines need more

const Identity ModbusIdentity = {
    "Modbus RTU",
    "Modbus",
    "1.0.0",
    {"COM2", 9600, 8, EvenParity, OneStopBit},
    SerialPortDevice,
    {500 /* ms */, 3 /* retries */, DefaultStation, 0 /* ms pause */},
    {1024 /* units of a request */, 1024 /* bits */},
    {Bits | Bytes | Words | DoubleWords | QuadWords,
     Bits | Bytes | Words | DoubleWords | QuadWords},
};

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
const int DevicesOfATable = 65536;

/// The devices that a request, or one frame of it, covers.
struct Run {
    const Table* table;
    int station;
    int first;
    int count;

    int bytes() const { return NumOfBitsToNumOfBytes(0, count * table->bits); }
};

/// The six bytes that a request begins with.
QByteArray requestHead(const Run& run, int function)
{
    return ByteArrayPack("CCnn", run.station, function, run.first, run.count);
}

/// 0 over a frame that ends with its own check.
unsigned short crcOf(const QByteArray& frame)
{
    return update_crc_16_block(0xFFFF, frame.constData(), frame.size());
}

} // namespace

/// Devices are HR0 to HR65535, read and written as numbers, and C0 to C65535, read and written as
/// bits, counted as on the line: HR0 is what some manuals call 40001. A device may be preceded by
/// its station, as in 2:HR100; without one it is the station of the port's setting, or 1.
///
/// Wider units take several registers, the low word first; a byte is half a register, the low half
/// first. A write of an odd number of bytes is padded with a zero.
class DriverModbusRtu : public BasicDriver
{
    Q_OBJECT

public:
    DriverModbusRtu()
        : BasicDriver(ModbusIdentity)
    {
    }

    /// A runtime that knows the station on this port hands it over in `auxValue`.
    bool deviceSettingChanged(const DeviceSetting* setting) override
    {
        const int station = setting ? setting->auxValue : 0;
        m_station = station >= 1 && station <= LastStation ? station : DefaultStation;
        return true;
    }

protected:
    QByteArray readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command) override
    {
        const int width = unitBits(command.dataType);
        Run run;
        if (!locate(command, qint64(command.length) * width, &run))
            return QByteArray();
        QByteArray values;
        RunParts parts(run.count);
        while (!hasError() && parts.more())
            values += readFrame(port, nextFrame(run, &parts, run.table->maxRead, width));
        if (width == 1)
            return ExpandBitsToBytes(values, 0, run.count);
        toLittleEndianUShortArray(values);
        return ToSafeData(command, values);
    }

    bool writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                   const QByteArray& data) override
    {
        const int width = unitBits(command.dataType);
        const int bitsPerByte = std::min(width, 8); // a bit comes as a whole byte
        Run run;
        if (!locate(command, qint64(data.size()) * bitsPerByte, &run))
            return false;
        const QByteArray values = width == 1 ? packedBits(data) : toBigEndianUShortArray(data);
        RunParts parts(run.count);
        while (!hasError() && parts.more()) {
            const Run frame = nextFrame(run, &parts, run.table->maxWrite, width);
            const int done = (frame.first - run.first) * run.table->bits / 8;
            writeFrame(port, frame, values.mid(done, frame.bytes()));
        }
        return !hasError();
    }

private:
    /// Finds the devices that hold `bits` bits from the command's address on.
    bool locate(const CommunicatorCommand& command, qint64 bits, Run* run)
    {
        const Table& table = unitBits(command.dataType) == 1 ? Coils : HoldingRegisters;
        const QByteArray text = command.address.toLatin1();
        const int colon = text.indexOf(':');
        const DeviceText first(text.mid(colon + 1));
        const qint64 station = colon < 0 ? m_station : plainNumber(text.left(colon));
        const qint64 count = devicesFor(bits, table.bits);
        *run = {&table, int(station), int(first.number()), int(count)};
        return (station >= 1 && station <= LastStation &&
                first.hasDevices(table.symbol, count, DevicesOfATable)) ||
               failAddress(command);
    }

    /// The devices of the next frame. No unit, which may be several devices, is cut in two.
    static Run nextFrame(const Run& run, RunParts* parts, int limit, int unitBits)
    {
        parts->next(limit - limit % std::max(1, unitBits / run.table->bits));
        return {run.table, run.station, run.first + int(parts->offset()), parts->count()};
    }

    QByteArray readFrame(AbstractDeviceInterface* port, const Run& run)
    {
        const int function = run.table->readFunction;
        TxPackage request;
        request.appendSection(requestHead(run, function));
        return exchange(port, &request, ByteArrayPack("CCC", run.station, function, run.bytes()),
                        run.bytes());
    }

    void writeFrame(AbstractDeviceInterface* port, const Run& run, const QByteArray& values)
    {
        const QByteArray head = requestHead(run, run.table->writeFunction);
        TxPackage request;
        request.appendSection(head);
        request.appendByte(static_cast<unsigned char>(values.size()));
        request.appendSection(values);
        exchange(port, &request, head, 0);
    }

    static QByteArray packedBits(const QByteArray& data)
    {
        QByteArray bits;
        for (int i = 0; i < data.size(); ++i)
            setBit(bits, i, data.at(i) != 0);
        return bits;
    }

    /// Sends the request, whose check is still missing, and takes its reply apart.
    ///
    /// head        what a good reply begins with
    /// valueBytes  how many bytes follow it, before the check
    /// Returns those bytes; none on failure.
    QByteArray exchange(AbstractDeviceInterface* port, TxPackage* request, const QByteArray& head,
                        int valueBytes)
    {
        request->appendWord(crcOf(request->byteArrayData()));
        HRSleep(SilenceMs);
        Exchange exchange(port, error());
        exchange.ask(request->byteArrayData());

        QByteArray reply(head.size() + valueBytes + CrcSize, '\0');
        const auto restOf = [&](const char* begin) {
            if (begin[1] & ExceptionFlag)
                reply.truncate(ExceptionSize);
            return reply.size() - ExceptionSize;
        };
        const bool good =
            exchange.receiveProbed(reply.data(), ExceptionSize, restOf) && isAnswer(reply, head);
        return good ? reply.mid(head.size(), valueBytes) : QByteArray();
    }

    /// What the code of an exception means is in modbusrtu.json, for the bench to say.
    bool isAnswer(const QByteArray& reply, const QByteArray& head)
    {
        if (crcOf(reply) != 0)
            return fail(errortext::InvalidResponse, ": bad CRC");
        if (reply.startsWith(ByteArrayPack("CC", head.at(0), head.at(1) | ExceptionFlag)))
            return fail(errortext::ErrorReply, QString(" exception %1").arg(reply.at(2) & 0xFF));
        return reply.startsWith(head) ||
               fail(errortext::InvalidResponse, ": not what was asked for");
    }

    int m_station = DefaultStation; ///< of devices that name none
};

PANEL_DRIVER(DriverModbusRtu, "modbusrtu.json")
#include "modbusrtu.moc"
