#include "drivers/kv1000/devices.h"

#include "drivers/internal/ascii.h"
#include "drivers/tools/rotatearray.h"

#include <cstring>

namespace kv1000
{

namespace
{

const char Wrs[] = "WRS";
const char Wss[] = "WSS";

const bool BeforeDigit = true, Always = false;
const bool SetValue = true, OwnValue = false;

// clang-format off
/// A letter after the symbol makes timers, counters and relays an unknown area (CTX5, MRX5); areas
/// of words and AT are known by their first letters alone.
const Area Areas[] = {
    // text               digits  spelling                   holds    value     write  bits         symbol digits
    {"PCTC", Always,      0,      WithoutFirstLetter,        Counter, SetValue, Wss,   NoBits,      "",    0},
    {"CTC",  Always,      1,      AsGiven,                   Counter, OwnValue, Wss,   ContactBits, "CTC", 1},
    {"CTH",  Always,      1,      AsGiven,                   Counter, OwnValue, Wrs,   RelayBits,   "C",   4},
    {"CT",   Always,      1,      AsGiven,                   Unknown, OwnValue, Wrs,   RelayBits,   "C",   4},
    {"CM",   Always,      5,      AsGiven,                   Word,    OwnValue, Wrs,   RelayBits,   "C",   4},
    {"CR",   Always,      4,      AsGiven,                   Relay,   OwnValue, Wrs,   RelayBits,   "CR",  4},
    {"CS",   Always,      4,      DigitsWithoutSecondLetter, Counter, SetValue, Wss,   RelayBits,   "C",   4},
    {"C",    BeforeDigit, 4,      AsGiven,                   Counter, OwnValue, Wrs,   ContactBits, "C",   4},
    {"C",    Always,      0,      AsGiven,                   Counter, OwnValue, Wrs,   RelayBits,   "C",   4},
    {"D",    Always,      5,      AsGiven,                   Word,    OwnValue, Wrs,   NoBits,      "",    0},
    {"E",    Always,      5,      AsGiven,                   Word,    OwnValue, Wrs,   NoBits,      "",    0},
    {"F",    Always,      5,      AsGiven,                   Word,    OwnValue, Wrs,   NoBits,      "",    0},
    {"MR",   Always,      5,      AsGiven,                   Relay,   OwnValue, Wrs,   RelayBits,   "MR",  5},
    {"M",    Always,      5,      AsGiven,                   Unknown, OwnValue, Wrs,   RelayBits,   "MR",  5},
    {"LR",   Always,      5,      AsGiven,                   Relay,   OwnValue, Wrs,   RelayBits,   "LR",  5},
    {"L",    Always,      5,      AsGiven,                   Unknown, OwnValue, Wrs,   RelayBits,   "LR",  5},
    {"R",    Always,      5,      DigitsWithoutFirstLetter,  Relay,   OwnValue, Wrs,   RelayBits,   "",    5},
    {"TM",   Always,      3,      AsGiven,                   Word,    OwnValue, Wrs,   RelayBits,   "T",   4},
    {"TS",   Always,      4,      DigitsWithoutSecondLetter, Counter, SetValue, Wss,   RelayBits,   "T",   4},
    {"TTC",  Always,      0,      AsGiven,                   Unknown, OwnValue, Wss,   RelayBits,   "T",   4},
    {"T",    BeforeDigit, 4,      AsGiven,                   Counter, OwnValue, Wrs,   ContactBits, "T",   4},
    {"T",    Always,      0,      AsGiven,                   Counter, OwnValue, Wrs,   RelayBits,   "T",   4},
    {"AT",   Always,      1,      AsGiven,                   Value32, OwnValue, Wrs,   NoBits,      "",    0},
    {"A",    Always,      1,      AsGiven,                   Unknown, OwnValue, Wrs,   NoBits,      "",    0},
    {"VM",   Always,      0,      AsGiven,                   Word,    OwnValue, Wrs,   NoBits,      "",    0},
    {"Z",    Always,      2,      AsGiven,                   Word,    OwnValue, Wrs,   NoBits,      "",    0},
    {"",     Always,      0,      AsGiven,                   Unknown, OwnValue, Wrs,   NoBits,      "",    0},
};
// clang-format on

bool matches(const Area& area, const char* text)
{
    const char* symbol = area.symbol;
    for (; *symbol != '\0'; ++text, ++symbol)
        if (ascii::toUpper(*text) != *symbol)
            return false;
    return !area.beforeDigit || ascii::isDigit(*text);
}

Holds holdsOf(const Area& area, const driverkit::DeviceText& text)
{
    const bool anyLetters = area.holds == Word || area.holds == Value32;
    return anyLetters || text.hasSymbol(area.symbol) ? area.holds : Unknown;
}

int letterCount(const char* text)
{
    int letters = 0;
    while (ascii::isLetter(text[letters]))
        ++letters;
    return letters;
}

int digitCount(const char* text)
{
    int digits = 0;
    for (; *text != '\0'; ++text)
        digits += ascii::isDigit(*text);
    return digits;
}

int missingZeros(const Area& area, const char* text)
{
    return qMax(0, area.digits - digitCount(text));
}

bool isPrintable(const QByteArray& text)
{
    for (int i = 0; i < text.size(); ++i)
        if (text.at(i) <= ' ' || text.at(i) > '~')
            return false;
    return true;
}

/// Moves zeros between the letters and the digits, in place; the field has room for them.
void insertZeros(char* field, int zeros)
{
    std::memset(field + std::strlen(field), '0', static_cast<size_t>(zeros));
    RotateArray(field + letterCount(field), digitCount(field) - zeros, zeros);
}

/// Drops the letter at `index`, and whatever comes after the `digits` characters that follow it.
void dropLetter(char* field, int index, int digits)
{
    RotateArray(field + index, 1, digits);
    field[index + digits] = '\0';
}

/// dst  a zero-filled field that has room for the text and its missing zeros
void spell(char* dst, const char* src, const Area& area)
{
    if (area.spelling == WithoutFirstLetter) {
        std::strcpy(dst, src + 1);
        return;
    }
    std::strcpy(dst, src);
    insertZeros(dst, missingZeros(area, src));
    if (area.spelling == DigitsWithoutFirstLetter)
        dropLetter(dst, 0, area.digits);
    else if (area.spelling == DigitsWithoutSecondLetter)
        dropLetter(dst, 1, area.digits);
}

} // namespace

const Area& areaOf(const char* text)
{
    const Area* area = Areas;
    while (!matches(*area, text))
        ++area;
    return *area;
}

Device::Device(const QByteArray& deviceText)
    : text(deviceText)
    , area(&areaOf(deviceText.constData()))
    , holds(holdsOf(*area, text))
    , wireLength(0)
    , wire()
{
    if (!isPrintable(deviceText) ||
        deviceText.size() + missingZeros(*area, text.text()) > MaxDeviceTextLength)
        return;
    spell(wire, text.text(), *area);
    wireLength = static_cast<int>(std::strlen(wire));
}

bool Device::readsContacts() const
{
    if (area->bits != ContactBits)
        return false;
    const bool isCtc = text.symbolLength() > 1;
    return !isCtc || std::memcmp(text.text() + 1, "TC", 2) == 0;
}

Device valueDevice(const Device& device)
{
    const bool isPctc = device.area->spelling == WithoutFirstLetter;
    return isPctc ? Device(QByteArray(device.text.text() + 1)) : device;
}

DeviceRun::DeviceRun(const Device& first, qint64 count, RunUnit unit)
    : m_first(first)
    , m_count(count)
    , m_unit(unit)
{
}

bool DeviceRun::canBeCut() const
{
    const bool counts = m_first.holds != Unknown && (m_first.holds != Relay || m_unit == RunOfBits);
    if (!counts || !m_first.text.isPlain())
        return false;
    const QByteArray last = m_first.text.at(numberAt(m_count - 1));
    const int digits = last.size() - m_first.text.symbolLength();
    // Areas that are padded to one digit, or not at all, take numbers of any length.
    const bool fitsDigits = m_first.area->digits <= 1 || digits <= m_first.area->digits;
    return fitsDigits && last.size() <= MaxDeviceTextLength;
}

Device DeviceRun::at(qint64 offset) const
{
    return offset == 0 ? m_first : Device(m_first.text.at(numberAt(offset)));
}

qint64 DeviceRun::numberAt(qint64 offset) const
{
    const bool byChannel = m_first.holds == Relay && m_unit == RunOfBits;
    return driverkit::numberAfter(m_first.text.number(), offset,
                                  byChannel ? driverkit::CountsByChannel : driverkit::CountsByOne);
}

bool isHighSpeedComparator(const Area& area)
{
    return std::strcmp(area.symbol, "CTC") == 0;
}

driverkit::Numbering bitWriteNumbering(const Area& area)
{
    return area.bits == ContactBits ? driverkit::CountsByOne : driverkit::CountsByChannel;
}

bool isNumberZero(const QByteArray& text)
{
    int place = 0;
    while (place < text.size() && !ascii::isDigit(text.at(place)))
        ++place;
    while (place < text.size() && text.at(place) == '0')
        ++place;
    return place == text.size();
}

} // namespace kv1000

void KV1000GetSafeDeviceTypeNo(char* dst, const char* src)
{
    kv1000::spell(dst, src, kv1000::areaOf(src));
}

bool KV1000UInt16DeviceType(const QByteArray& device)
{
    return kv1000::areaOf(device.constData()).holds == kv1000::Word;
}

bool KV1000SupportWSS(const char* device)
{
    return kv1000::areaOf(device).command == kv1000::Wss;
}
