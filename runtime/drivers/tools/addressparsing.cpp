// Symbol and number of a device text. Neither looks at where the other ends.
#include "drivers/tools/addressparsing.h"

#include "drivers/internal/ascii.h"
#include "drivers/internal/qtcompat.h"

#include <cctype>
#include <climits>

namespace
{

bool isSymbolCharacter(char c)
{
    return c == '_' || std::isalpha(static_cast<unsigned char>(c));
}

bool isDigitOf(int base, char c)
{
    const int value = ascii::digitValue(c);
    return value != ascii::NoDigit && value < base;
}

/// The position of the first digit of the base, the text's length when it has none.
int startOfNumber(const QByteArray& text, int base)
{
    int start = 0;
    while (start < text.size() && !isDigitOf(base, text.at(start)))
        ++start;
    return start;
}

/// Hexadecimal numbers may begin with 0x, which is no part of their value.
bool hasHexPrefix(const QByteArray& text, int start)
{
    return start + 1 < text.size() && text.at(start) == '0' &&
           (text.at(start + 1) == 'x' || text.at(start + 1) == 'X');
}

/// The number that runs from `start` to the end of the text; 0 when anything else is there or
/// when it does not fit an int. QByteArray::toInt would do, but the one of Qt 5 passes over blanks
/// at the end and stops at a zero byte.
int numberFrom(const QByteArray& text, int start, int base)
{
    qint64 number = 0;
    for (int i = start; i < text.size(); ++i) {
        if (!isDigitOf(base, text.at(i)))
            return 0;
        number = number * base + ascii::digitValue(text.at(i));
        if (number > INT_MAX)
            return 0;
    }
    return static_cast<int>(number);
}

} // namespace

QByteArray ExtractPrefixSymbol(const QByteArray& text)
{
    int length = 0;
    while (length < text.size() && isSymbolCharacter(text.at(length)))
        ++length;
    return text.left(length);
}

QByteArray ExtractPrefixSymbol(const QString& text)
{
    return ExtractPrefixSymbol(qtcompat::toAscii(text));
}

int ExtractPLCDeviceAddress(const QByteArray& text, int base)
{
    if (base != 10 && base != 16 && base != 8)
        return -1;
    const int start = startOfNumber(text, base);
    const bool prefixed = base == 16 && hasHexPrefix(text, start);
    return numberFrom(text, prefixed ? start + 2 : start, base);
}

int ExtractPLCDeviceAddress(const QString& text, int base)
{
    return ExtractPLCDeviceAddress(qtcompat::toAscii(text), base);
}
