// What drivers put around their frames: checksums over a block, and the sections of an empty frame.
//
// Each checksum covers `len` bytes at `data` and is 0 when len is 0 or less.
#ifndef DRIVERS_TOOLS_FRAMECHECK_H
#define DRIVERS_TOOLS_FRAMECHECK_H

#include "drivers/export.h"

#include <QList>

/// The sum of the bytes modulo 256, or modulo 65536.
DRIVER_KIT_EXPORT unsigned char UInt8CheckSum(const unsigned char* data, int len);
DRIVER_KIT_EXPORT unsigned short UShortCheckSum(const unsigned char* data, int len);

/// The exclusive or of the bytes.
DRIVER_KIT_EXPORT unsigned char XorUInt8CheckSum(const unsigned char* data, int len);

/// CRC-16/ARC: update_crc_16_block over the bytes, starting from 0.
DRIVER_KIT_EXPORT unsigned short CRC16Calculate(const unsigned char* data, int len);

/// No sections, for TxPackage::setSectionSize.
DRIVER_KIT_EXPORT QList<int> EmptyPackageSizeList();

#endif
