// Hexadecimal texts: a parser, and the form in which logs show bytes.
#ifndef DRIVERS_TOOLS_HEXTEXT_H
#define DRIVERS_TOOLS_HEXTEXT_H

#include "drivers/export.h"

#include <QByteArray>
#include <QString>

/// The value of a hexadecimal text in either case, with or without 0x in front.
///
/// text   ends at a zero byte or after len characters, whichever comes first
/// Returns the low 32 bits of the value; 0 for a text without digits and for one with anything but
///         digits in it.
DRIVER_KIT_EXPORT unsigned int HexToUInt(const char* text, int len);

/// The bytes on one line: 41 42 0A gives "(0X41 0X42 0Xa ) : AB" and the line feed. The text after
/// the colon ends at the first zero byte. Empty for an array whose line no QString could hold.
DRIVER_KIT_EXPORT QString dumpByteArray(const QByteArray& bytes);

#endif
