// Letters and digits of ASCII texts, for the library's own sources. Unlike the functions of
// <cctype> these take any char and ask no locale.
#ifndef DRIVERS_INTERNAL_ASCII_H
#define DRIVERS_INTERNAL_ASCII_H

namespace ascii
{

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

inline char toUpper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

inline bool isLetter(char c)
{
    return toUpper(c) >= 'A' && toUpper(c) <= 'Z';
}

const int NoDigit = -1;

/// The value of a hexadecimal digit in either case, NoDigit for any other character.
inline int digitValue(char c)
{
    if (isDigit(c))
        return c - '0';
    const char upper = toUpper(c);
    return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : NoDigit;
}

} // namespace ascii

#endif
