// What is known of the KV-1000's device areas, in one table, and device texts taken apart by it.
#ifndef DRIVERS_KV1000_DEVICES_H
#define DRIVERS_KV1000_DEVICES_H

#include "drivers/parts/devicetext.h"
#include "drivers/parts/runs.h"

#include <QByteArray>

namespace kv1000
{

/// Longest device text, before and after it is spelled for the host link.
enum { MaxDeviceTextLength = 10 };

/// What a device is to the host link.
enum Holds {
    Unknown,
    Word,    ///< 16 bits, five digits on the wire
    Value32, ///< 32 bits, ten digits
    Counter, ///< a timer or counter: contact, current value and set value
    Relay    ///< one bit
};

/// How a device text is spelled for the host link, apart from the zeros added to its number.
enum Spelling {
    AsGiven,
    WithoutFirstLetter,        ///< PCTC3 is CTC3; no zeros
    DigitsWithoutFirstLetter,  ///< R100 is 00100, cut to the area's digits
    DigitsWithoutSecondLetter, ///< TS12 is T0012, cut to the letter and the area's digits
};

/// How bits are read and written.
enum BitAccess {
    NoBits,      ///< no command writes them
    RelayBits,   ///< counted by channel
    ContactBits, ///< contacts of timers and counters: counted by one, read as triples
};

/// A row of the table.
struct Area {
    const char* symbol; ///< how a text begins, ignoring case
    bool beforeDigit;   ///< only where a digit follows the symbol
    int digits;         ///< that the host link requires of a number; 0: any, as given
    Spelling spelling;
    Holds holds;
    bool isSetValue;     ///< of a timer or counter the set value is meant, not the current one
    const char* command; ///< that writes values: "WRS", or "WSS" for set values
    BitAccess bits;
    const char* bitSymbol; ///< in the commands that write bits
    int bitDigits;
};

/// The first row that matches a text ended by a NUL; the last row matches every text.
const Area& areaOf(const char* text);

/// A device text taken apart, with what the table says of it. Of a text that does not fit, only the
/// area is known.
struct Device {
    driverkit::DeviceText text;
    const Area* area;
    Holds holds;
    int wireLength;
    char wire[MaxDeviceTextLength + 1]; ///< as the host link spells it, ended by a NUL

    explicit Device(const QByteArray& deviceText);

    /// Whether the text can be sent: not empty, printable without blanks, and no longer than
    /// MaxDeviceTextLength before and after it is spelled. `wire` is empty when it can't.
    bool fits() const { return wireLength > 0; }

    /// Whether bits are read as contacts. All letters of CTC but the first must be capitals: the
    /// bits of "cTC3" are contacts, those of "ctc3" are not.
    bool readsContacts() const;
};

/// The device that commands for values name: CTC3 for PCTC3, its set value; any other device
/// itself.
Device valueDevice(const Device& device);

enum RunUnit { RunOfBits, RunOfValues };

/// A device and those that follow it.
class DeviceRun
{
public:
    DeviceRun(const Device& first, qint64 count, RunUnit unit);

    qint64 count() const { return m_count; }

    /// Whether the run can be cut: its devices count in a known way and none leaves the digits of
    /// its area.
    bool canBeCut() const;

    /// The device `offset` places after the first.
    Device at(qint64 offset) const;

private:
    qint64 numberAt(qint64 offset) const;

    Device m_first;
    qint64 m_count;
    RunUnit m_unit;
};

/// CTC without the P before it: its current value can't be written.
bool isHighSpeedComparator(const Area& area);

/// The numbering that a bit write walks along.
driverkit::Numbering bitWriteNumbering(const Area& area);

/// Whether the number of a text is 0 or missing: nothing but zeros from the first digit on.
bool isNumberZero(const QByteArray& text);

} // namespace kv1000

// Conversions and classifications of device texts by the same table.

/// Turns a device text into the host link's spelling: DM100 into DM00100, R5 into 00005, TS12 into
/// T0012. Texts of unknown areas are copied unchanged.
///
/// dst  a zero-filled field of MaxDeviceTextLength + 1 bytes
/// src  a text that fits it, with the zeros added
void KV1000GetSafeDeviceTypeNo(char* dst, const char* src);

/// Whether the area holds 16-bit words.
bool KV1000UInt16DeviceType(const QByteArray& device);

/// Whether a write to the device is a "WSS", which writes set values, and not a "WRS".
bool KV1000SupportWSS(const char* device);

#endif
