#include "drivers/kv1000/commands.h"

#include "drivers/kv1000/devices.h"
#include "drivers/kv1000/digits.h"
#include "drivers/parts/exchange.h"

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

enum { WordLength = 6, Value32Length = 11 }; // a blank and the digits

/// Writes a blank and five digits.
void putWord(char* to, quint32 word)
{
    to[0] = ' ';
    to[1] = static_cast<char>('0' + word / 10000);
    putFourDigits(to + 2, word % 10000);
}

/// Writes a blank and ten digits.
void putValue32(char* to, quint32 value)
{
    const quint32 upper = value / 10000;
    const quint32 top = upper / 10000;
    to[0] = ' ';
    to[1] = static_cast<char>('0' + top / 10);
    to[2] = static_cast<char>('0' + top % 10);
    putFourDigits(to + 3, upper % 10000);
    putFourDigits(to + 7, value % 10000);
}

CommandText writeCommand(char* buffer, int size, const Device& first, int count)
{
    CommandText command(buffer, size);
    command.append(first.area->command)
        .append(" ", 1)
        .append(first.wire, first.wireLength)
        .append(" ", 1)
        .appendNumber(count);
    return command;
}

} // namespace

bool readCommandFits(const Device& first, int count)
{
    const int fixed =
        static_cast<int>(std::strlen("RDS ") + std::strlen(" ") + std::strlen(LineEnd));
    return fixed + first.wireLength + lengthOfNumber(count) < ReadCommandSize;
}

int formatBitCommand(char* buffer, int size, const char* symbol, int number, bool value)
{
    const Area& area = areaOf(symbol);
    if (area.bits == NoBits)
        return 0;
    CommandText command(buffer, size);
    command.append(value ? "ST " : "RS ", 3)
        .append(area.bitSymbol)
        .appendNumber(number, area.bitDigits)
        .append(LineEnd, 2);
    return command.length();
}

int writeCapacity(int size, const Device& first, int valueBytes)
{
    const int valueLength = valueBytes == 2 ? WordLength : Value32Length;
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

int KV1000PackWriteContinuousUInt16sCmd(char* buffer, int size, const kv1000::Device& first,
                                        const char* values, int count)
{
    CommandText command = kv1000::writeCommand(buffer, size, first, count);
    const unsigned char* from = reinterpret_cast<const unsigned char*>(values);
    char* to = command.grow(kv1000::WordLength * count);
    for (int i = 0; to && i < count; ++i, to += kv1000::WordLength, from += 2)
        kv1000::putWord(to, static_cast<quint32>(from[0] | from[1] << 8));
    return command.append(kv1000::LineEnd, 2).length();
}

int KV1000PackWriteContinuousUInt32sCmd(char* buffer, int size, const kv1000::Device& first,
                                        const char* values, int count)
{
    CommandText command = kv1000::writeCommand(buffer, size, first, count);
    const unsigned char* from = reinterpret_cast<const unsigned char*>(values);
    char* to = command.grow(kv1000::Value32Length * count);
    for (int i = 0; to && i < count; ++i, to += kv1000::Value32Length, from += 4)
        kv1000::putValue32(to, from[0] | quint32(from[1]) << 8 | quint32(from[2]) << 16 |
                                   quint32(from[3]) << 24);
    return command.append(kv1000::LineEnd, 2).length();
}
