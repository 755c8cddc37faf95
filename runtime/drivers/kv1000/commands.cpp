#include "drivers/kv1000/commands.h"

#include "drivers/kv1000/devices.h"
#include "drivers/kv1000/fourdigits.h"
#include "drivers/parts/exchange.h"
#include "drivers/tools/dataconvert.h"

#include <cstring>

namespace kv1000
{

namespace
{

/// The longest "RDS" command and its NUL.
const int ReadCommandSize = 20;

const char LineEnd[] = "\r\n";

int lengthOfNumber(int number)
{
    int length = number < 0 ? 2 : 1;
    for (; number > 9 || number < -9; number /= 10)
        ++length;
    return length;
}

/// A command text that grows step by step and never beyond its buffer: what has no room is left
/// out whole.
class CommandText
{
public:
    CommandText(char* buffer, int size)
        : m_begin(buffer)
        , m_end(buffer + size)
        , m_at(buffer)
    {
    }

    int length() const { return static_cast<int>(m_at - m_begin); }

    CommandText& append(const char* text, int length)
    {
        if (hasRoom(length)) {
            std::memcpy(m_at, text, static_cast<size_t>(length));
            m_at += length;
        }
        return *this;
    }

    CommandText& append(const char* text)
    {
        return append(text, static_cast<int>(std::strlen(text)));
    }

    /// In decimal with at least `width` characters, the sign among them, zeros before the digits.
    CommandText& appendNumber(int number, int width = 1)
    {
        const int length = qMax(width, lengthOfNumber(number));
        if (!hasRoom(length))
            return *this;
        char* place = m_at + length;
        for (int rest = number; place > m_at; rest /= 10)
            *--place = static_cast<char>('0' + qAbs(rest % 10));
        if (number < 0)
            *m_at = '-';
        m_at += length;
        return *this;
    }

    /// Lengthens the text, for the caller to fill in. Returns where; null without room for it.
    char* grow(int length)
    {
        if (!hasRoom(length))
            return nullptr;
        m_at += length;
        return m_at - length;
    }

private:
    bool hasRoom(int length) const { return m_end - m_at >= length; }

    char* m_begin;
    char* m_end;
    char* m_at;
};

// The values of the commands. Each puts a blank and its digits.

struct WordItem {
    enum { Bytes = 2, Length = 6 };
    static void put(char* to, const unsigned char* from)
    {
        const quint32 word = static_cast<quint32>(from[0] | from[1] << 8);
        to[0] = ' ';
        to[1] = static_cast<char>('0' + word / 10000);
        putFourDigits(to + 2, word % 10000);
    }
};

struct Value32Item {
    enum { Bytes = 4, Length = 11 };
    static void put(char* to, const unsigned char* from)
    {
        const quint32 value =
            from[0] | quint32(from[1]) << 8 | quint32(from[2]) << 16 | quint32(from[3]) << 24;
        const quint32 upper = value / 10000;
        const quint32 top = upper / 10000;
        to[0] = ' ';
        to[1] = static_cast<char>('0' + top / 10);
        to[2] = static_cast<char>('0' + top % 10);
        putFourDigits(to + 3, upper % 10000);
        putFourDigits(to + 7, value % 10000);
    }
};

template <typename Item>
int packWrite(char* buffer, int size, const Device& first, const char* values, int count)
{
    CommandText command(buffer, size);
    command.append(first.area->command)
        .append(" ", 1)
        .append(first.wire, first.wireLength)
        .append(" ", 1)
        .appendNumber(count);
    const unsigned char* from = reinterpret_cast<const unsigned char*>(values);
    char* to = command.grow(Item::Length * count);
    for (int i = 0; to && i < count; ++i, to += Item::Length, from += Item::Bytes)
        Item::put(to, from);
    return command.append(LineEnd, 2).length();
}

int KV1000PackWriteContinuousUInt16sCmd(char* buffer, int size, const Device& first,
                                        const char* values, int count)
{
    return packWrite<WordItem>(buffer, size, first, values, count);
}

int KV1000PackWriteContinuousUInt32sCmd(char* buffer, int size, const Device& first,
                                        const char* values, int count)
{
    return packWrite<Value32Item>(buffer, size, first, values, count);
}

} // namespace

bool readCommandFits(const Device& first, int count)
{
    const int fixed =
        static_cast<int>(std::strlen("RDS ") + std::strlen(" ") + std::strlen(LineEnd));
    return fixed + first.wireLength + lengthOfNumber(count) < ReadCommandSize;
}

int formatBitCommand(char* buffer, int size, const Area& area, int number, bool value)
{
    if (area.bits == NoBits)
        return 0;
    CommandText command(buffer, size);
    command.append(value ? "ST " : "RS ", 3)
        .append(area.bitSymbol)
        .appendNumber(number, area.bitDigits)
        .append(LineEnd, 2);
    return command.length();
}

const WriteForm WordWrite = {WordItem::Bytes, WordItem::Length, To16bitsData,
                             KV1000PackWriteContinuousUInt16sCmd};
const WriteForm Value32Write = {Value32Item::Bytes, Value32Item::Length, To32bitsData,
                                KV1000PackWriteContinuousUInt32sCmd};

int WriteForm::capacity(int size, const Device& first) const
{
    const int fixed =
        static_cast<int>(std::strlen("WRS ") + std::strlen(" ") + std::strlen(LineEnd));
    const int room = size - 1 - fixed - first.wireLength;
    // The count takes room of its own: a digit more of it may cost a value.
    int count = room / valueLength;
    while (lengthOfNumber(count) + count * valueLength > room)
        --count;
    return count;
}

} // namespace kv1000

using kv1000::CommandText;

void KV1000SendContinuousReadDataCmd(driverkit::Exchange& exchange, const kv1000::Device& first,
                                     int count)
{
    char buffer[kv1000::ReadCommandSize];
    CommandText command(buffer, sizeof buffer);
    command.append("RDS ", 4)
        .append(first.wire, first.wireLength)
        .append(" ", 1)
        .appendNumber(count)
        .append(kv1000::LineEnd, 2);
    exchange.ask(buffer, command.length());
}
