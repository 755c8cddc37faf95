// plcctl with a panel project, run as a program against a real SQLite file.
#include "program.h"

#include <QDir>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <gtest/gtest.h>

#include <fstream>

namespace
{

/// Links: COM1 without a station, COM2, one over Ethernet whose station number is cut to eight
/// bits, and one of a port that has no name.
const char* const statements[] = {
    "CREATE TABLE LINK(LINKID INTEGER, HMIPORT INTEGER)",
    "CREATE TABLE NODE(LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT "
    "INTEGER)",
    "INSERT INTO LINK VALUES(3, 1001), (4, 2000), (5, 1000), (6, 999)",
    "INSERT INTO NODE VALUES(3, 1, 1, NULL, NULL), (3, 2, 0, NULL, NULL)",
    "INSERT INTO NODE VALUES(4, 300, 1, '127.0.0.1', 8501)",
};

class PanelProject : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(directory.path()).mkpath("compile/database"));
        for (const char* statement : statements)
            execute(statement);
    }

    void execute(const QString& statement)
    {
        {
            QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "writer");
            database.setDatabaseName(directory.filePath("compile/database/database"));
            ASSERT_TRUE(database.open());
            ASSERT_TRUE(QSqlQuery(database).exec(statement)) << statement.toStdString();
        }
        QSqlDatabase::removeDatabase("writer");
    }

    Result run(const std::string& arguments)
    {
        return plcctl(arguments + " --project " + directory.path().toStdString());
    }

    QTemporaryDir directory;
};

TEST_F(PanelProject, ListsItsLinks)
{
    EXPECT_EQ(run("links").out, "port      hmiport  link  station  ip         ipport\n"
                                "              999     6\n"
                                "COM1         1000     5\n"
                                "COM2         1001     3        1\n"
                                "ETHERNET     2000     4       44  127.0.0.1    8501\n");
}

TEST_F(PanelProject, GivesLinkAndStationOfThePort)
{
    const std::string project = " --project " + directory.path().toStdString();
    expectOutcomes({
        {"DriversOwnPort", "read DM7" + project, 0, "DM7  80\n",
         "COM2 is link 3 of the project, station 1\n"},
        {"PortByName", "read DM7 --port-name com2" + project, 0, "DM7  80\n",
         "com2 is link 3 of the project, station 1\n"},
        {"NoStation", "read DM7 --port-name COM1" + project, 2, "",
         "no link with a default station on COM1"},
    });
}

TEST_F(PanelProject, FindsAnEthernetStationByItsAddress)
{
    const SimulatedController controller("--set DM7=12");
    const Result unknown = run("read DM7 -p " + controller.tcp());
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("station on ETHERNET to 127.0.0.1:"), std::string::npos);

    const QString port = QString::fromStdString(controller.tcp()).section(':', -1);
    execute("UPDATE NODE SET PORT = " + port + " WHERE LINKID = 4");
    const Result known = run("read DM7 -p " + controller.tcp());
    EXPECT_EQ(known.out, "DM7  12\n") << known.err;
    EXPECT_EQ(known.err, "plcctl: ETHERNET is link 4 of the project, station 44\n");
}

TEST_F(PanelProject, RefusesAnotherFileAndAMissingOne)
{
    const std::string database = directory.filePath("compile/database/database").toStdString();
    std::ofstream(database, std::ios::trunc) << "no database at all, only a text";
    EXPECT_NE(run("links").err.find("is no project database: "), std::string::npos);
    EXPECT_EQ(run("read DM7").status, 3);

    QFile::remove(QString::fromStdString(database));
    const Result missing = run("links");
    EXPECT_EQ(missing.status, 3);
    EXPECT_NE(missing.err.find("there is no project database in " + directory.path().toStdString()),
              std::string::npos);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(database))) << "created one by looking";
}

} // namespace
