// Every text that goes out to the controller. It knows no reply and keeps no state.
#include "drivers/kv1000/commands.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/kv1000/devices.h"
#include "drivers/tools.h"

#include <QVariant>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{

const int DiscardUnreadOption = 12;

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

void appendWriteHeader(CommandText& command, const char* device, int count)
{
    command.append("%s %s %u", KV1000SupportWSS(device) ? "WSS" : "WRS", DeviceField(device).text,
                   static_cast<unsigned>(count));
}

const unsigned char* bytesOf(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

} // namespace

void discardUnreadInput(AbstractDeviceInterface* port)
{
    port->setOption(DiscardUnreadOption, QVariant(0));
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
    CommandText command(buffer, size);
    appendWriteHeader(command, device, data.size() >> 1);
    for (int i = 0; i < data.size(); i += 2) {
        unsigned short value = 0;
        DataUnpack(bytesOf(data) + i, "v", &value);
        command.append(" %05u", static_cast<unsigned>(value));
    }
    command.append("%s", LineEnd);
    return command.length();
}

int KV1000PackWriteContinuousUInt32sCmd(char* buffer, int size, const char* device,
                                        const QByteArray& data)
{
    CommandText command(buffer, size);
    appendWriteHeader(command, device, data.size() >> 2);
    for (int i = 0; i < data.size(); i += 4) {
        unsigned int value = 0;
        DataUnpack(bytesOf(data) + i, "V", &value);
        command.append(" %010u", value);
    }
    command.append("%s", LineEnd);
    return command.length();
}

int writeCapacity(int size, const QByteArray& device, int valueSize)
{
    const int valueLength = valueSize == 2 ? 6 : 11; // a blank and five or ten digits
    const int fixedLength = int(std::strlen("WRS  ")) +
                            int(std::strlen(DeviceField(device.constData()).text)) +
                            int(std::strlen(LineEnd));
    // The count takes room of its own: one digit more may cost one value.
    int count = (size - 1 - fixedLength - 1) / valueLength;
    while (fixedLength + QByteArray::number(count).size() + count * valueLength > size - 1)
        --count;
    return count;
}
