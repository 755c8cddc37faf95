// Bits of integers and of packed arrays. What works on whole arrays goes byte by byte.
#include "drivers/tools/bitarray.h"

#include "drivers/tools/rotatearray.h"

#include <QtEndian>
#include <QtGlobal>
#include <algorithm>
#include <climits>
#include <cstring>

namespace
{

typedef unsigned char Byte;

const int BitsPerByte = 8;

template <typename Integer>
bool hasBit(unsigned short bit)
{
    return bit < sizeof(Integer) * BitsPerByte;
}

template <typename Integer>
Integer maskOf(unsigned short bit)
{
    return static_cast<Integer>(Integer(1) << bit);
}

template <typename Integer>
Integer withBitSet(Integer value, unsigned short bit)
{
    return hasBit<Integer>(bit) ? static_cast<Integer>(value | maskOf<Integer>(bit)) : value;
}

template <typename Integer>
Integer withBitCleared(Integer value, unsigned short bit)
{
    return hasBit<Integer>(bit) ? static_cast<Integer>(value & ~maskOf<Integer>(bit)) : value;
}

template <typename Integer>
bool isBitSet(Integer value, unsigned short bit)
{
    return hasBit<Integer>(bit) && (value & maskOf<Integer>(bit)) != 0;
}

unsigned roundedUpQuotient(unsigned dividend, unsigned divisor)
{
    return dividend / divisor + (dividend % divisor != 0 ? 1 : 0);
}

int bytesFor(int nbits)
{
    return nbits / BitsPerByte + (nbits % BitsPerByte != 0 ? 1 : 0);
}

bool holdsBits(const QByteArray& bits, qint64 count)
{
    return count <= static_cast<qint64>(bits.size()) * BitsPerByte;
}

const Byte* bytesOf(const QByteArray& bits)
{
    return reinterpret_cast<const Byte*>(bits.constData());
}

Byte* writableBytesOf(QByteArray& bits)
{
    return reinterpret_cast<Byte*>(bits.data());
}

/// Cuts the array or lengthens it by zero bytes, which QByteArray::resize would leave unset.
void resizeWithZeros(QByteArray& bits, int size)
{
    const int oldSize = bits.size();
    bits.resize(size);
    if (size > oldSize)
        std::memset(bits.data() + oldSize, 0, static_cast<size_t>(size - oldSize));
}

void growToHold(QByteArray& bits, int n)
{
    if (n / BitsPerByte >= bits.size())
        resizeWithZeros(bits, n / BitsPerByte + 1);
}

/// Takes the bits of `mask` from `bits` and leaves the others of the byte.
void mergeBits(Byte* byte, int bits, int mask)
{
    *byte = static_cast<Byte>((*byte & ~mask) | (bits & mask));
}

/// Makes `size` bytes of the bits that begin `down` bits, 1 to 8, above the start of `from`, which
/// holds one byte more. `to` may be `from`.
void copyShifted(Byte* to, const Byte* from, int down, int size)
{
    int i = 0;
    for (; i + 4 <= size; i += 4) {
        const quint32 lower = qFromLittleEndian<quint32>(from + i) >> down;
        const quint32 upper = static_cast<quint32>(from[i + 4]) << (32 - down);
        qToLittleEndian(lower | upper, to + i);
    }
    for (; i < size; ++i)
        to[i] = static_cast<Byte>(from[i] >> down | from[i + 1] << (BitsPerByte - down));
}

/// Copies `count` bits, 1 or more, from bit 0 of `from` to bit `start` of `to`. Within one array
/// they must not reach `start`.
void copyRun(Byte* to, const Byte* from, int start, int count)
{
    const int up = start % BitsPerByte;
    const int down = BitsPerByte - up;
    Byte* const target = to + start / BitsPerByte;
    const int last = (up + count - 1) / BitsPerByte;
    const int firstMask = 0xFF << up;
    const int lastMask = 0xFF >> (BitsPerByte - 1 - (up + count - 1) % BitsPerByte);

    if (last == 0) {
        mergeBits(target, from[0] << up, firstMask & lastMask);
        return;
    }
    mergeBits(target, from[0] << up, firstMask);
    copyShifted(target + 1, from, down, last - 1);
    // The source may end one byte before the target does.
    const int top = last < bytesFor(count) ? from[last] << up : 0;
    mergeBits(target + last, top | from[last - 1] >> down, lastMask);
}

/// The eight bits from bit n on, all of which `bits` holds.
Byte byteAtBit(const Byte* bits, unsigned n)
{
    const Byte* const from = bits + n / BitsPerByte;
    const unsigned down = n % BitsPerByte;
    if (down == 0)
        return *from;
    return static_cast<Byte>(from[0] >> down | from[1] << (BitsPerByte - down));
}

/// Makes four bytes, 0 or 1 each, of four bits, the lowest first.
void expandFour(Byte* to, unsigned fourBits)
{
    // The product holds bit i of the four at bit i + 7j for every j from 0 to 3. Those at the start
    // of a byte, bit 8i, have j = i.
    const unsigned onesAtBytes = 0x01010101, timesAtEverySeventhBit = 0x00204081;
    const quint32 expanded = fourBits * timesAtEverySeventhBit & onesAtBytes;
    qToLittleEndian(expanded, to);
}

/// Shifts `size` bytes, 1 or more, towards bit 0 by 1 to 7 bits.
void shiftBytes(Byte* bytes, int size, int bits)
{
    copyShifted(bytes, bytes, bits, size - 1);
    bytes[size - 1] = static_cast<Byte>(bytes[size - 1] >> bits);
}

} // namespace

