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
#include <QPointer>
#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <random>
#include <thread>

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
    using Reply = std::function<int(char* buffer, int maxLength, const QByteArray& written)>;

    explicit Port(Reply reply, int retries = 0, int delayMs = 0)
        : m_reply(std::move(reply))
        , m_retries(retries)
        , m_delayMs(delayMs)
    {
    }

    int read(char* buffer, int maxLength) override
    {
        m_calls += 'r';
        EXPECT_GE(maxLength, 0);
        std::fill_n(buffer, std::max(0, maxLength), '\0'); // all of it belongs to the port
        return m_reply(buffer, maxLength, m_written);
    }
    int write(const char* data, int length) override
    {
        m_calls += 'w';
        m_written = QByteArray(data, length);
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
        return m_delayMs;
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
    const int m_delayMs;
    std::string m_calls;
    QByteArray m_written;
};

int silence(char*, int, const QByteArray&)
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
    bool isBits;
};

const Request requests[] = {
    {"read bits", Direction::Read, DataBit, 1, true},
    {"read bit group", Direction::Read, DataBitGroup, 1, true},
    {"read bytes", Direction::Read, DataByte, 1, false},
    {"read block", Direction::Read, DataBlock, 1, false},
    {"read words", Direction::Read, DataWord, 2, false},
    {"read double words", Direction::Read, DataDoubleWord, 4, false},
    {"write bits", Direction::Write, DataBit, 1, true},
    {"write bit group", Direction::Write, DataBitGroup, 1, true},
    {"write bytes", Direction::Write, DataByte, 1, false},
    {"write block", Direction::Write, DataBlock, 1, false},
    {"write words", Direction::Write, DataWord, 2, false},
    {"write double words", Direction::Write, DataDoubleWord, 4, false},
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
        command.address =
            QString::fromStdString(request.isBits ? GetParam().bitDevice : GetParam().wordDevice);
        return command;
    }

    QByteArray read(Port& port, const CommunicatorCommand& command)
    {
        return driver->read(&port, command);
    }

    /// Whether the request succeeded, which it may do with plausible data only.
    bool succeeds(const Request& request, Port& port, const CommunicatorCommand& command)
    {
        const int size = Units * request.unitBytes;
        if (request.direction == Direction::Write) {
            const bool done = driver->write(&port, command, QByteArray(size, '\1'));
            EXPECT_NE(done, driver->hasError());
            return done;
        }
        const QByteArray data = driver->read(&port, command);
        EXPECT_EQ(data.size(), driver->hasError() ? 0 : size);
        if (request.isBits) {
            EXPECT_TRUE(
                std::all_of(data.begin(), data.end(), [](char c) { return c == 0 || c == 1; }));
        }
        return !driver->hasError();
    }

    bool succeeds(const Request& request, Port& port)
    {
        return succeeds(request, port, commandFor(request));
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
    EXPECT_GT(driver->totalSize(), 0);
    EXPECT_GT(driver->getBlockAccessSize(), 0);
    EXPECT_GT(driver->getBitBlockAccessSize(), 0);
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
    EXPECT_GE(exchange->stationid, 0);
}

TEST_P(Contract, IsMadeAnewAfterItsDeletion)
{
    Port dead(silence);
    succeeds(requests[0], dead);
    ASSERT_TRUE(driver->hasError());

    QPluginLoader loader(file());
    QPointer<QObject> instance = loader.instance();
    ASSERT_TRUE(instance);
    EXPECT_EQ(loader.instance(), instance);
    delete instance;
    EXPECT_FALSE(instance);
    driver = qobject_cast<DriverInterface*>(loader.instance());
    ASSERT_TRUE(driver);
    EXPECT_FALSE(driver->hasError());
    EXPECT_FALSE(driver->name().isEmpty());
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
        succeeds(requests[i % 2], dead);
        plugin.reset();
        ASSERT_FALSE(dlopen(GetParam().file.c_str(), RTLD_NOW | RTLD_NOLOAD)) << "still in memory";
    }
}

TEST_P(Contract, KeepsTheTextOfTheLastFailureUntilTheNext)
{
    EXPECT_FALSE(driver->hasError());
    Port dead(silence);
    EXPECT_FALSE(succeeds(requests[0], dead));
    const QString text = driver->getLastError();
    EXPECT_FALSE(text.isEmpty());

    CommunicatorCommand noWidth = commandFor(requests[0]);
    noWidth.dataType = 99;
    read(dead, noWidth);
    EXPECT_FALSE(driver->hasError());
    EXPECT_EQ(driver->getLastError(), text);
}

