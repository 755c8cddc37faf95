// Which commands a request becomes, and what is refused before anything is sent. A few rows for
// each rule; random requests meet a model of the rules in fuzz/kv1000.cpp.
#include "conformance/scriptedport.h"
#include "support/answeringport.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

extern "C" DriverInterface* CreateDriver();

namespace
{

enum Verb { Read, Write };

/// Lets a new driver read so many units, or write them, every byte 1. Returns its failure.
std::string run(AbstractDeviceInterface& port, Verb verb, int type, const char* device, int units)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    CommunicatorCommand command;
    command.dataType = type;
    command.address = QString::fromLatin1(device);
    command.length = units;
    const int unitBytes = type == DataBit ? 1 : type == DataWord ? 2 : 4;
    const bool done = verb == Read
                          ? !driver->read(&port, command).isEmpty()
                          : driver->write(&port, command, QByteArray(units * unitBytes, '\1'));
    EXPECT_EQ(done, !driver->hasError());
    return driver->hasError() ? driver->getLastError().toLatin1().toStdString() : "";
}

TEST(Command, SpellsTheDevice)
{
    const struct {
        Verb verb;
        int type;
        const char* device;
        const char* command;
        int units = 1;
    } rows[] = {
        {Read, DataWord, "DM123456", "RDS DM123456 1"}, // more digits than the area has
        {Read, DataWord, "fm9", "RDS fm00009 1"},
        {Read, DataWord, "CM12", "RDS CM00012 1"},
        {Read, DataWord, "TM3", "RDS TM003 1"},
        {Read, DataWord, "Z1", "RDS Z01 1"},
        {Read, DataWord, "VM10", "RDS VM10 1"}, // a word area without a width
        {Read, DataWord, "DM", "RDS DM00000 1"},
        {Read, DataWord, "AT", "RDS AT0 1"},
        {Read, DataWord, "TS12", "RDS T0012 1"},
        {Read, DataWord, "cs5", "RDS c0005 1"},
        {Read, DataWord, "TS12345", "RDS T1234 1"},
        {Read, DataWord, "PCTC", "RDS CTC0 1"}, // the P goes first, then the number is padded
        {Read, DataBit, "PCTC", "RDS CTC 1"},   // only the P goes
        {Read, DataBit, "C12", "RDS C0012 1"},
        {Read, DataBit, "CR7", "RDS CR0007 1"},
        {Read, DataBit, "R123456", "RDS 12345 1"},
        {Read, DataBit, "r7", "RDS 00007 1"},
        {Read, DataBit, "X1F", "RDS X1F 1"},
        {Read, DataBit, "TX", "RDS TX 1"},
        {Read, DataBit, "MR1A", "RDS MRA00010 1"}, // as many characters move as there are digits
        {Read, DataWord, "DM12345678", "RDS DM12345678 99", 99}, // all there is room for
        {Write, DataWord, "Z1", "WRS Z01 1 00257"},
        {Write, DataWord, "VM10", "WRS VM10 1 00257"},
        {Write, DataWord, "CTH0", "WRS CTH0 1 0000000257"},
        {Write, DataWord, "CS5", "WSS C0005 1 0000000257"},
        {Write, DataWord, "pctc1", "WSS ctc1 1 0000000257"},
        {Write, DataWord, "AT3", "WRS AT3 1 0000000257"},
        {Write, DataWord, "MR5", "WRS MR00005 1 0000000257"},
        {Write, DataBit, "ctc15", "ST CTC15"},
        {Write, DataBit, "CTH5", "ST C0005"},
        {Write, DataBit, "T1", "ST T0001"},
        {Write, DataBit, "LRX7", "ST LR00007"},
        {Write, DataBit, "M5", "ST MR00005"},
        {Write, DataBit, "R123456", "ST 123456"},
        {Write, DataBit, "T2147483647", "ST T2147483647"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        AnsweringPort port([](const std::string& c) { return c == "CR\r\n" ? "CC\r\n" : ""; });
        EXPECT_EQ(run(port, row.verb, row.type, row.device, row.units), "packet loss");
        EXPECT_EQ(port.commands,
                  (std::vector<std::string>{"CR\r\n", row.command + std::string("\r\n")}));
    }
}

/// 1537 characters are the longest reply, 1552 the longest command.
TEST(Command, IsAsLongAsThereIsRoomFor)
{
    const char word[] = "00000", value[] = "0000000000", triple[] = "0,0000000000,0000000000";
    const struct {
        Verb verb;
        int type;
        const char* device;
        int units;
        const char* item;                  ///< of a reply
        std::vector<std::string> commands; ///< without the values written
    } rows[] = {
        {Read, DataWord, "DM100", 256, word, {"RDS DM00100 256"}},
        {Read, DataWord, "DM99743", 257, word, {"RDS DM99743 256", "RDS DM99999 1"}},
        {Read, DataWord, "VM10", 300, word, {"RDS VM10 256", "RDS VM266 44"}},
        {Read, DataWord, "ZF0", 256, word, {"RDS ZF00 256"}},
        {Read, DataWord, "ZF5000", 256, word, {"RDS ZF5000 256"}}, // more digits, but not cut
        {Read, DataDoubleWord, "em0", 129, word, {"RDS em00000 256", "RDS em00256 2"}},
        {Read, DataWord, "AT0", 280, value, {"RDS AT0 139", "RDS AT139 1"}},
        {Read, DataDoubleWord, "TS10", 65, triple, {"RDS T0010 64", "RDS T0074 1"}},
        {Read, DataWord, "PCTC9", 130, triple, {"RDS CTC9 64", "RDS CTC73 1"}},
        {Read, DataBit, "MR1", 769, "0", {"RDS MR00001 768", "RDS MR04801 1"}},
        {Read, DataBit, "R15", 1024, "0", {"RDS 00015 768", "RDS 04815 256"}},
        {Read, DataBit, "C100", 65, triple, {"RDS C0100 64", "RDS C0164 1"}},
        {Write, DataWord, "DM100", 256, "", {"WRS DM00100 255", "WRS DM00355 1"}},
        {Write, DataWord, "VM1000", 256, "", {"WRS VM1000 256"}}, // 14 + 256 x 6 + 2 characters
        {Write,
         DataWord,
         "VM9900",
         512,
         "",
         {"WRS VM9900 256", "WRS VM10156 255", "WRS VM10411 1"}},
        {Write, DataDoubleWord, "PCTC0", 140, "", {"WSS CTC0 139", "WSS CTC139 1"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        std::vector<std::string> commands;
        AnsweringPort port([&](const std::string& command) -> std::string {
            if (command == "CR\r\n" || command == "CQ\r\n")
                return command == "CR\r\n" ? "CC\r\n" : "CF\r\n";
            const size_t countEnd = command.find_first_of(" \r", command.find(' ', 4) + 1);
            commands.push_back(command.substr(0, countEnd));
            if (row.verb == Write)
                return "OK\r\n";
            std::string reply;
            for (int left = std::stoi(command.substr(command.rfind(' '))); left > 0; --left)
                reply += row.item + std::string(left > 1 ? " " : "\r\n");
            return reply;
        });
        EXPECT_EQ(run(port, row.verb, row.type, row.device, row.units), "");
        EXPECT_EQ(commands, row.commands);
        EXPECT_EQ(port.commands.size(), row.commands.size() + 2) << "one session";
    }
}

TEST(Refusal, IsSaidBeforeAnythingIsSent)
{
    const char* const invalid = "invalid device address: ";
    const char* const noWords = "can't read word from ";
    const char* const noWrite = "can't write word to ";
    const struct {
        const char* name;
        Verb verb;
        int type;
        const char* device;
        int units;
        const char* text;
    } rows[] = {
        {"empty", Read, DataBit, "", 1, invalid},
        {"empty", Write, DataWord, "", 1, invalid},
        {"eleven characters", Read, DataWord, "DM123456789", 1, invalid},
        {"too long once padded", Write, DataWord, "DABCDEF1", 1, invalid},
        {"no room for the count", Read, DataWord, "DM12345678", 100, invalid},
        {"count beyond an int", Read, DataDoubleWord, "DM0", INT_MIN, invalid},
        {"a second command inside", Read, DataBit, "X\r\nCQ", 1, invalid},
        {"a blank inside", Read, DataWord, "DM 1", 1, invalid},
        {"a control character inside", Read, DataWord, "DM\x7F", 1, invalid},
        {"a letter that is not ASCII", Read, DataWord, "D\xC4M1", 1, invalid},
        {"comparator, however long", Write, DataWord, "ctc12345678", 1, noWrite},
        {"relay read as words", Read, DataWord, "MR100", 1, noWords},
        {"unknown area", Read, DataDoubleWord, "B7", 1, noWords},
        {"letter after the number", Write, DataBit, "MR100A", 1, invalid},
        {"number beyond an int", Write, DataBit, "MR2147483648", 1, invalid},
        {"run beyond an int", Write, DataBit, "T2147483647", 2, invalid},
        {"run leaves the digits", Read, DataWord, "DM99744", 257, invalid},
        {"run of file registers leaves the digits", Read, DataWord, "ZF0", 257, invalid},
        {"run leaves the digits", Write, DataWord, "DM99900", 256, invalid},
        {"run of set values leaves the digits", Read, DataDoubleWord, "TS9999", 65, invalid},
        {"run of a text without number", Read, DataBit, "MRX", 769, invalid},
        {"long run of an unknown area", Read, DataBit, "B0", 769, invalid},
        {"long write to relays", Write, DataDoubleWord, "MR0", 140, invalid},
        {"run beyond ten characters", Write, DataDoubleWord, "AT99999999", 140, invalid},
        {"run beyond all numbers", Read, DataDoubleWord, "AT0", 2147483647, invalid},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ": " + row.device);
        ScriptedPort port({"delay", "retry 0"});
        EXPECT_EQ(run(port, row.verb, row.type, row.device, row.units),
                  row.text + std::string(row.device));
        EXPECT_EQ(port.calls(), (std::vector<std::string>{"delay", "retry 0"}));
    }
}

} // namespace
