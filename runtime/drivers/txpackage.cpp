// The frame builder: bytes, section sizes and the two simple checks.
#include "drivers/txpackage.h"

#include "drivers/internal/qtcompat.h"
#include "drivers/tools/dataconvert.h"
#include "drivers/tools/framecheck.h"
#include "drivers/tools/hextext.h"

#include <QtGlobal>
#include <climits>
#include <cstring>

namespace
{

/// The bytes that a size stored in the frame takes.
const int StoredSizeBytes = 4;

/// Bytes of their own. Shared ones could be changed through data() after they were handed out, and
/// an array that merely wraps a buffer does not outlive it.
QByteArray ownCopy(const QByteArray& bytes)
{
    return QByteArray(bytes.constData(), bytes.size());
}

const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

qint64 sumOfFirst(const QList<int>& sizes, int count)
{
    qint64 sum = 0;
    for (int i = 0; i < count; ++i)
        sum += sizes.at(i);
    return sum;
}

} // namespace

TxPackage::TxPackage() {}

TxPackage::~TxPackage() {}

int TxPackage::numberOfSections() const
{
    return packageSizeList.size();
}

int TxPackage::totalSize() const
{
    return packageData.size();
}

bool TxPackage::setData(const QByteArray& bytes)
{
    packageData = ownCopy(bytes);
    return true;
}

bool TxPackage::setData(char* bytes, int len)
{
    if (len < 0)
        return false;
    packageData = QByteArray(bytes, len);
    return true;
}

char* TxPackage::data()
{
    return packageData.data();
}

QByteArray TxPackage::byteArrayData() const
{
    return ownCopy(packageData);
}

void TxPackage::clearAll()
{
    packageData.clear();
    packageSizeList.clear();
}

void TxPackage::setSectionSize(const QList<int>& sizes)
{
    const qint64 sum = sumOfFirst(sizes, sizes.size());
    if (sum > INT_MAX)
        return;
    const int oldSize = packageData.size();
    const int newSize = sum > 0 ? static_cast<int>(sum) : 0;
    packageData.resize(newSize);
    if (newSize > oldSize)
        std::memset(packageData.data() + oldSize, 0, static_cast<size_t>(newSize - oldSize));
    packageSizeList = sizes;
}

QString TxPackage::toString()
{
    return dumpByteArray(packageData);
}

bool TxPackage::appendSection(const QByteArray& bytes)
{
    const int size = bytes.size();
    packageData.append(bytes);
    packageSizeList.append(size);
    return true;
}

bool TxPackage::appendByte(unsigned char b)
{
    return appendSection(QByteArray(1, static_cast<char>(b)));
}

bool TxPackage::appendWord(unsigned short w)
{
    return appendSection(wordToByteArray(w));
}

bool TxPackage::appendDWord(unsigned int d)
{
    return appendSection(intToByteArray(static_cast<int>(d)));
}

bool TxPackage::appendString(const QString& text)
{
    return appendSection(qtcompat::toAscii(text));
}

bool TxPackage::appendByte2Ascii(unsigned char b)
{
    return appendSection(QByteArray(1, static_cast<char>(b)).toHex().toUpper());
}

bool TxPackage::appendLRCByte()
{
    return appendByte(lrc());
}

bool TxPackage::appendLRCAscii()
{
    return appendByte2Ascii(lrc());
}

bool TxPackage::appendFCSAscii(int)
{
    return appendByte2Ascii(static_cast<unsigned char>(calculateFCS(this, 0)));
}

bool TxPackage::validSectionNumber(int n) const
{
    return n >= 0 && n < numberOfSections();
}

int TxPackage::sectionStartIndex(int n) const
{
    if (!validSectionNumber(n))
        return -1;
    const qint64 start = sumOfFirst(packageSizeList, n);
    return static_cast<int>(qBound<qint64>(INT_MIN, start, INT_MAX));
}

int TxPackage::sectionSize(int n) const
{
    // A chain of references longer than the list goes in a circle.
    return resolvedSize(n, numberOfSections());
}

QByteArray TxPackage::dataAt(int n) const
{
    const int start = sectionStartIndex(n);
    const int size = sectionSize(n);
    if (start < 0 || start >= totalSize() || size <= 0)
        return QByteArray();
    return QByteArray(packageData.constData() + start, qMin(size, totalSize() - start));
}

int TxPackage::arrayToInt(const QByteArray& bytes) const
{
    return bytes.isEmpty() ? 0 : static_cast<unsigned char>(bytes.at(0));
}

int TxPackage::calculateFCS(TxPackage* package, int n)
{
    const QByteArray& bytes = package->packageData;
    if (n < 0 || n >= bytes.size())
        return 0;
    return XorUInt8CheckSum(bytesOf(bytes), bytes.size() - n);
}

unsigned char TxPackage::lrc() const
{
    return UInt8CheckSum(bytesOf(packageData), packageData.size());
}

int TxPackage::resolvedSize(int n, int referencesLeft) const
{
    if (!validSectionNumber(n))
        return 0;
    const int entry = packageSizeList.at(n);
    if (entry >= 0)
        return entry;
    if (referencesLeft == 0 || entry <= -numberOfSections())
        return 0;
    const int holder = -entry;
    const int start = sectionStartIndex(holder);
    if (start < 0 || start > totalSize() - StoredSizeBytes)
        return 0;
    if (resolvedSize(holder, referencesLeft - 1) < StoredSizeBytes)
        return 0;
    return QByteArrayToInt(packageData.mid(start, StoredSizeBytes));
}
