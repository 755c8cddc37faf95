// The frame builder: bytes, section sizes and the two simple checks.
#include "drivers/txpackage.h"

#include "drivers/internal/qtcompat.h"
#include "drivers/tools/dataconvert.h"
#include "drivers/tools/framecheck.h"
#include "drivers/tools/hextext.h"

#include <QtEndian>
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

unsigned char sumOf(const QByteArray& bytes)
{
    return UInt8CheckSum(bytesOf(bytes), bytes.size());
}

/// Where each section starts, and after the last of them the sum of all entries.
std::vector<qint64> startsOf(const QList<int>& entries)
{
    std::vector<qint64> starts(1, 0);
    starts.reserve(static_cast<size_t>(entries.size()) + 1);
    for (int i = 0; i < entries.size(); ++i)
        starts.push_back(starts.back() + entries.at(i));
    return starts;
}

/// The number in the four bytes from `start` on; 0 when the frame does not hold them all.
int storedNumber(const QByteArray& frame, int start)
{
    if (start < 0 || start > frame.size() - StoredSizeBytes)
        return 0;
    return qFromLittleEndian<qint32>(bytesOf(frame) + start);
}

} // namespace

TxPackage::TxPackage()
    : packageStartList(1, 0)
{
}

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
    packageStartList.resize(1);
}

void TxPackage::setSectionSize(const QList<int>& sizes)
{
    std::vector<qint64> starts = startsOf(sizes);
    const qint64 sum = starts.back();
    if (sum > INT_MAX)
        return;
    const int oldSize = packageData.size();
    const int newSize = sum > 0 ? static_cast<int>(sum) : 0;
    packageData.resize(newSize);
    if (newSize > oldSize)
        std::memset(packageData.data() + oldSize, 0, static_cast<size_t>(newSize - oldSize));
    packageSizeList = sizes;
    packageStartList.swap(starts);
}

QString TxPackage::toString()
{
    return dumpByteArray(packageData);
}

bool TxPackage::appendSection(const QByteArray& bytes)
{
    packageData.append(bytes);
    packageSizeList.append(bytes.size());
    packageStartList.push_back(packageStartList.back() + bytes.size());
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
    return appendByte(sumOf(packageData));
}

bool TxPackage::appendLRCAscii()
{
    return appendByte2Ascii(sumOf(packageData));
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
    return static_cast<int>(
        qBound<qint64>(INT_MIN, packageStartList[static_cast<size_t>(n)], INT_MAX));
}

int TxPackage::sectionSize(int n) const
{
    // From section to section as the entries name them. All but the first hold a size, for which
    // they need the bytes; going on longer than there are sections is going in a circle.
    int size = 0;
    int section = n;
    for (int passed = 0; passed <= numberOfSections() && validSectionNumber(section); ++passed) {
        const int entry = packageSizeList.at(section);
        const int named = entry == INT_MIN ? INT_MAX : -entry;
        const int own = entry >= 0 ? entry : storedNumber(packageData, sectionStartIndex(named));
        if (passed == 0)
            size = own;
        else if (own < StoredSizeBytes)
            return 0;
        if (entry >= 0 || named == section)
            return size;
        section = named;
    }
    return 0;
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
