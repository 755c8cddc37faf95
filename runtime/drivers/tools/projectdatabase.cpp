// Where the project lies, and the three questions put to its database.
#include "drivers/tools/projectdatabase.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>
#include <climits>

const QString COMPILE_PATH = QLatin1String("compile");
const QString DATABASE_PATH = QLatin1String("database");

namespace
{

const char* const DatabaseFile = "database";

const int EthernetHmiPort = 2000;
const int SerialHmiPortBase = 999;
const int NoHmiPort = -1;

void enterIfThere(QDir& dir, const QString& name)
{
    if (dir.exists(name))
        dir.cd(name);
}

bool isDecimalDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

/// The caller's connection, opened, or one that is not open. Fetching does not open it, because
/// then Qt would complain on standard error where that fails.
QSqlDatabase openConnection(const QString& name)
{
    QSqlDatabase connection = QSqlDatabase::database(name, false);
    if (connection.isValid() && !connection.isOpen())
        connection.open();
    return connection;
}

/// Runs one statement. A query that could not be run has no rows.
///
/// address   replaces the statement's question mark; null for a statement without one
QSqlQuery rowsOf(const QString& connectionName, const QString& statement,
                 const QString& address = QString())
{
    const QSqlDatabase connection = openConnection(connectionName);
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    if (!connection.isOpen() || !query.prepare(statement))
        return query;
    if (!address.isNull())
        query.addBindValue(address);
    query.exec();
    return query;
}

quint8 stationIn(const QSqlQuery& row, int column)
{
    return static_cast<quint8>(row.value(column).toUInt() & 0xFF);
}

bool isPlainAddress(const QString& ip)
{
    return !ip.contains(QLatin1Char('\'')) && !ip.contains(QLatin1Char('"')) &&
           !ip.contains(QLatin1Char('%'));
}

} // namespace

QDir projectfiles::compilePath(const QString& programDirectory)
{
    QDir dir(programDirectory);
    enterIfThere(dir, COMPILE_PATH);
    return dir;
}

QString projectfiles::databaseName(const QString& programDirectory)
{
    QDir dir = compilePath(programDirectory);
    enterIfThere(dir, DATABASE_PATH);
    return dir.absoluteFilePath(QLatin1String(DatabaseFile));
}

QDir GetCompilePath()
{
    return projectfiles::compilePath(QCoreApplication::applicationDirPath());
}

QString GetDatabaseName()
{
    return projectfiles::databaseName(QCoreApplication::applicationDirPath());
}

int DevStrToHmiPort(const QString& dev_str)
{
    if (dev_str.startsWith(QLatin1String("ETHERNET"), Qt::CaseInsensitive))
        return EthernetHmiPort;
    int i = dev_str.size() - 1;
    while (i >= 0 && isDecimalDigit(dev_str.at(i)))
        --i;
    if (i < 0 || i + 1 == dev_str.size())
        return NoHmiPort;
    const int number = dev_str.mid(i + 1).toInt();
    return SerialHmiPortBase + (number <= INT_MAX - SerialHmiPortBase ? number : 0);
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, int& linkId,
                                  unsigned char& stationId)
{
    const QString statement =
        QString::fromLatin1("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE "
                            "WHERE LINK.HMIPORT = %1 AND NODE.LINKID = LINK.LINKID "
                            "AND NODE.ISDEFAULT = 1;")
            .arg(hmiPort);
    QSqlQuery row = rowsOf(connectionName, statement);
    if (!row.next())
        return false;
    linkId = row.value(0).toInt();
    stationId = stationIn(row, 1);
    return true;
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, const QString& ip,
                                  unsigned short port, QList<LinkIdStationId>& result)
{
    if (!isPlainAddress(ip))
        return !result.isEmpty();
    // The address goes in as a value of its own, so nothing in it is ever read as part of the
    // statement.
    const QString statement =
        QString::fromLatin1("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE "
                            "WHERE LINK.HMIPORT = %1 AND NODE.LINKID = LINK.LINKID "
                            "AND NODE.IP = ? AND NODE.PORT = %2 AND NODE.ISDEFAULT = 1;")
            .arg(hmiPort)
            .arg(port);
    const QString address = ip.isNull() ? QString::fromLatin1("") : ip;
    QSqlQuery row = rowsOf(connectionName, statement, address);
    while (row.next()) {
        const LinkIdStationId entry = {row.value(0).toInt(), stationIn(row, 1)};
        result.append(entry);
    }
    return !result.isEmpty();
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int linkId,
                                  QList<LinkIdStationId>& result)
{
    const QString statement = QString::fromLatin1("SELECT NODE.STATIONID FROM NODE "
                                                  "WHERE NODE.LINKID = %1 AND NODE.ISDEFAULT = 1")
                                  .arg(linkId);
    QSqlQuery row = rowsOf(connectionName, statement);
    while (row.next()) {
        const LinkIdStationId entry = {linkId, stationIn(row, 0)};
        result.append(entry);
    }
    return !result.isEmpty();
}
