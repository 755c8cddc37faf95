// What a trace says about each call, and that the calls pass through unchanged.
#include "host/tracingport.h"

#include <QStringList>
#include <QVariant>

#include <gtest/gtest.h>

#include <cstring>

namespace
{

/// Answers every call with something recognisable.
class EchoPort : public AbstractDeviceInterface
{
public:
    int read(char* buffer, int maxLength) override
    {
        const int count = qMin(maxLength, 2);
        memcpy(buffer, "CC", count);
        return count;
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
    nowUs += 1;
    traced.setOption(12, QVariant(0));
    nowUs += 12344;
    EXPECT_EQ(traced.write("RDS DM00100 2\r\n", 15), 14);
    EXPECT_EQ(traced.read(buffer, 4), 2);
    EXPECT_EQ(traced.retry(), 3);

    EXPECT_STREQ(buffer, "CC??");
    EXPECT_EQ(port.lastOption, 12);
    EXPECT_EQ(trace, (QStringList{
                         "+0.000 ms  delay -> 7",
                         "+0.001 ms  setOption 12 0",
                         "+12.345 ms  write 15 -> 14  \"RDS DM00100 2\\r\\n\"",
                         "+12.345 ms  read 4 -> 2  \"CC\"",
                         "+12.345 ms  retry -> 3",
                     }));
}

TEST(TracingPort, SurvivesCountsThatNoPortShouldGive)
{
    struct LyingPort : EchoPort {
        int read(char*, int) override { return count; }
        int count = 0;
    } port;
    QString last;
    host::TracingPort traced(
        port, [&](const QString& line) { last = line.mid(11); }, [] { return 0; });
    char buffer[] = "ab";
    const struct {
        int asked;
        int given;
        const char* line;
    } rows[] = {
        {2, -1, "read 2 -> -1  \"\""},
        {2, 99, "read 2 -> 99  \"ab\""},
        {-1, 5, "read -1 -> 5  \"\""},
    };
    for (const auto& row : rows) {
        port.count = row.given;
        EXPECT_EQ(traced.read(buffer, row.asked), row.given);
        EXPECT_EQ(last, row.line);
    }
    traced.write(nullptr, -1);
    EXPECT_EQ(last, "write -1 -> -2  \"\"");
}

TEST(Quoted, EscapesWhatCannotBeRead)
{
    const QByteArray bytes("A~\r\n\t\"\\\0\x1f\x7f\xff", 11);
    EXPECT_EQ(host::quoted(bytes.constData(), bytes.size()),
              "\"A~\\r\\n\\t\\\"\\\\\\x00\\x1f\\x7f\\xff\"");
}

} // namespace
