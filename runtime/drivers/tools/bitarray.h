// Single bits of integers, bit arrays packed into bytes, and the units that cover a run of bits.
//
// Bit 0 is the least significant bit. In a packed array bit n is bit n % 8 of byte n / 8. In an
// expanded array each bit is a byte of its own, 0 or 1. A number or count that is negative or
// reaches outside an array reads as false or as an empty array, and changes nothing.
//
// Give a char buffer as QByteArray::fromRawData(): converted by the compiler it would end at its
// first zero byte.
#ifndef DRIVERS_TOOLS_BITARRAY_H
#define DRIVERS_TOOLS_BITARRAY_H

#include "drivers/export.h"

#include <QByteArray>

// Bits of integers. A bit number at or above the width names no bit: setBit and clearBit
// return the value unchanged, getBit returns false.

DRIVER_KIT_EXPORT unsigned short setBit(unsigned short value, unsigned short bit);
DRIVER_KIT_EXPORT unsigned short clearBit(unsigned short value, unsigned short bit);
DRIVER_KIT_EXPORT bool getBit(unsigned short value, unsigned short bit);
DRIVER_KIT_EXPORT unsigned char setBit(unsigned char value, unsigned short bit);
DRIVER_KIT_EXPORT unsigned char clearBit(unsigned char value, unsigned short bit);
DRIVER_KIT_EXPORT bool getBit(unsigned char value, unsigned short bit);
DRIVER_KIT_EXPORT unsigned int setBit(unsigned int value, unsigned short bit);
DRIVER_KIT_EXPORT unsigned int clearBit(unsigned int value, unsigned short bit);
DRIVER_KIT_EXPORT bool getBit(unsigned int value, unsigned short bit);

// Bits of packed arrays. A plain buffer must hold byte n / 8.

DRIVER_KIT_EXPORT bool getBit(const QByteArray& bits, int n);
DRIVER_KIT_EXPORT bool getBit(const unsigned char* bits, int n);

/// Sets or clears bit n. An array too short for it grows by zero bytes until it ends with the byte
/// of that bit; a plain buffer never grows.
DRIVER_KIT_EXPORT void setBit(QByteArray& bits, int n, bool on);
DRIVER_KIT_EXPORT void setBit(unsigned char* bits, int n, bool on);

// How many bytes, words or double words a read from bit 0 on needs to cover bitCount bits after
// bitOffset others; the sum of the two wraps at 2^32. Then, how many larger units hold some bytes.

DRIVER_KIT_EXPORT unsigned NumOfBitsToNumOfBytes(unsigned bitOffset, unsigned bitCount);
DRIVER_KIT_EXPORT unsigned NumOfBitsToNumOfWords(unsigned bitOffset, unsigned bitCount);
DRIVER_KIT_EXPORT unsigned NumOfBitsToNumOfDWords(unsigned bitOffset, unsigned bitCount);
DRIVER_KIT_EXPORT unsigned NumOfBytesToNumOfWords(unsigned bytes);
DRIVER_KIT_EXPORT unsigned NumOfBytesToNumOfDWords(unsigned bytes);
DRIVER_KIT_EXPORT unsigned NumOfBytesToNumOfQuadWords(unsigned bytes);

// Whole packed arrays.

/// Truncates the array, or pads it with zero bytes, to the bytes that nbits bits need.
DRIVER_KIT_EXPORT void FitBitArray(QByteArray& bits, int nbits);

/// Clears the bits from nbits up to the end of their byte; nothing when nbits is a multiple of 8.
DRIVER_KIT_EXPORT void clearUnnecessaryBits(QByteArray& bits, int nbits);

/// Bits start to start + count - 1 as an expanded array of count bytes.
DRIVER_KIT_EXPORT QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start,
                                               int count);

/// Copies bits 0 to count - 1 of src to dst from bit dstStart on. dst grows as in setBit. The bits
/// go in rising order, so within one array the bits below dstStart repeat.
DRIVER_KIT_EXPORT void CopyBits(QByteArray& dst, QByteArray& src, int dstStart, int count);

/// Shifts the array by n bits towards bit 0. The n / 8 lowest bytes do not fall off, they go to the
/// top unchanged; only the bytes below them take part in the shift by the other n % 8 bits, which
/// brings in zeros: 11 22 33 by 12 gives 32 03 11. An n of 8 * size or more changes nothing.
DRIVER_KIT_EXPORT void RightShiftNBits(QByteArray& bits, int n);

/// A new array with the bytes in reverse order.
DRIVER_KIT_EXPORT QByteArray reverseArray(const QByteArray& bytes);

#endif
