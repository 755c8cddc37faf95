// Reads of every width: one "RDS" command, or several where one reply would not fit, in one link
// session. How commands are spelled and replies laid out stands in commands.cpp and replies.cpp.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/kv1000/commands.h"
#include "drivers/kv1000/devices.h"
#include "drivers/kv1000/kv1000.h"
#include "drivers/kv1000/replies.h"

#include <algorithm>

/// How a read is answered and what becomes of the answer.
struct ReadForm {
    ReplyKind reply;
    int itemBytes; ///< what one item of the reply gives
    const char* mismatchText;
    QByteArray (*convert)(char* reply, int count);
};

/// A read that nothing speaks against yet.
struct ReadRequest {
    QString address;   ///< as the request gave it
    QByteArray device; ///< what the commands name
    qint64 bytes;      ///< what the caller wants of the converted items
    RunUnit unit;
    ReadForm form;
};

namespace
{

// What the texts add to "invalid response" depends on width and area alone.
const char InvalidResponse1[] = "invalid response1";
const char InvalidResponse2[] = "invalid response2";
const char InvalidResponse3[] = "invalid response3";
const char InvalidResponseColon[] = "invalid response:";

enum UnitBytes { ByteUnit = 1, WordUnit = 2, DWordUnit = 4 };

const ReadForm BitRead = {BitsReply, 1, InvalidResponse2, KV1000ConvertReadBitsRsp};
const ReadForm ContactRead = {TriplesReply, 1, InvalidResponse3, KV1000ConvertReadContactsRsp};

/// Each width meets each area in the area's own form; what is asked for is cut from that.
// clang-format off
const struct ValueRead {
    int unitBytes;
    DeviceArea area;
    ReadForm form;
} ValueReads[] = {
    {WordUnit,  WordArea,         {WordsReply,   2, errortext::InvalidResponse,      KV1000ConvertReadUInt16sRsp}},
    {WordUnit,  Value32Area,      {Value32Reply, 4, errortext::InvalidResponse,      KV1000ConvertReadUInt32sRsp}},
    {WordUnit,  TimerCounterArea, {TriplesReply, 4, errortext::InvalidResponse,      KV1000ExtractT_C_CTC_CTH_CurrentValue}},
    {DWordUnit, WordArea,         {WordsReply,   2, InvalidResponse1,     KV1000ConvertReadUInt16sRsp}},
    {DWordUnit, Value32Area,      {Value32Reply, 4, InvalidResponse2,     KV1000ConvertReadUInt32sRsp}},
    {DWordUnit, TimerCounterArea, {TriplesReply, 4, InvalidResponse3,     KV1000ExtractT_C_CTC_CTH_CurrentValue}},
    {ByteUnit,  WordArea,         {WordsReply,   2, InvalidResponseColon, KV1000ConvertReadUInt16sRsp}},
    {ByteUnit,  Value32Area,      {Value32Reply, 4, errortext::InvalidResponse,      KV1000ConvertReadUInt32sRsp}},
    {ByteUnit,  TimerCounterArea, {TriplesReply, 4, errortext::InvalidResponse,      KV1000ExtractT_C_CTC_CTH_CurrentValue}},
};
// clang-format on

const ValueRead* findValueRead(int unitBytes, DeviceArea area)
{
    for (const ValueRead& row : ValueReads)
        if (row.unitBytes == unitBytes && row.area == area)
            return &row;
    return nullptr;
}

/// `value` / `divisor` rounded up, for negative values too.
qint64 quotientRoundedUp(qint64 value, qint64 divisor)
{
    return value / divisor + (value % divisor > 0 ? 1 : 0);
}

/// The parts that the commands of a request ask for; none when it can't be read.
QList<DevicePart> planRead(const ReadRequest& request, int bufferSize)
{
    const QList<DevicePart> nothing;
    if (!deviceTextFits(request.device))
        return nothing;
    const int capacity = replyCapacity(request.form.reply, bufferSize);
    const QList<DevicePart> parts =
        splitRun(request.device, quotientRoundedUp(request.bytes, request.form.itemBytes),
                 request.unit, [capacity](const QByteArray&) { return capacity; });
    for (const DevicePart& part : parts)
        if (!readCommandFits(part.device, part.count))
            return nothing;
    return parts;
}

} // namespace

