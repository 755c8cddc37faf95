// Checksums over a block.
#include "drivers/tools/framecheck.h"

#include "drivers/crc.h"

unsigned char UInt8CheckSum(const unsigned char* data, int len)
{
    return static_cast<unsigned char>(UShortCheckSum(data, len));
}

unsigned short UShortCheckSum(const unsigned char* data, int len)
{
    unsigned int sum = 0;
    for (int i = 0; i < len; ++i)
        sum += data[i];
    return static_cast<unsigned short>(sum);
}

unsigned char XorUInt8CheckSum(const unsigned char* data, int len)
{
    unsigned char check = 0;
    for (int i = 0; i < len; ++i)
        check = static_cast<unsigned char>(check ^ data[i]);
    return check;
}

unsigned short CRC16Calculate(const unsigned char* data, int len)
{
    return update_crc_16_block(0, data, len);
}

QList<int> EmptyPackageSizeList()
{
    return QList<int>();
}
