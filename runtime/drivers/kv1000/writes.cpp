// Writes: bits one by one, each in a link session of its own; values in one "WRS" or "WSS" command,
// or several where one would not fit its buffer, in one session.
#include "drivers/errortexts.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/kv1000/commands.h"
#include "drivers/kv1000/devices.h"
#include "drivers/kv1000/kv1000.h"
#include "drivers/kv1000/replies.h"
#include "drivers/parts/exchange.h"
#include "drivers/tools.h"

#include <algorithm>
#include <climits>
#include <cstring>

using namespace kv1000;

bool DriverKV1000::writeBits(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                             const QByteArray& data)
{
    if (data.isEmpty())
        return true;

    const QByteArray address = qtcompat::toAscii(command.address);
    const QByteArray symbol = ExtractPrefixSymbol(address);
    const int first = ExtractPLCDeviceAddress(address, 10);
    const driverkit::Numbering numbering = bitWriteNumbering(areaOf(address.constData()));
    // The conversion calls a malformed number, or one beyond an int, 0: the wrong bit would be set.
    if ((first == 0 && !isNumberZero(address)) ||
        driverkit::numberAfter(first, data.size() - 1, numbering) > INT_MAX)
        return m_error.fail(errortext::InvalidAddress, command.address);

    for (int i = 0; i < data.size(); ++i) {
        const int number = static_cast<int>(driverkit::numberAfter(first, i, numbering));
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
    const Area& area = areaOf(symbol.constData());
    const int length =
        formatBitCommand(txBuffer.data(), static_cast<int>(txBuffer.size()), area, number, value);
    if (length == 0)
        return m_error.fail(errortext::CantWriteBit,
                            qtcompat::fromAscii(symbol.constData()) + QString::number(number));
    if (!sendWrite(port, length))
        return false;
    // Setting a bit is believed only when the controller says so.
    if (std::memcmp(rxBuffer.data(), DoneReply, ShortReplyLength) != 0)
        return m_error.fail(errortext::InvalidResponse);
    return endComm(port);
}

bool DriverKV1000::writeBytes(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                              const QByteArray& data)
{
    const Device device(qtcompat::toAscii(command.address));
    if (isHighSpeedComparator(*device.area))
        return m_error.fail(errortext::CantWriteWord, command.address);
    if (!device.fits())
        return m_error.fail(errortext::InvalidAddress, command.address);

    const Device first = valueDevice(device);
    const WriteForm& form = first.holds == Word ? WordWrite : Value32Write;
    const QByteArray values = form.pad(data);
    const DeviceRun run(first, values.size() / form.valueBytes, RunOfValues);
    const int bufferSize = static_cast<int>(txBuffer.size());
    if (run.count() > form.capacity(bufferSize, first) && !run.canBeCut())
        return m_error.fail(errortext::InvalidAddress, command.address);

    if (!startComm(port))
        return false;
    driverkit::RunParts parts(run.count());
    while (parts.more()) {
        const Device start = run.at(parts.end());
        parts.next(form.capacity(bufferSize, start));
        const char* from = values.constData() + parts.offset() * form.valueBytes;
        if (!sendWrite(port, form.format(txBuffer.data(), bufferSize, start, from, parts.count())))
            return false;
    }
    return endComm(port);
}

/// Sends the command in `txBuffer` and reads its four-byte reply into `rxBuffer`. An error reply is
/// reported and the link closed.
bool DriverKV1000::sendWrite(AbstractDeviceInterface* port, int length)
{
    exchangeOver(port).send(txBuffer.data(), length);
    std::fill_n(rxBuffer.begin(), ShortReplyLength + 1, '\0');
    int count = 0;
    return readMinRsp(port, rxBuffer.data(), count);
}
