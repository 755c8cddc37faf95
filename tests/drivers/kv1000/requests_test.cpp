// Which command each device text becomes, what is refused before anything is sent, and how requests
// that are too large for one command are cut.
#include "conformance/scriptedport.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
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

/// The first command after the open; empty when there is none.
std::string commandAfterOpen(const ScriptedPort& port)
{
    for (size_t i = openedLink.size(); i < port.calls().size(); ++i)
        if (port.calls()[i].compare(0, 6, "write ") == 0)
            return unquoted(port.calls()[i]).toStdString();
    return "";
}

TEST(ReadCommand, SpellsTheDeviceAndTheCount)
{
    const struct {
        int type;
        const char* device;
        const char* command;
        int units = 1;
    } rows[] = {
        {DataWord, "DM123456", "DM123456 1"}, // more digits than the area has
        {DataWord, "EM0", "EM00000 1"},
        {DataWord, "fm9", "fm00009 1"},
        {DataWord, "CM12", "CM00012 1"},
        {DataWord, "TM3", "TM003 1"},
        {DataWord, "TM1234", "TM1234 1"},
        {DataWord, "Z1", "Z01 1"},
        {DataWord, "VM10", "VM10 1"}, // a word area without a width
        {DataWord, "DM", "DM00000 1"},
        {DataWord, "AT", "AT0 1"},
        {DataWord, "CTC", "CTC0 1"},
        {DataWord, "CTH1", "CTH1 1"},
        {DataWord, "TS12", "T0012 1"},
        {DataWord, "cs5", "c0005 1"},
        {DataWord, "TS12345", "T1234 1"},
        {DataWord, "PCTC", "CTC0 1"}, // the P goes first, then the number is padded
        {DataBit, "PCTC", "CTC 1"},   // only the P goes
        {DataBit, "PCTC3", "CTC3 1"},
        {DataBit, "T5", "T0005 1"},
        {DataBit, "C12", "C0012 1"},
        {DataBit, "MR5", "MR00005 1"},
        {DataBit, "LR1203", "LR01203 1"},
        {DataBit, "CR7", "CR0007 1"},
        {DataBit, "R100", "00100 1"},
        {DataBit, "R123456", "12345 1"},
        {DataBit, "r7", "00007 1"},
        {DataBit, "B7", "B7 1"},
        {DataBit, "X1F", "X1F 1"},
        {DataBit, "CN", "CN 1"},
        {DataBit, "TX", "TX 1"},
        {DataBit, "MR1A", "MRA00010 1"}, // as many characters move as there are digits
        {DataBit, "MR-5", "MR5000-0 1"},
        {DataBit, "MRABC1", "MRABC00001 1"},
        {DataWord, "DM12345678", "DM12345678 99", 99}, // all there is room for
        {DataWord, "DM99743", "DM99743 256", 257},     // the run ends at the last number
        {DataWord, "VM001", "VM001 256", 300},
        {DataBit, "B0", "B0 768", 768},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port(openedLink);
        driver->read(&port, request(row.type, row.device, row.units));
        EXPECT_EQ(commandAfterOpen(port), std::string("RDS ") + row.command + "\r\n") << row.device;
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
        {"PCTC", "WSS CTC0 1 0000000513\r\n"},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port(openedLink);
        driver->write(&port, request(DataWord, row.device), QByteArray("\x01\x02", 2));
        EXPECT_EQ(commandAfterOpen(port), row.command) << row.device;
    }
}

TEST(BitCommand, SpellsTheDevice)
{
    const struct {
        const char* device;
        const char* command;
    } rows[] = {
        {"CTC3", "ST CTC3\r\n"},      {"ctc15", "ST CTC15\r\n"},
        {"CR2015", "ST CR2015\r\n"},  {"C5", "ST C0005\r\n"},
        {"CTH5", "ST C0005\r\n"},     {"T1", "ST T0001\r\n"},
        {"LRX7", "ST LR00007\r\n"},   {"mr500", "ST MR00500\r\n"},
        {"R00100", "ST 00100\r\n"},   {"MR", "ST MR00000\r\n"},
        {"M5", "ST MR00005\r\n"},     {"l5", "ST LR00005\r\n"},
        {"R123456", "ST 123456\r\n"}, {"T2147483647", "ST T2147483647\r\n"},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        ScriptedPort port(openedLink);
        driver->write(&port, request(DataBit, row.device), QByteArray("\xFF", 1));
        EXPECT_EQ(commandAfterOpen(port), row.command) << row.device;
    }
}

