#include "host/driverdescription.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>

#include <algorithm>
#include <stdexcept>

namespace host
{

namespace
{

/// What is wrong with a description. It does not leave this file.
struct BadDescription : std::runtime_error {
    explicit BadDescription(const QString& reason)
        : std::runtime_error(reason.toStdString())
    {
    }
};

template <typename Value>
struct Named {
    const char* name;
    Value value;
};

const Named<Numbering> numberings[] = {
    {"decimal", Numbering::Decimal},
    {"channel", Numbering::Channel},
};

const Named<Holds> holdings[] = {
    {"bit", Holds::Bit},
    {"word", Holds::Word},
    {"dword", Holds::DoubleWord},
    {"counter", Holds::Counter},
};

const Named<DriverDataType> widths[] = {
    {"bit", DataBit},
    {"byte", DataByte},
    {"word", DataWord},
    {"dword", DataDoubleWord},
};

template <typename Value, std::size_t Count>
const char* nameIn(const Named<Value> (&table)[Count], Value value)
{
    for (const auto& row : table) {
        if (row.value == value)
            return row.name;
    }
    return "";
}

template <typename Value, std::size_t Count>
QString namesOf(const Named<Value> (&table)[Count])
{
    QStringList names;
    for (const auto& row : table)
        names.append(QLatin1String(row.name));
    return names.join(QLatin1String(", "));
}

std::string upper(const std::string& text)
{
    return QString::fromStdString(text).toUpper().toStdString();
}

/// The fields of one JSON object, each expected in one form. What has another form is reported with
/// the place of the object in the description.
class Fields
{
public:
    Fields(const QString& place, const QJsonObject& object)
        : m_place(place)
        , m_object(object)
    {
    }

    bool has(const char* key) const { return m_object.contains(QLatin1String(key)); }

    QJsonValue at(const char* key) const { return m_object.value(QLatin1String(key)); }

    std::string text(const char* key) const
    {
        if (!at(key).isString() || at(key).toString().isEmpty())
            refuse(key, QStringLiteral("a text"));
        return at(key).toString().toStdString();
    }

    std::int64_t number(const char* key) const
    {
        const double number = at(key).toDouble(-1);
        if (number < 0 || number > 1e15 || number != double(std::int64_t(number)))
            refuse(key, QStringLiteral("a whole number of 0 or more"));
        return std::int64_t(number);
    }

    std::optional<std::int64_t> optionalNumber(const char* key) const
    {
        return has(key) ? std::make_optional(number(key)) : std::nullopt;
    }

    QJsonArray list(const char* key) const
    {
        if (has(key) && !at(key).isArray())
            refuse(key, QStringLiteral("a list"));
        return at(key).toArray();
    }

    Fields object(const char* key) const
    {
        if (has(key) && !at(key).isObject())
            refuse(key, QStringLiteral("an object"));
        return Fields(m_place + QLatin1String(key) + QLatin1Char(' '), at(key).toObject());
    }

    QStringList keys() const { return m_object.keys(); }

    template <typename Value, std::size_t Count>
    Value oneOf(const char* key, const QJsonValue& value, const Named<Value> (&table)[Count]) const
    {
        for (const auto& row : table) {
            if (value.toString() == QLatin1String(row.name))
                return row.value;
        }
        refuse(key, QStringLiteral("one of ") + namesOf(table));
    }

    [[noreturn]] void refuse(const char* key, const QString& expected) const
    {
        fail(QStringLiteral("\"%1\" is not %2").arg(QLatin1String(key), expected));
    }

