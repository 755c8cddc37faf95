// What a runtime expects of any driver, asked of plug-in files through the loader alone.
//
//   contract_test                                 the drivers of this tree
//   contract_test FILE WORD-DEVICE BIT-DEVICE     another one; devices such as HR100 and C5
#include "drivers/abstractdeviceinterface.h"
#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "host/driverplugin.h"
#include "host/linesettings.h"

#include <QJsonObject>
#include <QPluginLoader>
#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <random>

namespace
{

struct Subject {
    std::string name;
    std::string file;
    std::string wordDevice;
    std::string bitDevice;
};

void PrintTo(const Subject& subject, std::ostream* out)
{
    *out << subject.file;
}

std::vector<Subject> subjects = {
    {"kv1000", KV1000_DRIVER, "DM100", "MR500"},
    {"modbusrtu", MODBUS_DRIVER, "HR100", "C5"},
};

constexpr int DiscardUnreadInput = 12;

/// Notes which operation was called, a letter each, and answers reads as it is told.
class Port : public AbstractDeviceInterface
{
public:
    /// Fills the buffer and says how many bytes it claims to have put there.
    using Reply = std::function<int(char* buffer, int maxLength)>;

    explicit Port(Reply reply, int retries = 0)
        : m_reply(std::move(reply))
        , m_retries(retries)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        m_calls += 'r';
        std::fill_n(buffer, std::max(0, maxLength), '\0'); // all of it belongs to the port
        return m_reply(buffer, maxLength);
    }
    int write(const char*, int length) override
    {
        m_calls += 'w';
        return length;
    }
    void setOption(int option, const QVariant& value) override
    {
        if (option == DiscardUnreadInput && value == QVariant(0))
            m_calls += 'o';
    }
    int retry() override { return m_retries; }
    int delay() override
    {
        m_calls += 'd';
        return 0;
    }

    /// The calls of each attempt, without the pause that begins it.
    std::vector<std::string> attempts() const
    {
        EXPECT_TRUE(m_calls.empty() || m_calls[0] == 'd') << "used before the pause: " << m_calls;
        std::vector<std::string> attempts;
        for (char call : m_calls) {
            if (call == 'd')
                attempts.emplace_back();
            else if (!attempts.empty())
                attempts.back() += call;
        }
        return attempts;
    }

    bool isUntouched() const { return m_calls.find_first_not_of('d') == std::string::npos; }

private:
    const Reply m_reply;
    const int m_retries;
    std::string m_calls;
};

int silence(char*, int)
{
    return 0;
}

enum class Direction { Read, Write };

constexpr int Units = 3;

struct Request {
    const char* name;
    Direction direction;
    int dataType;
    int unitBytes; ///< in the driver's data
};

const Request requests[] = {
    {"read bits", Direction::Read, DataBit, 1},
    {"read bytes", Direction::Read, DataByte, 1},
    {"read words", Direction::Read, DataWord, 2},
    {"read double words", Direction::Read, DataDoubleWord, 4},
    {"write bits", Direction::Write, DataBit, 1},
    {"write bytes", Direction::Write, DataByte, 1},
    {"write words", Direction::Write, DataWord, 2},
    {"write double words", Direction::Write, DataDoubleWord, 4},
};

class Contract : public testing::TestWithParam<Subject>
{
protected:
    void SetUp() override
    {
        QString error;
        plugin = host::DriverPlugin::load(file(), &error);
        ASSERT_TRUE(plugin) << qPrintable(error);
        driver = plugin->driver();
    }

    static QString file() { return QString::fromStdString(GetParam().file); }

    static CommunicatorCommand commandFor(const Request& request)
    {
        CommunicatorCommand command;
        command.dataType = request.dataType;
        command.length = Units;
        const bool isBits = request.dataType == DataBit;
        command.address =
            QString::fromStdString(isBits ? GetParam().bitDevice : GetParam().wordDevice);
        return command;
    }

