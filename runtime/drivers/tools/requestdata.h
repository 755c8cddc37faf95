// Classifies a request by its width and fits data to its size.
#ifndef DRIVERS_TOOLS_REQUESTDATA_H
#define DRIVERS_TOOLS_REQUESTDATA_H

#include "drivers/communicatorcommand.h"
#include "drivers/export.h"

#include <QByteArray>

// Quad words and bit groups have no classifier; all return false for them.

DRIVER_KIT_EXPORT bool isBitCommand(const CommunicatorCommand& command);
DRIVER_KIT_EXPORT bool isByteCommand(const CommunicatorCommand& command);
DRIVER_KIT_EXPORT bool isWordCommand(const CommunicatorCommand& command);
DRIVER_KIT_EXPORT bool isDoubleWordCommand(const CommunicatorCommand& command);
DRIVER_KIT_EXPORT bool isBlockCommand(const CommunicatorCommand& command);

/// The data bytes of `length` units: bits packed eight to a byte and rounded up, with `length`
/// taken as unsigned; bytes as many as `length` says, words times 2, double words times 4, quad
/// words times 8. 0 for a code without a name and for a number of bytes that does not fit an int.
DRIVER_KIT_EXPORT int GetSafeDataLen(const CommunicatorCommand& command);

/// The data cut, or padded with zero bytes, to exactly GetSafeDataLen bytes; empty when that is
/// negative.
DRIVER_KIT_EXPORT QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data);

#endif
