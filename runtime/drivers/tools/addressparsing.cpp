// Symbol and number of a device text. Neither looks at where the other ends.
#include "drivers/tools/addressparsing.h"

#include "drivers/internal/qtcompat.h"

#include <cctype>

namespace
{

bool isSymbolCharacter(char c)
{
    return c == '_' || std::isalpha(static_cast<unsigned char>(c));
}

/// The digits of a base in both cases, or null for a base that device texts do not use.
const char* digitsOf(int base)
{
    switch (base) {
    case 8:
        return "01234567";
    case 10:
        return "0123456789";
    case 16:
        return "0123456789ABCDEFabcdef";
    default:
        return nullptr;
    }
}

/// The position of the first of `digits` in the text, the text's length when it has none.
int startOfNumber(const QByteArray& text, const QByteArray& digits)
{
    int start = 0;
    while (start < text.size() && !digits.contains(text.at(start)))
        ++start;
    return start;
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
    const char* const digits = digitsOf(base);
    if (!digits)
        return -1;
    // The conversion of Qt 5 passes over blanks at the end and stops at a NUL; neither belongs to a
    // number.
    const QByteArray number = text.mid(startOfNumber(text, digits));
    const bool wholeText = !number.contains('\0') && number.trimmed().size() == number.size();
    return wholeText ? number.toInt(nullptr, base) : 0;
}

int ExtractPLCDeviceAddress(const QString& text, int base)
{
    return ExtractPLCDeviceAddress(qtcompat::toAscii(text), base);
}
