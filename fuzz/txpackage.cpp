// The frame builder against a string of bytes and a list of sizes.
#include "drivers/txpackage.h"
#include "input.h"

#include <QString>

#include <numeric>
#include <set>
#include <string>
#include <vector>

namespace
{

const int64_t LargestFrame = 5000;

struct Frame {
    std::string bytes;
    std::vector<int> entries;

    void append(const std::string& section)
    {
        bytes += section;
        entries.push_back(int(section.size()));
    }

    unsigned char sum() const
    {
        return static_cast<unsigned char>(std::accumulate(bytes.begin(), bytes.end(), 0));
    }
    unsigned char parity() const
    {
        return static_cast<unsigned char>(
            std::accumulate(bytes.begin(), bytes.end(), 0, std::bit_xor<int>()));
    }

    int64_t startOf(int n) const
    {
        return std::accumulate(entries.begin(), entries.begin() + n, int64_t(0));
    }

    bool has(int64_t n) const { return n >= 0 && n < int64_t(entries.size()); }

    /// `asked` are the sections whose size is being looked for already.
    int sizeOf(int64_t n, std::set<int64_t> asked = {}) const
    {
        if (!has(n) || asked.count(n))
            return 0;
        const int64_t entry = entries[size_t(n)];
        if (entry >= 0)
            return int(entry);
        asked.insert(n);
        const bool storesItsOwn = -entry == n;
        const bool holdsNumber = has(-entry) && (storesItsOwn || sizeOf(-entry, asked) >= 4);
        const int64_t start = holdsNumber ? startOf(int(-entry)) : -1;
        if (start < 0 || start + 4 > int64_t(bytes.size()))
            return 0;
        uint32_t value = 0;
        for (int i = 3; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(bytes[size_t(start + i)]);
        return int(value);
    }

    std::string dataOf(int n) const
    {
        const int64_t start = has(n) ? startOf(n) : -1;
        if (start < 0 || start >= int64_t(bytes.size()) || sizeOf(n) <= 0)
            return std::string();
        return bytes.substr(size_t(start), size_t(sizeOf(n)));
    }
};

std::string hexadecimal(unsigned char byte)
{
    char text[3];
    std::snprintf(text, sizeof text, "%02X", byte);
    return text;
}

std::string littleEndian(uint32_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += char(value >> 8 * i);
    return text;
}

void setSizes(Input& input, TxPackage& package, Frame& frame)
{
    QList<int> sizes;
    for (int count = input.byte() % 8; count > 0; --count)
        sizes += static_cast<int8_t>(input.byte()); // small, so that entries meet sections
    if (input.byte() == 1)
        sizes += static_cast<int32_t>(input.number(4));
    const int64_t sum = std::accumulate(sizes.begin(), sizes.end(), int64_t(0));
    if (sum > LargestFrame && sum <= INT32_MAX)
        return; // right, but large
    package.setSectionSize(sizes);
    if (sum > INT32_MAX)
        return;
    frame.entries.assign(sizes.begin(), sizes.end());
    frame.bytes.resize(size_t(std::max<int64_t>(0, sum)));
}

void step(Input& input, TxPackage& package, Frame& frame)
{
    QByteArray bytes;
    uint32_t number = 0;
    switch (input.byte() % 12) {
    case 0:
        bytes = input.text();
        package.appendSection(bytes);
        return frame.append(bytes.toStdString());
    case 1:
        number = input.number(1);
        package.appendByte(static_cast<unsigned char>(number));
        return frame.append(littleEndian(number, 1));
    case 2:
        number = input.number(2);
        package.appendWord(static_cast<unsigned short>(number));
        return frame.append(littleEndian(number, 2));
    case 3:
        number = input.number(4);
        package.appendDWord(number);
        return frame.append(littleEndian(number, 4));
    case 4:
        bytes = input.text();
        package.appendString(QString::fromLatin1(bytes.constData(), bytes.size()));
        return frame.append(bytes.toStdString());
    case 5:
        number = input.number(1);
        package.appendByte2Ascii(static_cast<unsigned char>(number));
        return frame.append(hexadecimal(static_cast<unsigned char>(number)));
    case 6:
        package.appendLRCByte();
        return frame.append(littleEndian(frame.sum(), 1));
    case 7:
        package.appendLRCAscii();
        return frame.append(hexadecimal(frame.sum()));
    case 8:
        package.appendFCSAscii(input.shortNumber());
        return frame.append(hexadecimal(frame.parity()));
    case 9:
        frame.bytes = input.text().toStdString();
        package.setData(QByteArray::fromStdString(frame.bytes));
        return;
    case 10:
        return setSizes(input, package, frame);
    default:
        if (input.byte() > 0xF0) {
            package.clearAll();
            frame = Frame();
        }
        number = input.number(1);
        if (number < frame.bytes.size())
            package.data()[number] = frame.bytes[number] = char(input.byte());
    }
}

void compare(const TxPackage& package, const Frame& frame)
{
    require(package.byteArrayData().toStdString() == frame.bytes, "the frame's bytes");
    require(package.totalSize() == int(frame.bytes.size()), "the frame's size");
    require(package.numberOfSections() == int(frame.entries.size()), "the number of sections");
    for (int n = -1; n <= int(frame.entries.size()); ++n) {
        require(package.validSectionNumber(n) == frame.has(n), "whether a section exists");
        require(package.sectionSize(n) == frame.sizeOf(n), "a section's size");
        require(package.dataAt(n).toStdString() == frame.dataOf(n), "a section's bytes");
        const int64_t start = frame.has(n) ? frame.startOf(n) : -1;
        if (start == static_cast<int32_t>(start))
            require(package.sectionStartIndex(n) == start, "a section's start");
    }
}

void checkFcs(TxPackage& package, const Frame& frame, int withoutLast)
{
    Frame shorter = frame;
    const int kept = withoutLast < 0 ? 0 : std::max(0, int(frame.bytes.size()) - withoutLast);
    shorter.bytes.resize(size_t(kept));
    require(TxPackage::calculateFCS(&package, withoutLast) == shorter.parity(), "calculateFCS");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    TxPackage package;
    Frame frame;
    for (int steps = 0; steps < 30 && !input.atEnd(); ++steps) {
        step(input, package, frame);
        compare(package, frame);
        checkFcs(package, frame, input.shortNumber() % 300);
    }
    return 0;
}
