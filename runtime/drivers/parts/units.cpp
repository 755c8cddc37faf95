#include "drivers/parts/units.h"

#include "drivers/communicatorcommand.h"

namespace driverkit
{

int unitBits(int dataType)
{
    switch (dataType) {
    case DataBit:
    case DataBitGroup:
        return 1;
    case DataByte:
    case DataBlock:
        return 8;
    case DataWord:
        return 16;
    case DataDoubleWord:
        return 32;
    case DataQuadWord:
        return 64;
    default:
        return 0;
    }
}

qint64 devicesFor(qint64 bits, int deviceBits)
{
    return bits <= 0 ? 0 : (bits - 1) / deviceBits + 1;
}

void appendValue(QByteArray* data, quint32 value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        data->append(static_cast<char>(value >> (8 * i) & 0xFF));
}

quint32 valueAt(const QByteArray& data, int index, int bytes)
{
    quint32 value = 0;
    for (int i = 0; i < bytes; ++i) {
        const qint64 place = qint64(index) * bytes + i;
        if (place < data.size())
            value |= static_cast<quint32>(static_cast<unsigned char>(data.at(int(place))))
                     << (8 * i);
    }
    return value;
}

} // namespace driverkit