QByteArray DriverKV1000::readBits(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    const QByteArray device = qtcompat::toAscii(command.address);
    const ReadForm& form = isContactDevice(device) ? ContactRead : BitRead;
    return readRun(port, {command.address, device, command.length, RunOfBits, form});
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
    const QByteArray device = qtcompat::toAscii(command.address);
    if (!deviceTextFits(device))
        return nothingRead(errortext::InvalidAddress, command.address);
    const ValueRead* row = findValueRead(unitBytes, areaOf(device));
    if (!row)
        return nothingRead(errortext::CantReadWord, command.address);

    ReadRequest request = {command.address, wordCommandDevice(device),
                           qint64(command.length) * unitBytes, RunOfValues, row->form};
    if (isSetValueDevice(device))
        request.form.convert = KV1000ExtractTS_CS_PCTC;
    return readRun(port, request);
}

/// The one way of every read: open, ask for part after part, close, and only then hand out what
/// came.
QByteArray DriverKV1000::readRun(AbstractDeviceInterface* port, const ReadRequest& request)
{
    const QList<DevicePart> parts = planRead(request, static_cast<int>(rxBuffer.size()));
    if (parts.isEmpty())
        return nothingRead(errortext::InvalidAddress, request.address);

    if (!startComm(port))
        return QByteArray();
    QByteArray data;
    for (const DevicePart& part : parts) {
        KV1000SendContinuousReadDataCmd(port, part.device, part.count);
        if (!readReply(port, request.form, part.count))
            return QByteArray();
        data += request.form.convert(rxBuffer.data(), part.count);
    }
    if (!endComm(port))
        return QByteArray();

    data.truncate(static_cast<int>(qMax<qint64>(0, request.bytes)));
    return data;
}

/// Reads one data reply into `rxBuffer` and tests it. After a lost or misshapen reply the link
/// stays as it is: nobody knows where the controller stands, and the next open brings it back in
/// step.
bool DriverKV1000::readReply(AbstractDeviceInterface* port, const ReadForm& form, int count)
{
    const int length = replyLength(form.reply, count);
    std::fill_n(rxBuffer.begin(), qMax(length, ShortReplyLength) + 1, '\0');
    const bool arrived =
        length < ShortReplyLength ? readSingleBit(port) : readInTwoSteps(port, length);
    if (!arrived)
        return false;

    // A NUL inside would hide what stands behind it; such a text is too short.
    const QString reply = qtcompat::fromAscii(rxBuffer.data());
    return (reply.size() == length && patternOf(form.reply).exactMatch(reply)) ||
           fail(form.mismatchText);
}

bool DriverKV1000::readInTwoSteps(AbstractDeviceInterface* port, int length)
{
    int count = 0;
    return readMinRsp(port, rxBuffer.data(), count) &&
           readExactly(port, rxBuffer.data() + count, length - count);
}

/// The reply of a single bit is shorter than an error reply, which is then known by its first three
/// bytes; its line feed is fetched so that it is not taken for the start of the next reply.
bool DriverKV1000::readSingleBit(AbstractDeviceInterface* port)
{
    const int length = replyLength(BitsReply, 1);
    char* reply = rxBuffer.data();
    if (!readExactly(port, reply, length))
        return false;
    if (passesAsNoError(reply, shortErrorRspRegExp))
        return true;
    port->read(reply + length, ShortReplyLength - length);
    endComm(port);
    return false;
}

const QRegExp& DriverKV1000::patternOf(ReplyKind kind) const
{
    switch (kind) {
    case BitsReply:
        return bitsRspRegExp;
    case WordsReply:
        return uint16sRspRegExp;
    case Value32Reply:
        return uint32sRspRegExp;
    case TriplesReply:
        break;
    }
    return timerCounterRspRegExp;
}

QByteArray DriverKV1000::nothingRead(const char* text, const QString& address)
{
    fail(text, address);
    return QByteArray();
}
