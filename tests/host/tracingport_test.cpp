// What a trace says about each call, and that the calls pass through unchanged.
#include "host/tracingport.h"

#include <QStringList>
#include <QVariant>

#include <gtest/gtest.h>

namespace
{

/// Answers every call with something recognisable.
class EchoPort : public AbstractDeviceInterface
{
public:
    int read(char* buffer, int) override
    {
        buffer[0] = buffer[1] = 'C';
        return 2;
    }
    int write(const char*, int length) override { return length - 1; }
    void setOption(int option, const QVariant&) override { lastOption = option; }
    int retry() override { return 3; }
    int delay() override { return 7; }

    int lastOption = 0;
};

TEST(TracingPort, TellsEveryCallWithItsTime)
{
    QStringList trace;
    qint64 nowUs = 1000000;
    EchoPort port;
    host::TracingPort traced(
        port, [&](const QString& line) { trace += line; }, [&] { return nowUs; });
    char buffer[5] = "????";
    EXPECT_EQ(traced.delay(), 7);
    traced.setOption(12, QVariant(0));
    nowUs += 12345;
    EXPECT_EQ(traced.write("RDS DM00100 2\r\n", 15), 14);
    EXPECT_EQ(traced.write("\x01\x03\x00\xFA\x00\x32\xE4.", 8), 7);
    EXPECT_EQ(traced.write("001\xB0\r\n", 6), 5); // a garbled text
    EXPECT_EQ(traced.read(buffer, 4), 2);
    EXPECT_EQ(traced.retry(), 3);

    EXPECT_STREQ(buffer, "CC??");
    EXPECT_EQ(port.lastOption, 12);
    EXPECT_EQ(trace, (QStringList{
                         "+0.000 ms  delay -> 7",
                         "+0.000 ms  setOption 12 0",
                         "+12.345 ms  write 15 -> 14  \"RDS DM00100 2\\r\\n\"",
                         "+12.345 ms  write 8 -> 7  01 03 00 FA 00 32 E4 2E",
                         "+12.345 ms  write 6 -> 5  \"001\\xb0\\r\\n\"",
                         "+12.345 ms  read 4 -> 2  \"CC\"",
                         "+12.345 ms  retry -> 3",
                     }));
}

} // namespace
