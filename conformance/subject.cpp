#include "conformance/subject.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>
#include <QRegularExpression>

#include <algorithm>
#include <limits>

const Width Widths[7] = {
    {"bit", DataBit, 1, 1, "bit"},          {"byte", DataByte, 8, 1, "byte"},
    {"word", DataWord, 16, 2, "word"},      {"dword", DataDoubleWord, 32, 4, "dword"},
    {"quad", DataQuadWord, 64, 8, nullptr}, {"block", DataBlock, 8, 1, "byte"},
    {"group", DataBitGroup, 1, 1, "bit"},
};

namespace
{

/// What the description in a plug-in says of one area.
struct Area {
    QString letters;
    qint64 first = 0;
    std::optional<qint64> last;
    int deviceBits = 16;
    QStringList read;
    QStringList write;
};

QStringList textsIn(const QJsonValue& list)
{
    QStringList texts;
    for (const QJsonValue& text : list.toArray())
        texts << text.toString();
    return texts;
}

Area areaFrom(const QJsonObject& row)
{
    Area area;
    area.letters = row.value("letters").toString();
    area.first = qint64(row.value("first").toDouble());
    if (row.contains("last"))
        area.last = qint64(row.value("last").toDouble());
    const QString holds = row.value("holds").toString();
    area.deviceBits = holds == "bit" ? 1 : holds == "word" ? 16 : 32;
    area.read = textsIn(row.value("read"));
    area.write = textsIn(row.value("write"));
    return area;
}

std::vector<Area> areasIn(const QString& file)
{
    const QJsonObject metaData = QPluginLoader(QFileInfo(file).absoluteFilePath()).metaData();
    std::vector<Area> areas;
    for (const QJsonValue& row : metaData.value("MetaData").toObject().value("devices").toArray())
        areas.push_back(areaFrom(row.toObject()));
    return areas;
}

/// A device, and what is known of it.
struct Device {
    QString text;
    qint64 number;
    const Area* area; ///< null: the description has none of these letters
};

/// A device text as descriptions have them: a station perhaps, letters, a number.
Device deviceFrom(const QString& text, const std::vector<Area>& areas)
{
    static const QRegularExpression parts("^(?:\\d+:)?([A-Za-z]*)(\\d*)$");
    const QRegularExpressionMatch match = parts.match(text);
    const auto area = std::find_if(areas.begin(), areas.end(), [&](const Area& candidate) {
        return match.hasMatch() && candidate.letters == match.captured(1).toUpper();
    });
    return {text, match.captured(2).toLongLong(), area == areas.end() ? nullptr : &*area};
}

Declared declaredIn(const QStringList& widths, const char* name)
{
    return widths.contains(name) ? Declared::Yes : Declared::No;
}

/// Descriptions do not tell of quad words; what has no double words has none of them either.
Declared declaredFor(const Width& width, const QStringList& widths)
{
    if (width.declared)
        return declaredIn(widths, width.declared);
    return widths.contains("dword") ? Declared::Unknown : Declared::No;
}

Request requestFor(const Device& device, Direction direction, const Width& width,
                   const Choice& choice)
{
    Request request = {direction, &width, device.text, std::numeric_limits<qint64>::max(),
                       Declared::Unknown};
    const bool isRead = direction == Direction::Read;
    const std::optional<QStringList>& chosen = isRead ? choice.read : choice.write;
    if (device.area)
        request.declared = declaredFor(width, isRead ? device.area->read : device.area->write);
    if (chosen)
        request.declared = declaredIn(*chosen, width.name);
    if (device.area && device.area->last) {
        const qint64 devices = *device.area->last - device.number + 1;
        const int deviceBits = width.isBits() ? 1 : device.area->deviceBits;
        request.room = std::max(qint64(1), devices * deviceBits / width.bits);
    }
    return request;
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

std::vector<Request> requestsFor(const Choice& choice)
{
    const std::vector<Area> areas = areasIn(choice.file);
    std::vector<Request> requests;
    const auto add = [&](const QString& text, bool bits, bool values) {
        const Device device = deviceFrom(text, areas);
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
    for (const Area& area : areas)
        add(area.letters + QString::number(area.first), true, true);
    return requests;
}
