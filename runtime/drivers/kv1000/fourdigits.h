// Decimal digits, four at a time in one 32-bit register. A PLC reply is almost nothing but digits,
// so this is where a read spends its time.
#ifndef DRIVERS_KV1000_FOURDIGITS_H
#define DRIVERS_KV1000_FOURDIGITS_H

#include <QtGlobal>

#include <cstring>

namespace kv1000
{

/// Reads four digits, the first one worth 1000. `*bad` gets bits set when one of the characters is
/// not a digit, and keeps those it has.
inline quint32 fourDigits(const char* text, quint32* bad)
{
    quint32 digits;
    std::memcpy(&digits, text, sizeof digits);
#if Q_BYTE_ORDER == Q_BIG_ENDIAN
    digits = digits << 24 | (digits << 8 & 0xFF0000) | (digits >> 8 & 0xFF00) | digits >> 24;
#endif
    // The lowest byte is the first character. '0' to '9' are 0x30 to 0x39: without 0x30 a byte of 0
    // to 9 is left, which stays below 0x10 when 6 is added; any other leaves a higher bit in one of
    // the two.
    digits ^= 0x30303030;
    *bad |= (digits | (digits + 0x06060606)) & 0xF0F0F0F0;
    digits = digits * 10 + (digits >> 8); // tens in bytes 0 and 2
    return (digits & 0xFF) * 100 + (digits >> 16 & 0xFF);
}

/// Reads one digit, with `*bad` as above.
inline quint32 oneDigit(const char* text, quint32* bad)
{
    const quint32 digit = static_cast<unsigned char>(*text) ^ 0x30u;
    *bad |= (digit | (digit + 6)) & 0xF0;
    return digit;
}

/// Writes a number below 10000 as four digits.
inline void putFourDigits(char* text, quint32 number)
{
    // Two numbers below 100, then four below 10, side by side. n * 103 >> 10 is n / 10 for them.
    const quint32 pairs = number / 100 | number % 100 << 16;
    const quint32 tens = pairs * 103 >> 10 & 0x000F000F;
    quint32 digits = (tens | (pairs - tens * 10) << 8) + 0x30303030;
#if Q_BYTE_ORDER == Q_BIG_ENDIAN
    digits = digits << 24 | (digits << 8 & 0xFF0000) | (digits >> 8 & 0xFF00) | digits >> 24;
#endif
    std::memcpy(text, &digits, sizeof digits);
}

} // namespace kv1000

#endif