    /// Whether the request succeeded; a read, with as much data as was asked for.
    bool succeeds(const Request& request, Port& port)
    {
        const CommunicatorCommand command = commandFor(request);
        const int size = Units * request.unitBytes;
        if (request.direction == Direction::Write) {
            const bool done = driver->write(&port, command, QByteArray(size, '\1'));
            EXPECT_NE(done, driver->hasError());
            return done;
        }
        const QByteArray data = driver->read(&port, command);
        EXPECT_EQ(data.size(), driver->hasError() ? 0 : size);
        return !driver->hasError();
    }

    std::unique_ptr<host::DriverPlugin> plugin;
    DriverInterface* driver = nullptr;
};

INSTANTIATE_TEST_SUITE_P(, Contract, testing::ValuesIn(subjects),
                         [](const auto& info) { return info.param.name; });

TEST_P(Contract, IdentifiesItself)
{
    EXPECT_EQ(QPluginLoader(file()).metaData().value("IID").toString(),
              "com.talvorin.drivers.DriverInterface/1.1");
    for (const QString& text : {driver->name(), driver->vender(), driver->getVersionNumber()}) {
        EXPECT_FALSE(text.trimmed().isEmpty());
        EXPECT_NE(text, "Not Assigned");
    }
    QObject* const object = driver->getThisObject();
    ASSERT_TRUE(object);
    EXPECT_EQ(qobject_cast<DriverInterface*>(object), driver);
}

TEST_P(Contract, ExportsAFactoryOfItsOwn)
{
    // A library that does not define the function shows that of the kit it is linked against.
    void* const library = dlopen(GetParam().file.c_str(), RTLD_NOW);
    ASSERT_TRUE(library) << dlerror();
    const auto create = reinterpret_cast<DriverInterface* (*)()>(dlsym(library, "CreateDriver"));
    ASSERT_TRUE(create);
    {
        const std::unique_ptr<DriverInterface> first(create()), second(create());
        EXPECT_NE(first, second);
        EXPECT_EQ(first->name(), driver->name());
    }
    dlclose(library);
}

TEST_P(Contract, HandsOutSaneDefaultsThatTheCallerOwns)
{
    const std::unique_ptr<DeviceSetting> line(driver->getDefaultSerialDeviceSetting());
    const std::unique_ptr<DeviceSetting> anotherLine(driver->getDefaultSerialDeviceSetting());
    ASSERT_TRUE(line && anotherLine);
    EXPECT_NE(line, anotherLine);
    EXPECT_TRUE(driver->supportedCommunicationFlags() & int(line->type));
    EXPECT_FALSE(line->string.isEmpty());

    QString error;
    const auto fromRecord = host::lineSettingsFrom(*line, &error);
    const auto fromText =
        host::lineSettingsFromText(driver->getStringBasedDefaultDriverSetting(), &error);
    ASSERT_TRUE(fromRecord && fromText) << qPrintable(error);
    EXPECT_EQ(fromRecord->baud, fromText->baud);
    EXPECT_EQ(fromRecord->parity, fromText->parity);
    EXPECT_EQ(fromRecord->dataBits, fromText->dataBits);
    EXPECT_EQ(fromRecord->stopBits, fromText->stopBits);

    const std::unique_ptr<DriverSetting> exchange(driver->getDefaultDriverSetting());
    const std::unique_ptr<DriverSetting> anotherExchange(driver->getDefaultDriverSetting());
    ASSERT_TRUE(exchange && anotherExchange);
    EXPECT_NE(exchange, anotherExchange);
    EXPECT_GT(exchange->timeout, 0);
    EXPECT_GE(exchange->retry, 0);
    EXPECT_GE(exchange->delay, 0);
}

TEST_P(Contract, LeavesMemoryWhenItIsUnloaded)
{
    plugin.reset();
    for (int i = 0; i < 20; ++i) {
        QString error;
        plugin = host::DriverPlugin::load(file(), &error);
        ASSERT_TRUE(plugin) << qPrintable(error);
        driver = plugin->driver();
        Port dead(silence);
        succeeds(requests[0], dead);
        plugin.reset();
        ASSERT_FALSE(dlopen(GetParam().file.c_str(), RTLD_NOW | RTLD_NOLOAD)) << "still in memory";
    }
}