TEST(Refusal, IsSaidBeforeAnythingIsSent)
{
    const char* const invalid = "invalid device address: ";
    const char* const noWords = "can't read word from ";
    const char* const noWrite = "can't write word to ";
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
        {"too long once padded", Read, DataBit, "MRABCD1", 1, invalid},
        {"too long once padded", Write, DataWord, "DABCDEF1", 1, invalid},
        {"no room for the count", Read, DataWord, "DM12345678", 100, invalid},
        {"no room for the count", Read, DataWord, "DM00100", -10000, invalid},
        {"count beyond an int", Read, DataDoubleWord, "DM0", INT_MIN, invalid},
        {"a second command inside", Read, DataBit, "X\r\nCQ", 1, invalid},
        {"a blank inside", Read, DataWord, "DM 1", 1, invalid},
        {"a control character inside", Read, DataWord, "DM\x7F", 1, invalid},
        {"a letter that is not ASCII", Read, DataWord, "D\xC4M1", 1, invalid},
        {"comparator, however long", Write, DataWord, "ctc12345678", 1, noWrite},
        {"relay read as words", Read, DataWord, "MR100", 1, noWords},
        {"relay read as bytes", Read, DataBlock, "R100", 1, noWords},
        {"unknown area", Read, DataDoubleWord, "B7", 1, noWords},
        {"letter after the number", Write, DataBit, "MR100A", 1, invalid},
        {"blank after the number", Write, DataBit, "MR100 ", 1, invalid},
        {"sign after the number", Write, DataBit, "MR100-5", 1, invalid},
        {"number beyond an int", Write, DataBit, "MR2147483648", 1, invalid},
        {"run beyond an int", Write, DataBit, "T2147483647", 2, invalid},
        {"run leaves the digits", Read, DataWord, "DM99744", 257, invalid},
        {"run leaves the digits", Read, DataWord, "TM800", 300, invalid},
        {"run leaves the digits", Read, DataWord, "Z1", 257, invalid},
        {"run leaves the digits", Read, DataBit, "CR9000", 769, invalid},
        {"run leaves the digits", Write, DataWord, "DM99900", 256, invalid},
        {"run from too many digits", Read, DataBit, "R000100", 769, invalid},
        {"run of set values leaves the digits", Read, DataDoubleWord, "TS9999", 65, invalid},
        {"run of a text without number", Read, DataBit, "MRX", 769, invalid},
        {"run from a letter after the number", Read, DataWord, "DM1A", 257, invalid},
        {"long run of an unknown area", Read, DataBit, "B0", 769, invalid},
        {"long write to relays", Write, DataDoubleWord, "MR0", 140, invalid},
        {"run beyond ten characters", Write, DataDoubleWord, "AT99999999", 140, invalid},
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
        EXPECT_EQ(driver->getLastError(), QString(row.text) + QString::fromLatin1(row.device));
        EXPECT_EQ(port.calls(), (std::vector<std::string>{"delay", "retry 0"}));
    }
}

/// Opens the link and answers the reads after it from a fixed text, cut as they ask for it.
class AnsweringPort : public ScriptedPort
{
public:
    explicit AnsweringPort(const char* reply)
        : ScriptedPort(openedLink)
        , m_reply(reply)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        if (calls().size() < openedLink.size())
            return ScriptedPort::read(buffer, maxLength);
        const QByteArray bytes = m_reply.left(maxLength);
        m_reply.remove(0, maxLength);
        std::copy(bytes.begin(), bytes.end(), buffer);
        return bytes.size();
    }

private:
    QByteArray m_reply;
};

TEST(WriteCommand, HasRoomForWhatItsOwnNumberLeaves)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    AnsweringPort port("OK\r\nOK\r\nOK\r\nCF\r\n");
    EXPECT_TRUE(driver->write(&port, request(DataWord, "VM9900"), QByteArray(1024, '\0')));
    std::vector<std::string> heads;
    for (const std::string& call : port.calls())
        if (call.compare(0, 11, "write \"WRS ") == 0)
            heads.push_back(call.substr(11, call.find(" 0") - 11));
    EXPECT_EQ(heads, (std::vector<std::string>{"VM9900 256", "VM10156 255", "VM10411 1"}));
}

TEST(Reply, OfTheRightLengthAndTheWrongFormIsInvalid)
{
    const struct {
        const char* name;
        int type;
        const char* device;
        int units;
        const char* reply;
        const char* text;
    } rows[] = {
        {"comma for blank", DataBit, "MR0", 2, "1,0\r\n", "invalid response2"},
        {"bit of 2", DataBit, "MR0", 2, "1 2\r\n", "invalid response2"},
        {"error reply without digit", DataBit, "MR0", 1, "EA\r", "invalid response2"},
        {"contact of 2", DataBit, "T0", 1, "2,0000000001,0000000002\r\n", "invalid response3"},
        {"second contact of 2", DataBit, "C0", 2,
         "1,0000000001,0000000002 2,0000000001,0000000002\r\n", "invalid response3"},
        {"CR for LF", DataWord, "DM0", 1, "00001\r\r", "invalid response"},
        {"error reply in small letters", DataWord, "DM0", 1, "e1\r\n001", "invalid response"},
        {"error reply without digit", DataWord, "DM0", 1, "EA\r\n001", "invalid response"},
        {"letter in a value", DataWord, "AT0", 1, "00000000A1\r\n", "invalid response"},
        {"comma out of place", DataWord, "T0", 1, "1,00000000011,000000002\r\n",
         "invalid response"},
        {"sign", DataDoubleWord, "DM0", 1, "-0001 00001\r\n", "invalid response1"},
        {"comma for blank", DataDoubleWord, "AT0", 2, "0000000001,0000000002\r\n",
         "invalid response2"},
        {"blank for comma", DataDoubleWord, "C0", 1, "1 0000000001,0000000002\r\n",
         "invalid response3"},
        {"blank for digit", DataByte, "DM0", 1, "    1\r\n", "invalid response:"},
        {"LF before CR", DataByte, "AT0", 1, "0000000001\n\r", "invalid response"},
        {"letter in a set value", DataBlock, "TS0", 1, "1,0000000001,000000000A\r\n",
         "invalid response"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + ": " + row.reply);
        const std::unique_ptr<DriverInterface> driver(CreateDriver());
        AnsweringPort port(row.reply);
        EXPECT_TRUE(driver->read(&port, request(row.type, row.device, row.units)).isEmpty());
        EXPECT_EQ(driver->getLastError(), row.text);
    }
}

} // namespace
