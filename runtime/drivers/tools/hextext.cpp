// Hexadecimal texts, read and written.
#include "drivers/tools/hextext.h"

#include "drivers/internal/qtcompat.h"

namespace
{

const int NoDigit = -1;

int digitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return NoDigit;
}

/// The bytes up to the first zero byte. A copy, because an array may wrap a buffer that no zero
/// byte ends.
QByteArray textPart(const QByteArray& bytes)
{
    const uint length = qstrnlen(bytes.constData(), static_cast<uint>(bytes.size()));
    return QByteArray(bytes.constData(), static_cast<int>(length));
}

} // namespace

unsigned int HexToUInt(const char* text, int len)
{
    const bool prefixed = len >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    unsigned int value = 0;
    for (int i = prefixed ? 2 : 0; i < len && text[i] != '\0'; ++i) {
        const int digit = digitValue(text[i]);
        if (digit == NoDigit)
            return 0;
        value = value << 4 | static_cast<unsigned int>(digit);
    }
    return value;
}

QString dumpByteArray(const QByteArray& bytes)
{
    QString line = QLatin1String("(");
    for (int i = 0; i < bytes.size(); ++i) {
        const uint value = static_cast<unsigned char>(bytes.at(i));
        line += QLatin1String("0X") + QString::number(value, 16) + QLatin1Char(' ');
    }
    return line + QLatin1String(") : ") + qtcompat::fromAscii(textPart(bytes).constData());
}
