// Digits of numbers in texts, for the library's own sources. Unlike the functions of <cctype> these
// take any char and ask no locale.
#ifndef DRIVERS_INTERNAL_DIGITS_H
#define DRIVERS_INTERNAL_DIGITS_H

namespace digits
{

const int NoDigit = -1;

/// The value of a hexadecimal digit in either case, NoDigit for any other character.
inline int valueOf(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return NoDigit;
}

} // namespace digits

#endif
