#include "drivers/kv1000/replies.h"

#include "drivers/internal/ascii.h"
#include "drivers/kv1000/fourdigits.h"

#include <QtGlobal>

namespace kv1000
{

namespace
{

const int LineEndLength = 2;

quint32 bitAt(const char* text, quint32* bad)
{
    const quint32 bit = static_cast<unsigned char>(*text) ^ 0x30u;
    *bad |= bit & ~1u;
    return bit;
}

quint32 wordAt(const char* text, quint32* bad)
{
    return fourDigits(text, bad) * 10 + oneDigit(text + 4, bad);
}

quint32 value32At(const char* text, quint32* bad)
{
    const quint64 value = quint64(fourDigits(text, bad)) * 1000000 +
                          fourDigits(text + 4, bad) * 100 + oneDigit(text + 8, bad) * 10 +
                          oneDigit(text + 9, bad);
    return static_cast<quint32>(qMin<quint64>(value, 0xFFFFFFFFu));
}

// The items of the replies. Each checks all of its characters and gives one value.

struct BitItem {
    enum { Length = 1, Bytes = 1 };
    static quint32 valueAt(const char* item, quint32* bad) { return bitAt(item, bad); }
};

struct WordItem {
    enum { Length = 5, Bytes = 2 };
    static quint32 valueAt(const char* item, quint32* bad) { return wordAt(item, bad); }
};

struct Value32Item {
    enum { Length = 10, Bytes = 4 };
    static quint32 valueAt(const char* item, quint32* bad) { return value32At(item, bad); }
};

enum TripleField { Contact, CurrentValue, SetValue };

template <TripleField Field>
struct TripleItem {
    enum { Length = 23, Bytes = Field == Contact ? 1 : 4 };
    static quint32 valueAt(const char* item, quint32* bad)
    {
        const quint32 contact = bitAt(item, bad);
        const quint32 current = value32At(item + 2, bad);
        const quint32 set = value32At(item + 13, bad);
        *bad |= (item[1] ^ ',') | (item[12] ^ ',');
        return Field == Contact ? contact : Field == CurrentValue ? current : set;
    }
};

template <int Bytes>
char* put(quint32 value, char* to)
{
    for (int byte = 0; byte < Bytes; ++byte)
        to[byte] = static_cast<char>(value >> (8 * byte));
    return to + Bytes;
}

/// The one loop over a reply.
template <typename Item>
bool convert(const char* reply, int count, char* values)
{
    quint32 bad = 0;
    const char* item = reply;
    for (int left = count; left > 1; --left) {
        values = put<Item::Bytes>(Item::valueAt(item, &bad), values);
        bad |= item[Item::Length] ^ ' ';
        item += Item::Length + 1;
    }
    put<Item::Bytes>(Item::valueAt(item, &bad), values);
    bad |= (item[Item::Length] ^ '\r') | (item[Item::Length + 1] ^ '\n');
    return bad == 0;
}

typedef TripleItem<Contact> ContactItem;
typedef TripleItem<CurrentValue> CurrentValueItem;
typedef TripleItem<SetValue> SetValueItem;

bool KV1000ConvertReadUInt16sRsp(const char* reply, int count, char* values)
{
    return convert<WordItem>(reply, count, values);
}

bool KV1000ConvertReadUInt32sRsp(const char* reply, int count, char* values)
{
    return convert<Value32Item>(reply, count, values);
}

bool KV1000ExtractT_C_CTC_CTH_CurrentValue(const char* reply, int count, char* values)
{
    return convert<CurrentValueItem>(reply, count, values);
}

bool KV1000ExtractTS_CS_PCTC(const char* reply, int count, char* values)
{
    return convert<SetValueItem>(reply, count, values);
}

} // namespace

const ReplyForm BitReply = {BitItem::Length, BitItem::Bytes, convert<BitItem>};
const ReplyForm WordReply = {WordItem::Length, WordItem::Bytes, KV1000ConvertReadUInt16sRsp};
const ReplyForm Value32Reply = {Value32Item::Length, Value32Item::Bytes,
                                KV1000ConvertReadUInt32sRsp};
const ReplyForm ContactReply = {ContactItem::Length, ContactItem::Bytes, convert<ContactItem>};
const ReplyForm CurrentValueReply = {CurrentValueItem::Length, CurrentValueItem::Bytes,
                                     KV1000ExtractT_C_CTC_CTH_CurrentValue};
const ReplyForm SetValueReply = {SetValueItem::Length, SetValueItem::Bytes,
                                 KV1000ExtractTS_CS_PCTC};

bool isErrorReply(const char* reply)
{
    return beginsErrorReply(reply) && reply[3] == '\n';
}

bool beginsErrorReply(const char* reply)
{
    return reply[0] == 'E' && ascii::isDigit(reply[1]) && reply[2] == '\r';
}

int ReplyForm::length(int count) const
{
    return qMax(1, count) * (itemLength + 1) - 1 + LineEndLength;
}

int ReplyForm::capacity(int size) const
{
    const int room = size - 1 - LineEndLength;
    return (room + 1) / (itemLength + 1);
}

} // namespace kv1000
