// The settings record of a driver.
#include "drivers/driversetting.h"

#include "drivers/internal/dumpline.h"

DriverSetting::DriverSetting(int timeout, int retry, int stationid, int delay)
    : DriverSetting(timeout, retry, stationid, delay, QString(), 0)
{
}

DriverSetting::DriverSetting(int timeout, int retry, int stationid, int delay, const QString& text,
                             unsigned short number)
    : DriverSetting(timeout, retry, stationid, delay, text, number, QString(), false)
{
}

DriverSetting::DriverSetting(int timeout, int retry, int stationid, int delay, const QString&,
                             unsigned short, const QString& auxString, bool auxFlag)
    : timeout(timeout)
    , retry(retry)
    , stationid(stationid)
    , delay(delay)
    , auxString(auxString)
    , auxFlag(auxFlag)
{
}

void DriverSetting::copy(const DriverSetting& other)
{
    timeout = other.timeout;
    retry = other.retry;
    stationid = other.stationid;
    delay = other.delay;
    auxString = other.auxString;
}

void DriverSetting::dump()
{
    DumpLine()
        .number("timeout:", timeout)
        .number("retry:", retry)
        .number("stationid:", stationid)
        .number("delay:", delay)
        .print();
}

QDataStream& operator<<(QDataStream& out, const DriverSetting& s)
{
    return out << s.timeout << s.retry << s.stationid << s.delay;
}

QDataStream& operator>>(QDataStream& in, DriverSetting& s)
{
    return in >> s.timeout >> s.retry >> s.stationid >> s.delay;
}
