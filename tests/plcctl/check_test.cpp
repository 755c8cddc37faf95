// plcctl check: what it says of lines with faults, and what it ends with.
#include "program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace
{

TEST(Check, EndsWithTheVerdict)
{
    const struct {
        const char* name;
        const char* arguments;
        int status;
        const char* trust;
        int requests;
        int retries;
        int lateReplies;
    } rows[] = {
        {"Good", "DM7 -n 150", 0, "trustworthy", 150, 0, 0},
        {"SavedByARetry", "DM7 -n 100 --fault garble@RDS#1 --retry 1", 0, "losses", 100, 1, 0},
        {"Silent", "DM7 -n 2 --fault silent -o 20 --retry 0", 4, "unusable", 2, 0, 0},
        {"LostOnce", "DM7 -n 100 --fault silent@RDS#5-5 -o 150 --retry 0", 4, "losses", 100, 0, 0},
        {"Refused", "DM99999 -n 2", 1, "trustworthy", 2, 6, 0},
        {"RefusedOnce", "DM7 -n 100 --fault error=1@RDS#1", 0, "trustworthy", 100, 1, 0},
        {"Late", "DM7 -n 9 --fault late=150ms@RDS#3-3,late=150ms@RDS#5-5 -o 100", 0, "late", 9, 2,
         2},
    };
    for (const auto& row : rows) {
        const Result run = plcctl(std::string("check -f json ") + row.arguments);
        SCOPED_TRACE(std::string(row.name) + "\n" + run.out + run.err);
        EXPECT_EQ(run.status, row.status);
        const auto json = nlohmann::json::parse(run.out, nullptr, false);
        ASSERT_TRUE(json.is_object());
        EXPECT_EQ(json["trust"], row.trust);
        EXPECT_EQ(json["requests"], row.requests);
        EXPECT_EQ(json["retries"], row.retries);
        EXPECT_EQ(json["lateReplies"], row.lateReplies);
    }
    EXPECT_NE(plcctl("check DM7 --for 50ms").out.find(" ms will do: --timeout "),
              std::string::npos);
}

TEST(Check, JudgesTheAttemptsBeforeASignal)
{
    SimulatedController controller("-v --fault silent");
    Background check("check DM7 --for 60s -o 200 --retry 100 -p " + controller.tcp());
    // The first attempt has failed when the second begins.
    for (const char* line : {" > CR", " <   (silent)", " > CR"})
        EXPECT_NE(controller.process().nextLine(QProcess::StandardError).find(line),
                  std::string::npos);
    EXPECT_EQ(check.endWith(SIGINT), 128 + SIGINT);
    EXPECT_EQ(check.nextLine().find("1 request, 1 failed (1 no reply)"), 0U);
    EXPECT_EQ(check.nextLine(), "not usable: 100 % of all attempts lost");
}

} // namespace
