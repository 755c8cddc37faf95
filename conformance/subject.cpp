#include "conformance/subject.h"

#include "host/driverdescription.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

using host::DeviceArea;
using host::DriverDescription;

/// A device, and what is known of it.
struct Device {
    QString text;
    qint64 number;
    const DeviceArea* area; ///< null: the description has none of these letters
};

/// A device text as descriptions have them: a station perhaps, letters, a number.
Device deviceFrom(const QString& text, const DriverDescription& description)
{
    static const QRegularExpression parts("^(?:\\d+:)?([A-Za-z]*)(\\d*)$");
    const QRegularExpressionMatch match = parts.match(text);
    const std::string letters = match.captured(1).toStdString();
    return {text, match.captured(2).toLongLong(),
            match.hasMatch() ? description.area(letters) : nullptr};
}

/// How many devices come before the one of this number.
qint64 placeOf(qint64 number, host::Numbering numbering)
{
    return numbering == host::Numbering::Channel
               ? number / 100 * 16 + std::min(number % 100, qint64(15))
               : number;
}

/// The last number of an area, as far as it is known.
qint64 lastOf(const DeviceArea& area)
{
    constexpr int MostDigits = 9; // so that counts of bits fit
    const int digits = std::min(area.digits.value_or(MostDigits), MostDigits);
    return area.last.value_or(qint64(std::pow(10, digits)) - 1);
}

/// How many units one request can have from the device on, at least 1.
qint64 roomFrom(const Device& device, const Width& width)
{
    if (!device.area)
        return std::numeric_limits<qint64>::max();
    const host::Numbering numbering = device.area->numbering;
    const qint64 existing =
        placeOf(lastOf(*device.area), numbering) - placeOf(device.number, numbering) + 1;
    const qint64 devices = std::min(existing, qint64(device.area->block.value_or(existing)));
    const DriverDataType unit = deviceWidth(device.area->holds);
    const int deviceBits = width.isBits() || unit == DataBit ? 1 : unit == DataWord ? 16 : 32;
    return std::max(qint64(1), devices * deviceBits / width.bits);
}

/// Descriptions do not mention quad words; what has no double words has no quad words either.
Declared declaredFor(const Width& width, const host::Widths& widths)
{
    if (!widths.has(width.declared.value_or(DataDoubleWord)))
        return Declared::No;
    return width.declared ? Declared::Yes : Declared::Unknown;
}

Request requestFor(const Device& device, Direction direction, const Width& width,
                   const Choice& choice)
{
    const bool isRead = direction == Direction::Read;
    const std::optional<QStringList>& chosen = isRead ? choice.read : choice.write;
    Declared declared = Declared::Unknown;
    if (chosen)
        declared = chosen->contains(width.name) ? Declared::Yes : Declared::No;
    else if (device.area)
        declared = declaredFor(width, isRead ? device.area->read : device.area->write);
    return {direction, &width, device.text, roomFrom(device, width), declared};
}

} // namespace

std::string Request::kind() const
{
    return std::string(direction == Direction::Read ? "read " : "write ") + width->name;
}

std::string Request::name() const
{
    return kind() + " " + device.toStdString();
}

std::vector<Request> requestsFor(const Choice& choice, const DriverDescription& description)
{
    std::vector<Request> requests;
    const auto add = [&](const QString& text, bool bits, bool values) {
        const Device device = deviceFrom(text, description);
        for (Direction direction : {Direction::Read, Direction::Write})
            for (const Width& width : Widths)
                if (width.isBits() ? bits : values)
                    requests.push_back(requestFor(device, direction, width, choice));
    };
    if (!choice.wordDevice.isEmpty())
        add(choice.wordDevice, false, true);
    if (!choice.bitDevice.isEmpty())
        add(choice.bitDevice, true, false);
    if (!requests.empty())
        return requests;
    for (const DeviceArea& area : description.areas)
        add(QString::fromStdString(area.letters + std::to_string(area.first.value_or(0))), true,
            true);
    return requests;
}
