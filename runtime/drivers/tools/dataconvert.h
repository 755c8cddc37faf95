// Turns the little-endian byte arrays of the runtime into the forms that protocols need, and back.
// Bytes that padding adds are zero and come at the end.
//
// Give a char buffer as QByteArray::fromRawData(): converted by the compiler it would end at its
// first zero byte.
#ifndef DRIVERS_TOOLS_DATACONVERT_H
#define DRIVERS_TOOLS_DATACONVERT_H

#include "drivers/export.h"

#include <QByteArray>

// Reading the value at the start of an array. Missing bytes count as 0, further ones are ignored.

DRIVER_KIT_EXPORT int QByteArrayToInt(const QByteArray& bytes);             ///< 4 bytes
DRIVER_KIT_EXPORT unsigned short QByteArrayToWord(const QByteArray& bytes); ///< 2 bytes
DRIVER_KIT_EXPORT short QByteArrayToShort(const QByteArray& bytes); ///< 2 bytes; FF FF is -1
DRIVER_KIT_EXPORT bool getBitData(const QByteArray& bytes);         ///< the lowest bit of byte 0

// Making an array from a value, least significant byte first.

DRIVER_KIT_EXPORT QByteArray wordToByteArray(unsigned short value); ///< 2 bytes
DRIVER_KIT_EXPORT QByteArray shortToByteArray(short value);         ///< 2 bytes
DRIVER_KIT_EXPORT QByteArray intToByteArray(int value);             ///< 4 bytes

// Exchanging the byte order of 16-bit (UShort) or 32-bit (ULong) elements, which keep their places.

/// A new array of `count` elements taken from `source`, which holds at least as many. Empty for a
/// count of 0 or less and for one whose bytes an int cannot count.
DRIVER_KIT_EXPORT QByteArray fromBigEndianUShortArray(const unsigned char* source, int count);
DRIVER_KIT_EXPORT QByteArray fromBigEndianULongArray(const unsigned char* source, int count);

/// Swaps in place. A partial element at the end is left as it is.
DRIVER_KIT_EXPORT void toLittleEndianUShortArray(QByteArray& bytes);
DRIVER_KIT_EXPORT void toLittleEndianULongArray(QByteArray& bytes);

/// A copy, padded to whole elements first and swapped then: 01 02 03 gives 02 01 00 03.
DRIVER_KIT_EXPORT QByteArray toBigEndianUShortArray(const QByteArray& bytes);
DRIVER_KIT_EXPORT QByteArray toBigEndianULongArray(const QByteArray& bytes);

/// The data padded to whole units of 2, 4 or 8 bytes; whole units come back unchanged.
DRIVER_KIT_EXPORT QByteArray To16bitsData(const QByteArray& data);
DRIVER_KIT_EXPORT QByteArray To32bitsData(const QByteArray& data);
DRIVER_KIT_EXPORT QByteArray To64bitsData(const QByteArray& data);

/// True where the low byte of a number comes first in memory, as on the panel's processor, and
/// false elsewhere. The name says the opposite; the answer is what callers have come to rely on.
DRIVER_KIT_EXPORT bool isBigEndian();

#endif
