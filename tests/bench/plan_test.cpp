// Which requests serve which devices, and where their data go.
#include "tests/bench/areas.h"

#include "bench/plan.h"

using namespace bench;

namespace
{

const BlockSizes blocks = {4, 8};

std::vector<TypedDevice> listed(const std::string& texts, const host::DriverDescription& areas)
{
    const Devices devices(areas);
    std::vector<TypedDevice> list;
    for (const QString& text : QString::fromStdString(texts).split(' ')) {
        const QStringList parts = text.split('*');
        const int count = parts.size() > 1 ? parts[1].toInt() : 1;
        for (const TypedDevice& device : devices.parseRun(parts[0].toStdString(), count))
            list.push_back(device);
    }
    return list;
}

/// A request as "word DM1 3".
std::string textOf(const CommunicatorCommand& command)
{
    return std::string(host::nameOf(static_cast<DriverDataType>(command.dataType))) + " " +
           command.address.toStdString() + " " + std::to_string(command.length);
}

TEST(ReadPlan, MergesAndCuts)
{
    const struct {
        const char* devices;
        const char*
            outcome;        ///< requests for blocks of 4 values or 8 bits, or a refusal's beginning
        const char* values; ///< when every byte of a request is its place in the data, from 1 on
        int mostUnits = INT_MAX;
        const host::DriverDescription& areas = tests::areas();
    } rows[] = {
        {"DM1", "word DM1 1", "513"},
        {"DM3 MR0 DM1:dint DM4:int", "word DM1 4, bit MR0 1", "1541 1 67305985 2055"},
        {"DM1 DM3", "word DM1 1, word DM3 1", "513 513"},
        {"DM1..DM6", "word DM1 4, word DM5 2", "513 1027 1541 2055 513 1027"},
        {"DM1 DM2 DM3 DM4:dint", "word DM1 3, word DM4 2", "513 1027 1541 67305985"},
        {"DM1:dint DM2:int DM1", "word DM1 2", "67305985 1027 513"},
        {"DM1:byte*3", "word DM1 2", "1 2 3"},
        {"DM1:string3", "word DM1 2", "\\x01\\x02\\x03"},
        {"MR014*3", "bit MR14 3", "1 1 1"},
        {"T5 T5:bool T6:bool T6", "dword T5 2, bit T5 2", "67305985 1 1 134678021"},
        {"T1..T4", "dword T1 3, dword T4 1", "67305985 134678021 202050057 67305985"},
        {"DM1 2:DM2 2:dm001", "word DM1 1, word 2:DM1 2", "513 1027 513"},
        {"DM1..DM3", "word DM1 2, word DM3 1", "513 1027 513", 2},
        {"DM1 DM2:string6 DM5", "word DM1 1, word DM2 3, word DM5 1",
         "513 \\x01\\x02\\x03\\x04\\x05\\x06 513", 2},
        {"X5:uint*3 X5:real X7:string4", "word X5 3, dword X5 1, byte X7 4",
         "513 1027 1541 1.5399896e-36 \\x01\\x02\\x03\\x04", 2, tests::noAreas()},
        {"X5:uint*5",
         "the run from X5 on is longer than the driver takes in one request. This driver does not "
         "describe its devices, so the run can't be cut.",
         "", 2, tests::noAreas()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.devices);
        const auto devices = listed(row.devices, row.areas);
        std::vector<Reading> readings(devices.size());
        std::string outcome;
        std::string values;
        outcome += tests::refusal([&] {
            for (const ReadRequest& request : planReads(devices, blocks, row.mostUnits)) {
                outcome += (outcome.empty() ? "" : ", ") + textOf(request.command);
                QByteArray answer;
                while (answer.size() < request.bytes)
                    answer.append(static_cast<char>(answer.size() + 1));
                takeAnswer(request, answer, devices, readings);
            }
            for (std::size_t i = 0; i < devices.size(); ++i)
                values += (i == 0 ? "" : " ") + bench::textOf(*readings[i].value, devices[i].type);
        });
        EXPECT_EQ(outcome.substr(0, std::string(row.outcome).size()), row.outcome);
        EXPECT_EQ(values, row.values);
    }
}

TEST(ReadPlan, TellsFailuresOfEachDevice)
{
    const auto devices = listed("T5:uint T5:int T5:word DM1 DM2 DM4 DM3", tests::areas());
    const auto requests = planReads(devices, blocks);
    std::vector<Reading> readings(devices.size());
    takeAnswer(requests[0], QByteArray::fromHex("70110100"), devices, readings);
    takeAnswer(requests[1], "12345", devices, readings);
    const char* const tooShort = "the driver returned 5 bytes instead of 8";
    const char* const failures[] = {"T5 holds 70000, which does not fit uint",
                                    "T5 holds 70000, which does not fit int",
                                    "",
                                    tooShort,
                                    tooShort,
                                    tooShort,
                                    tooShort};
    for (std::size_t i = 0; i < devices.size(); ++i)
        EXPECT_STREQ(readings[i].failure ? readings[i].failure->what() : "", failures[i]) << i;

    const auto half = halves(requests[1], devices, blocks);
    ASSERT_EQ(half.size(), 2u);
    EXPECT_EQ(textOf(half[0].command), "word DM1 2");
    EXPECT_EQ(textOf(half[1].command), "word DM3 2");
    takeAnswer(half[1], "ABCD", devices, readings);
    EXPECT_EQ(std::get<std::int64_t>(*readings[5].value), 0x4443) << "DM4";
    EXPECT_EQ(std::get<std::int64_t>(*readings[6].value), 0x4241) << "DM3";
    EXPECT_FALSE(readings[5].failure);
    EXPECT_TRUE(readings[4].failure) << "in the other half";
}

TEST(WritePlan, MergesInOrderOrRefuses)
{
    const struct {
        const char* devices;
        const char* values;
        const char* outcome; ///< requests with their data, or how the refusal begins
        const host::DriverDescription& areas = tests::areas();
    } rows[] = {
        {"DM1 DM2:int DM5", "1 -2 3", "word DM1 2 0100feff, word DM5 1 0300"},
        {"DM2 DM1", "1 2", "word DM2 1 0100, word DM1 1 0200"},
        {"DM1..DM5", "1 2 3 4 5", "word DM1 4 0100020003000400, word DM5 1 0500"},
        {"DM1 DM2 DM3 DM4:dint", "1 2 3 4", "word DM1 3 010002000300, word DM4 2 04000000"},
        {"DM1:byte*2", "1 2", "word DM1 1 0102"},
        {"DM1:string2 DM2:real", "AB 1.5", "word DM1 3 41420000c03f"},
        {"T5:int T6:uint T7:bool", "-2 40000 1", "dword T5 2 feffffff409c0000, bit T7 1 01"},
        {"MR015*2", "1 0", "bit MR15 2 0100"},
        {"DM1:byte*3", "1 2 3", "the rest of DM2 would be cleared. Write all 2 bytes of DM2"},
        {"DM1:string3", "ABC",
         "the rest of DM2 would be cleared. Give the string a length that "
         "fills its last device, such as string4."},
        {"DM1:dint DM2", "1 2", "DM2 would be written twice"},
        {"CTC1", "5",
         "CTC1 can't be written as udint; only its contact can be written. Type CTC1:bool. Its set "
         "value is PCTC."},
        {"DM1:string10", "AB", "DM1 as string10 is longer than the driver takes in one request"},
        {"X5:uint*4", "1 2 3 4", "word X5 4 0100020003000400", tests::noAreas()},
        {"X5:uint*5", "1 2 3 4 5", "the run from X5 on is longer", tests::noAreas()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.devices);
        const auto devices = listed(row.devices, row.areas);
        std::vector<Value> values;
        for (const QString& text : QString(row.values).split(' '))
            values.push_back(parseValue(text.toStdString(), devices[values.size()].type));
        std::string outcome;
        outcome += tests::refusal([&] {
            for (const WriteRequest& request : planWrites(devices, values, blocks))
                outcome += (outcome.empty() ? "" : ", ") + textOf(request.command) + " " +
                           request.data.toHex().toStdString();
        });
        EXPECT_EQ(outcome.substr(0, std::string(row.outcome).size()), row.outcome);
    }
}

} // namespace
