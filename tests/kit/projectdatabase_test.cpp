#include "bytes.h"
#include "drivers/tools.h"

#include <QCoreApplication>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>
#include <gtest/gtest.h>

namespace
{

QStringList messages;

/// Collects what Qt would write to standard error.
class MessageTrap
{
public:
    MessageTrap()
    {
        messages.clear();
        m_handlerBefore = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { messages += text; });
    }
    ~MessageTrap() { qInstallMessageHandler(m_handlerBefore); }

private:
    QtMessageHandler m_handlerBefore;
};

/// A project database in a file of its own, registered but not open, as a runtime may leave it.
class ProjectDatabase : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        registerConnection("project", m_directory.filePath("database"));
        registerConnection("no such directory", m_directory.filePath("none/database"));
        registerConnection("no tables", m_directory.filePath("empty"));
        for (const char* statement : Statements)
            run(statement);
        QSqlDatabase::database("project").close();
    }

    void TearDown() override
    {
        for (const QString& name : QSqlDatabase::connectionNames())
            QSqlDatabase::removeDatabase(name);
    }

    static void registerConnection(const QString& name, const QString& file)
    {
        QSqlDatabase::addDatabase("QSQLITE", name).setDatabaseName(file);
    }

    static void run(const QString& statement)
    {
        QSqlQuery query(QSqlDatabase::database("project"));
        ASSERT_TRUE(query.exec(statement)) << query.lastError().text().toStdString();
    }

    /// The pairs of a list as text: "3/1 3/9".
    static QString text(const QList<LinkIdStationId>& list)
    {
        QStringList pairs;
        for (const LinkIdStationId& pair : list)
            pairs += QString("%1/%2").arg(pair.linkId).arg(pair.stationId);
        return pairs.join(' ');
    }

private:
    static constexpr const char* Statements[] = {
        "CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)",
        "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT,"
        " PORT INTEGER)",
        "INSERT INTO LINK VALUES (3, 1001), (7, 2000), (8, 2000), (9, 1005), (-4, 1006)",
        "INSERT INTO NODE VALUES (3, 2, 0, '', 0), (3, 1, 1, '', 0)",
        "INSERT INTO NODE VALUES (7, 11, 1, '10.0.0.1', 502), (7, 12, 0, '10.0.0.1', 502)",
        "INSERT INTO NODE VALUES (7, 13, 1, '10.0.0.2', 502), (7, 14, 1, '10.0.0.1', 503)",
        "INSERT INTO NODE VALUES (8, 15, 1, '10.0.0.1', 502), (8, 16, 1, '502', 502)",
        "INSERT INTO NODE VALUES (8, 17, 1, '', 65535), (8, 18, 1, '10.0.0.%1', 502)",
        "INSERT INTO NODE VALUES (9, 300, 1, '', 0), (9, 'x', 1, '', 0), (-4, -1, 1, '', 0)",
    };
    QTemporaryDir m_directory;
};

constexpr const char* ProjectDatabase::Statements[];

} // namespace

TEST_F(ProjectDatabase, FindsTheLinkOfAPort)
{
    const struct {
        const char* meaning;
        int hmiPort;
        bool found;
        int linkId, stationId;
    } rows[] = {
        {"default node only", 1001, true, 3, 1},
        {"first row of several", 2000, true, 7, 11},
        {"station cut to 8 bits", 1005, true, 9, 44},
        {"negative link", 1006, true, -4, 255},
        {"unknown port leaves the values alone", 1002, false, 77, 88},
        {"negative port", -1, false, 77, 88},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        int linkId = 77;
        unsigned char stationId = 88;
        EXPECT_EQ(GetLinkIdAndDefaultStationId("project", row.hmiPort, linkId, stationId),
                  row.found);
        EXPECT_EQ(linkId, row.linkId);
        EXPECT_EQ(stationId, row.stationId);
    }
}

