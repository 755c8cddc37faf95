// How the KV-1000's host link names devices, written from the description of the protocol. It is
// the oracle for the driver's table of areas and shares nothing with it.
#ifndef TESTS_SUPPORT_KV1000NAMING_H
#define TESTS_SUPPORT_KV1000NAMING_H

#include <algorithm>
#include <string>

namespace naming
{

using std::string;

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
inline char upper(char c)
{
    return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
}
inline bool isLetter(char c)
{
    return upper(c) >= 'A' && upper(c) <= 'Z';
}
inline string inUpperCase(string text)
{
    std::transform(text.begin(), text.end(), text.begin(), upper);
    return text;
}

/// start  in capitals; the text may have any case
inline bool startsWith(const string& text, const string& start)
{
    return inUpperCase(text.substr(0, start.size())) == start;
}

/// The letters that a device text begins with.
inline string symbolOf(const string& device)
{
    return device.substr(0,
                         std::find_if_not(device.begin(), device.end(), isLetter) - device.begin());
}

/// The digits that the host link wants of a number; 0 where it wants no certain count.
inline int digitWidth(const string& device)
{
    const char first = device.empty() ? '\0' : upper(device[0]);
    const char second = device.size() < 2 ? '\0' : upper(device[1]);
    switch (first) {
    case 'A':
        return 1;
    case 'C':
        return second == 'M'                                       ? 5
               : second == 'T'                                     ? 1
               : isDigit(second) || second == 'R' || second == 'S' ? 4
                                                                   : 0;
    case 'T':
        return second == 'M' ? 3 : second == 'S' || isDigit(second) ? 4 : 0;
    case 'Z':
        return 2;
    default:
        return string("DEFLMR").find(first) != string::npos && first != '\0' ? 5 : 0;
    }
}

inline size_t digitCount(const string& device)
{
    return size_t(std::count_if(device.begin(), device.end(), isDigit));
}

inline size_t zerosFor(const string& device)
{
    return size_t(std::max<long>(0, digitWidth(device) - long(digitCount(device))));
}

/// The device text of the host link.
inline string spelling(const string& device)
{
    if (startsWith(device, "PCTC"))
        return device.substr(1);
    const size_t width = size_t(digitWidth(device)), zeros = zerosFor(device);
    string text = device + string(zeros, '0');
    if (zeros > 0) { // as many characters after the letters as there are digits move past the zeros
        const auto block = text.begin() + long(symbolOf(device).size());
        std::rotate(block, block + long(digitCount(device)),
                    block + long(digitCount(device) + zeros));
    }
    if (startsWith(device, "TS") || startsWith(device, "CS"))
        return text[0] + text.substr(2, width);
    return startsWith(device, "R") ? text.substr(1, width) : text;
}

/// Whether the area holds 16-bit words.
inline bool holdsWords(const string& device)
{
    const char first = device.empty() ? '\0' : upper(device[0]);
    return first == 'D' || first == 'E' || first == 'F' || first == 'Z' ||
           startsWith(device, "CM") || startsWith(device, "TM") || startsWith(device, "VM");
}

/// Whether a write to the device is a "WSS".
inline bool writesSetValue(const string& device)
{
    return startsWith(device, "PCTC") || startsWith(device, "TS") || startsWith(device, "CS") ||
           startsWith(device, "TTC") || startsWith(device, "CTC");
}

} // namespace naming

#endif
