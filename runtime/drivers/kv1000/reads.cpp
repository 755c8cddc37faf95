// Reads of every width: one "RDS" command, or several where one reply would not fit, in one link
// session. How commands are spelled and replies laid out is in commands.cpp and replies.cpp.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/kv1000/commands.h"
#include "drivers/kv1000/devices.h"
#include "drivers/kv1000/kv1000.h"
#include "drivers/kv1000/replies.h"
#include "drivers/parts/exchange.h"

#include <algorithm>

namespace kv1000
{

/// A read to be done: the run of devices, the form of its replies, and how much of them is wanted.
/// readRun() checks whether its commands can be sent.
struct ReadRequest {
    const QString& address; ///< as the request gave it
    DeviceRun run;
    const ReplyForm* form;
    const char* mismatchText; ///< for a reply that is not of this form
    qint64 bytes;             ///< that the caller needs of the converted items
};

namespace
{

// What the texts add to "invalid response" depends on width and area alone.
const char InvalidResponse1[] = "invalid response1";
const char InvalidResponse2[] = "invalid response2";
const char InvalidResponse3[] = "invalid response3";
const char InvalidResponseColon[] = "invalid response:";

enum UnitBytes { ByteUnit = 1, WordUnit = 2, DWordUnit = 4 };

/// Each width meets each kind of device in the device's own form; what is asked for is cut from
/// that.
// clang-format off
const struct ValueRead {
    int unitBytes;
    Holds holds;
    const ReplyForm* form;
    const char* mismatchText;
} ValueReads[] = {
    {WordUnit,  Word,    &WordReply,         errortext::InvalidResponse},
    {WordUnit,  Value32, &Value32Reply,      errortext::InvalidResponse},
    {WordUnit,  Counter, &CurrentValueReply, errortext::InvalidResponse},
    {DWordUnit, Word,    &WordReply,         InvalidResponse1},
    {DWordUnit, Value32, &Value32Reply,      InvalidResponse2},
    {DWordUnit, Counter, &CurrentValueReply, InvalidResponse3},
    {ByteUnit,  Word,    &WordReply,         InvalidResponseColon},
    {ByteUnit,  Value32, &Value32Reply,      errortext::InvalidResponse},
    {ByteUnit,  Counter, &CurrentValueReply, errortext::InvalidResponse},
};
// clang-format on

const ValueRead* findValueRead(int unitBytes, Holds holds)
{
    for (const ValueRead& row : ValueReads)
        if (row.unitBytes == unitBytes && row.holds == holds)
            return &row;
    return nullptr;
}

/// `value` / `divisor` rounded up, for negative values too.
qint64 quotientRoundedUp(qint64 value, qint64 divisor)
{
    return value / divisor + (value % divisor > 0 ? 1 : 0);
}

/// Whether each part of the run can be asked for.
bool canBeAsked(const DeviceRun& run, int capacity)
{
    if (!run.at(0).fits() || (run.count() > capacity && !run.canBeCut()))
        return false;
    driverkit::RunParts parts(run.count());
    while (parts.more()) {
        parts.next(capacity);
        if (!readCommandFits(run.at(parts.offset()), parts.count()))
            return false;
    }
    return true;
}

} // namespace

} // namespace kv1000

using namespace kv1000;

QByteArray DriverKV1000::readBits(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    const Device device(qtcompat::toAscii(command.address));
    const bool contacts = device.readsContacts();
    return readRun(port, {command.address, DeviceRun(device, command.length, RunOfBits),
                          contacts ? &ContactReply : &BitReply,
                          contacts ? InvalidResponse3 : InvalidResponse2, command.length});
}

QByteArray DriverKV1000::readWords(AbstractDeviceInterface* port,
                                   const CommunicatorCommand& command)
{
    return readValues(port, command, WordUnit);
}

QByteArray DriverKV1000::readDWords(AbstractDeviceInterface* port,
                                    const CommunicatorCommand& command)
{
    return readValues(port, command, DWordUnit);
}

QByteArray DriverKV1000::readBytes(AbstractDeviceInterface* port,
                                   const CommunicatorCommand& command)
{
    return readValues(port, command, ByteUnit);
}

QByteArray DriverKV1000::readValues(AbstractDeviceInterface* port,
                                    const CommunicatorCommand& command, int unitBytes)
{
    const Device device(qtcompat::toAscii(command.address));
    if (!device.fits())
        return nothingRead(errortext::InvalidAddress, command.address);
    const ValueRead* row = findValueRead(unitBytes, device.holds);
    if (!row)
        return nothingRead(errortext::CantReadWord, command.address);

    const ReplyForm* form = device.area->isSetValue ? &SetValueReply : row->form;
    const qint64 bytes = qint64(command.length) * unitBytes;
    return readRun(port, {command.address,
                          DeviceRun(valueDevice(device), quotientRoundedUp(bytes, form->itemBytes),
                                    RunOfValues),
                          form, row->mismatchText, bytes});
}

/// The one way of every read: open, ask for part after part, close, and only then hand out what
/// came.
QByteArray DriverKV1000::readRun(AbstractDeviceInterface* port, const ReadRequest& request)
{
    const ReplyForm& form = *request.form;
    const int capacity = form.capacity(static_cast<int>(rxBuffer.size()));
    if (!canBeAsked(request.run, capacity))
        return nothingRead(errortext::InvalidAddress, request.address);

    if (!startComm(port))
        return QByteArray();
    driverkit::Exchange exchange = exchangeOver(port);
    QByteArray data;
    driverkit::RunParts parts(request.run.count());
    while (parts.more()) {
        parts.next(capacity);
        KV1000SendContinuousReadDataCmd(exchange, request.run.at(parts.offset()), parts.count());
        if (!readReply(port, form.length(parts.count())))
            return QByteArray();
        const int had = data.size();
        data.resize(had + qMax(1, parts.count()) * form.itemBytes);
        if (!form.convert(rxBuffer.data(), parts.count(), data.data() + had))
            return nothingRead(request.mismatchText);
    }
    if (!endComm(port))
        return QByteArray();

    data.truncate(static_cast<int>(qMax<qint64>(0, request.bytes)));
    return data;
}

/// Reads one data reply into `rxBuffer`. After a lost reply the link stays as it is: the state of
/// the controller is unknown, and the next open brings it back in sync.
bool DriverKV1000::readReply(AbstractDeviceInterface* port, int length)
{
    std::fill_n(rxBuffer.begin(), qMax<int>(length, ShortReplyLength) + 1, '\0');
    if (length < ShortReplyLength)
        return readSingleBit(port);
    int count = 0;
    return readMinRsp(port, rxBuffer.data(), count) &&
           exchangeOver(port).receive(rxBuffer.data() + count, length - count);
}

/// The reply of a single bit is shorter than an error reply, which is then known by its first three
/// bytes; its line feed is fetched so that it is not mistaken for the start of the next reply.
bool DriverKV1000::readSingleBit(AbstractDeviceInterface* port)
{
    const int length = BitReply.length(1);
    char* reply = rxBuffer.data();
    if (!exchangeOver(port).receive(reply, length))
        return false;
    if (!beginsErrorReply(reply))
        return true;
    failWithReply(reply);
    port->read(reply + length, ShortReplyLength - length);
    endComm(port);
    return false;
}

QByteArray DriverKV1000::nothingRead(const char* text, const QString& detail)
{
    m_error.fail(text, detail);
    return QByteArray();
}
