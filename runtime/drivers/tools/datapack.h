// Builds binary records and takes them apart by format texts such as "vN4C", one letter a field.
// Nothing here knows how long the caller's buffers are: they must hold what the format describes.
//
// A format is items without anything between them; an item is a letter for one value, or a decimal
// count and a letter for a run of elements in the caller's memory. Arguments come in the order of
// the items, one for each item that takes one.
//
//   letter      bytes  order          pack takes      unpack stores through
//   C c         1                     int             unsigned char*
//   S s v       2      little-endian  int             unsigned short*
//   n           2      big-endian     int             unsigned short*
//   I i L l V   4      little-endian  int             unsigned int*
//   N           4      big-endian     int             unsigned int*
//   x           1                     -, writes 0     -, skips it
//   X           1                     -, leaves it    -, skips it
//
//   run         bytes  takes a pointer to
//   kC kc       k      bytes, copied
//   kv          2k     16-bit elements, copied as they lie in memory
//   kn          2k     16-bit elements, the two bytes of each swapped
//   kV          4k     32-bit elements, copied as they lie in memory
//   kN          4k     32-bit elements, the four bytes of each reversed
//   kx kX       k      nothing; as x and X, not in ByteArrayPack
//
// Reading stops at the first bad item, and what was written before it stays written. A character
// that is not a letter of the first table is a bad letter; a count before any letter but those of
// the second table, a count of 0 before one that takes an argument, and a record longer than an int
// can count are a bad count.
#ifndef DRIVERS_TOOLS_DATAPACK_H
#define DRIVERS_TOOLS_DATAPACK_H

#include "drivers/export.h"

#include <QByteArray>
#include <cstdarg>

/// Packs into the caller's buffer.
/// Returns the bytes from the start of `destination` to where packing ended, those stepped over
///         included; 0 at a bad letter, -1 at a bad count.
DRIVER_KIT_EXPORT int DataPack(unsigned char* destination, const char* format, ...);
DRIVER_KIT_EXPORT int VDataPack(unsigned char* destination, const char* format, va_list values);

/// Packs into a new array, in which the bytes of X are zero.
/// Returns an empty array at a bad letter or count, and at a count before x or X.
DRIVER_KIT_EXPORT QByteArray ByteArrayPack(const char* format, ...);
DRIVER_KIT_EXPORT QByteArray VByteArrayPack(const char* format, va_list values);

/// Unpacks from the caller's buffer. No sign is ever extended.
/// Returns the bytes from the start of `source` to where unpacking ended, those skipped included;
///         -1 at a bad letter or count.
DRIVER_KIT_EXPORT int DataUnpack(const unsigned char* source, const char* format, ...);
DRIVER_KIT_EXPORT int VDataUnpack(const unsigned char* source, const char* format, va_list targets);

/// Appends the high byte of `value`, then its low byte.
DRIVER_KIT_EXPORT void appendBigEndianUShort(QByteArray& bytes, unsigned short value);

#endif
