// Every text that goes out to the controller. It knows no reply and keeps no state.
#ifndef DRIVERS_KV1000_COMMANDS_H
#define DRIVERS_KV1000_COMMANDS_H

#include <QByteArray>

class AbstractDeviceInterface;

/// Opens and closes the link.
const char OpenCommand[] = "CR\r\n";
const char CloseCommand[] = "CQ\r\n";

/// Tells the port to discard received bytes that nobody has read, before a new exchange.
void discardUnreadInput(AbstractDeviceInterface* port);

/// Sends the text of one command.
void sendCommand(AbstractDeviceInterface* port, const char* text, int length);

/// Sends "RDS", the read of `count` elements from the device text `address` on.
void KV1000SendContinuousReadDataCmd(AbstractDeviceInterface* port, const QByteArray& address,
                                     int count);

/// Whether that command fits its buffer; one that does not must be refused, never sent.
bool readCommandFits(const QByteArray& address, int count);

/// Formats the "ST" (set) or "RS" (reset) of one bit.
///
/// buffer  receives the text and a NUL
/// symbol  the device's letters, ignoring case
/// Returns the length of the text; 0 when bits of such a symbol can't be written.
int formatBitCommand(char* buffer, int size, const QByteArray& symbol, int number, bool value);

/// Formats the "WRS" or "WSS" of 16-bit or 32-bit values.
///
/// buffer  receives the text and a NUL; nothing is written beyond `size`
/// device  a text for which deviceTextFits
/// data    whole values, least significant byte first
/// Returns the length of the text.
int KV1000PackWriteContinuousUInt16sCmd(char* buffer, int size, const char* device,
                                        const QByteArray& data);
int KV1000PackWriteContinuousUInt32sCmd(char* buffer, int size, const char* device,
                                        const QByteArray& data);

/// How many values of `valueBytes` bytes, 2 or 4, a write to `device` can carry in a buffer of
/// `size` bytes.
int writeCapacity(int size, const QByteArray& device, int valueBytes);

#endif
