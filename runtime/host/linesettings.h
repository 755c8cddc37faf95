// The parameters of a serial line, from texts and from settings records.
#ifndef HOST_LINESETTINGS_H
#define HOST_LINESETTINGS_H

#include "drivers/linecodes.h"

#include <QString>

#include <optional>

class DeviceSetting;

namespace host
{

/// By the codes in a DeviceSetting.
enum class Parity {
    None = driverkit::NoParity,
    Odd = driverkit::OddParity,
    Even = driverkit::EvenParity,
    Mark = driverkit::MarkParity,
    Space = driverkit::SpaceParity
};

/// By the codes in a DeviceSetting. No port here offers one and a half.
enum class StopBits { One = driverkit::OneStopBit, Two = driverkit::TwoStopBits };

struct LineSettings {
    int baud = 9600; ///< bits per second
    Parity parity = Parity::Even;
    int dataBits = 8; ///< 5 to 8
    StopBits stopBits = StopBits::One;
    const char* kind = "RS232"; ///< or RS422 or RS485; the adapter's business, and only shown
};

/// Reads the text form: kind, baud rate, parity, data bits and stop bits, such as
/// "RS232,9600,EVEN,8,1". Letter case and blanks around the fields do not matter.
///
/// error  receives a sentence that names the bad field; untouched on success
std::optional<LineSettings> lineSettingsFromText(const QString& text, QString* error);

/// The text form, such as "RS232,9600,EVEN,8,1".
QString textOf(const LineSettings& line);

/// The bits of one character on the line: start bit, data bits, parity bit and stop bits.
int bitsPerCharacter(const LineSettings& line);

/// Reads the line fields of a settings record, which holds the codes of drivers/linecodes.h.
std::optional<LineSettings> lineSettingsFrom(const DeviceSetting& setting, QString* error);

} // namespace host

#endif
