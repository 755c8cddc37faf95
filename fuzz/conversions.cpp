// The toolkit's conversions, sums and text parsers against the plainest way to write each.
#include "drivers/tools.h"
#include "input.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

/// Up to `bytes` bytes as a number, least significant first.
uint32_t valueOf(const QByteArray& array, int bytes)
{
    uint32_t value = 0;
    for (int i = std::min(bytes, array.size()); i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(array.at(i));
    return value;
}

QByteArray padded(QByteArray array, int unit)
{
    while (array.size() % unit != 0)
        array.append('\0');
    return array;
}

/// Whole elements swapped; what does not fill one stays.
QByteArray swapped(QByteArray array, int unit)
{
    for (int i = 0; i + unit <= array.size(); i += unit)
        std::reverse(array.data() + i, array.data() + i + unit);
    return array;
}

void checkConversions(const QByteArray& array)
{
    require(QByteArrayToInt(array) == int(valueOf(array, 4)), "QByteArrayToInt");
    require(QByteArrayToWord(array) == valueOf(array, 2), "QByteArrayToWord");
    require(QByteArrayToShort(array) == static_cast<short>(valueOf(array, 2)), "QByteArrayToShort");
    require(getBitData(array) == (valueOf(array, 1) & 1), "getBitData");
    require(valueOf(intToByteArray(int(valueOf(array, 4))), 4) == valueOf(array, 4),
            "intToByteArray");
    require(wordToByteArray(static_cast<unsigned short>(valueOf(array, 2))) ==
                padded(array.left(2), 2).append(array.isEmpty() ? QByteArray(2, '\0') : ""),
            "wordToByteArray");
    require(To16bitsData(array) == padded(array, 2), "To16bitsData");
    require(To32bitsData(array) == padded(array, 4), "To32bitsData");
    require(To64bitsData(array) == padded(array, 8), "To64bitsData");
    require(toBigEndianUShortArray(array) == swapped(padded(array, 2), 2), "big-endian words");
    require(toBigEndianULongArray(array) == swapped(padded(array, 4), 4),
            "big-endian double words");
    QByteArray words = array, doubleWords = array;
    toLittleEndianUShortArray(words);
    toLittleEndianULongArray(doubleWords);
    require(words == swapped(array, 2), "toLittleEndianUShortArray");
    require(doubleWords == swapped(array, 4), "toLittleEndianULongArray");
}

void checkFromBigEndian(const QByteArray& array, int count)
{
    const std::vector<unsigned char> source(array.begin(), array.end()); // ends where it ends
    const int words = std::min(count, array.size() / 2),
              doubles = std::min(count, array.size() / 4);
    require(fromBigEndianUShortArray(source.data(), words) ==
                swapped(array.left(2 * std::max(0, words)), 2),
            "fromBigEndianUShortArray");
    require(fromBigEndianULongArray(source.data(), doubles) ==
                swapped(array.left(4 * std::max(0, doubles)), 4),
            "fromBigEndianULongArray");
}

void checkRequestSize(const QByteArray& array, int dataType, int length)
{
    CommunicatorCommand command;
    command.dataType = dataType;
    command.length = length;
    const int64_t factors[] = {0, 1, 2, 4, 8, 1, 0};
    int64_t bytes = dataType >= 0 && dataType <= 6 ? factors[dataType] * length : 0;
    if (dataType == DataBit || dataType == DataBitGroup)
        bytes = (int64_t(static_cast<uint32_t>(length)) + 7) / 8;
    if (bytes != static_cast<int32_t>(bytes))
        bytes = 0;
    require(GetSafeDataLen(command) == bytes, "GetSafeDataLen");
    if (bytes > 1 << 20)
        return;
    QByteArray fitted = array.left(int(std::max<int64_t>(0, bytes)));
    fitted.append(QByteArray(int(std::max<int64_t>(0, bytes - fitted.size())), '\0'));
    require(ToSafeData(command, array) == fitted, "ToSafeData");
}

void checkChecksums(const QByteArray& array)
{
    unsigned sum = 0, parity = 0;
    for (const char c : array) {
        sum += static_cast<unsigned char>(c);
        parity ^= static_cast<unsigned char>(c);
    }
    const std::vector<unsigned char> block(array.begin(), array.end());
    const int size = array.size();
    require(UInt8CheckSum(block.data(), size) == (sum & 0xFF), "UInt8CheckSum");
    require(UShortCheckSum(block.data(), size) == (sum & 0xFFFF), "UShortCheckSum");
    require(XorUInt8CheckSum(block.data(), size) == parity, "XorUInt8CheckSum");
}

int digitValue(char c)
{
    const char* const digits = "0123456789abcdef";
    const char lower = c >= 'A' && c <= 'F' ? char(c - 'A' + 'a') : c;
    const char* const place = c == '\0' ? nullptr : std::strchr(digits, lower);
    return place ? int(place - digits) : 99;
}

uint32_t hexadecimalValue(const std::string& whole, int length)
{
    std::string text = whole.substr(0, size_t(std::max(0, length)));
    text = text.substr(0, text.find('\0'));
    if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        text.erase(0, 2);
    uint32_t value = 0;
    for (const char c : text) {
        if (digitValue(c) > 15)
            return 0;
        value = value * 16 + uint32_t(digitValue(c));
    }
    return value;
}

/// The number from the first digit to the end, or 0 where that is not a number that fits an int.
int deviceNumber(const QByteArray& text, int base)
{
    int start = 0;
    while (start < text.size() && digitValue(text.at(start)) >= base)
        ++start;
    const QByteArray prefix = text.mid(start, 2).toLower();
    const bool isPrefixed = base == 16 && prefix == "0x" && start + 2 < text.size();
    int64_t value = 0;
    for (int i = isPrefixed ? start + 2 : start; i < text.size(); ++i) {
        if (digitValue(text.at(i)) >= base)
            return 0;
        value = std::min<int64_t>(value * base + digitValue(text.at(i)), INT64_MAX / 32);
    }
    return value > INT32_MAX ? 0 : int(value);
}

/// Latin-1, so that the overloads for both kinds of text have to agree.
void checkTexts(const QByteArray& text, int length)
{
    const std::string zeroEnded = text.toStdString();
    const QString asQString = QString::fromLatin1(text.constData(), text.size()); // NULs included
    require(HexToUInt(zeroEnded.c_str(), length) == hexadecimalValue(zeroEnded, length),
            "HexToUInt");

    int letters = 0;
    const auto isLetter = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
    };
    while (letters < text.size() && isLetter(text.at(letters)))
        ++letters;
    require(ExtractPrefixSymbol(text) == text.left(letters), "ExtractPrefixSymbol");
    require(ExtractPrefixSymbol(asQString) == text.left(letters),
            "ExtractPrefixSymbol of a QString");

    for (const int base : {8, 10, 16}) {
        require(ExtractPLCDeviceAddress(text, base) == deviceNumber(text, base),
                "ExtractPLCDeviceAddress");
        require(ExtractPLCDeviceAddress(asQString, base) == deviceNumber(text, base),
                "ExtractPLCDeviceAddress of a QString");
    }
}

void checkDump(const QByteArray& array)
{
    std::string wanted = "(";
    char byte[8];
    for (const char c : array) {
        std::snprintf(byte, sizeof byte, "0X%x ", static_cast<unsigned char>(c));
        wanted += byte;
    }
    wanted += ") : ";
    const QByteArray text = array.left(array.contains('\0') ? array.indexOf('\0') : array.size());
    require(dumpByteArray(array) == QString::fromStdString(wanted) + QString::fromLatin1(text),
            "dumpByteArray");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const int dataType = static_cast<int8_t>(input.byte()) % 9;
    const int number = static_cast<int32_t>(input.number(4));
    const QByteArray array = input.rest();
    checkConversions(array);
    checkFromBigEndian(array, number % 100);
    checkRequestSize(array, dataType, number);
    checkChecksums(array);
    checkTexts(array, number % 100);
    checkDump(array);
    return 0;
}
