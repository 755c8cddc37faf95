#include "drivers/tools.h"
#include "support/bytes.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace
{

/// A project database in a file of its own, registered but not open, as a runtime may leave it.
/// Nothing that is asked of it may make Qt write to standard error.
class ProjectDatabase : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* name : {"project", "no such/directory", "no tables"})
            QSqlDatabase::addDatabase("QSQLITE", name).setDatabaseName(m_directory.filePath(name));
        for (const char* statement : Statements)
            ASSERT_TRUE(QSqlQuery(QSqlDatabase::database("project")).exec(statement)) << statement;
        QSqlDatabase::database("project").close();
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
            ADD_FAILURE() << message.toStdString();
        });
    }

    void TearDown() override
    {
        qInstallMessageHandler(nullptr);
        for (const QString& name : QSqlDatabase::connectionNames())
            QSqlDatabase::removeDatabase(name);
    }

private:
    static constexpr const char* Statements[] = {
        "CREATE TABLE LINK (LINKID, HMIPORT)",
        "CREATE TABLE NODE (LINKID, STATIONID, ISDEFAULT, IP, PORT)",
        "INSERT INTO LINK VALUES (3, 1001), (7, 2000), (8, 2000), (9, 1005)",
        "INSERT INTO NODE VALUES (3, 2, 0, '', 0), (3, 1, 1, '', 0), (9, 300, 1, '', 0)",
        "INSERT INTO NODE VALUES (7, 11, 1, '10.0.0.1', 502), (7, 12, 0, '10.0.0.1', 502)",
        "INSERT INTO NODE VALUES (7, 13, 1, '10.0.0.2', 502), (7, 14, 1, '10.0.0.1', 503)",
        "INSERT INTO NODE VALUES (8, 15, 1, '10.0.0.1', 502), (8, 16, 1, '502', 502)",
        "INSERT INTO NODE VALUES (8, 17, 1, '', 65535), (8, 18, 1, '10.0.0.%1', 502)",
    };
    QTemporaryDir m_directory;
};

/// The pairs of a list: "3/1 3/9".
QString text(const QList<LinkIdStationId>& list)
{
    QStringList pairs;
    for (const LinkIdStationId& pair : list)
        pairs += QString("%1/%2").arg(pair.linkId).arg(pair.stationId);
    return pairs.join(' ');
}

} // namespace

TEST_F(ProjectDatabase, FindsTheLinkOfAPort)
{
    const QString untouched = "77/88";
    const struct {
        const char* connection;
        int hmiPort;
        QString found;
    } rows[] = {
        {"project", 1001, "3/1"},       {"project", 2000, "7/11"},
        {"project", 1005, "9/44"},      {"project", 1002, untouched},
        {"unknown", 1001, untouched},   {"no such/directory", 1001, untouched},
        {"no tables", 1001, untouched},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.connection << ", port " << row.hmiPort);
        int linkId = 77;
        unsigned char stationId = 88;
        EXPECT_EQ(GetLinkIdAndDefaultStationId(row.connection, row.hmiPort, linkId, stationId),
                  row.found != untouched);
        EXPECT_EQ(text({{linkId, stationId}}), row.found);
    }
}

TEST_F(ProjectDatabase, FindsEthernetNodes)
{
    const struct {
        const char *meaning, *ip;
        unsigned short port;
        const char* found;
    } rows[] = {
        {"default nodes of every link, in order", "10.0.0.1", 502, "7/11 8/15"},
        {"port above 32767, null address", nullptr, 65535, "8/17"},
        {"quote", "10.0.0.1' OR '1'='1", 502, ""},
        {"double quote", "\"IP\"", 502, ""},
        {"place of the HMI port", "10.0.0.%1", 502, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        QList<LinkIdStationId> list;
        EXPECT_EQ(GetLinkIdAndDefaultStationId("project", 2000, row.ip, row.port, list),
                  *row.found != '\0');
        EXPECT_EQ(text(list), QString(row.found));
    }
}

TEST_F(ProjectDatabase, ListLookupsAppend)
{
    QList<LinkIdStationId> list;
    EXPECT_FALSE(GetLinkIdAndDefaultStationId("unknown", 3, list));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 3, list));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 9, list));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 2000, "10.0.0.2", 502, list));
    // Nothing found, and still true for what was there before.
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 99, list));
    EXPECT_TRUE(GetLinkIdAndDefaultStationId("project", 2000, "'", 502, list));
    EXPECT_EQ(text(list), QString("3/1 9/44 7/13"));
}

TEST(HmiPort, NumbersPorts)
{
    const struct {
        const char* name;
        int hmiPort;
    } rows[] = {
        {"COM1", 1000},
        {"COM007", 1006},
        {"Ethernet1", 2000},
        {"/dev/ttyS0", 999},
        {"COM", -1},
        {"123", -1},
        {"COM1a", -1},
        {"", -1},
        {"COM\xD9\xA3", -1},
        {"COM2147482648", 2147483647},
        {"COM2147482649", 999},
        {"COM4294967297", 999},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DevStrToHmiPort(QString::fromUtf8(row.name)), row.hmiPort) << row.name;
}

TEST(ProjectPaths, LeaveOutWhatDoesNotExist)
{
    const QTemporaryDir program;
    const QDir directory(program.path());
    EXPECT_EQ(projectfiles::databaseName(program.path()), directory.filePath("database"));
    for (const char* made : {"database", "compile", "compile/database"}) {
        ASSERT_TRUE(directory.mkpath(made));
        EXPECT_EQ(projectfiles::databaseName(program.path()),
                  directory.filePath(made) + "/database");
    }
    EXPECT_EQ(projectfiles::compilePath(program.path()), QDir(directory.filePath("compile")));

    const QDir ownDirectory(QCoreApplication::applicationDirPath());
    EXPECT_EQ(GetCompilePath(), ownDirectory);
    EXPECT_EQ(GetDatabaseName(), ownDirectory.filePath("database"));
}
