// The settings record of a port.
#include "drivers/devicesetting.h"

#include "drivers/internal/dumpline.h"

namespace
{

typedef QPair<QString, quint16> SocketEntry;

/// Stands for the current entry wherever an index of the socket list is asked for.
const int CurrentEntry = -1;
const int NoEntry = -1;

/// The entry that `index` names, or NoEntry.
int entryOf(const DeviceSetting& setting, int index)
{
    const int entry = index == CurrentEntry ? setting.currentIPIndex : index;
    return entry >= 0 && entry < setting.socketList.size() ? entry : NoEntry;
}

/// The port that a decimal text names, 0 for any other text. QString::toUShort would wrap a number
/// above 32 bits in Qt 4 on a 32-bit machine.
quint16 portIn(const QString& text)
{
    const qlonglong port = text.toLongLong();
    return port >= 0 && port <= 0xFFFF ? static_cast<quint16>(port) : 0;
}

/// The entries up to the end of the list or of the stream. The list reader of Qt 4 would end
/// without an error where the stream ends between two entries, and that of Qt 5 would make room for
/// as many entries as a corrupt count says.
QList<SocketEntry> readEntries(QDataStream& in)
{
    QList<SocketEntry> entries;
    quint32 count = 0;
    in >> count;
    for (quint32 i = 0; i < count; ++i) {
        SocketEntry entry;
        in >> entry;
        if (in.status() != QDataStream::Ok)
            break;
        entries.append(entry);
    }
    return entries;
}

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
    const int entry = entryOf(*this, index);
    return entry == NoEntry ? QString() : socketList.at(entry).first;
}

quint16 DeviceSetting::port(int index) const
{
    const int entry = entryOf(*this, index);
    return entry == NoEntry ? 0 : socketList.at(entry).second;
}

void DeviceSetting::setSocketIP(const QString& ip, int index)
{
    const int entry = entryOf(*this, index);
    if (entry != NoEntry)
        socketList[entry].first = ip;
}

void DeviceSetting::setPort(quint16 port, int index)
{
    const int entry = entryOf(*this, index);
    if (entry != NoEntry)
        socketList[entry].second = port;
}

void DeviceSetting::setSocketData(const QList<QPair<QString, QString>>& data)
{
    QList<SocketEntry> entries;
    for (int i = 0; i < data.size(); ++i)
        entries.append(qMakePair(data.at(i).first, portIn(data.at(i).second)));
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

QDataStream& operator<<(QDataStream& out, const DeviceSetting& s)
{
    return out << static_cast<qint32>(s.type) << s.string << s.baudrate << s.databits << s.stopbits
               << s.parity << s.auxValue << s.linkID << s.currentIPIndex << s.socketList;
}

QDataStream& operator>>(QDataStream& in, DeviceSetting& s)
{
    qint32 type = 0;
    qint32 storedIndex = 0;
    in >> type >> s.string >> s.baudrate >> s.databits >> s.stopbits >> s.parity >> s.auxValue >>
        s.linkID >> storedIndex;
    s.type = static_cast<device_type>(type);
    s.socketList = readEntries(in);
    s.setCurrentIPIndex(storedIndex);
    return in;
}
