// The settings record of a driver: time-out, retries, station number and delay.
#ifndef DRIVERS_DRIVERSETTING_H
#define DRIVERS_DRIVERSETTING_H

#include "drivers/export.h"

#include <QDataStream>
#include <QString>

/// A plain value: copied member by member, written to and read from a QDataStream.
class DRIVER_KIT_EXPORT DriverSetting
{
public:
    DriverSetting(int timeout, int retry, int stationid, int delay);

    /// `text` and `number` are accepted for callers that pass them, and not kept.
    DriverSetting(int timeout, int retry, int stationid, int delay, const QString& text,
                  unsigned short number);
    DriverSetting(int timeout, int retry, int stationid, int delay, const QString& text,
                  unsigned short number, const QString& auxString, bool auxFlag);

    /// Takes everything from `other` but `auxFlag`.
    void copy(const DriverSetting& other);

    /// Writes the record as one line to the debug channel.
    void dump();

    qint32 timeout;    ///< reply time-out in milliseconds
    qint32 retry;      ///< how often a failed request is tried again
    qint32 stationid;  ///< station number of the PLC on the link
    qint32 delay;      ///< pause before a request in milliseconds
    QString auxString; ///< kept in memory only, never streamed
    bool auxFlag;      ///< kept in memory only, never streamed
};

/// The stored form: four qint32, no header.
DRIVER_KIT_EXPORT QDataStream& operator<<(QDataStream& out, const DriverSetting& s);
DRIVER_KIT_EXPORT QDataStream& operator>>(QDataStream& in, DriverSetting& s);

#endif
