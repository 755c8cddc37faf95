// Which command each device text becomes, what is refused before anything is sent, and how requests
// that are too large for one command are cut.
#include "portcalls.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <gtest/gtest.h>

#include <memory>

extern "C" DriverInterface* CreateDriver();

namespace
{

CommunicatorCommand request(int type, const char* device, int length = 0)
{
    CommunicatorCommand command;
    command.dataType = type;
    command.address = QString::fromLatin1(device);
    command.length = length;
    return command;
}

/// Opens the link as it should and then stays silent.
const std::vector<std::string> openedLink = {"delay", "option 12 0", R"(write "CR\r\n")",
                                             R"(read 4 "CC\r\n")"};

/// The first command behind the open; empty when there is none.
std::string commandBehindOpen(const ScriptedPort& port)
{
    for (size_t i = openedLink.size(); i < port.calls().size(); ++i)
        if (port.calls()[i].compare(0, 6, "write ") == 0)
            return unquoted(port.calls()[i]).toStdString();
    return "";
}

TEST(ReadCommand, SpellsTheDevice)
{
    const struct {
        int type;
        const char* device;
        const char* spelling;
    } rows[] = {
        {DataWord, "DM123456", "DM123456"}, // more digits than the area has
        {DataWord, "EM0", "EM00000"},
        {DataWord, "fm9", "fm00009"},
        {DataWord, "CM12", "CM00012"},
        {DataWord, "TM3", "TM003"},
        {DataWord, "TM1234", "TM1234"},
        {DataWord, "Z1", "Z01"},
        {DataWord, "VM10", "VM10"}, // a word area without a width
        {DataWord, "DM", "DM00000"},
        {DataWord, "CTC", "CTC0"},
        {DataWord, "CTH1", "CTH1"},
        {DataWord, "TS12", "T0012"},
        {DataWord, "cs5", "c0005"},
        {DataWord, "TS12345", "T1234"},
        {DataWord, "PCTC", "CTC0"}, // the P goes first, then the number is padded
        {DataBit, "PCTC3", "CTC3"},
        {DataBit, "T5", "T0005"},
        {DataBit, "C12", "C0012"},
        {DataBit, "MR5", "MR00005"},
        {DataBit, "LR1203", "LR01203"},
        {DataBit, "CR7", "CR0007"},
        {DataBit, "R100", "00100"},
        {DataBit, "R123456", "12345"},
        {DataBit, "r7", "00007"},
        {DataBit, "B7", "B7"},
        {DataBit, "X1F", "X1F"},
        {DataBit, "TX5", "TX5"},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port(openedLink);
        driver->read(&port, request(row.type, row.device, 1));
        EXPECT_EQ(commandBehindOpen(port), std::string("RDS ") + row.spelling + " 1\r\n")
            << row.device;
    }
}

TEST(WriteCommand, ChoosesTheWordAndTheWidth)
{
    const struct {
        const char* device;
        const char* command;
    } rows[] = {
        {"Z1", "WRS Z01 1 00513\r\n"},         {"VM10", "WRS VM10 1 00513\r\n"},
        {"T5", "WRS T0005 1 0000000513\r\n"},  {"CTH0", "WRS CTH0 1 0000000513\r\n"},
        {"CS5", "WSS C0005 1 0000000513\r\n"}, {"pctc1", "WSS ctc1 1 0000000513\r\n"},
        {"AT3", "WRS AT3 1 0000000513\r\n"},   {"MR5", "WRS MR00005 1 0000000513\r\n"},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port(openedLink);
        driver->write(&port, request(DataWord, row.device), QByteArray("\x01\x02", 2));
        EXPECT_EQ(commandBehindOpen(port), row.command) << row.device;
    }
}

TEST(BitCommand, SpellsTheDevice)
{
    const struct {
        const char* device;
        const char* command;
    } rows[] = {
        {"CTC3", "ST CTC3\r\n"},    {"ctc15", "ST CTC15\r\n"},    {"CR2015", "ST CR2015\r\n"},
        {"C5", "ST C0005\r\n"},     {"CTH5", "ST C0005\r\n"},     {"T1", "ST T0001\r\n"},
        {"LRX7", "ST LR00007\r\n"}, {"mr500", "ST MR00500\r\n"},  {"R00100", "ST 00100\r\n"},
        {"MR", "ST MR00000\r\n"},   {"R123456", "ST 123456\r\n"},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port(openedLink);
        driver->write(&port, request(DataBit, row.device), QByteArray("\xFF", 1));
        EXPECT_EQ(commandBehindOpen(port), row.command) << row.device;
    }
}

TEST(Refusal, IsSaidBeforeAnythingIsSent)
{
    const char* const invalid = "invalid device address: ";
    const char* const noWords = "can't read word from ";
    enum Verb { Read, Write };
    const struct {
        const char* name;
        Verb verb;
        int type;
        const char* device;
        int units;
        const char* text;
    } rows[] = {
        {"empty", Read, DataBit, "", 1, invalid},
        {"empty", Read, DataWord, "", 1, invalid},
        {"empty", Write, DataWord, "", 1, invalid},
        {"eleven characters", Read, DataWord, "DM123456789", 1, invalid},
        {"eleven characters", Write, DataDoubleWord, "PCTC1234567", 1, invalid},
        {"too long once padded", Read, DataBit, "MRABCDEF1", 1, invalid},
        {"too long once padded", Write, DataWord, "DABCDEF1", 1, invalid},
        {"no room for the count", Read, DataWord, "DM12345678", 100, invalid},
        {"no room for the count", Read, DataWord, "DM00100", -10000, invalid},
        {"a second command inside", Read, DataBit, "X\r\nCQ", 1, invalid},
        {"a blank inside", Read, DataWord, "DM 1", 1, invalid},
        {"relay read as words", Read, DataWord, "MR100", 1, noWords},
        {"relay read as bytes", Read, DataBlock, "R100", 1, noWords},
        {"unknown area", Read, DataDoubleWord, "B7", 1, noWords},
        {"letter behind the number", Write, DataBit, "MR100A", 1, invalid},
        {"sign behind the number", Write, DataBit, "MR100-5", 1, invalid},
        {"number beyond an int", Write, DataBit, "MR2147483648", 1, invalid},
        {"run beyond an int", Write, DataBit, "T2147483647", 2, invalid},
        {"run leaves the digits", Read, DataWord, "DM99744", 257, invalid},
        {"run leaves the digits", Read, DataWord, "TM800", 300, invalid},
        {"run leaves the digits", Read, DataBit, "CR9000", 769, invalid},
        {"run leaves the digits", Write, DataWord, "DM99900", 256, invalid},
        {"run from too many digits", Read, DataBit, "R000100", 769, invalid},
        {"run of set values leaves the digits", Read, DataDoubleWord, "TS9999", 65, invalid},
        {"run of a text without number", Read, DataBit, "MRX", 769, invalid},
        {"long run of an unknown area", Read, DataBit, "B0", 769, invalid},
        {"long write to relays", Write, DataDoubleWord, "MR0", 140, invalid},
        {"run beyond ten characters", Read, DataDoubleWord, "AT99999999", 140, invalid},
        {"run beyond all numbers", Read, DataDoubleWord, "AT0", 2147483647, invalid},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ": " + row.device);
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port({"delay", "retry 0"});
        const int unitBytes = row.type == DataBit ? 1 : row.type == DataWord ? 2 : 4;
        if (row.verb == Read)
            EXPECT_TRUE(driver->read(&port, request(row.type, row.device, row.units)).isEmpty());
        else
            EXPECT_FALSE(driver->write(&port, request(row.type, row.device),
                                       QByteArray(row.units * unitBytes, '\1')));
        EXPECT_TRUE(driver->hasError());
        EXPECT_EQ(driver->getLastError(), QString(row.text) + row.device);
        EXPECT_EQ(port.calls(), (std::vector<std::string>{"delay", "retry 0"}));
    }
}

} // namespace
