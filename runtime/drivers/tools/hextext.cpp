// Hexadecimal texts, read and written.
#include "drivers/tools/hextext.h"

#include "drivers/internal/ascii.h"
#include "drivers/internal/qtcompat.h"

#include <climits>
#include <cstring>

namespace
{

/// Writes "0X1f " and the like, without leading zeros. Returns where the text ends.
char* writeByte(char* to, unsigned char byte)
{
    static const char hexadecimal[] = "0123456789abcdef";
    *to++ = '0';
    *to++ = 'X';
    if (byte > 0xF)
        *to++ = hexadecimal[byte >> 4];
    *to++ = hexadecimal[byte & 0xF];
    *to++ = ' ';
    return to;
}

/// Writes the text without its zero byte. Returns where it ends.
char* writeText(char* to, const char* text, size_t length)
{
    std::memcpy(to, text, length);
    return to + length;
}

} // namespace

unsigned int HexToUInt(const char* text, int len)
{
    const bool prefixed = len >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    unsigned int value = 0;
    for (int i = prefixed ? 2 : 0; i < len && text[i] != '\0'; ++i) {
        const int digit = ascii::digitValue(text[i]);
        if (digit == ascii::NoDigit)
            return 0;
        value = value << 4 | static_cast<unsigned int>(digit);
    }
    return value;
}

QString dumpByteArray(const QByteArray& bytes)
{
    const int frameSize = 5;   // the brackets, the colon and its blanks
    const int mostPerByte = 6; // five characters in hexadecimal and one as text
    if (bytes.size() > (INT_MAX - frameSize) / mostPerByte)
        return QString(); // no text can be as long
    QByteArray line(frameSize + mostPerByte * bytes.size(), Qt::Uninitialized);
    char* to = line.data();
    *to++ = '(';
    for (int i = 0; i < bytes.size(); ++i)
        to = writeByte(to, static_cast<unsigned char>(bytes.at(i)));
    to = writeText(to, ") : ", 4);
    to = writeText(to, bytes.constData(),
                   qstrnlen(bytes.constData(), static_cast<uint>(bytes.size())));
    return qtcompat::fromAscii(line.constData(), static_cast<int>(to - line.constData()));
}
