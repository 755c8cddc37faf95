// Every text that goes out to the controller.
#ifndef DRIVERS_KV1000_COMMANDS_H
#define DRIVERS_KV1000_COMMANDS_H

#include <QByteArray>

class AbstractDeviceInterface;

namespace driverkit
{
class Exchange;
}

namespace kv1000
{

struct Area;
struct Device;

/// Opens and closes the link.
const char OpenCommand[] = "CR\r\n";
const char CloseCommand[] = "CQ\r\n";

/// Whether the read of `count` devices fits its buffer; one that does not must be refused.
bool readCommandFits(const Device& first, int count);

/// Formats the "ST" (set) or "RS" (reset) of one bit.
///
/// buffer  receives the text; nothing is written beyond `size`
/// Returns the length of the text; 0 when no command writes bits of the area.
int formatBitCommand(char* buffer, int size, const Area& area, int number, bool value);

/// How values are written: a "WRS" or "WSS" of as many as fit its buffer.
struct WriteForm {
    int valueBytes;
    int valueLength; ///< characters of a value in the command, its blank included

    /// Lengthens data to whole values with zeros.
    QByteArray (*pad)(const QByteArray& data);

    /// Formats the command.
    ///
    /// buffer  receives the text; nothing is written beyond `size`
    /// values  `count` of them, each of valueBytes, least significant byte first
    /// count   at most capacity(size, first); more may give an incomplete command
    /// Returns the length of the text.
    int (*format)(char* buffer, int size, const Device& first, const char* values, int count);

    /// The most values of one command in a buffer of `size` bytes.
    int capacity(int size, const Device& first) const;
};

extern const WriteForm WordWrite;    ///< five digits
extern const WriteForm Value32Write; ///< ten digits

} // namespace kv1000

/// Sends "RDS", the read of `count` devices, after dropping what was received and not read. Only
/// for commands that pass readCommandFits().
void KV1000SendContinuousReadDataCmd(driverkit::Exchange& exchange, const kv1000::Device& first,
                                     int count);

#endif
