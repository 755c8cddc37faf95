#include "host/linesettings.h"

#include "drivers/devicesetting.h"

#include <QStringList>

namespace host
{

namespace
{

constexpr int MinDataBits = 5;
constexpr int MaxDataBits = 8;

const char* const ParityNames[] = {"NONE", "ODD", "EVEN", "MARK", "SPACE"};
constexpr int ParityCount = sizeof ParityNames / sizeof *ParityNames;

/// The electrical standard is the adapter's business: all three are the same device to a program.
const char* const KindNames[] = {"RS232", "RS422", "RS485"};

bool isKind(const QString& field)
{
    for (const char* name : KindNames) {
        if (field == QLatin1String(name))
            return true;
    }
    return false;
}

int parityCodeOf(const QString& field)
{
    for (int code = 0; code < ParityCount; ++code) {
        if (field == QLatin1String(ParityNames[code]))
            return code;
    }
    return -1;
}

/// The stop-bit code of a number of stop bits; -1 for a number no line has.
int stopBitCodeOf(const QString& field)
{
    return field == QLatin1String("1") ? 0 : field == QLatin1String("2") ? 2 : -1;
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
        return refuse(error, QStringLiteral("line \"%1\": %2 \"%3\" is not %4")
                                 .arg(text, QLatin1String(field), value, QLatin1String(expected)));
    };

    QStringList fields = text.toUpper().split(QLatin1Char(','));
    for (QString& field : fields)
        field = field.trimmed();
    if (fields.size() != 5)
        return refuse(error, QStringLiteral("line \"%1\": expected kind, baud rate, parity, data "
                                            "bits and stop bits, as in \"RS232,9600,EVEN,8,1\"")
                                 .arg(text));

    const int baud = numberOf(fields[1]);
    const int parity = parityCodeOf(fields[2]);
    const int dataBits = numberOf(fields[3]);
    const int stopBits = stopBitCodeOf(fields[4]);
    if (!isKind(fields[0]))
        return bad("kind", fields[0], "RS232, RS422 or RS485");
    if (baud <= 0)
        return bad("baud rate", fields[1], "a number above 0");
    if (parity < 0)
        return bad("parity", fields[2], "NONE, ODD, EVEN, MARK or SPACE");
    if (dataBits < MinDataBits || dataBits > MaxDataBits)
        return bad("number of data bits", fields[3], "5 to 8");
    if (stopBits < 0)
        return bad("number of stop bits", fields[4], "1 or 2");
    return LineSettings{baud, static_cast<Parity>(parity), dataBits,
                        stopBits == 0 ? StopBits::One : StopBits::Two};
}

QString textOf(const LineSettings& line)
{
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(QLatin1String(KindNames[0]))
        .arg(line.baud)
        .arg(QLatin1String(ParityNames[static_cast<int>(line.parity)]))
        .arg(line.dataBits)
        .arg(line.stopBits == StopBits::One ? 1 : 2);
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

    if (setting.baudrate <= 0)
        return bad("baud rate", setting.baudrate);
    if (setting.databits < MinDataBits || setting.databits > MaxDataBits)
        return bad("number of data bits", setting.databits);
    if (setting.parity < 0 || setting.parity >= ParityCount)
        return bad("parity code", setting.parity);
    if (setting.stopbits != 0 && setting.stopbits != 2)
        return bad("stop-bit code", setting.stopbits);
    return LineSettings{setting.baudrate, static_cast<Parity>(setting.parity), setting.databits,
                        setting.stopbits == 0 ? StopBits::One : StopBits::Two};
}

} // namespace host
