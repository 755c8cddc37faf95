// A driver for a small ASCII protocol with 100 registers. "G 5\n" asks for register 5 and is
// answered by its value, "35\n"; "S 5 36\n" sets it and is answered by "ok\n". A peer that can do
// neither answers "?\n".
#include "drivers/basicdriver.h"

using namespace driverkit;

// clang-format off
static const Identity MinimalIdentity = {
    "Minimal", "Example", "1.0.0", {"COM2", 9600, 8, NoParity, OneStopBit}, SerialPortDevice,
    {500 /* ms */, 3 /* retries */, 0 /* station */, 0 /* ms pause */},
    {100 /* units of a request */, 0 /* bits */}, {Words /* to read */, Words /* to write */},
};
// clang-format on

/// Registers are D0 to D99.
class DriverMinimal : public BasicDriver
{
    Q_OBJECT

public:
    DriverMinimal()
        : BasicDriver(MinimalIdentity)
    {
    }

protected:
    QByteArray readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command) override
    {
        QByteArray data;
        const DeviceText first(command.address);
        bool good = first.hasDevices("D", command.length, 100) || failAddress(command);
        for (int i = 0; good && i < command.length; ++i)
            good = get(port, first.number() + i, &data);
        return data;
    }

    bool writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                   const QByteArray& data) override
    {
        const int count = (data.size() + 1) / 2;
        const DeviceText first(command.address);
        bool good = first.hasDevices("D", count, 100) || failAddress(command);
        for (int i = 0; good && i < count; ++i)
            good = set(port, first.number() + i, valueAt(data, i, 2));
        return good;
    }

private:
    bool get(AbstractDeviceInterface* port, qint64 number, QByteArray* data)
    {
        QByteArray reply;
        const bool came = ask(port, "G " + QByteArray::number(number), &reply);
        const qint64 value = plainNumber(reply);
        appendValue(data, static_cast<quint32>(value), 2);
        return came && ((value >= 0 && value <= 65535) || fail(errortext::InvalidResponse));
    }

    bool set(AbstractDeviceInterface* port, qint64 number, quint32 value)
    {
        QByteArray reply;
        const QByteArray text = "S " + QByteArray::number(number) + " " + QByteArray::number(value);
        return ask(port, text, &reply) && (reply == "ok" || fail(errortext::InvalidResponse));
    }

    bool ask(AbstractDeviceInterface* port, const QByteArray& command, QByteArray* reply)
    {
        Exchange exchange(port, error());
        exchange.ask(command + "\n");
        return exchange.receiveUntil('\n', 5, reply) &&
               (*reply != "?" || fail(errortext::ErrorReply, "?"));
    }
};

PANEL_DRIVER(DriverMinimal, "minimal.json")
#include "minimal.moc"
