// plcctl scan, against a controller that answers at one speed only; plcctl ports and explain beside
// it.
#include "program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

/// A pseudo-terminal keeps neither parity nor data bits, so they are as in the first setting that
/// has the right speed and stop bits.
TEST(Scan, FindsTheLineOfAController)
{
    const struct {
        const char* name;
        const char* controller;
        const char* options;
        int status;
        const char* out;   ///< how it begins
        const char* error; ///< part of it
    } rows[] = {
        {"TheDefaultLine", "--line RS232,9600,EVEN,8,1", "", 0,
         "--line RS232,9600,EVEN,8,1 --timeout ", "the controller answered; 6 of 6 reads"},
        {"AnotherSpeed", "--line RS232,19200,EVEN,8,1", "-f csv", 0,
         "line,timeoutMs,outcome,reads,answers,longestMs\n\"RS232,19200,EVEN,8,1\",", ""},
        {"AnotherForm", "--line RS232,4800,NONE,8,2", "-o 30", 0,
         "--line RS232,4800,NONE,8,2 --timeout ", ""},
        {"NoiseFirst", "--line RS232,9600,EVEN,8,1 --fault garble#1", "-v", 0,
         "--line RS232,9600,NONE,8,1 --timeout ", "RS232,9600,EVEN,8,1: invalid reply"},
        {"Refusal", "--line RS232,19200,EVEN,8,1 --fault error=0@RDS", "-v", 0,
         "--line RS232,19200,EVEN,8,1 --timeout ", "RS232,9600,EVEN,8,1: no reply"},
        {"AtNoUsualSpeed", "--line RS232,110,EVEN,8,1", "-o 1", 4, "", "nothing answered"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const SimulatedController controller(row.controller);
        const Result run = plcctl("scan DM7 -p " + controller.pty() + " " + row.options);
        EXPECT_EQ(run.status, row.status) << run.err;
        EXPECT_EQ(run.out.substr(0, std::string(row.out).size()), row.out) << run.err;
        EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
    }
}

TEST(Ports, AreListed)
{
    const Result run = plcctl("ports -f json");
    EXPECT_EQ(run.status, 0);
    const auto ports = nlohmann::json::parse(run.out);
    EXPECT_EQ(ports.empty(), run.err.find("there is no serial port") != std::string::npos);
}

TEST(Explain, ShowsAShortTableAndTheWholeInJson)
{
    const Result table = plcctl("explain write MR0 1 0 1 1 1");
    EXPECT_NE(table.out.find("… 4 more like these 3\n"), std::string::npos) << table.out;
    const auto json = nlohmann::json::parse(plcctl("explain write MR0 1 0 1 1 1 -f json").out);
    EXPECT_EQ(json.at("requests").at(0).size(), 15U);
    EXPECT_EQ(json.at("requests").at(0).at(0).at("command"), "CR\r\n");
    EXPECT_EQ(json.at("totals").at("leastTimeoutMs"), 19);
    const Result binary = plcctl("explain read HR250 -c 50 --driver " MODBUS_DRIVER);
    EXPECT_NE(binary.out.find("  01 03 00 FA 00 32 E4 2E  "), std::string::npos) << binary.out;
    EXPECT_NE(plcctl("explain read DM7 -l rs485,9600,EVEN,8,1").out.find(" at RS485,9600,EVEN,8,1"),
              std::string::npos);
    expectOutcomes({
        {"Refused", "explain read DM99999", 1, "", "Response During an Error"},
        {"NoValues", "explain write DM7", 2, "", "needs a device and its values"},
        {"ACountOfAWrite", "explain write DM7 1 -c 3", 2, "", "--count is for explain read"},
        {"NoController", "explain read D5 --driver " MINIMAL_DRIVER, 2, "", "has no simulated"},
        {"OtherStation", "explain read 1:HR0 2:HR0 --driver " MODBUS_DRIVER, 2, "",
         "is not station 2"},
    });
}

} // namespace
