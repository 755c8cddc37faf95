// The settings record of a port. It opens nothing and knows no protocol.
#include "drivers/devicesetting.h"

#include "drivers/internal/dumpline.h"

namespace
{

/// Stands for the current entry wherever an index of the socket list is asked for.
const int CurrentEntry = -1;
const int NoEntry = -1;

} // namespace

DeviceSetting::DeviceSetting(device_type type, QString string, int baudrate, int databits,
                             int stopbits, int parity)
    : DeviceSetting(type, string, baudrate, databits, stopbits, parity, 0, QString())
{
}

DeviceSetting::DeviceSetting(device_type type, QString string, int baudrate, int databits,
                             int stopbits, int parity, int auxValue, QString auxString)
    : type(type)
    , string(string)
    , baudrate(baudrate)
    , databits(databits)
    , stopbits(stopbits)
    , parity(parity)
    , auxValue(auxValue)
    , auxString(auxString)
    , linkID(-1)
    , currentIPIndex(0)
{
}

void DeviceSetting::setCurrentIPIndex(int index)
{
    if (index >= 0 && index < socketList.size())
        currentIPIndex = index;
}

QString DeviceSetting::socketIP(int index) const
{
    const int entry = entryOf(index);
    return entry == NoEntry ? QString() : socketList.at(entry).first;
}

quint16 DeviceSetting::port(int index) const
{
    const int entry = entryOf(index);
    return entry == NoEntry ? 0 : socketList.at(entry).second;
}

void DeviceSetting::setSocketIP(const QString& ip, int index)
{
    const int entry = entryOf(index);
    if (entry != NoEntry)
        socketList[entry].first = ip;
}

void DeviceSetting::setPort(quint16 port, int index)
{
    const int entry = entryOf(index);
    if (entry != NoEntry)
        socketList[entry].second = port;
}

void DeviceSetting::setSocketData(const QList<QPair<QString, QString>>& data)
{
    QList<QPair<QString, quint16>> entries;
    for (int i = 0; i < data.size(); ++i)
        entries.append(qMakePair(data.at(i).first, data.at(i).second.toUShort()));
    socketList = entries;
}

void DeviceSetting::dump()
{
    DumpLine()
        .number("type:", type)
        .text("string:", string)
        .number("baudrate:", baudrate)
        .number("databits:", databits)
        .number("stopbits:", stopbits)
        .number("parity:", parity)
        .number("linkID:", linkID)
        .text("current ip:", socketIP(CurrentEntry))
        .number("current port:", port(CurrentEntry))
        .print();
}

/// The entry that `index` names, or NoEntry.
int DeviceSetting::entryOf(int index) const
{
    const int entry = index == CurrentEntry ? currentIPIndex : index;
    return entry >= 0 && entry < socketList.size() ? entry : NoEntry;
}

QDataStream& operator<<(QDataStream& out, const DeviceSetting& s)
{
    return out << static_cast<qint32>(s.type) << s.string << s.baudrate << s.databits << s.stopbits
               << s.parity << s.auxValue << s.linkID << s.currentIPIndex << s.socketList;
}

QDataStream& operator>>(QDataStream& in, DeviceSetting& s)
{
    qint32 type = 0;
    qint32 storedIndex = 0;
    QList<QPair<QString, quint16>> entries;
    in >> type >> s.string >> s.baudrate >> s.databits >> s.stopbits >> s.parity >> s.auxValue >>
        s.linkID >> storedIndex >> entries;
    s.type = static_cast<device_type>(type);
    s.socketList = entries;
    s.setCurrentIPIndex(storedIndex);
    return in;
}
