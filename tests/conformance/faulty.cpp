// A driver that has the fault which the variable FAULT names; without one it has none. "G7" asks
// for register 7, "S7" says that it is set, and both are answered by "=" and two bytes.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/basicdriver.h"
#include "drivers/driversetting.h"

#include <QVariant>

#include <climits>
#include <cstdlib>
#include <dlfcn.h>

using namespace driverkit;

static const Identity FaultyIdentity = {
    "Faulty",         "Example",      "1.0.0",  {"COM2", 9600, 8, NoParity, OneStopBit},
    SerialPortDevice, {500, 3, 0, 0}, {100, 0}, {Words, Words},
};

static bool has(const char* fault)
{
    return qgetenv("FAULT") == fault;
}

class Faulty : public BasicDriver
{
    Q_OBJECT

public:
    Faulty()
        : BasicDriver(FaultyIdentity)
    {
        Dl_info here;
        if (has("stays") && dladdr(&FaultyIdentity, &here))
            dlopen(here.dli_fname, RTLD_NOW | RTLD_NODELETE);
    }

    QString name() override { return has("nameless") ? QString() : BasicDriver::name(); }
    QString getStringBasedDefaultDriverSetting() override
    {
        return has("two lines") ? QString("RS232,19200,NONE,8,1")
                                : BasicDriver::getStringBasedDefaultDriverSetting();
    }

    DriverSetting* getDefaultDriverSetting() override
    {
        return has("one record") ? &m_record : BasicDriver::getDefaultDriverSetting();
    }

    bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
               const QByteArray& data) override
    {
        if (!has("gives up early") || command.dataType != DataWord)
            return BasicDriver::write(port, command, data);
        Attempts attempts(*this, error(), port);
        bool written = false;
        int tries = 0;
        do {
            attempts.begin();
            written = writeOnce(port, command, data);
        } while (attempts.again() && ++tries < 3);
        return written;
    }

    QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) override
    {
        if (!has("unknown width") || command.dataType != INT_MAX)
            return BasicDriver::read(port, command);
        fail("no such width");
        return QByteArray();
    }

protected:
    QByteArray readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command) override
    {
        if (has("crash") && command.length == INT_MAX)
            std::abort();
        if (has("recursion") && command.length == INT_MAX)
            return QByteArray(depthOf(0), '\0');
        QByteArray data;
        bool good = locate(command, command.length);
        for (int i = 0; good && i < command.length; ++i)
            good = ask(port, 'G', DeviceText(command.address).number() + i, &data);
        return data;
    }

    bool writeOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                   const QByteArray& data) override
    {
        bool good = locate(command, data.size() / 2);
        QByteArray values;
        for (int i = 0; good && i < data.size() / 2; ++i)
            good = ask(port, 'S', DeviceText(command.address).number() + i, &values);
        return good;
    }

private:
    static int depthOf(volatile int level) { return level < 0 ? 0 : 1 + depthOf(level + 1); }

    bool locate(const CommunicatorCommand& command, int count)
    {
        if (has("any text"))
            return true;
        const int most = has("small block") ? 10 : 100;
        return DeviceText(command.address).hasDevices("D", count, most) || failAddress(command);
    }

    bool ask(AbstractDeviceInterface* port, char verb, qint64 number, QByteArray* data)
    {
        const QByteArray request = verb + QByteArray::number(number);
        if (!has("keeps old bytes"))
            port->setOption(12, QVariant(0));
        port->write(request.constData(), request.size());
        char reply[3] = {};
        if (port->read(reply, 3) != 3 && !has("any count"))
            return fail(errortext::PacketLoss);
        data->append(reply + 1, 2);
        return reply[0] == '=' || has("any reply") || fail(errortext::InvalidResponse);
    }

    DriverSetting m_record{500, 3, 0, 0};
};

#ifdef WITHOUT_FACTORY
class FaultyPlugin : public Faulty
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID DriverInterface_iid FILE "faulty.json")
};
#elif defined MISSPELT
PANEL_DRIVER(Faulty, "misspelt.json")
#else
PANEL_DRIVER(Faulty, "faulty.json")
#endif
#include "faulty.moc"
