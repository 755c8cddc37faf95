// The codes that a DeviceSetting has for parity and stop bits, with the words for them in the text
// of a line, such as "RS232,9600,EVEN,8,1".
#ifndef DRIVERS_LINECODES_H
#define DRIVERS_LINECODES_H

#include <cstddef>

namespace driverkit
{

// The runtime's records fix two of the codes: parity 2 is even, and stop bits 0 are one stop bit.
// The others are this kit's own: another runtime may number them otherwise.
enum ParityCode { NoParity = 0, OddParity = 1, EvenParity = 2, MarkParity = 3, SpaceParity = 4 };
enum StopBitsCode { OneStopBit = 0, OneAndAHalfStopBits = 1, TwoStopBits = 2 };

struct LineCode {
    int code;
    const char* word;
};

const LineCode ParityCodes[] = {{NoParity, "NONE"},
                                {OddParity, "ODD"},
                                {EvenParity, "EVEN"},
                                {MarkParity, "MARK"},
                                {SpaceParity, "SPACE"}};

const LineCode StopBitsCodes[] = {
    {OneStopBit, "1"}, {OneAndAHalfStopBits, "1.5"}, {TwoStopBits, "2"}};

/// The word for a code of the table; null for a code that it lacks.
template <std::size_t Count>
const char* wordOf(const LineCode (&table)[Count], int code)
{
    for (const LineCode& row : table)
        if (row.code == code)
            return row.word;
    return nullptr;
}

} // namespace driverkit

#endif