TEST_P(Contract, LeavesUnknownWidthsAlone)
{
    Port dead(silence);
    EXPECT_FALSE(succeeds(requests[0], dead));
    const QString text = driver->getLastError();
    for (int dataType : {-1, 7, 99, INT_MIN, INT_MAX}) {
        CommunicatorCommand command = commandFor(requests[0]);
        command.dataType = dataType;
        Port port(silence, 3);
        EXPECT_TRUE(driver->read(&port, command).isEmpty());
        EXPECT_FALSE(driver->hasError()) << dataType;
        EXPECT_FALSE(driver->write(&port, command, QByteArray(8, '\1')));
        EXPECT_FALSE(driver->hasError()) << dataType;
        EXPECT_EQ(driver->getLastError(), text) << "of the last failure";
        EXPECT_TRUE(port.isUntouched()) << dataType;
        EXPECT_EQ(port.attempts().size(), 2u) << "one for each request";
    }
}

TEST_P(Contract, TriesAsOftenAsThePortAllows)
{
    const struct {
        int retries;
        size_t attempts;
    } rows[] = {{-1, 1}, {0, 1}, {1, 2}, {3, 4}};
    for (const Request& request : requests) {
        SCOPED_TRACE(request.name);
        for (const auto& row : rows) {
            Port dead(silence, row.retries);
            EXPECT_FALSE(succeeds(request, dead));
            EXPECT_FALSE(driver->getLastError().isEmpty());
            EXPECT_EQ(dead.attempts().size(), row.attempts) << "retries: " << row.retries;
            for (const std::string& attempt : dead.attempts())
                EXPECT_EQ(attempt.substr(0, 3), "owr") << "discard unread input, send, listen";
        }
    }
}

struct Garbage {
    const char* name;
    Port::Reply reply;
};

const Garbage garbages[] = {
    {"negative count", [](char*, int) { return -1; }},
    {"one byte too many", [](char*, int most) { return most + 1; }},
    {"one byte missing", [](char*, int most) { return most - 1; }},
    {"zeros", [](char*, int most) { return most; }},
};

TEST_P(Contract, TakesGarbageForAFailure)
{
    for (const Garbage& garbage : garbages) {
        for (const Request& request : requests) {
            SCOPED_TRACE(std::string(request.name) + ", " + garbage.name);
            Port port(garbage.reply, 1);
            EXPECT_FALSE(succeeds(request, port));
            EXPECT_EQ(port.attempts().size(), 2u);
        }
    }
}

TEST_P(Contract, SurvivesRandomReplies)
{
    // Of pieces of replies to either driver, so that some get past the first checks.
    const char pieces[] = "CFOKE01259 ,\r\n\x01\x02\x03\x05\x06\x0F\x10\x81\x83\xFF";
    const QByteArray alphabet(pieces, sizeof pieces - 1);
    std::mt19937 random(20);
    const auto upTo = [&](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
    const Port::Reply reply = [&](char* buffer, int most) {
        for (int i = 0; i < most; ++i)
            buffer[i] = upTo(3) == 0 ? char(upTo(255)) : alphabet.at(upTo(alphabet.size() - 1));
        if (upTo(1) == 0)
            std::memcpy(buffer, "CC\r\n", std::min(most, 4));
        return upTo(9) == 0 ? most + upTo(4) - 2 : most;
    };
    for (int round = 0; round < 40; ++round) {
        for (const Request& request : requests) {
            SCOPED_TRACE(request.name);
            Port port(reply);
            succeeds(request, port);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    // The suite is laid out when GoogleTest starts, so the subject has to be known before.
    if (argc >= 4 && argv[1][0] != '-') {
        subjects = {{"subject", argv[1], argv[2], argv[3]}};
        argv[3] = argv[0];
        argc -= 3;
        argv += 3;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
