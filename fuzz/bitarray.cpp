// Bit arrays of the kit against an array of bools, operation after operation.
#include "drivers/tools.h"
#include "input.h"

#include <vector>

namespace
{

using Bools = std::vector<bool>;

const int BitsPerByte = 8;

Bools boolsOf(const QByteArray& bytes)
{
    Bools bits;
    for (const char byte : bytes)
        for (int i = 0; i < BitsPerByte; ++i)
            bits.push_back(byte >> i & 1);
    return bits;
}

int bytesFor(int bits)
{
    return (bits + BitsPerByte - 1) / BitsPerByte;
}

bool bitOf(const Bools& bits, int n)
{
    return n >= 0 && n < int(bits.size()) && bits[size_t(n)];
}

void put(Bools& bits, int n, bool on)
{
    if (n < 0)
        return;
    if (n >= int(bits.size()))
        bits.resize(size_t(bytesFor(n + 1)) * BitsPerByte);
    bits[size_t(n)] = on;
}

void shift(Bools& bits, int n)
{
    const int size = int(bits.size()), bytes = n / BitsPerByte * BitsPerByte;
    if (n <= 0 || n >= size)
        return;
    std::rotate(bits.begin(), bits.begin() + bytes, bits.end());
    const int shifted = size - bytes, rest = n - bytes;
    for (int i = 0; i < shifted; ++i)
        bits[size_t(i)] = i + rest < shifted && bits[size_t(i + rest)];
}

void checkExpanded(const QByteArray& array, const Bools& bits, unsigned short start, int count)
{
    const QByteArray bytes = ExpandBitsToBytes(array, start, count);
    const bool inside = count > 0 && start + count <= int(bits.size());
    require(bytes.size() == (inside ? count : 0), "size of the expanded bits");
    for (int i = 0; i < bytes.size(); ++i)
        require(bytes.at(i) == char(bitOf(bits, start + i)), "an expanded bit");
}

template <typename Value>
void checkInteger(Value value, unsigned short bit)
{
    const unsigned long long mask = bit < BitsPerByte * sizeof(Value) ? 1ull << bit : 0;
    require(getBit(value, bit) == ((value & mask) != 0), "a bit of an integer");
    require(setBit(value, bit) == Value(value | mask), "an integer with a bit set");
    require(clearBit(value, bit) == Value(value & ~mask), "an integer with a bit cleared");
}

unsigned roundedUp(unsigned count, unsigned unit)
{
    return count / unit + (count % unit != 0);
}

void checkCounts(unsigned offset, unsigned count)
{
    require(NumOfBitsToNumOfBytes(offset, count) == roundedUp(offset + count, 8), "bytes of bits");
    require(NumOfBitsToNumOfWords(offset, count) == roundedUp(offset + count, 16), "words of bits");
    require(NumOfBitsToNumOfDWords(offset, count) == roundedUp(offset + count, 32),
            "double words of bits");
    require(NumOfBytesToNumOfWords(count) == roundedUp(count, 2), "words of bytes");
    require(NumOfBytesToNumOfDWords(count) == roundedUp(count, 4), "double words of bytes");
    require(NumOfBytesToNumOfQuadWords(count) == roundedUp(count, 8), "quad words of bytes");
}

/// Both arrays after the operation that the input chooses.
void step(Input& input, QByteArray& array, Bools& bits)
{
    const int operation = input.byte() % 10;
    const int n = input.shortNumber() % 700;
    const int count = input.shortNumber() % 700;
    QByteArray other;
    Bools source;
    switch (operation) {
    case 0:
        setBit(array, n, count & 1);
        put(bits, n, count & 1);
        break;
    case 1:
        if (n >= 0 && n < int(bits.size())) {
            setBit(reinterpret_cast<unsigned char*>(array.data()), n, count & 1);
            put(bits, n, count & 1);
        }
        break;
    case 2:
        FitBitArray(array, n);
        if (n >= 0)
            bits.resize(size_t(bytesFor(n)) * BitsPerByte);
        break;
    case 3:
        clearUnnecessaryBits(array, n);
        for (int i = n; n > 0 && i < int(bits.size()) && i % BitsPerByte != 0; ++i)
            bits[size_t(i)] = false;
        break;
    case 4:
        checkExpanded(array, bits, static_cast<unsigned short>(n), count);
        break;
    case 5: // within one array
        if (count <= int(bits.size())) {
            CopyBits(array, array, n, count);
            for (int i = 0; n >= 0 && i < count; ++i)
                put(bits, n + i, bits[size_t(i)]);
        }
        break;
    case 6:
        other = input.text();
        source = boolsOf(other);
        CopyBits(array, other, n, std::min(count, other.size() * BitsPerByte));
        for (int i = 0; n >= 0 && i < std::min(count, other.size() * BitsPerByte); ++i)
            put(bits, n + i, bitOf(source, i));
        break;
    case 7:
        RightShiftNBits(array, n);
        shift(bits, n);
        break;
    case 8:
        array = reverseArray(array);
        other.resize(array.size());
        for (int i = 0; i < array.size() * BitsPerByte; ++i)
            setBit(other, i, bitOf(bits, (array.size() - 1 - i / 8) * BitsPerByte + i % 8));
        bits = boolsOf(other);
        break;
    default:
        checkInteger(static_cast<unsigned char>(count), static_cast<unsigned short>(n));
        checkInteger(static_cast<unsigned short>(count), static_cast<unsigned short>(n));
        checkInteger(static_cast<unsigned int>(count), static_cast<unsigned short>(n));
        checkCounts(input.number(4), input.number(4));
        break;
    }
    require(getBit(array, n) == bitOf(bits, n), "a bit of the array");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    QByteArray array = input.text();
    Bools bits = boolsOf(array);
    for (int steps = 0; steps < 20 && !input.atEnd(); ++steps) {
        step(input, array, bits);
        require(boolsOf(array) == bits, "the array after an operation");
    }
    return 0;
}