TEST_F(ProjectDatabase, FindsEthernetNodes)
{
    const struct {
        const char *meaning, *ip;
        int port;
        const char* found;
    } rows[] = {
        {"default nodes of every link, in order", "10.0.0.1", 502, "7/11 8/15"},
        {"another port", "10.0.0.1", 503, "7/14"},
        {"another address", "10.0.0.2", 502, "7/13"},
        {"port above 32767, empty address", "", 65535, "8/17"},
        {"unknown address", "10.0.0.3", 502, ""},
        {"quote", "10.0.0.1' OR '1'='1", 502, ""},
        {"second statement", "'; DROP TABLE NODE; --", 502, ""},
        {"double quote", "\"IP\"", 502, ""},
        {"place of the port number", "%3", 502, ""},
        {"place of the HMI port", "10.0.0.%1", 502, ""},
        {"question mark", "?", 502, ""},
        {"the tables are still there", "10.0.0.2", 502, "7/13"},
    };
    const MessageTrap trap;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        QList<LinkIdStationId> list;
        const auto port = static_cast<unsigned short>(row.port);
        EXPECT_EQ(GetLinkIdAndDefaultStationId("project", 2000, row.ip, port, list),
                  *row.found != '\0');
        EXPECT_EQ(text(list), QString(row.found));
    }
    QList<LinkIdStationId> list;
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 2000, QString(), 65535, list));
    EXPECT_EQ(messages, QStringList());
}

TEST_F(ProjectDatabase, ListLookupsAppend)
{
    QList<LinkIdStationId> list;
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 3, list));
    EXPECT_EQ(text(list), QString("3/1"));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 9, list));
    EXPECT_EQ(text(list), QString("3/1 9/44 9/0"));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 2000, "10.0.0.2", 502, list));
    EXPECT_EQ(text(list), QString("3/1 9/44 9/0 7/13"));
    // Nothing found, and still true for what was there before.
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 99, list));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 2000, "'", 502, list));
    EXPECT_EQ(list.size(), 4);
}

TEST_F(ProjectDatabase, BadConnectionsFindNothingInSilence)
{
    for (const char* connection : {"unknown", "no such directory", "no tables", ""}) {
        SCOPED_TRACE(connection);
        const MessageTrap trap;
        int linkId = 77;
        unsigned char stationId = 88;
        QList<LinkIdStationId> list;
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(connection, 1001, linkId, stationId));
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(connection, 2000, "10.0.0.1", 502, list));
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(connection, 3, list));
        EXPECT_EQ(linkId, 77);
        EXPECT_EQ(stationId, 88);
        EXPECT_EQ(messages, QStringList());
    }
}

TEST(HmiPort, NumbersPorts)
{
    const struct {
        const char* name;
        int hmiPort;
    } rows[] = {
        {"COM1", 1000},
        {"COM2", 1001},
        {"COM10", 1009},
        {"COM007", 1006},
        {"ETHERNET", 2000},
        {"Ethernet1", 2000},
        {"ETHERNET_2", 2000},
        {"/dev/ttyS0", 999},
        {"COM2147482648", 2147483647},
        {"COM2147482649", 999},
        {"COM4294967297", 999},
        {"COM", -1},
        {"123", -1},
        {"", -1},
        {"COM1a", -1},
        {"COM\xD9\xA3", -1}, // a digit, but none of 0 to 9
    };
    for (const auto& row : rows)
        EXPECT_EQ(DevStrToHmiPort(QString::fromUtf8(row.name)), row.hmiPort) << row.name;
}

TEST(ProjectPaths, LeaveOutWhatDoesNotExist)
{
    // This program has a directory of its own, so nothing else sees what is made here.
    QDir program(QCoreApplication::applicationDirPath());
    const auto cleanUp = [&] {
        QDir(program.filePath(COMPILE_PATH)).removeRecursively();
        QDir(program.filePath(DATABASE_PATH)).removeRecursively();
    };
    cleanUp();
    EXPECT_EQ(GetCompilePath().absolutePath(), program.absolutePath());
    EXPECT_EQ(GetDatabaseName(), program.filePath("database"));

    ASSERT_TRUE(program.mkdir("database"));
    EXPECT_EQ(GetDatabaseName(), program.filePath("database/database"));

    ASSERT_TRUE(program.mkdir("compile"));
    EXPECT_EQ(GetCompilePath().absolutePath(), program.filePath("compile"));
    EXPECT_EQ(GetDatabaseName(), program.filePath("compile/database"));

    ASSERT_TRUE(program.mkpath("compile/database"));
    EXPECT_EQ(GetDatabaseName(), program.filePath("compile/database/database"));
    cleanUp();
}
