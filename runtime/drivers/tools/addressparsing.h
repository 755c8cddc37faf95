// Splits a device text such as DM100 into its symbol and its number. Which symbols exist, and in
// which base they count, is the driver's to say.
#ifndef DRIVERS_TOOLS_ADDRESSPARSING_H
#define DRIVERS_TOOLS_ADDRESSPARSING_H

#include "drivers/export.h"

#include <QByteArray>
#include <QString>

/// The letters and underscores that the text begins with, in their own case: "MR" for MR500.
/// Empty when the text begins with anything else. A letter is what isalpha() calls one.
DRIVER_KIT_EXPORT QByteArray ExtractPrefixSymbol(const QString& text);
DRIVER_KIT_EXPORT QByteArray ExtractPrefixSymbol(const QByteArray& text);

/// The number that runs from the first digit of the base to the end of the text: 500 for MR500.
/// In base 16 the letters A to F are digits, also those of a symbol: H1F gives 31, DM1F gives 0.
/// The number may begin with 0x there.
///
/// base   10, 16 or 8; any other gives -1
/// Returns 0, which looks like a real 0, when there is no number, when anything follows it, or when
///         it does not fit an int.
DRIVER_KIT_EXPORT int ExtractPLCDeviceAddress(const QString& text, int base);
DRIVER_KIT_EXPORT int ExtractPLCDeviceAddress(const QByteArray& text, int base);

#endif
