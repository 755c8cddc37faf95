// What requests cost on a line, by numbers worked out by hand.
#include "bench/explain.h"
#include "bench/points.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace bench;

namespace
{

TEST(Explain, CountsWhatTheDriverSends)
{
    struct Expected {
        int requests, sessions, commands, bytesOut, bytesIn;
        int lineUs;         ///< characters * bits * 1000000 / speed, rounded
        int leastTimeoutMs; ///< of the most characters that the driver waits for in one call
        std::size_t shortRows;
    };
    const char* const usual = "RS232,9600,EVEN,8,1";
    const struct {
        const char* driver;
        const char* device;
        int count;
        const char* values; ///< to write, separated by blanks; empty: a read
        const char* line;
        Expected expected;
    } rows[] = {
        // clang-format off
        // CR 4, RDS 15, CQ 4; CC 4, two words 13, CF 4. 44 characters of 11 bits; 15 + 4 at most.
        {KV1000_DRIVER, "DM100", 2, "", usual, {1, 1, 3, 23, 21, 50417, 22, 3}},
        // Four times 4 + 4 * 17 + 4 out and 4 + 4 * 1537 + 4 in; then 3 * 1537 + 817 in. The rest
        // of a reply after its first 4 bytes is waited for in one call.
        {KV1000_DRIVER, "DM0", 5000, "", usual, {5, 5, 30, 380, 30060, 34879167, 1757, 10}},
        // WRS DM00000 3 00001 00002 00003 and its line end: 33.
        {KV1000_DRIVER, "DM0", 3, "1 2 3", usual, {1, 1, 3, 41, 12, 60729, 43, 3}},
        // A session for each bit: 4 + 12 + 4 out, 3 * 4 in. 10 bits a character.
        {KV1000_DRIVER, "MR0", 5, "1 0 1 1 1", "RS232,2400,ODD,7,1",
         {1, 5, 15, 100, 60, 666667, 67, 4}},
        // Three requests of 8 bytes; replies 5 + 2 * 125 twice and 5 + 2 * 50. No sessions.
        {MODBUS_DRIVER, "HR0", 300, "", "RS485,19200,NONE,8,1", {1, 0, 3, 24, 615, 332813, 131, 3}},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.device) + " " + row.values);
        const QStringList typed = QString(row.values).split(' ', Qt::SkipEmptyParts);
        Driver driver(row.driver);
        std::vector<TypedDevice> devices;
        std::vector<Value> values;
        for (const Point& point : resolve(row.device, {{}, driver.devices()}, row.count)) {
            if (!typed.empty())
                values.push_back(valueToWrite(point, typed[int(values.size())].toStdString()));
            devices.push_back(point.device);
        }
        const auto requests =
            values.empty() ? explainRead(driver, devices) : explainWrite(driver, devices, values);
        const Totals totals = totalsOf(requests);
        QString error;
        const auto line = host::lineSettingsFromText(row.line, &error).value();
        EXPECT_EQ(totals.requests, row.expected.requests);
        EXPECT_EQ(totals.sessions, row.expected.sessions);
        EXPECT_EQ(totals.exchanges, row.expected.commands);
        EXPECT_EQ(totals.commandBytes, row.expected.bytesOut);
        EXPECT_EQ(totals.replyBytes, row.expected.bytesIn);
        EXPECT_EQ(timeOnLine(totals.commandBytes + totals.replyBytes, line).count(),
                  row.expected.lineUs);
        EXPECT_EQ(leastTimeoutMs(totals, line), row.expected.leastTimeoutMs);
        EXPECT_EQ(shortened(requests).size(), row.expected.shortRows);
    }
}

} // namespace
