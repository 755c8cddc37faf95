// Widths and byte orders of byte arrays.
#include "drivers/tools/dataconvert.h"

#include "drivers/internal/byteswap.h"

#include <QtGlobal>
#include <climits>

namespace
{

unsigned int littleEndianValue(const QByteArray& bytes, int width)
{
    unsigned int value = 0;
    for (int i = qMin(width, bytes.size()) - 1; i >= 0; --i)
        value = value << 8 | static_cast<unsigned char>(bytes.at(i));
    return value;
}

QByteArray littleEndianBytes(unsigned int value, int width)
{
    QByteArray bytes(width, '\0');
    char* const to = bytes.data();
    for (int i = 0; i < width; ++i)
        to[i] = static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

/// Leaves a partial element at the end as it is.
template <typename Element>
void swapInPlace(QByteArray& bytes)
{
    byteswap::swapElements<Element>(bytes.data(), bytes.size() / static_cast<int>(sizeof(Element)));
}

template <typename Element>
QByteArray swappedCopy(const unsigned char* source, int count)
{
    const int elementBytes = static_cast<int>(sizeof(Element));
    if (count <= 0 || count > INT_MAX / elementBytes)
        return QByteArray();
    QByteArray bytes(reinterpret_cast<const char*>(source), count * elementBytes);
    swapInPlace<Element>(bytes);
    return bytes;
}

QByteArray paddedToUnits(const QByteArray& data, int unitBytes)
{
    const int partial = data.size() % unitBytes;
    return partial == 0 ? data : data + QByteArray(unitBytes - partial, '\0');
}

} // namespace

int QByteArrayToInt(const QByteArray& bytes)
{
    return static_cast<int>(littleEndianValue(bytes, 4));
}

unsigned short QByteArrayToWord(const QByteArray& bytes)
{
    return static_cast<unsigned short>(littleEndianValue(bytes, 2));
}

short QByteArrayToShort(const QByteArray& bytes)
{
    return static_cast<short>(littleEndianValue(bytes, 2));
}

bool getBitData(const QByteArray& bytes)
{
    return !bytes.isEmpty() && (bytes.at(0) & 1);
}

QByteArray wordToByteArray(unsigned short value)
{
    return littleEndianBytes(value, 2);
}

QByteArray shortToByteArray(short value)
{
    return littleEndianBytes(static_cast<unsigned short>(value), 2);
}

QByteArray intToByteArray(int value)
{
    return littleEndianBytes(static_cast<unsigned int>(value), 4);
}

QByteArray fromBigEndianUShortArray(const unsigned char* source, int count)
{
    return swappedCopy<quint16>(source, count);
}

QByteArray fromBigEndianULongArray(const unsigned char* source, int count)
{
    return swappedCopy<quint32>(source, count);
}

void toLittleEndianUShortArray(QByteArray& bytes)
{
    swapInPlace<quint16>(bytes);
}

void toLittleEndianULongArray(QByteArray& bytes)
{
    swapInPlace<quint32>(bytes);
}

QByteArray toBigEndianUShortArray(const QByteArray& bytes)
{
    QByteArray result = To16bitsData(bytes);
    swapInPlace<quint16>(result);
    return result;
}

QByteArray toBigEndianULongArray(const QByteArray& bytes)
{
    QByteArray result = To32bitsData(bytes);
    swapInPlace<quint32>(result);
    return result;
}

QByteArray To16bitsData(const QByteArray& data)
{
    return paddedToUnits(data, 2);
}

QByteArray To32bitsData(const QByteArray& data)
{
    return paddedToUnits(data, 4);
}

QByteArray To64bitsData(const QByteArray& data)
{
    return paddedToUnits(data, 8);
}

bool isBigEndian()
{
    return Q_BYTE_ORDER == Q_LITTLE_ENDIAN;
}
