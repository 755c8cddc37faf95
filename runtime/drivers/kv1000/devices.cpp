// Device texts of the KV-1000. It knows no port and no command.
#include "drivers/kv1000/devices.h"

#include "drivers/tools.h"

#include <climits>
#include <cstring>

namespace
{

const int NoWidth = 0; // the number of such an area stays as it is
const int BitsPerChannel = 16;
const int ChannelStep = 100;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
bool isLetter(char c)
{
    return upper(c) >= 'A' && upper(c) <= 'Z';
}

/// Whether a NUL-terminated text begins with `capitals`, ignoring case.
bool startsWith(const char* text, const char* capitals)
{
    for (; *capitals != '\0'; ++text, ++capitals)
        if (upper(*text) != *capitals)
            return false;
    return true;
}

/// The letters at the start of the text, in capitals.
QByteArray symbolOf(const QByteArray& device)
{
    int letters = 0;
    while (letters < device.size() && isLetter(device.at(letters)))
        ++letters;
    return device.left(letters).toUpper();
}

int digitCount(const char* text)
{
    int digits = 0;
    for (; *text != '\0'; ++text)
        digits += isDigit(*text);
    return digits;
}

int letterCount(const char* text)
{
    int letters = 0;
    while (isLetter(text[letters]))
        ++letters;
    return letters;
}

/// How many digits the host link wants of the device's number.
int digitWidth(const char* device)
{
    const char second = device[0] == '\0' ? '\0' : upper(device[1]);
    switch (upper(device[0])) {
    case 'A':
        return 1;
    case 'C':
        if (second == 'M')
            return 5;
        if (second == 'T')
            return 1;
        return isDigit(second) || second == 'R' || second == 'S' ? 4 : NoWidth;
    case 'D':
    case 'E':
    case 'F':
    case 'L':
    case 'M':
    case 'R':
        return 5;
    case 'T':
        if (second == 'M')
            return 3;
        return isDigit(second) || second == 'S' ? 4 : NoWidth;
    case 'Z':
        return 2;
    default:
        return NoWidth;
    }
}

int missingZeros(const char* device)
{
    return qMax(0, digitWidth(device) - digitCount(device));
}

/// Moves zeros between the letters and the digits, in place; the field has room for them.
void insertZeros(char* field, int zeros)
{
    std::memset(field + std::strlen(field), '0', static_cast<size_t>(zeros));
    RotateArray(field + letterCount(field), digitCount(field) - zeros, zeros);
}

/// Drops the letter at `index`, and whatever stands behind the `digits` characters after it.
void dropLetter(char* field, int index, int digits)
{
    RotateArray(field + index, 1, digits);
    field[index + digits] = '\0';
}

/// A device text taken apart for counting.
struct CountableText {
    QByteArray symbol; ///< letters as given
    QByteArray digits;
    bool valid; ///< nothing but digits follows the letters
};

CountableText takeApart(const QByteArray& device)
{
    const int letters = letterCount(device.constData());
    const QByteArray digits = device.mid(letters);
    return {device.left(letters), digits, digitCount(digits.constData()) == digits.size()};
}

QByteArray putTogether(const CountableText& text, qint64 number)
{
    return text.symbol + QByteArray::number(number).rightJustified(text.digits.size(), '0');
}

DeviceNumbering runNumbering(const QByteArray& device, RunUnit unit)
{
    switch (areaOf(device)) {
    case WordArea:
    case Value32Area:
    case TimerCounterArea:
        return CountsByOne;
    case RelayArea:
        return unit == RunOfBits ? CountsByChannel : Uncountable;
    case OtherArea:
        break;
    }
    return Uncountable;
}

/// Whether a number can be told apart from all others in the digits that the area has. Areas that
/// are padded to one digit, or not at all, take numbers of any length.
bool fitsDigits(const QByteArray& device)
{
    const int width = digitWidth(device.constData());
    return width <= 1 || digitCount(device.constData()) <= width;
}

} // namespace

void KV1000GetSafeDeviceTypeNo(char* dst, const char* src)
{
    if (startsWith(src, "PCTC")) {
        std::strcpy(dst, src + 1);
        return;
    }
    std::strcpy(dst, src);
    insertZeros(dst, missingZeros(src));
    if (startsWith(src, "TS") || startsWith(src, "CS"))
        dropLetter(dst, 1, digitWidth(src));
    else if (startsWith(src, "R"))
        dropLetter(dst, 0, digitWidth(src));
}

