#include "host/linesettings.h"

#include "drivers/devicesetting.h"

#include <QStringList>

namespace host
{

namespace
{

constexpr int MinDataBits = 5;
constexpr int MaxDataBits = 8;

/// The electrical standard is the adapter's business: all three are the same device to a program.
const char* const KindNames[] = {"RS232", "RS422", "RS485"};

/// Null for another word.
const char* kindNamed(const QString& field)
{
    for (const char* name : KindNames) {
        if (field == QLatin1String(name))
            return name;
    }
    return nullptr;
}

std::optional<Parity> parityFrom(int code)
{
    if (!driverkit::wordOf(driverkit::ParityCodes, code))
        return std::nullopt;
    return static_cast<Parity>(code);
}

std::optional<StopBits> stopBitsFrom(int code)
{
    if (code != int(StopBits::One) && code != int(StopBits::Two))
        return std::nullopt;
    return static_cast<StopBits>(code);
}

/// The code of the table that has this word; -1 when none has.
template <std::size_t Count>
int codeOf(const driverkit::LineCode (&table)[Count], const QString& word)
{
    for (const driverkit::LineCode& row : table) {
        if (word == QLatin1String(row.word))
            return row.code;
    }
    return -1;
}

/// -1 for anything but a decimal number.
int numberOf(const QString& field)
{
    bool isNumber = false;
    const int number = field.toInt(&isNumber);
    return isNumber ? number : -1;
}

std::optional<LineSettings> refuse(QString* error, const QString& reason)
{
    *error = reason;
    return std::nullopt;
}

} // namespace

std::optional<LineSettings> lineSettingsFromText(const QString& text, QString* error)
{
    const auto bad = [&](const char* field, const QString& value, const char* expected) {
        return refuse(error, QStringLiteral("%1 \"%2\" is not %3")
                                 .arg(QLatin1String(field), value, QLatin1String(expected)));
    };

    QStringList fields = text.toUpper().split(QLatin1Char(','));
    for (QString& field : fields)
        field = field.trimmed();
    if (fields.size() != 5)
        return refuse(error, QStringLiteral("\"%1\": expected kind, baud rate, parity, data bits "
                                            "and stop bits, as in \"RS232,9600,EVEN,8,1\"")
                                 .arg(text));

    const int baud = numberOf(fields[1]);
    const auto parity = parityFrom(codeOf(driverkit::ParityCodes, fields[2]));
    const int dataBits = numberOf(fields[3]);
    const auto stopBits = stopBitsFrom(codeOf(driverkit::StopBitsCodes, fields[4]));
    const char* const kind = kindNamed(fields[0]);
    if (!kind)
        return bad("kind", fields[0], "RS232, RS422 or RS485");
    if (baud <= 0)
        return bad("baud rate", fields[1], "a number above 0");
    if (!parity)
        return bad("parity", fields[2], "NONE, ODD, EVEN, MARK or SPACE");
    if (dataBits < MinDataBits || dataBits > MaxDataBits)
        return bad("number of data bits", fields[3], "5 to 8");
    if (!stopBits)
        return bad("number of stop bits", fields[4], "1 or 2");
    return LineSettings{baud, *parity, dataBits, *stopBits, kind};
}

QString textOf(const LineSettings& line)
{
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(QLatin1String(line.kind))
        .arg(line.baud)
        .arg(QLatin1String(driverkit::wordOf(driverkit::ParityCodes, int(line.parity))))
        .arg(line.dataBits)
        .arg(QLatin1String(driverkit::wordOf(driverkit::StopBitsCodes, int(line.stopBits))));
}

int bitsPerCharacter(const LineSettings& line)
{
    const int parityBits = line.parity == Parity::None ? 0 : 1;
    const int stopBits = line.stopBits == StopBits::One ? 1 : 2;
    return 1 + line.dataBits + parityBits + stopBits;
}

std::optional<LineSettings> lineSettingsFrom(const DeviceSetting& setting, QString* error)
{
    const auto bad = [&](const char* field, int value) {
        return refuse(error,
                      QStringLiteral("port %1: bad %2 %3")
                          .arg(setting.string, QLatin1String(field), QString::number(value)));
    };

    const auto parity = parityFrom(setting.parity);
    const auto stopBits = stopBitsFrom(setting.stopbits);
    if (setting.baudrate <= 0)
        return bad("baud rate", setting.baudrate);
    if (setting.databits < MinDataBits || setting.databits > MaxDataBits)
        return bad("number of data bits", setting.databits);
    if (!parity)
        return bad("parity code", setting.parity);
    if (!stopBits)
        return bad("stop-bit code", setting.stopbits);
    return LineSettings{setting.baudrate, *parity, setting.databits, *stopBits};
}

} // namespace host
