// Turns the little-endian byte arrays of the runtime into the forms that protocols want, and back.
// It knows no protocol and no request. Bytes that padding adds are zero and stand at the end.
#ifndef DRIVERS_TOOLS_DATACONVERT_H
#define DRIVERS_TOOLS_DATACONVERT_H

#include "drivers/export.h"

#include <QByteArray>

/// The data padded to whole units of 2 or 4 bytes; whole units come back unchanged.
DRIVER_KIT_EXPORT QByteArray To16bitsData(const QByteArray& data);
DRIVER_KIT_EXPORT QByteArray To32bitsData(const QByteArray& data);

#endif
