// Widths and byte orders of byte arrays.
#include "drivers/tools/dataconvert.h"

namespace
{

QByteArray paddedToUnits(const QByteArray& data, int unitBytes)
{
    const int partial = data.size() % unitBytes;
    return partial == 0 ? data : data + QByteArray(unitBytes - partial, '\0');
}

} // namespace

QByteArray To16bitsData(const QByteArray& data)
{
    return paddedToUnits(data, 2);
}

QByteArray To32bitsData(const QByteArray& data)
{
    return paddedToUnits(data, 4);
}