unsigned short setBit(unsigned short value, unsigned short bit)
{
    return withBitSet(value, bit);
}

unsigned short clearBit(unsigned short value, unsigned short bit)
{
    return withBitCleared(value, bit);
}

bool getBit(unsigned short value, unsigned short bit)
{
    return isBitSet(value, bit);
}

unsigned char setBit(unsigned char value, unsigned short bit)
{
    return withBitSet(value, bit);
}

unsigned char clearBit(unsigned char value, unsigned short bit)
{
    return withBitCleared(value, bit);
}

bool getBit(unsigned char value, unsigned short bit)
{
    return isBitSet(value, bit);
}

unsigned int setBit(unsigned int value, unsigned short bit)
{
    return withBitSet(value, bit);
}

unsigned int clearBit(unsigned int value, unsigned short bit)
{
    return withBitCleared(value, bit);
}

bool getBit(unsigned int value, unsigned short bit)
{
    return isBitSet(value, bit);
}

bool getBit(const QByteArray& bits, int n)
{
    return n / BitsPerByte < bits.size() && getBit(bytesOf(bits), n);
}

bool getBit(const unsigned char* bits, int n)
{
    return n >= 0 && (bits[n / BitsPerByte] >> (n % BitsPerByte) & 1) != 0;
}

void setBit(QByteArray& bits, int n, bool on)
{
    if (n < 0)
        return;
    growToHold(bits, n);
    setBit(writableBytesOf(bits), n, on);
}

void setBit(unsigned char* bits, int n, bool on)
{
    if (n < 0)
        return;
    const int mask = 1 << (n % BitsPerByte);
    mergeBits(bits + n / BitsPerByte, on ? mask : 0, mask);
}

unsigned NumOfBitsToNumOfBytes(unsigned bitOffset, unsigned bitCount)
{
    return roundedUpQuotient(bitOffset + bitCount, 8);
}

unsigned NumOfBitsToNumOfWords(unsigned bitOffset, unsigned bitCount)
{
    return roundedUpQuotient(bitOffset + bitCount, 16);
}

unsigned NumOfBitsToNumOfDWords(unsigned bitOffset, unsigned bitCount)
{
    return roundedUpQuotient(bitOffset + bitCount, 32);
}

unsigned NumOfBytesToNumOfWords(unsigned bytes)
{
    return roundedUpQuotient(bytes, 2);
}

unsigned NumOfBytesToNumOfDWords(unsigned bytes)
{
    return roundedUpQuotient(bytes, 4);
}

unsigned NumOfBytesToNumOfQuadWords(unsigned bytes)
{
    return roundedUpQuotient(bytes, 8);
}

void FitBitArray(QByteArray& bits, int nbits)
{
    if (nbits >= 0)
        resizeWithZeros(bits, bytesFor(nbits));
}

void clearUnnecessaryBits(QByteArray& bits, int nbits)
{
    if (nbits < 0 || nbits % BitsPerByte == 0 || !holdsBits(bits, nbits))
        return;
    mergeBits(writableBytesOf(bits) + nbits / BitsPerByte, 0, 0xFF << (nbits % BitsPerByte));
}

QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start, int count)
{
    if (count <= 0 || !holdsBits(bits, static_cast<qint64>(start) + count))
        return QByteArray();
    QByteArray expanded(count, '\0');
    const Byte* const from = bytesOf(bits);
    Byte* const to = writableBytesOf(expanded);
    const int inEights = count - count % BitsPerByte;
    for (int i = 0; i < inEights; i += BitsPerByte) {
        const unsigned eightBits = byteAtBit(from, start + static_cast<unsigned>(i));
        expandFour(to + i, eightBits & 0xF);
        expandFour(to + i + 4, eightBits >> 4);
    }
    for (int i = inEights; i < count; ++i) {
        const unsigned n = start + static_cast<unsigned>(i);
        to[i] = from[n / BitsPerByte] >> (n % BitsPerByte) & 1;
    }
    return expanded;
}

void CopyBits(QByteArray& dst, QByteArray& src, int dstStart, int count)
{
    if (count <= 0 || !holdsBits(src, count))
        return;
    if (dstStart < 0 || count - 1 > INT_MAX - dstStart)
        return;
    // Within one array a bit at or above dstStart is a copy before it is copied, so the first
    // dstStart bits repeat.
    const int period = &dst == &src ? qMin(dstStart, count) : count;
    if (period == 0)
        return;
    growToHold(dst, dstStart + count - 1);
    Byte* const to = writableBytesOf(dst);
    const Byte* const from = bytesOf(src);
    copyRun(to, from, dstStart, period);
    for (int done = period; done < count; done += period)
        copyRun(to, from, dstStart + done, qMin(period, count - done));
}

void RightShiftNBits(QByteArray& bits, int n)
{
    const int movedBytes = n / BitsPerByte;
    const int restBits = n % BitsPerByte;
    if (n <= 0 || movedBytes >= bits.size())
        return;
    Byte* const bytes = writableBytesOf(bits);
    const int keptBytes = bits.size() - movedBytes;
    RotateArray(bytes, movedBytes, keptBytes);
    if (restBits > 0)
        shiftBytes(bytes, keptBytes, restBits);
}

QByteArray reverseArray(const QByteArray& bytes)
{
    QByteArray reversed(bytes.size(), '\0');
    std::reverse_copy(bytes.begin(), bytes.end(), reversed.begin());
    return reversed;
}
