// Finds the compiled project beside the program, and links and stations in the tables LINK and NODE
// of its database, whatever kind of database that is.
#ifndef DRIVERS_TOOLS_PROJECTDATABASE_H
#define DRIVERS_TOOLS_PROJECTDATABASE_H

#include "drivers/export.h"

#include <QDir>
#include <QList>
#include <QString>

extern DRIVER_KIT_EXPORT const QString COMPILE_PATH;  ///< "compile", beside the program
extern DRIVER_KIT_EXPORT const QString DATABASE_PATH; ///< "database", inside the former

/// A link and its default station.
struct LinkIdStationId {
    qint32 linkId;    ///< LINK.LINKID
    quint8 stationId; ///< NODE.STATIONID
};

/// The program's directory, or COMPILE_PATH in it where that exists.
DRIVER_KIT_EXPORT QDir GetCompilePath();

/// The absolute path of the file "database" in DATABASE_PATH of the compile directory; a directory
/// that does not exist is left out.
DRIVER_KIT_EXPORT QString GetDatabaseName();

/// The same two for the project of another program.
namespace projectfiles
{

DRIVER_KIT_EXPORT QDir compilePath(const QString& programDirectory);
DRIVER_KIT_EXPORT QString databaseName(const QString& programDirectory);

} // namespace projectfiles

/// The HMI port number of a port name: 2000 for every name that begins with ETHERNET in any case,
/// 999 + n for a name that ends in the decimal number n, such as COM1. An n too large counts as 0.
/// Returns -1 for a name without a number or with nothing before it.
DRIVER_KIT_EXPORT int DevStrToHmiPort(const QString& dev_str);

// The lookups run on the connection that the caller registered under `connectionName`, and open it
// if it is not open. A connection that is unknown or cannot be opened, and a query that fails, find
// no rows. Station numbers keep their low 8 bits.

/// The first link on an HMI port, with its default station. Returns false if the port has no link;
/// `linkId` and `stationId` are then untouched.
DRIVER_KIT_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort,
                                                    int& linkId, unsigned char& stationId);

/// Appends to `result` the links on an HMI port whose default node has that IP address and port. An
/// address with a quote or a percent sign belongs to no node.
/// Returns whether `result` is non-empty, earlier entries included.
DRIVER_KIT_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort,
                                                    const QString& ip, unsigned short port,
                                                    QList<LinkIdStationId>& result);

/// Appends to `result` the default stations of one link.
/// Returns whether `result` is non-empty, earlier entries included.
DRIVER_KIT_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int linkId,
                                                    QList<LinkIdStationId>& result);

#endif
