// Values as people type and see them, and as bytes.
#include "tests/bench/areas.h"

#include "bench/types.h"

using namespace bench;

namespace
{

TEST(Types, HaveNames)
{
    const struct {
        const char* text;
        const char* name; ///< empty for what is no type
    } rows[] = {
        {"int", "int"},
        {"REAL", "real"},
        {"string1", "string1"},
        {"String[12]", "string12"},
        {"string", ""},
        {"string0", ""},
        {"string[8", ""},
        {"string8]", ""},
        {"string99999", ""},
        {"lreal", ""},
        {"", ""},
    };
    for (const auto& row : rows) {
        const auto type = typeFromText(row.text);
        EXPECT_EQ(type ? nameOf(*type) : "", row.name) << row.text;
    }
    for (const QString& name : host::areaTypes())
        EXPECT_TRUE(typeFromText(name.toStdString())) << qPrintable(name);
    const std::string refusal = tests::refusal([] { typeNamed("rael"); });
    EXPECT_EQ(refusal.find("there is no type 'rael'. Did you mean real? Types are bool, "), 0u)
        << refusal;
}

TEST(Values, AreTypedSentAndShown)
{
    const struct {
        const char* type;
        const char* typed;
        std::string bytes; ///< in hexadecimal; empty when the text is refused
        const char* shown; ///< or the refusal
        const char* hexadecimal;
    } rows[] = {
        {"bool", "TRUE", "01", "1", "1"},
        {"bool", "2", "", "'2' is not a bool; write 0, 1, true or false. ", ""},
        {"byte", "0xab", "ab", "171", "0xAB"},
        {"byte", "256", "", "'256' does not fit byte: -128 to 255. ", ""},
        {"int", "-2", "feff", "-2", "0xFFFE"},
        {"int", "0xFFFE", "feff", "-2", "0xFFFE"},
        {"int", "32768", "", "'32768' does not fit int: -32768 to 32767. ", ""},
        {"uint", "4660", "3412", "4660", "0x1234"},
        {"uint", "-1", "ffff", "65535", "0xFFFF"},
        {"uint", "-32769", "", "'-32769' does not fit uint: -32768 to 65535. ", ""},
        {"uint", "1.5", "", "'1.5' is not a whole number; write 12, -5 or 0x1F. ", ""},
        {"word", "12a", "", "'12a' is not a whole number; write 12, -5 or 0x1F. ", ""},
        {"word", "", "", "'' is not a whole number; write 12, -5 or 0x1F. ", ""},
        {"dint", "-2147483648", "00000080", "-2147483648", "0x80000000"},
        {"udint", "305419896", "78563412", "305419896", "0x12345678"},
        {"udint", "99999999999999999999", "",
         "'99999999999999999999' does not fit udint: -2147483648 to 4294967295. ", ""},
        {"dword", "0xFFFFFFFF", "ffffffff", "4294967295", "0xFFFFFFFF"},
        {"real", "1.5", "0000c03f", "1.5", "1.5"},
        {"real", "0.1", "cdcccc3d", "0.1", "0.1"},
        {"real", "1,5", "", "'1,5' is not a number; write 21.5, -5 or 1e6. ", ""},
        {"real", "1e39", "", "'1e39' does not fit real: up to about 3.4e38. ", ""},
        {"real", "-1e-50", "", "'-1e-50' is too small for real. ", ""},
        {"real", "1e-400", "", "'1e-400' is too small for real. ", ""},
        {"string4", "AB", "41420000", "AB", "AB"},
        {"string4", "\xC3\x80\x1F\x7F", "c3801f7f", "\xC3\x80\\x1F\\x7F", "\xC3\x80\\x1F\\x7F"},
        {"string2", "\xB0", "b000", "\\xB0", "\\xB0"},
        {"string4", "ABCDE", "", "'ABCDE' has 5 bytes and does not fit string4. ", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.type) + " " + row.typed);
        const Type type = typeNamed(row.type);
        if (row.bytes.empty()) {
            EXPECT_EQ(tests::refusal([&] { parseValue(row.typed, type); }), row.shown);
            continue;
        }
        const Value value = parseValue(row.typed, type);
        EXPECT_EQ(dataOf(value, type).toHex().toStdString(), row.bytes);
        const QByteArray data = QByteArray::fromHex(QByteArray::fromStdString(row.bytes));
        EXPECT_EQ(textOf(valueFrom(data, type), type), row.shown);
        EXPECT_EQ(textOf(value, type, Notation::Hexadecimal), row.hexadecimal);
    }
}

} // namespace