    [[noreturn]] void fail(const QString& reason) const { throw BadDescription(m_place + reason); }

private:
    QString m_place;
    QJsonObject m_object;
};

const QStringList& areaKeys()
{
    static const QStringList Keys = {"letters", "name",  "numbers", "digits", "holds", "type",
                                     "read",    "write", "first",   "last",   "block", "note"};
    return Keys;
}

std::string lettersIn(const Fields& fields)
{
    const std::string letters = fields.text("letters");
    const auto isCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (!std::all_of(letters.begin(), letters.end(), isCapital))
        fields.refuse("letters", QStringLiteral("made of capitals A to Z"));
    return letters;
}

Widths widthsIn(const Fields& fields, const char* key, Holds holds)
{
    Widths found;
    for (const auto& width : fields.list(key))
        found.add(fields.oneOf(key, width, widths));
    const bool hasValues = found.has(DataByte) || found.has(DataWord) || found.has(DataDoubleWord);
    if (hasValues && holds == Holds::Bit)
        fields.refuse(key, QStringLiteral("\"bit\" alone, as an area of bits needs"));
    if (hasValues && !found.has(deviceWidth(holds)))
        fields.refuse(key, QStringLiteral("complete: \"%1\" is missing, the width of a device")
                               .arg(QLatin1String(nameOf(deviceWidth(holds)))));
    return found;
}

std::string typeIn(const Fields& fields, Holds holds)
{
    const std::string type = fields.text("type");
    if (!areaTypes().contains(QString::fromStdString(type)))
        fields.refuse("type", QStringLiteral("one of ") + areaTypes().join(QLatin1String(", ")));
    if ((type == "bool") != (holds == Holds::Bit))
        fields.refuse("type", holds == Holds::Bit ? QStringLiteral("bool, as an area of bits needs")
                                                  : QStringLiteral("a number, which bool is not"));
    return type;
}

DeviceArea areaFrom(const Fields& fields)
{
    DeviceArea area;
    area.letters = lettersIn(fields);
    area.name = fields.text("name");
    area.numbering = fields.oneOf("numbers", fields.at("numbers"), numberings);
    area.holds = fields.oneOf("holds", fields.at("holds"), holdings);
    area.read = widthsIn(fields, "read", area.holds);
    area.write = widthsIn(fields, "write", area.holds);
    area.type = typeIn(fields, area.holds);
    area.first = fields.optionalNumber("first");
    area.last = fields.optionalNumber("last");
    area.block = fields.optionalNumber("block");
    if (area.block == 0)
        fields.refuse("block", QStringLiteral("above 0"));
    if (const auto digits = fields.optionalNumber("digits"))
        area.digits = int(std::min<std::int64_t>(*digits, INT32_MAX));
    if (area.digits && area.last && area.digits < QString::number(*area.last).size())
        fields.refuse("digits", QStringLiteral("enough for \"last\""));
    if (area.first.value_or(0) > area.last.value_or(INT64_MAX))
        fields.fail(QStringLiteral("\"first\" is above \"last\""));
    if (fields.has("note"))
        area.note = fields.text("note");
    return area;
}

/// unknownKeys  receives those of all rows, such as "devices[1] reads"
std::vector<DeviceArea> areasIn(const Fields& description, std::vector<std::string>& unknownKeys)
{
    std::vector<DeviceArea> areas;
    for (const auto& row : description.list("devices")) {
        const QString place = QStringLiteral("devices[%1] ").arg(areas.size());
        const Fields fields(place, row.toObject());
        const DeviceArea area = areaFrom(fields);
        const auto same = [&](const DeviceArea& other) { return other.letters == area.letters; };
        if (std::any_of(areas.begin(), areas.end(), same))
            fields.fail(
                QStringLiteral("repeats the letters %1").arg(QString::fromStdString(area.letters)));
        areas.push_back(area);
        for (const QString& key : fields.keys())
            if (!areaKeys().contains(key))
                unknownKeys.push_back((place + key).toStdString());
    }
    return areas;
}

std::map<int, std::string> errorsIn(const Fields& description)
{
    const Fields errors = description.object("errors");
    std::map<int, std::string> meanings;
    for (const QString& key : errors.keys()) {
        bool isNumber = false;
        const int number = key.toInt(&isNumber);
        if (!isNumber || number < 0)
            errors.fail(QStringLiteral("\"%1\" is not a number").arg(key));
        meanings[number] = errors.text(key.toUtf8().constData());
    }
    return meanings;
}

std::optional<StationRange> stationsIn(const Fields& description)
{
    if (!description.has("stationPrefix"))
        return std::nullopt;
    const Fields fields = description.object("stationPrefix");
    const auto number = [&](const char* key) {
        return int(std::min<std::int64_t>(fields.number(key), INT32_MAX));
    };
    const StationRange range{number("first"), number("last")};
    if (range.first > range.last)
        fields.fail(QStringLiteral("\"first\" is above \"last\""));
    return range;
}

std::optional<std::uint16_t> tcpPortIn(const Fields& description)
{
    const auto port = description.optionalNumber("tcpPort");
    if (port && (*port == 0 || *port > UINT16_MAX))
        description.refuse("tcpPort", QStringLiteral("a port number, 1 to 65535"));
    return port;
}

DriverDescription descriptionFrom(const Fields& fields)
{
    DriverDescription description;
    if (fields.has("protocol"))
        description.protocol = fields.text("protocol");
    else if (fields.has("devices"))
        fields.fail(QStringLiteral("\"protocol\" is missing"));
    description.tcpPort = tcpPortIn(fields);
    description.stationPrefix = stationsIn(fields);
    description.areas = areasIn(fields, description.unknownKeys);
    description.errors = errorsIn(fields);
    return description;
}

} // namespace

const DeviceArea* DriverDescription::area(const std::string& letters) const
{
    const auto found = std::find_if(areas.begin(), areas.end(), [&](const DeviceArea& area) {
        return area.letters == upper(letters);
    });
    return found == areas.end() ? nullptr : &*found;
}

const QStringList& areaTypes()
{
    static const QStringList Types = {"bool", "byte",  "int",   "uint", "word",
                                      "dint", "udint", "dword", "real"};
    return Types;
}

std::string knownAreaKeys()
{
    return areaKeys().join(QLatin1String(", ")).toStdString();
}

DriverDataType deviceWidth(Holds holds)
{
    switch (holds) {
    case Holds::Bit:
        return DataBit;
    case Holds::Word:
        return DataWord;
    case Holds::DoubleWord:
    case Holds::Counter:
        break;
    }
    return DataDoubleWord;
}

const char* nameOf(Numbering numbering)
{
    return nameIn(numberings, numbering);
}

const char* nameOf(Holds holds)
{
    return nameIn(holdings, holds);
}

const char* nameOf(DriverDataType width)
{
    return nameIn(widths, width);
}

std::optional<DriverDescription> driverDescriptionFromJson(const QJsonObject& json, QString* error)
{
    try {
        return descriptionFrom(Fields(QString(), json));
    } catch (const BadDescription& bad) {
        *error = QString::fromStdString(bad.what());
        return std::nullopt;
    }
}

std::optional<DriverDescription> readDriverDescription(const QString& file, QString* error)
{
    // An absolute path keeps the loader from searching the plug-in directories for the name.
    const QPluginLoader loader(QFileInfo(file).absoluteFilePath());
    const QJsonObject json = loader.metaData().value(QLatin1String("MetaData")).toObject();
    QString reason;
    auto description = driverDescriptionFromJson(json, &reason);
    if (!description)
        *error = QStringLiteral("the description in driver %1 is wrong: %2").arg(file, reason);
    return description;
}

} // namespace host
