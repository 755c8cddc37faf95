// The table of areas against the naming rules of the host link and the driver's own description.
#include "support/answeringport.h"
#include "support/kv1000naming.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"
#include "drivers/kv1000/devices.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>

extern "C" DriverInterface* CreateDriver();

namespace
{

/// Mostly a symbol that some rule is about, in any case, and digits; sometimes something else.
std::string randomDeviceText(std::mt19937& random)
{
    static const char* const symbols[] = {"DM", "EM", "FM",  "ZF",  "Z",   "CM",   "TM",  "VM",
                                          "R",  "MR", "LR",  "CR",  "T",   "C",    "TS",  "CS",
                                          "CT", "TT", "CTC", "CTH", "TTC", "PCTC", "PCT", "PTS",
                                          "AT", "A",  "B",   "V",   "X",   ""};
    const auto below = [&](size_t limit) { return random() % limit; };
    const auto characters = [&](size_t count, const std::string& alphabet) {
        std::string text;
        while (text.size() < count)
            text += alphabet[below(alphabet.size())];
        return text;
    };
    std::string text = symbols[below(sizeof symbols / sizeof *symbols)];
    if (below(4) == 0)
        text += characters(below(3), "ACDEFHLMNPRSTVZ_-\xC4");
    for (char& c : text)
        if (below(3) == 0 && naming::isLetter(c))
            c = char(c + 'a' - 'A');
    text += characters(below(8), "0123456789");
    if (below(4) == 0)
        text.insert(below(text.size() + 1), characters(1, "0A9s_ "));
    return text;
}

TEST(Naming, FollowsTheRulesOfTheHostLink)
{
    std::mt19937 random(1);
    for (int i = 0; i < 250000; ++i) {
        const std::string text = randomDeviceText(random);
        const std::string spelling = naming::spelling(text);
        const bool holdsWords = naming::holdsWords(text);
        char field[32] = {};
        KV1000GetSafeDeviceTypeNo(field, text.c_str());
        ASSERT_EQ(field, spelling) << text;
        ASSERT_EQ(KV1000UInt16DeviceType(text.c_str()), holdsWords) << text;
        ASSERT_EQ(KV1000SupportWSS(text.c_str()), naming::writesSetValue(text)) << text;

        const kv1000::Device device(text.c_str());
        ASSERT_TRUE(!device.fits() || device.wire == spelling) << text;
        ASSERT_EQ(device.holds == kv1000::Word, holdsWords) << text;
    }
}

QList<QJsonObject> describedDevices()
{
    QFile file(QStringLiteral(DESCRIPTION));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QList<QJsonObject> devices;
    for (const QJsonValue& device : QJsonDocument::fromJson(file.readAll())["devices"].toArray())
        devices += device.toObject();
    return devices;
}

/// What the description calls what a device holds.
std::string holdsOf(const kv1000::Device& device)
{
    switch (device.holds) {
    case kv1000::Word:
        return "word";
    case kv1000::Value32:
        return "dword";
    case kv1000::Counter:
        return device.area->isSetValue ? "dword" : "counter";
    case kv1000::Relay:
        return "bit";
    case kv1000::Unknown:
        break;
    }
    return "unknown";
}

/// The failure of a request for `units` units at a controller that opens the link and then is
/// silent: that of a lost packet when the driver asked it, whatever else when the driver refused.
std::string failureOf(bool isWrite, const QString& width, const QString& device, int units)
{
    static const std::map<QString, int> types = {
        {"bit", DataBit}, {"byte", DataByte}, {"word", DataWord}, {"dword", DataDoubleWord}};
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    AnsweringPort port([](const std::string& sent) { return sent == "CR\r\n" ? "CC\r\n" : ""; });
    CommunicatorCommand command;
    command.dataType = types.at(width);
    command.address = device;
    command.length = units;
    if (isWrite)
        driver->write(&port, command, QByteArray(units, '\1'));
    else
        driver->read(&port, command);
    return driver->getLastError().toStdString();
}

TEST(Description, SaysWhatTheTableOfAreasSays)
{
    const auto devices = describedDevices();
    ASSERT_FALSE(devices.isEmpty());
    for (const QJsonObject& row : devices) {
        const QString letters = row["letters"].toString();
        SCOPED_TRACE(letters.toStdString());
        const kv1000::Device device((letters + "0").toLatin1());
        EXPECT_EQ(holdsOf(device), row["holds"].toString().toStdString());
        EXPECT_EQ(row["numbers"].toString(), device.holds == kv1000::Relay ? "channel" : "decimal");
        // Where the description leaves the digits open, the area takes any number; the numbers of
        // an area that is padded all the same leave no room for a run of more than a block.
        if (row.contains("digits"))
            EXPECT_EQ(row["digits"].toInt(), device.area->digits);
        else
            EXPECT_TRUE(device.area->digits <= 1 || row.contains("block"));
        if (row.contains("block")) {
            const int block = row["block"].toInt();
            EXPECT_EQ(failureOf(false, "word", letters + "0", block), "packet loss");
            EXPECT_EQ(failureOf(false, "word", letters + "0", block + 1),
                      "invalid device address: " + letters.toStdString() + "0");
        }
    }
}

TEST(Description, NamesWidthsThatTheDriverServes)
{
    for (const QJsonObject& row : describedDevices())
        for (const char* verb : {"read", "write"})
            for (const QJsonValue& width : row[verb].toArray())
                EXPECT_EQ(
                    failureOf(*verb == 'w', width.toString(), row["letters"].toString() + "0", 4),
                    "packet loss")
                    << verb << ' ' << width.toString().toStdString() << ' '
                    << row["letters"].toString().toStdString();
}

} // namespace