bool KV1000UInt16DeviceType(const QByteArray& device)
{
    const char* text = device.constData();
    switch (upper(text[0])) {
    case 'D':
    case 'E':
    case 'F':
    case 'Z':
        return true;
    case 'C':
    case 'T':
    case 'V':
        return upper(text[1]) == 'M';
    default:
        return false;
    }
}

bool KV1000SupportWSS(const char* device)
{
    const char first = upper(device[0]);
    if (first == 'P')
        return startsWith(device + 1, "CTC");
    if (first == 'T' || first == 'C')
        return startsWith(device + 1, "S") || startsWith(device + 1, "TC");
    return false;
}

bool deviceTextFits(const QByteArray& device)
{
    if (device.isEmpty())
        return false;
    for (int i = 0; i < device.size(); ++i)
        if (device.at(i) <= ' ' || device.at(i) > '~')
            return false;
    return device.size() + missingZeros(device.constData()) <= MaxDeviceTextLength;
}

DeviceArea areaOf(const QByteArray& device)
{
    static const struct {
        const char* symbol;
        DeviceArea area;
    } areas[] = {
        {"T", TimerCounterArea},    {"C", TimerCounterArea},  {"CTC", TimerCounterArea},
        {"CTH", TimerCounterArea},  {"TS", TimerCounterArea}, {"CS", TimerCounterArea},
        {"PCTC", TimerCounterArea}, {"R", RelayArea},         {"MR", RelayArea},
        {"LR", RelayArea},          {"CR", RelayArea},
    };

    if (KV1000UInt16DeviceType(device))
        return WordArea;
    if (startsWith(device.constData(), "AT"))
        return Value32Area;
    const QByteArray symbol = symbolOf(device);
    for (size_t i = 0; i < sizeof areas / sizeof areas[0]; ++i)
        if (symbol == areas[i].symbol)
            return areas[i].area;
    return OtherArea;
}

bool isSetValueDevice(const QByteArray& device)
{
    const char* text = device.constData();
    return startsWith(text, "PCTC") || startsWith(text, "TS") || startsWith(text, "CS");
}

bool isContactDevice(const QByteArray& device)
{
    const char* text = device.constData();
    const char first = upper(text[0]);
    if (first == 'C' && std::strncmp(text + 1, "TC", 2) == 0)
        return true;
    return (first == 'C' || first == 'T') && isDigit(text[1]);
}

bool isHighSpeedComparator(const QByteArray& device)
{
    return startsWith(device.constData(), "CTC");
}

QByteArray wordCommandDevice(const QByteArray& device)
{
    return startsWith(device.constData(), "PCTC") ? device.mid(1) : device;
}

bool hasPlainNumber(const QByteArray& device)
{
    int start = 0;
    while (start < device.size() && !isDigit(device.at(start)))
        ++start;
    const QByteArray number = device.mid(start);
    bool isInt = false;
    number.toInt(&isInt);
    return number.isEmpty() || (isInt && digitCount(number.constData()) == number.size());
}

DeviceNumbering bitWriteNumbering(const QByteArray& device)
{
    const char* text = device.constData();
    const char first = upper(text[0]);
    const bool timerOrCounter = (first == 'T' || first == 'C') && isDigit(text[1]);
    return timerOrCounter || isHighSpeedComparator(device) ? CountsByOne : CountsByChannel;
}

qint64 numberBehind(qint64 number, qint64 steps, DeviceNumbering numbering)
{
    if (numbering == CountsByOne || steps == 0)
        return number + steps;
    const qint64 channel = number / ChannelStep;
    const qint64 bit = qMin<qint64>(number % ChannelStep, BitsPerChannel - 1) + steps;
    return (channel + bit / BitsPerChannel) * ChannelStep + bit % BitsPerChannel;
}

QList<DevicePart> splitRun(const QByteArray& device, qint64 count, RunUnit unit,
                           const std::function<int(const QByteArray&)>& capacity)
{
    QList<DevicePart> parts;
    if (count <= capacity(device)) {
        parts.append({device, static_cast<int>(qMax<qint64>(count, INT_MIN))});
        return parts;
    }

    const DeviceNumbering numbering = runNumbering(device, unit);
    const CountableText text = takeApart(device);
    if (numbering == Uncountable || !text.valid)
        return parts;

    const qint64 first = text.digits.toInt();
    const QByteArray last = putTogether(text, numberBehind(first, count - 1, numbering));
    if (!fitsDigits(last) || last.size() > MaxDeviceTextLength)
        return parts;

    for (qint64 done = 0; done < count; done += parts.last().count) {
        const QByteArray start = putTogether(text, numberBehind(first, done, numbering));
        parts.append({start, static_cast<int>(qMin<qint64>(count - done, capacity(start)))});
    }
    return parts;
}
