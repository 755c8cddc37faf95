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

struct Device;

/// Opens and closes the link.
const char OpenCommand[] = "CR\r\n";
const char CloseCommand[] = "CQ\r\n";

/// Whether the read of `count` devices fits its buffer; one that does not must be refused, never
/// sent.
bool readCommandFits(const Device& first, int count);

/// Formats the "ST" (set) or "RS" (reset) of one bit.
///
/// buffer  receives the text; nothing is written beyond `size`
/// symbol  the device's letters, ignoring case
/// Returns the length of the text; 0 when no command writes bits of such a symbol.
int formatBitCommand(char* buffer, int size, const char* symbol, int number, bool value);

/// How many values of `valueBytes` bytes, 2 or 4, a write to a device can carry in a buffer of
/// `size` bytes.
int writeCapacity(int size, const Device& first, int valueBytes);

} // namespace kv1000

/// Sends "RDS", the read of `count` devices, after dropping what was received and not read.
void KV1000SendContinuousReadDataCmd(driverkit::Exchange& exchange, const kv1000::Device& first,
                                     int count);

/// Formats the "WRS" or "WSS" of 16-bit or 32-bit values.
///
/// buffer  receives the text; nothing is written beyond `size`
/// count   values, of 2 or 4 bytes, least significant byte first
/// Returns the length of the text.
int KV1000PackWriteContinuousUInt16sCmd(char* buffer, int size, const kv1000::Device& first,
                                        const char* values, int count);
int KV1000PackWriteContinuousUInt32sCmd(char* buffer, int size, const kv1000::Device& first,
                                        const char* values, int count);

#endif
