#include "drivers/parts/identity.h"

#include "drivers/devicesetting.h"
#include "drivers/driversetting.h"

namespace driverkit
{

bool serves(int widths, int dataType)
{
    return dataType >= DataBit && dataType <= DataBitGroup && (widths >> dataType & 1);
}

DeviceSetting* newDeviceSetting(const DefaultLine& line)
{
    return new DeviceSetting(SerialPortDevice, QString::fromLatin1(line.port), line.baud,
                             line.dataBits, line.stopBits, line.parity);
}

DriverSetting* newDriverSetting(const DefaultExchange& exchange)
{
    return new DriverSetting(exchange.timeoutMs, exchange.retries, exchange.station,
                             exchange.delayMs);
}

QString lineText(const DefaultLine& line)
{
    return QString::fromLatin1("RS232,%1,%2,%3,%4")
        .arg(line.baud)
        .arg(QString::fromLatin1(wordOf(ParityCodes, line.parity)))
        .arg(line.dataBits)
        .arg(QString::fromLatin1(wordOf(StopBitsCodes, line.stopBits)));
}

} // namespace driverkit
