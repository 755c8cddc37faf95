// The stored forms of the settings records: any bytes are read without harm, and what was read is
// what an independent reader of the layout finds. Written again, the record gives the same bytes.
#include "drivers/devicesetting.h"
#include "drivers/driversetting.h"
#include "input.h"

#include <QDataStream>

#include <optional>

namespace
{

/// Reads the layout by hand.
class Reader
{
public:
    Reader(const QByteArray& bytes, bool littleEndian)
        : m_bytes(bytes)
        , m_littleEndian(littleEndian)
    {
    }

    bool good() const { return m_good; }
    int place() const { return m_place; }

    uint32_t number(int size)
    {
        QByteArray bytes = take(size);
        if (!m_littleEndian)
            std::reverse(bytes.begin(), bytes.end());
        uint32_t value = 0;
        for (int i = bytes.size(); i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(bytes.at(i));
        return value;
    }

    int32_t integer() { return static_cast<int32_t>(number(4)); }

    /// A length in bytes, which is even, and UTF-16; a length of all ones stands for no text.
    QString text()
    {
        const uint32_t length = number(4);
        if (length == UINT32_MAX)
            return QString();
        m_good = m_good && length % 2 == 0 && length <= uint32_t(m_bytes.size() - m_place);
        QString text;
        for (uint32_t i = 0; m_good && i < length / 2; ++i)
            text += QChar(static_cast<ushort>(number(2)));
        return text;
    }

private:
    QByteArray take(int size)
    {
        m_good = m_good && size <= m_bytes.size() - m_place;
        QByteArray bytes = m_good ? m_bytes.mid(m_place, size) : QByteArray(size, '\0');
        m_place += m_good ? size : 0;
        return bytes;
    }

    QByteArray m_bytes;
    bool m_littleEndian;
    bool m_good = true;
    int m_place = 0;
};

/// The bytes that the record is written as.
template <typename Record>
QByteArray written(const Record& record, bool littleEndian)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(littleEndian ? QDataStream::LittleEndian : QDataStream::BigEndian);
    out << record;
    return bytes;
}

/// Reads the record; returns whether the stream was good to its end.
template <typename Record>
bool readFrom(const QByteArray& bytes, bool littleEndian, Record& record)
{
    QDataStream in(bytes);
    in.setByteOrder(littleEndian ? QDataStream::LittleEndian : QDataStream::BigEndian);
    in >> record;
    return in.status() == QDataStream::Ok;
}

void checkDriverSetting(const QByteArray& bytes, bool littleEndian)
{
    DriverSetting setting(1, 2, 3, 4);
    const bool good = readFrom(bytes, littleEndian, setting);
    Reader reader(bytes, littleEndian);
    const int32_t fields[] = {reader.integer(), reader.integer(), reader.integer(),
                              reader.integer()};
    require(good == reader.good(), "status of a DriverSetting");
    if (!good)
        return;
    require(setting.timeout == fields[0] && setting.retry == fields[1] &&
                setting.stationid == fields[2] && setting.delay == fields[3],
            "fields of a DriverSetting");
    require(written(setting, littleEndian) == bytes.left(reader.place()),
            "a DriverSetting written again");
}

void checkDeviceSetting(const QByteArray& bytes, bool littleEndian)
{
    const device_type none = static_cast<device_type>(0);
    DeviceSetting setting(none, "before", 0, 0, 0, 0, 0, "kept");
    setting.setSocketData({{"10.0.0.9", "1"}}); // makes way for what is read
    const bool good = readFrom(bytes, littleEndian, setting);
    require(setting.auxString == "kept", "auxString is not streamed");

    Reader reader(bytes, littleEndian);
    const uint32_t type = reader.number(4);
    const QString name = reader.text();
    int32_t fields[6];
    for (int32_t& field : fields)
        field = reader.integer();
    const int32_t index = reader.integer();
    const uint32_t count = reader.number(4);
    QList<QPair<QString, quint16>> sockets;
    for (uint32_t i = 0; i < count && reader.good(); ++i) {
        const QString ip = reader.text();
        sockets += qMakePair(ip, static_cast<quint16>(reader.number(2)));
    }
    require(good == reader.good(), "status of a DeviceSetting");
    if (!good)
        return;
    require(static_cast<uint32_t>(setting.type) == type && setting.string == name &&
                setting.baudrate == fields[0] && setting.databits == fields[1] &&
                setting.stopbits == fields[2] && setting.parity == fields[3] &&
                setting.auxValue == fields[4] && setting.linkID == fields[5],
            "fields of a DeviceSetting");
    require(setting.socketList == sockets, "socket entries");
    const bool namesEntry = index >= 0 && index < sockets.size();
    require(setting.currentIPIndex == (namesEntry ? index : 0), "the current entry");
    if (namesEntry || index == 0)
        require(written(setting, littleEndian) == bytes.left(reader.place()),
                "a DeviceSetting written again");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const bool littleEndian = input.byte() & 1;
    const QByteArray bytes = input.rest();
    checkDriverSetting(bytes, littleEndian);
    checkDeviceSetting(bytes, littleEndian);
    return 0;
}
