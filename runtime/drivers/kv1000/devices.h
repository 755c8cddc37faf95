// Device texts of the KV-1000: how the host link spells them, what their areas hold, and how a run
// of neighbours is counted and cut. It knows no port and no command.
#ifndef DRIVERS_KV1000_DEVICES_H
#define DRIVERS_KV1000_DEVICES_H

#include <QByteArray>
#include <QList>

#include <functional>

/// Longest device text, before and after conversion; fields for it have one byte more.
const int MaxDeviceTextLength = 10;

/// Turns a device text of the runtime into the host link's spelling: DM100 into DM00100, R5 into
/// 00005, TS12 into T0012. Texts of unknown areas are copied unchanged.
///
/// dst  a zero-filled field of MaxDeviceTextLength + 1 bytes
/// src  a text for which deviceTextFits
void KV1000GetSafeDeviceTypeNo(char* dst, const char* src);

/// Whether the area holds 16-bit words, read and written as five decimal digits.
bool KV1000UInt16DeviceType(const QByteArray& device);

/// Whether a write to the device is a "WSS", which sets set values, and not a "WRS".
bool KV1000SupportWSS(const char* device);

/// Whether a text can be sent: not empty, printable without blanks, at most MaxDeviceTextLength
/// characters long, and no longer than that while it is converted.
bool deviceTextFits(const QByteArray& device);

/// What the elements of an area are to the host link.
enum DeviceArea {
    WordArea,         ///< 16-bit words
    Value32Area,      ///< AT: 32-bit values
    TimerCounterArea, ///< T, C, CTC, CTH and their set values TS, CS, PCTC
    RelayArea,        ///< R, MR, LR, CR
    OtherArea
};
DeviceArea areaOf(const QByteArray& device);

/// TS, CS and PCTC: of a timer or counter the set value is meant, not the current one.
bool isSetValueDevice(const QByteArray& device);

/// Whether a bit read of the device is answered by timer and counter triples: T or C and a digit,
/// or CTC. The letters behind the first count as they stand, lower case is something else.
bool isContactDevice(const QByteArray& device);

/// CTC without the P in front: its current value can't be written.
bool isHighSpeedComparator(const QByteArray& device);

/// The text that a word command is built from: PCTC loses its P, all others stay.
QByteArray wordCommandDevice(const QByteArray& device);

/// How the numbers of neighbouring elements follow each other.
enum DeviceNumbering {
    CountsByOne,
    CountsByChannel, ///< channel x 100 + bit, bits 00 to 15
    Uncountable
};

/// Whether nothing but digits follows the first digit, and they make an int. A text that fails this
/// would be taken for bit 0.
bool hasPlainNumber(const QByteArray& device);

/// The numbering that a bit write walks along.
DeviceNumbering bitWriteNumbering(const QByteArray& device);

/// The number of the element `steps` behind `number`. A bit above 15 counts as the last of its
/// channel.
qint64 numberBehind(qint64 number, qint64 steps, DeviceNumbering numbering);

/// Neighbouring elements that one command covers.
struct DevicePart {
    QByteArray device; ///< the first element, spelled like the device texts of the runtime
    int count;
};

enum RunUnit { RunOfBits, RunOfValues };

/// Cuts a run of elements into parts that one command each can carry, as few as possible.
///
/// count     elements asked for; what one command can carry, 0 or less included, is one part
/// capacity  elements that a command starting at the given device can carry, 1 or more
/// Returns no part when the run needs several commands but its elements can't be counted, or when
///         it would leave the digits of its area.
QList<DevicePart> splitRun(const QByteArray& device, qint64 count, RunUnit unit,
                           const std::function<int(const QByteArray&)>& capacity);

#endif
