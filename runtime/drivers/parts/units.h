// The units of a request and the values of devices: how many devices a request covers, and how
// their values lie in its data.
#ifndef DRIVERS_PARTS_UNITS_H
#define DRIVERS_PARTS_UNITS_H

#include "drivers/export.h"

#include <QByteArray>

namespace driverkit
{

/// The bits of one unit of a DriverDataType: 1, 8, 16, 32 or 64; 0 for a code without a name.
DRIVER_KIT_EXPORT int unitBits(int dataType);

/// How many devices of `deviceBits` bits hold `bits` bits, rounded up; 0 for 0 or fewer.
DRIVER_KIT_EXPORT qint64 devicesFor(qint64 bits, int deviceBits);

/// Appends a value in 1 to 4 bytes, least significant byte first.
DRIVER_KIT_EXPORT void appendValue(QByteArray* data, quint32 value, int bytes);

/// Value `index`, 0 or more, of data that holds values of 1 to 4 bytes. Bytes beyond the end count
/// as 0.
DRIVER_KIT_EXPORT quint32 valueAt(const QByteArray& data, int index, int bytes);

} // namespace driverkit

#endif
