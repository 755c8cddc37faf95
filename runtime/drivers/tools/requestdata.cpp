// What kind of request, and how many data bytes it covers.
#include "drivers/tools/requestdata.h"

#include <climits>

namespace
{

int bytesOfBits(quint32 bitCount)
{
    return static_cast<int>((bitCount >> 3) + ((bitCount & 7) != 0 ? 1 : 0));
}

int bytesOfUnits(qint64 units, int unitBytes)
{
    const qint64 bytes = units * unitBytes;
    return bytes >= INT_MIN && bytes <= INT_MAX ? static_cast<int>(bytes) : 0;
}

} // namespace

bool isBitCommand(const CommunicatorCommand& command)
{
    return command.dataType == DataBit;
}

bool isByteCommand(const CommunicatorCommand& command)
{
    return command.dataType == DataByte;
}

bool isWordCommand(const CommunicatorCommand& command)
{
    return command.dataType == DataWord;
}

bool isDoubleWordCommand(const CommunicatorCommand& command)
{
    return command.dataType == DataDoubleWord;
}

bool isBlockCommand(const CommunicatorCommand& command)
{
    return command.dataType == DataBlock;
}

int GetSafeDataLen(const CommunicatorCommand& command)
{
    switch (command.dataType) {
    case DataBit:
    case DataBitGroup:
        return bytesOfBits(static_cast<quint32>(command.length));
    case DataByte:
    case DataBlock:
        return command.length;
    case DataWord:
        return bytesOfUnits(command.length, 2);
    case DataDoubleWord:
        return bytesOfUnits(command.length, 4);
    case DataQuadWord:
        return bytesOfUnits(command.length, 8);
    default:
        return 0;
    }
}

QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data)
{
    const int size = GetSafeDataLen(command);
    if (size <= 0)
        return QByteArray();
    if (size <= data.size())
        return data.left(size);
    return data + QByteArray(size - data.size(), '\0');
}
