// What drivers say about their devices, and what the host says of a wrong description.
#include "host/driverdescription.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace host;

namespace
{

TEST(Description, IsReadFromPlugins)
{
    const struct {
        const char* file;
        const char* protocol;
        std::size_t areas;
        const char* letters; ///< of one area
        Holds holds;
        Numbering numbering;
        bool writesBits;
        bool writesWords;
    } rows[] = {
        {KV1000_DRIVER, "kv1000", 20, "ctc", Holds::Counter, Numbering::Decimal, true, false},
        {MODBUS_DRIVER, "modbusrtu", 2, "HR", Holds::Word, Numbering::Decimal, false, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        QString error;
        const auto description = readDriverDescription(row.file, &error);
        ASSERT_TRUE(description) << qPrintable(error);
        EXPECT_EQ(description->protocol, row.protocol);
        EXPECT_EQ(description->areas.size(), row.areas);
        const DeviceArea* const area = description->area(row.letters);
        ASSERT_NE(area, nullptr);
        EXPECT_EQ(area->holds, row.holds);
        EXPECT_EQ(area->numbering, row.numbering);
        EXPECT_EQ(area->write.has(DataBit), row.writesBits);
        EXPECT_EQ(area->write.has(DataWord), row.writesWords);
    }
    QString error;
    EXPECT_TRUE(readDriverDescription(IMPOSTOR, &error)->areas.empty());
}

TEST(Description, NamesWhatIsWrong)
{
    const struct {
        const char* json; ///< of the second area's row, or of the whole in braces
        const char* error;
    } rows[] = {
        {R"({"devices": []})", "\"protocol\" is missing"},
        {R"({"protocol": 5})", "\"protocol\" is not a text"},
        {R"({"protocol": "p", "devices": {}})", "\"devices\" is not a list"},
        {R"({"protocol": "p", "errors": {"E1": "bad"}})", "errors \"E1\" is not a number"},
        {R"({"protocol": "p", "tcpPort": 0})", "\"tcpPort\" is not a port number"},
        {R"({"protocol": "p", "stationPrefix": {"first": 9, "last": 1}})",
         "stationPrefix \"first\" is above \"last\""},
        {R"({"protocol": "p", "stationPrefix": {"first": 1}})",
         "stationPrefix \"last\" is not a whole number"},
        {R"("read": ["bits"])", "devices[1] \"read\" is not one of bit, byte, word, dword"},
        {R"("write": ["byte"])", "devices[1] \"write\" is not complete: \"word\" is missing"},
        {R"("holds": "bit", "read": ["bit", "word"])", "devices[1] \"read\" is not \"bit\" alone"},
        {R"("letters": "dm")", "devices[1] \"letters\" is not made of capitals"},
        {R"("letters": "A")", "devices[1] repeats the letters A"},
        {R"("numbers": "octal")", "devices[1] \"numbers\" is not one of decimal, channel"},
        {R"("first": 5, "last": 4)", "devices[1] \"first\" is above \"last\""},
        {R"("type": "usint")", "devices[1] \"type\" is not one of bool, byte, int"},
        {R"("type": "bool")", "devices[1] \"type\" is not a number"},
        {R"("holds": "bit")", "devices[1] \"type\" is not bool"},
        {R"("digits": 2, "last": 100)", "devices[1] \"digits\" is not enough"},
        {R"("last": 2.5)", "devices[1] \"last\" is not a whole number"},
    };
    const std::string start = R"({"protocol": "p", "devices": [{"letters": "A", "name": "a",
        "numbers": "decimal", "holds": "word", "type": "uint"}, {)";
    const std::string fields[] = {R"("letters": "B")", R"("numbers": "decimal")",
                                  R"("holds": "word")", R"("type": "uint")"};
    for (const auto& row : rows) {
        std::string json = row.json;
        if (json.front() != '{') {
            json = start + json + R"(, "name": "b")";
            for (const std::string& field : fields) {
                const std::string key = field.substr(0, field.find(':'));
                json += std::string(row.json).find(key) == std::string::npos ? ", " + field : "";
            }
            json += "}]}";
        }
        QString error;
        const QJsonDocument document = QJsonDocument::fromJson(json.c_str());
        EXPECT_FALSE(driverDescriptionFromJson(document.object(), &error)) << row.json;
        EXPECT_EQ(error.toStdString().substr(0, std::string(row.error).size()), row.error);
    }
}

TEST(Description, OfANewerDriverIsStillRead)
{
    QString error;
    const QJsonDocument document = QJsonDocument::fromJson(
        R"({"protocol": "p", "devices": [{"letters": "A", "name": "a", "numbers": "decimal",
            "holds": "word", "type": "uint", "since": 5}]})");
    const auto description = driverDescriptionFromJson(document.object(), &error);
    ASSERT_TRUE(description) << qPrintable(error);
    EXPECT_NE(description->area("A"), nullptr);
    EXPECT_EQ(description->unknownKeys, std::vector<std::string>{"devices[0] since"});
}

} // namespace
