// What is made of a driver's error text, and of mistyped words.
#include "tests/bench/areas.h"

#include "bench/advice.h"
#include "bench/nearest.h"
#include "bench/portadvice.h"
#include "support/descriptor.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace bench;

namespace
{

PortReport portAt(host::PortAddress::Kind kind, bool isBroken)
{
    PortReport report;
    report.isBroken = isBroken;
    report.address = {kind, "/nowhere", 8501};
    return report;
}

TEST(Advice, FitsTextRequestAndPort)
{
    const PortReport tcp = portAt(host::PortAddress::Kind::Tcp, false);
    const PortReport brokenSerial = portAt(host::PortAddress::Kind::Serial, true);
    const PortReport brokenTcp = portAt(host::PortAddress::Kind::Tcp, true);
    const struct {
        const char* text;
        const char* device;
        Direction direction;
        FailureKind kind;
        const char* advice; ///< a part of it
        PortReport port = PortReport();
    } rows[] = {
        {"packet loss", "DM1", Direction::Read, FailureKind::NoReply, "allow a longer time-out"},
        {"packet loss", "DM1", Direction::Read, FailureKind::NoReply, "running, or allow", tcp},
        {"packet loss", "DM1", Direction::Read, FailureKind::NoReply, "closed the con", brokenTcp},
        {"packet loss", "DM1", Direction::Read, FailureKind::NoReply, "is gone", brokenSerial},
        {"packet loss: 0 of 5 bytes", "DM1", Direction::Read, FailureKind::NoReply, "cable"},
        {"invalid response2", "MR1", Direction::Read, FailureKind::InvalidReply, "parity"},
        {"invalid response2", "DM1", Direction::Read, FailureKind::InvalidReply, "gateway", tcp},
        {"invalid response2", "DM1:bool", Direction::Read, FailureKind::WrongUsage,
         "DM1 can't be read as bool; it holds 16 bits. Type DM1:uint"},
        {"Response During an Error:E1\r\n", "CTC1", Direction::Write, FailureKind::WrongUsage,
         "Its set value is PCTC."},
        {"Response During an Error:E1\r\n", "DM1", Direction::Read, FailureKind::ControllerRefused,
         "Check that the device and the last one"},
        {"Response During an Error: exception 2, bad", "DM1", Direction::Read,
         FailureKind::ControllerRefused, "refused the command: there is no such device."},
        {"Response During an Error:?", "DM1", Direction::Read, FailureKind::ControllerRefused,
         "Check that the device and the last one"},
        {"invalid device address: T400", "T400", Direction::Read, FailureKind::WrongUsage,
         "Numbers go from 1 to 400."},
        {"can't write bit to DM1", "MR1", Direction::Write, FailureKind::WrongUsage, "uint"},
        {"something new", "DM1", Direction::Read, FailureKind::ControllerRefused, "no more"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const host::DriverDescription& areas = tests::areas();
        TypedDevice device = Devices(areas).parse(
            std::string(row.device).substr(0, std::string(row.device).find(':')));
        if (std::string(row.device).find(":bool") != std::string::npos)
            device.type = typeNamed("bool");
        const Failure failure = driverFailure(row.text, {areas, device, row.direction, row.port});
        EXPECT_STREQ(failure.what(), row.text);
        EXPECT_EQ(failure.kind(), row.kind);
        EXPECT_NE(failure.advice().find(row.advice), std::string::npos) << failure.advice();
    }
}

std::string adviceOn(const std::string& device)
{
    return portAdvice({host::PortAddress::Kind::Serial, QString::fromStdString(device), 0});
}

TEST(PortAdvice, NamesPortsGroupsAndUsers)
{
    Descriptor farEnd;
    const std::string device = openPseudoTerminal(farEnd);
    EXPECT_EQ(adviceOn(device), "");
    for (const char* none : {"/nowhere/tty", "ttyNone"})
        EXPECT_NE(adviceOn(none).find("erial port"), std::string::npos) << none;
    EXPECT_EQ(adviceOn("/tmp").find("It is not a serial device."), 0U) << adviceOn("/tmp");
    EXPECT_EQ(adviceOn("/etc/passwd").find("plugged in"), std::string::npos);

    const Descriptor user(::open(device.c_str(), O_RDWR | O_NOCTTY));
    EXPECT_EQ(adviceOn(device), "It is used by bench_test (" + std::to_string(getpid()) + ").");

    constexpr uid_t Other = 65534;
    const uid_t me = geteuid();
    ASSERT_EQ(::chmod(device.c_str(), S_IRGRP | S_IWGRP), 0);
    const bool isRoot = me == 0; // who may open everything
    ASSERT_TRUE(!isRoot || (::chown(device.c_str(), me, Other) == 0 && ::seteuid(Other) == 0));
    const std::string advice = adviceOn(device);
    ASSERT_EQ(::seteuid(me), 0);
    struct stat file = {};
    ASSERT_EQ(::stat(device.c_str(), &file), 0);
    const std::string group = getgrgid(file.st_gid)->gr_name;
    EXPECT_EQ(advice.find("It belongs to the group " + group + ". 'sudo usermod -aG " + group), 0U)
        << advice;
}

TEST(Nearest, IsWhatWasMeant)
{
    const std::vector<std::string> words = {"read", "write", "watch", "simulate"};
    const struct {
        const char* typed;
        const char* meant;
    } rows[] = {{"raed", "read"},        {"wirte", "write"}, {"WATCHS", "watch"},
                {"simulat", "simulate"}, {"dump", ""},       {"x", ""}};
    for (const auto& row : rows)
        EXPECT_EQ(nearest(row.typed, words), row.meant) << row.typed;
    EXPECT_EQ(listed({"a", "b", "c", "d"}, 2), "a, b and 2 more");
    EXPECT_EQ(listed({"a", "b", "c"}, 2), "a, b, c");
}

} // namespace
