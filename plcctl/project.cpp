// The questions that are put to a project's database.
#include "project.h"

#include "bench/failure.h"

#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace plcctl
{

namespace
{

const QString Connection = QStringLiteral("panel project");

/// Station numbers have eight bits, and are cut to them wherever they are looked up.
constexpr int StationMask = 0xFF;

/// As many as operating systems number; a higher number is no name of a panel's port.
constexpr int MostComPorts = 256;

const char* const LinksQuery =
    "SELECT LINK.HMIPORT, LINK.LINKID, NODE.STATIONID, NODE.IP, NODE.PORT "
    "FROM LINK LEFT JOIN NODE ON NODE.LINKID = LINK.LINKID AND NODE.ISDEFAULT = 1 "
    "ORDER BY LINK.HMIPORT, LINK.LINKID, NODE.STATIONID";

std::optional<int> numberIn(const QSqlQuery& row, int column, int mask = ~0)
{
    if (row.isNull(column))
        return std::nullopt;
    return row.value(column).toInt() & mask;
}

/// The HMI port number of a port name. Throws a Failure for a name that has none.
int hmiPortOf(const QString& portName)
{
    const int hmiPort = DevStrToHmiPort(portName);
    if (hmiPort < 0)
        throw bench::Failure(bench::FailureKind::WrongUsage,
                             "--port-name: no panel port is called '" + portName.toStdString() +
                                 "'; write a name such as COM1 or ETHERNET");
    return hmiPort;
}

bench::Failure noLink(const std::string& place, const std::string& directory)
{
    return bench::Failure(bench::FailureKind::WrongUsage,
                          "the project has no link with a default station on " + place,
                          "'plcctl links --project " + directory +
                              "' lists the links that it has.");
}

} // namespace

Project::Project(const std::string& directory)
    : m_directory(directory)
{
    const QString file = projectfiles::databaseName(QString::fromStdString(directory));
    if (!QFileInfo(file).isFile())
        throw bench::Failure(bench::FailureKind::CannotOpen,
                             "there is no project database in " + directory,
                             "--project names the folder that holds compile/database/database.");
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), Connection);
    database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
    database.setDatabaseName(file);
    QSqlQuery query(database);
    if (database.open() && query.exec(LinksQuery))
        return;
    const QString why = database.isOpen() ? query.lastError().text() : database.lastError().text();
    query = QSqlQuery();
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(Connection);
    throw bench::Failure(bench::FailureKind::CannotOpen,
                         file.toStdString() + " is no project database: " + why.toStdString());
}

Project::~Project()
{
    QSqlDatabase::removeDatabase(Connection);
}

std::vector<ProjectLink> Project::links() const
{
    QSqlQuery row(QSqlDatabase::database(Connection));
    row.exec(LinksQuery);
    std::vector<ProjectLink> links;
    while (row.next())
        links.push_back({row.value(0).toInt(), row.value(1).toInt(), numberIn(row, 2, StationMask),
                         row.value(3).toString().toStdString(), numberIn(row, 4)});
    return links;
}

LinkIdStationId Project::linkOn(const QString& portName) const
{
    LinkIdStationId link = {};
    if (!GetLinkIdAndDefaultStationId(Connection, hmiPortOf(portName), link.linkId, link.stationId))
        throw noLink(portName.toStdString(), m_directory);
    return link;
}

LinkIdStationId Project::linkOn(const QString& portName, const QString& ip, quint16 ipPort) const
{
    QList<LinkIdStationId> found;
    if (!GetLinkIdAndDefaultStationId(Connection, hmiPortOf(portName), ip, ipPort, found))
        throw noLink(portName.toStdString() + " to " + ip.toStdString() + ":" +
                         std::to_string(ipPort),
                     m_directory);
    return found.first();
}

std::string portNameOf(int hmiPort)
{
    static const int ethernet = DevStrToHmiPort(QStringLiteral("ETHERNET"));
    static const int beforeCom1 = DevStrToHmiPort(QStringLiteral("COM0"));
    if (hmiPort == ethernet)
        return "ETHERNET";
    const int number = hmiPort - beforeCom1;
    return number >= 1 && number <= MostComPorts ? "COM" + std::to_string(number) : "";
}

} // namespace plcctl