TEST_P(Contract, LeavesUnknownWidthsAlone)
{
    for (int dataType : {-1, 7, 99, INT_MIN, INT_MAX}) {
        CommunicatorCommand command = commandFor(requests[0]);
        command.dataType = dataType;
        Port port(silence, 3);
        EXPECT_TRUE(read(port, command).isEmpty());
        EXPECT_FALSE(driver->hasError()) << dataType;
        EXPECT_FALSE(driver->write(&port, command, QByteArray(8, '\1')));
        EXPECT_FALSE(driver->hasError()) << dataType;
        EXPECT_TRUE(port.isUntouched()) << dataType;
        EXPECT_EQ(port.attempts().size(), 2u) << "one for each request";
    }
}

TEST_P(Contract, TriesAsOftenAsThePortAllows)
{
    const struct {
        int retries;
        int delayMs;
        size_t attempts;
    } rows[] = {{-1, 0, 1}, {0, 0, 1}, {0, -1, 1}, {1, 0, 2}, {3, 1, 4}};
    for (const Request& request : requests) {
        SCOPED_TRACE(request.name);
        for (const auto& row : rows) {
            Port dead(silence, row.retries, row.delayMs);
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
    {"negative count", [](char*, int, const QByteArray&) { return -1; }},
    {"most negative count", [](char*, int, const QByteArray&) { return INT_MIN; }},
    {"one byte too many", [](char*, int most, const QByteArray&) { return most + 1; }},
    {"greatest count", [](char*, int, const QByteArray&) { return INT_MAX; }},
    {"one byte missing", [](char*, int most, const QByteArray&) { return most - 1; }},
    {"zeros", [](char*, int most, const QByteArray&) { return most; }},
    {"ones",
     [](char* buffer, int most, const QByteArray&) {
         std::fill_n(buffer, most, '\xFF');
         return most;
     }},
    {"digits",
     [](char* buffer, int most, const QByteArray&) {
         std::fill_n(buffer, most, '1');
         return most;
     }},
    {"echo",
     [](char* buffer, int most, const QByteArray& written) {
         const int count = std::min(most, written.size());
         std::copy_n(written.begin(), count, buffer);
         return count;
     }},
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
    const Port::Reply reply = [&](char* buffer, int most, const QByteArray&) {
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

TEST_P(Contract, SurvivesHostileRequests)
{
    const QString device = QString::fromStdString(GetParam().wordDevice);
    const QString addresses[] = {
        QString(),
        QString::fromLatin1(""),
        QString::fromLatin1("_"),
        QString::fromLatin1("%s%n%d"),
        QString::fromLatin1("nowhere"),
        QString::fromUtf8("\xE7\x95\xAA\xE5\x9C\xB0"),
        device + QString(10000, QLatin1Char('9')),
        QString(10000, QLatin1Char('A')),
        device + QChar(0) + device,
        device + QLatin1String(" \r\n"),
    };
    for (const Request& request : requests) {
        SCOPED_TRACE(request.name);
        for (const QString& address : addresses) {
            CommunicatorCommand command = commandFor(request);
            command.address = address;
            Port port(silence, 1);
            EXPECT_FALSE(succeeds(request, port, command)) << address.left(20).toStdString();
            EXPECT_EQ(port.attempts().size(), 2u);
        }
        for (int length : {0, -1, INT_MIN, INT_MAX, INT_MAX / 2}) {
            CommunicatorCommand command = commandFor(request);
            command.length = length;
            Port port(garbages[5].reply);
            EXPECT_TRUE(read(port, command).isEmpty()) << length;
        }
    }
}

TEST_P(Contract, TakesSettingsAndSessionsInItsStride)
{
    const std::unique_ptr<DeviceSetting> line(driver->getDefaultSerialDeviceSetting());
    Port dead(silence);
    driver->initialize(&dead);
    driver->isConnected(&dead);
    driver->deviceSettingChanged(line.get());
    driver->setDebugMode(true);
    driver->validation(QString());
    driver->validation(QString(10000, QLatin1Char('9')));
    driver->setSessionCommand({commandFor(requests[0]), CommunicatorCommand()});
    driver->clearSessionCommand();
    EXPECT_FALSE(driver->hasError());
    EXPECT_FALSE(succeeds(requests[0], dead));
}

TEST_P(Contract, ServesOneThreadAfterTheOther)
{
    for (const Request& request : requests) {
        std::thread([&] {
            Port dead(silence, 1);
            EXPECT_FALSE(succeeds(request, dead));
            EXPECT_EQ(dead.attempts().size(), 2u);
        }).join();
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
