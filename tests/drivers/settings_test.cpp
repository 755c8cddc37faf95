// The settings records: their stored form to the byte, their socket lists, their debug lines.
#include "drivers/devicesetting.h"
#include "drivers/driversetting.h"

#include <gtest/gtest.h>

namespace
{

template <typename Record>
QByteArray stored(const Record& record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << record;
    return bytes;
}

template <typename Record>
QDataStream::Status restore(const QByteArray& bytes, Record& record)
{
    QDataStream stream(bytes);
    stream >> record;
    return stream.status();
}

QStringList debugLines;

void collectDebugLine(QtMsgType type, const QMessageLogContext&, const QString& line)
{
    debugLines.append((type == QtDebugMsg ? "" : "not a debug message: ") + line);
}

/// The debug messages that a record's dump sends.
template <typename Record>
QStringList dumped(Record record)
{
    debugLines.clear();
    const QtMessageHandler before = qInstallMessageHandler(collectDebugLine);
    record.dump();
    qInstallMessageHandler(before);
    return debugLines;
}

DeviceSetting serialLine()
{
    return {SerialPortDevice, "COM2", 9600, 8, 0, 2};
}

DeviceSetting withSockets(int current)
{
    DeviceSetting setting(device_type(0x80000010), "ETH", 1, 2, 3, 4, 5, "aux");
    setting.setSocketData({{"10.0.0.1", "8501"}, {"10.0.0.2", "502"}});
    setting.setCurrentIPIndex(current);
    return setting;
}

TEST(DriverSetting, IsSixteenBytesInAStream)
{
    EXPECT_EQ(stored(DriverSetting(500, 3, 0, -1)).toHex(), "000001f4"
                                                            "00000003"
                                                            "00000000"
                                                            "ffffffff");
}

TEST(DriverSetting, CopyLeavesTheFlag)
{
    DriverSetting target(0, 0, 0, 0, "text", 7);
    EXPECT_EQ(target.auxString, "");
    EXPECT_FALSE(target.auxFlag);
    target.copy(DriverSetting(1, 2, 3, 4, "text", 7, "aux", true));
    EXPECT_EQ(stored(target), stored(DriverSetting(1, 2, 3, 4)));
    EXPECT_EQ(target.auxString, "aux");
    EXPECT_FALSE(target.auxFlag);
}

TEST(DeviceSetting, StoredForm)
{
    EXPECT_EQ(stored(serialLine()).toHex(' '),
              "00 00 00 20 00 00 00 08 00 43 00 4f 00 4d 00 32 "  // 32, COM2
              "00 00 25 80 00 00 00 08 00 00 00 00 00 00 00 02 "  // 9600, 8, 0, 2
              "00 00 00 00 ff ff ff ff 00 00 00 00 00 00 00 00"); // aux, link, current, no entries
    const QByteArray auxToList =
        "00 00 00 05 ff ff ff ff 00 00 00 01 00 00 00 02 "
        "00 00 00 10 00 31 00 30 00 2e 00 30 00 2e 00 30 00 2e 00 31 21 35 " // 10.0.0.1, 8501
        "00 00 00 10 00 31 00 30 00 2e 00 30 00 2e 00 30 00 2e 00 32 01 f6"; // 10.0.0.2, 502
    EXPECT_TRUE(stored(withSockets(1)).toHex(' ').endsWith(auxToList));
}

TEST(DeviceSetting, TruncatedStreamIsReportedAndKeepsWhatCame)
{
    const QByteArray whole = stored(withSockets(1));
    for (int length = 0; length < whole.size(); ++length) {
        DeviceSetting read(SerialPortDevice, "", 0, 0, 0, 0);
        EXPECT_EQ(restore(whole.left(length), read), QDataStream::ReadPastEnd) << length;
        EXPECT_EQ(read.baudrate, length >= 18 ? 1 : 0) << length; // 4 type, 4 + 6 name, 4 baud rate
        EXPECT_EQ(read.socketList.size(), length >= 68 ? 1 : 0) << length; // 46 before, 22 an entry
    }
}

TEST(DeviceSetting, SocketEntries)
{
    const struct {
        const char* name;
        int current;
        int index;
        const char* ip;
        int port;
    } rows[] = {
        {"first", 0, 0, "10.0.0.1", 8501},   {"second", 0, 1, "10.0.0.2", 502},
        {"current", 1, -1, "10.0.0.2", 502}, {"after the end", 0, 2, "", 0},
        {"below -1", 0, -2, "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeviceSetting setting = withSockets(row.current);
        EXPECT_EQ(setting.socketIP(row.index), row.ip);
        EXPECT_EQ(setting.port(row.index), row.port);

        setting.setSocketIP("new", row.index);
        EXPECT_EQ(setting.socketIP(row.index), row.port ? "new" : "");
        EXPECT_EQ(setting.port(row.index), row.port);
        setting.setPort(9, row.index);
        EXPECT_EQ(setting.port(row.index), row.port ? 9 : 0);
        EXPECT_EQ(setting.socketIP(row.index), row.port ? "new" : "");
        EXPECT_EQ(setting.socketList.size(), 2);
    }

    DeviceSetting empty = serialLine();
    empty.setSocketIP("x", -1);
    EXPECT_TRUE(empty.socketList.isEmpty());
    EXPECT_EQ(empty.port(-1), 0);
}

TEST(DeviceSetting, CurrentIndexIsOneOfTheEntries)
{
    for (int bad : {-1, 2, 1000}) {
        DeviceSetting setting = withSockets(1);
        setting.setCurrentIPIndex(bad);
        EXPECT_EQ(setting.currentIPIndex, 1) << bad;
    }
    DeviceSetting setting = withSockets(1);
    setting.setSocketData({});
    EXPECT_EQ(setting.currentIPIndex, 1);
    EXPECT_EQ(setting.socketIP(-1), "");
}

TEST(DeviceSetting, InvalidPortTexts)
{
    DeviceSetting setting = serialLine();
    setting.setSocketData({{"a", "8501"},
                           {"b", "x"},
                           {"c", "65536"},
                           {"d", "-1"},
                           {"e", "65535"},
                           {"f", "0x10"},
                           {"g", "4294967297"}});
    const QList<QPair<QString, quint16>> expected = {{"a", 8501},  {"b", 0}, {"c", 0}, {"d", 0},
                                                     {"e", 65535}, {"f", 0}, {"g", 0}};
    EXPECT_EQ(setting.socketList, expected);
}

TEST(Dump, IsOneLineWithABlankAfterEveryItem)
{
    EXPECT_EQ(dumped(DriverSetting(500, 3, 0, -7)),
              QStringList("timeout: 500 retry: 3 stationid: 0 delay: -7 "));
    EXPECT_EQ(dumped(serialLine()),
              QStringList("type: 32 string: \"COM2\" baudrate: 9600 databits: 8 stopbits: 0 "
                          "parity: 2 linkID: -1 current ip: \"\" current port: 0 "));
}

TEST(Dump, EscapesNothing)
{
    DeviceSetting setting(device_type(0xFFFFFFFF), "a\"b\\c\t%1 %s \u00e4", 0, 0, 0, 0);
    setting.setSocketData({{"10.0.0.9", "8501"}});
    EXPECT_EQ(
        dumped(setting),
        QStringList("type: 4294967295 string: \"a\"b\\c\t%1 %s \u00e4\" baudrate: 0 databits: 0 "
                    "stopbits: 0 parity: 0 linkID: -1 current ip: \"10.0.0.9\" current port: "
                    "8501 "));
}

} // namespace
