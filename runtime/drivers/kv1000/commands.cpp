// Every text that goes out to the controller. It knows no reply and keeps no state.
#include "drivers/kv1000/commands.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/kv1000/devices.h"
#include "drivers/portoptions.h"
#include "drivers/tools.h"

#include <QVariant>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{

/// The longest "RDS" command and its NUL.
const int ReadCommandSize = 20;

const char LineEnd[] = "\r\n";

/// A device text as the host link spells it.
struct DeviceField {
    char text[MaxDeviceTextLength + 1];

    explicit DeviceField(const char* device)
        : text()
    {
        KV1000GetSafeDeviceTypeNo(text, device);
    }
};

/// Returns the length that the whole command needs, which may be more than `size` has room for.
int formatReadCommand(char* buffer, int size, const QByteArray& address, int count)
{
    const DeviceField field(address.constData());
    return std::snprintf(buffer, static_cast<size_t>(size), "RDS %s %d\r\n", field.text, count);
}

/// A command text that grows step by step and never beyond its buffer.
class CommandText
{
public:
    CommandText(char* buffer, int size)
        : m_buffer(buffer)
        , m_size(size)
        , m_length(0)
    {
    }

    __attribute__((format(printf, 2, 3))) void append(const char* format, ...)
    {
        va_list values;
        va_start(values, format);
        const int room = m_size - m_length;
        const int needed =
            std::vsnprintf(m_buffer + m_length, static_cast<size_t>(room), format, values);
        va_end(values);
        m_length += qBound(0, needed, room - 1);
    }

    int length() const { return m_length; }

private:
    char* m_buffer;
    int m_size;
    int m_length;
};

int digitsOfValue(int valueBytes)
{
    return valueBytes == 2 ? 5 : 10;
}

unsigned valueAt(const QByteArray& data, int offset, int valueBytes)
{
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(data.constData()) + offset;
    unsigned short word = 0;
    unsigned int doubleWord = 0;
    if (valueBytes == 2)
        DataUnpack(bytes, "v", &word);
    else
        DataUnpack(bytes, "V", &doubleWord);
    return word | doubleWord;
}

int packWriteCommand(char* buffer, int size, const char* device, const QByteArray& data,
                     int valueBytes)
{
    CommandText command(buffer, size);
    command.append("%s %s %u", KV1000SupportWSS(device) ? "WSS" : "WRS", DeviceField(device).text,
                   static_cast<unsigned>(data.size() / valueBytes));
    for (int offset = 0; offset < data.size(); offset += valueBytes)
        command.append(" %0*u", digitsOfValue(valueBytes), valueAt(data, offset, valueBytes));
    command.append("%s", LineEnd);
    return command.length();
}

} // namespace

void discardUnreadInput(AbstractDeviceInterface* port)
{
    port->setOption(DiscardUnreadInput, QVariant(0));
}

void sendCommand(AbstractDeviceInterface* port, const char* text, int length)
{
    port->write(text, length);
}

void KV1000SendContinuousReadDataCmd(AbstractDeviceInterface* port, const QByteArray& address,
                                     int count)
{
    char command[ReadCommandSize];
    const int length = formatReadCommand(command, ReadCommandSize, address, count);
    discardUnreadInput(port);
    sendCommand(port, command, length);
}

bool readCommandFits(const QByteArray& address, int count)
{
    char command[ReadCommandSize];
    return formatReadCommand(command, ReadCommandSize, address, count) < ReadCommandSize;
}

int formatBitCommand(char* buffer, int size, const QByteArray& symbol, int number, bool value)
{
    // The first row whose letters the symbol begins with holds.
    static const struct {
        const char* letters;
        const char* spelling;
        int digits;
    } bitDevices[] = {
        {"CTC", "CTC", 1}, {"CR", "CR", 4}, {"C", "C", 4}, {"L", "LR", 5},
        {"M", "MR", 5},    {"R", "", 5},    {"T", "T", 4},
    };

    for (const auto& device : bitDevices) {
        if (qstrnicmp(symbol.constData(), device.letters,
                      static_cast<uint>(qstrlen(device.letters))))
            continue;
        CommandText command(buffer, size);
        command.append("%s %s%0*d\r\n", value ? "ST" : "RS", device.spelling, device.digits,
                       number);
        return command.length();
    }
    return 0;
}

int KV1000PackWriteContinuousUInt16sCmd(char* buffer, int size, const char* device,
                                        const QByteArray& data)
{
    return packWriteCommand(buffer, size, device, data, 2);
}

int KV1000PackWriteContinuousUInt32sCmd(char* buffer, int size, const char* device,
                                        const QByteArray& data)
{
    return packWriteCommand(buffer, size, device, data, 4);
}

int writeCapacity(int size, const QByteArray& device, int valueBytes)
{
    const int valueLength = 1 + digitsOfValue(valueBytes);
    const size_t fixedLength = std::strlen("WRS ") +
                               std::strlen(DeviceField(device.constData()).text) +
                               std::strlen(" ") + std::strlen(LineEnd);
    const int room = size - 1 - static_cast<int>(fixedLength);
    // The count takes room of its own: a digit more of it may cost a value.
    int count = room / valueLength;
    while (QByteArray::number(count).size() + count * valueLength > room)
        --count;
    return count;
}
