// Every text that comes back from the controller. It knows no port.
#include "drivers/kv1000/replies.h"

#include <QtGlobal>

namespace
{

const int LineEndLength = 2;

/// Item length by ReplyKind.
const int ItemLengths[] = {1, 5, 10, 23};

/// From the start of one item to the start of the next: the item and its blank.
int stride(ReplyKind kind)
{
    return ItemLengths[kind] + 1;
}

/// A decimal number inside an item.
struct Field {
    int offset;
    int digits;
    int bytes; ///< how many bytes the value takes in the result
};

const Field Bit = {0, 1, 1};
const Field Word = {0, 5, 2};
const Field Value32 = {0, 10, 4};
const Field Contact = {0, 1, 1};
const Field CurrentValue = {2, 10, 4};
const Field SetValue = {13, 10, 4};

/// Ten digits may say more than 32 bits hold; the panel's own conversion stops at the largest
/// value.
quint32 decimal(const char* text, int digits)
{
    quint64 value = 0;
    for (int i = 0; i < digits; ++i)
        value = value * 10 + static_cast<quint64>(text[i] - '0');
    return static_cast<quint32>(qMin<quint64>(value, 0xFFFFFFFFu));
}

QByteArray collect(const char* reply, int count, ReplyKind kind, const Field& field)
{
    QByteArray data;
    data.reserve(qMax(0, count) * field.bytes);
    for (int i = 0; i < count; ++i) {
        const quint32 value = decimal(reply + i * stride(kind) + field.offset, field.digits);
        for (int byte = 0; byte < field.bytes; ++byte)
            data.append(static_cast<char>(value >> (8 * byte)));
    }
    return data;
}

} // namespace

int replyLength(ReplyKind kind, int count)
{
    return qMax(1, count) * stride(kind) - 1 + LineEndLength;
}

int replyCapacity(ReplyKind kind, int size)
{
    const int room = size - 1 - LineEndLength;
    return (room + 1) / stride(kind);
}

QByteArray KV1000ConvertReadBitsRsp(char* reply, int count)
{
    return collect(reply, count, BitsReply, Bit);
}

QByteArray KV1000ConvertReadContactsRsp(char* reply, int count)
{
    return collect(reply, count, TriplesReply, Contact);
}

QByteArray KV1000ConvertReadUInt16sRsp(char* reply, int count)
{
    return collect(reply, count, WordsReply, Word);
}

QByteArray KV1000ConvertReadUInt32sRsp(char* reply, int count)
{
    return collect(reply, count, Value32Reply, Value32);
}

QByteArray KV1000ExtractTS_CS_PCTC(char* reply, int count)
{
    return collect(reply, count, TriplesReply, SetValue);
}

QByteArray KV1000ExtractT_C_CTC_CTH_CurrentValue(char* reply, int count)
{
    return collect(reply, count, TriplesReply, CurrentValue);
}
