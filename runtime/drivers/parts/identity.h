// Who a driver is, as data: names, default line, limits and the widths it serves. The settings
// record and the text of the default line both come from here.
#ifndef DRIVERS_PARTS_IDENTITY_H
#define DRIVERS_PARTS_IDENTITY_H

#include "drivers/communicatorcommand.h"
#include "drivers/export.h"
#include "drivers/linecodes.h"

#include <QString>

class DeviceSetting;
class DriverSetting;

namespace driverkit
{

/// Widths for masks; blocks count as bytes and bit groups as bits.
enum Widths {
    NoWidths = 0,
    Bits = 1 << DataBit | 1 << DataBitGroup,
    Bytes = 1 << DataByte | 1 << DataBlock,
    Words = 1 << DataWord,
    DoubleWords = 1 << DataDoubleWord,
    QuadWords = 1 << DataQuadWord
};

/// A serial line.
struct DefaultLine {
    const char* port; ///< the runtime's name, such as "COM2"
    int baud;         ///< bits per second
    int dataBits;
    ParityCode parity;
    StopBitsCode stopBits;
};

struct DefaultExchange {
    int timeoutMs;
    int retries;
    int station;
    int delayMs; ///< pause before a request
};

/// Widths or'ed together.
struct ServedWidths {
    int read;
    int write;
};

/// The most units of one request.
struct BlockLimits {
    int units;
    int bits;
};

struct Identity {
    const char* name;
    const char* vendor;
    const char* version;
    DefaultLine line;
    int portKinds; ///< device_type codes or'ed together, SerialPortDevice among them
    DefaultExchange exchange;
    BlockLimits blocks;
    ServedWidths widths;
};

/// Whether a mask of widths has the width of a DriverDataType code; codes without a name never.
DRIVER_KIT_EXPORT bool serves(int widths, int dataType);

/// A new record that the caller owns.
DRIVER_KIT_EXPORT DeviceSetting* newDeviceSetting(const DefaultLine& line);
DRIVER_KIT_EXPORT DriverSetting* newDriverSetting(const DefaultExchange& exchange);

/// The line as text, such as "RS232,9600,EVEN,8,1".
DRIVER_KIT_EXPORT QString lineText(const DefaultLine& line);

} // namespace driverkit

#endif
