// Writes: bits one by one, each in a link session of its own; values in one "WRS" or "WSS" command,
// or several where one would not fit its buffer, in one session.
#include "drivers/errortexts.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/kv1000/commands.h"
#include "drivers/kv1000/devices.h"
#include "drivers/kv1000/kv1000.h"
#include "drivers/kv1000/replies.h"
#include "drivers/tools.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace
{

/// What a write makes of the width of an area's values.
struct ValueWrite {
    int valueBytes;
    QByteArray (*padded)(const QByteArray& data);
    int (*pack)(char* buffer, int size, const char* device, const QByteArray& data);
};

const ValueWrite WordWrite = {2, To16bitsData, KV1000PackWriteContinuousUInt16sCmd};
const ValueWrite Value32Write = {4, To32bitsData, KV1000PackWriteContinuousUInt32sCmd};

} // namespace

bool DriverKV1000::writeBits(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                             const QByteArray& data)
{
    if (data.isEmpty())
        return true;

    const QByteArray address = qtcompat::toAscii(command.address);
    const QByteArray symbol = ExtractPrefixSymbol(address);
    const int first = ExtractPLCDeviceAddress(address, 10);
    const DeviceNumbering numbering = bitWriteNumbering(address);
    if (!hasPlainNumber(address) || numberBehind(first, data.size() - 1, numbering) > INT_MAX)
        return fail(errortext::InvalidAddress, command.address);

    for (int i = 0; i < data.size(); ++i) {
        const int number = static_cast<int>(numberBehind(first, i, numbering));
        if (!writeBit(port, symbol, number, data.at(i) != 0))
            return false;
    }
    return true;
}

bool DriverKV1000::writeBit(AbstractDeviceInterface* port, const QByteArray& symbol, int number,
                            bool value)
{
    if (!startComm(port))
        return false;
    const int length =
        formatBitCommand(txBuffer.data(), static_cast<int>(txBuffer.size()), symbol, number, value);
    if (length == 0)
        return fail(errortext::CantWriteBit,
                    qtcompat::fromAscii(symbol.constData()) + QString::number(number));
    if (!sendWrite(port, length))
        return false;
    // Setting a bit is believed only when the controller says so.
    if (std::memcmp(rxBuffer.data(), DoneReply, ShortReplyLength) != 0)
        return fail(errortext::InvalidResponse);
    return endComm(port);
}

bool DriverKV1000::writeBytes(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                              const QByteArray& data)
{
    const QByteArray address = qtcompat::toAscii(command.address);
    if (isHighSpeedComparator(address))
        return fail(errortext::CantWriteWord, command.address);
    if (!deviceTextFits(address))
        return fail(errortext::InvalidAddress, command.address);

    const ValueWrite& form = KV1000UInt16DeviceType(address) ? WordWrite : Value32Write;
    const QByteArray values = form.padded(data);
    const int bufferSize = static_cast<int>(txBuffer.size());
    const QList<DevicePart> parts = splitRun(
        wordCommandDevice(address), values.size() / form.valueBytes, RunOfValues,
        [&](const QByteArray& start) { return writeCapacity(bufferSize, start, form.valueBytes); });
    if (parts.isEmpty())
        return fail(errortext::InvalidAddress, command.address);

    if (!startComm(port))
        return false;
    int done = 0;
    for (const DevicePart& part : parts) {
        const int size = part.count * form.valueBytes;
        if (!sendWrite(port, form.pack(txBuffer.data(), bufferSize, part.device.constData(),
                                       values.mid(done, size))))
            return false;
        done += size;
    }
    return endComm(port);
}

/// Sends the command in `txBuffer` and reads its four-byte reply into `rxBuffer`. An error reply is
/// reported and the link closed.
bool DriverKV1000::sendWrite(AbstractDeviceInterface* port, int length)
{
    sendCommand(port, txBuffer.data(), length);
    std::fill_n(rxBuffer.begin(), ShortReplyLength + 1, '\0');
    int count = 0;
    return readMinRsp(port, rxBuffer.data(), count);
}
