// What a runtime built elsewhere relies on: the order of the tables of virtual operations, the
// names by which the driver casts, and its answers about itself.
#include "conformance/scriptedport.h"

#include "drivers/driverinterface.h"
#include "drivers/kv1000/kv1000.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

/// The place that a virtual operation has in its class's table, as the compiler encoded it.
template <typename Operation>
long slotOf(Operation operation)
{
    struct {
        std::ptrdiff_t function;
        std::ptrdiff_t adjustment;
    } raw;
    static_assert(sizeof raw == sizeof operation, "the Itanium layout of member pointers");
    std::memcpy(&raw, &operation, sizeof raw);
#if defined(__arm__) || defined(__aarch64__)
    EXPECT_TRUE(raw.adjustment & 1) << "not virtual";
    return long(raw.function) / long(sizeof(void*));
#else
    EXPECT_TRUE(raw.function & 1) << "not virtual";
    return long(raw.function - 1) / long(sizeof(void*));
#endif
}

template <typename... Operations>
std::vector<long> slotsOf(Operations... operations)
{
    return {slotOf(operations)...};
}

std::vector<long> slotsFrom(long first, size_t count)
{
    std::vector<long> places;
    for (size_t i = 0; i < count; ++i)
        places.push_back(first + long(i));
    return places;
}

TEST(TableOrder, DriverInterface)
{
    using I = DriverInterface;
    const long afterDestructor = 2; // a destructor takes two places
    EXPECT_EQ(slotsOf(&I::totalSize, &I::write, &I::read, &I::initialize, &I::validation, &I::name,
                      &I::vender, &I::getVersionNumber, &I::getDefaultSerialDeviceSetting,
                      &I::getDefaultDriverSetting, &I::getStringBasedDefaultDriverSetting,
                      &I::supportedCommunicationFlags, &I::setDebugMode, &I::getBlockAccessSize,
                      &I::getBitBlockAccessSize, &I::hasError, &I::getLastError, &I::getThisObject,
                      &I::isSupportSessionCommand, &I::setSessionCommand, &I::clearSessionCommand,
                      &I::deviceSettingChanged, &I::isConnected),
              slotsFrom(afterDestructor, 23));
}

TEST(TableOrder, Port)
{
    using P = AbstractDeviceInterface;
    EXPECT_EQ(slotsOf(&P::read, &P::write, &P::setOption, &P::retry, &P::delay), slotsFrom(2, 5));
}

TEST(TableOrder, DriverKV1000)
{
    using D = DriverKV1000;
    const long afterQObject = 12;
    EXPECT_EQ(slotsOf(&D::metaObject, &D::qt_metacast, &D::qt_metacall), slotsFrom(0, 3));
    EXPECT_EQ(slotsOf(&D::totalSize, &D::write, &D::read, &D::initialize, &D::validation, &D::name,
                      &D::vender, &D::getVersionNumber, &D::supportedCommunicationFlags,
                      &D::getDefaultSerialDeviceSetting, &D::getDefaultDriverSetting,
                      &D::setDebugMode, &D::getBlockAccessSize, &D::getBitBlockAccessSize,
                      &D::getLastError, &D::hasError, &D::getStringBasedDefaultDriverSetting,
                      &D::getThisObject),
              slotsFrom(afterQObject, 18));
    // Not overridden: the interface's own.
    static_assert(
        std::is_same<decltype(&D::isConnected), decltype(&DriverInterface::isConnected)>());
    static_assert(std::is_same<decltype(&D::deviceSettingChanged),
                               decltype(&DriverInterface::deviceSettingChanged)>());
    static_assert(std::is_same<decltype(&D::isSupportSessionCommand),
                               decltype(&DriverInterface::isSupportSessionCommand)>());
}

class Driver : public testing::Test
{
protected:
    DriverKV1000 object;
    DriverInterface& driver = object;
};

TEST_F(Driver, CastsByNameAndIdentifier)
{
    void* const asInterface = static_cast<DriverInterface*>(&object);
    EXPECT_EQ(object.qt_metacast(nullptr), nullptr);
    EXPECT_EQ(object.qt_metacast("DriverKV1000"), &object);
    EXPECT_EQ(object.qt_metacast("DriverInterface"), asInterface);
    EXPECT_EQ(object.qt_metacast("com.talvorin.drivers.DriverInterface/1.1"), asInterface);
    EXPECT_EQ(object.qt_metacast("QObject"), static_cast<QObject*>(&object));
    EXPECT_EQ(object.qt_metacast("com.talvorin.drivers.DriverInterface/1.0"), nullptr);
    EXPECT_EQ(driver.getThisObject(), &object);
    EXPECT_STREQ(object.metaObject()->className(), "DriverKV1000");
}

TEST_F(Driver, SaysWhoItIs)
{
    EXPECT_EQ(driver.name(), "KEYENCE KV-1000");
    EXPECT_EQ(driver.vender(), "KEYENCE");
    EXPECT_EQ(driver.getVersionNumber(), "1.0.0");
    EXPECT_EQ(driver.supportedCommunicationFlags(), 0x70);
    EXPECT_EQ(driver.totalSize(), 1024);
    EXPECT_EQ(driver.getBlockAccessSize(), 1024);
    EXPECT_EQ(driver.getBitBlockAccessSize(), 1024);
    EXPECT_EQ(driver.getStringBasedDefaultDriverSetting(), "RS232,9600,EVEN,8,1");
    EXPECT_FALSE(driver.validation("anything"));
    EXPECT_TRUE(driver.initialize(nullptr));
    EXPECT_TRUE(driver.isConnected(nullptr));
    EXPECT_TRUE(driver.deviceSettingChanged(nullptr));
    EXPECT_FALSE(driver.isSupportSessionCommand());
}

TEST(DriverInterface, Defaults)
{
    DriverKV1000 object;
    EXPECT_EQ(object.DriverInterface::name(), "Not Assigned");
    EXPECT_EQ(object.DriverInterface::vender(), "Not Assigned");
    EXPECT_EQ(object.DriverInterface::getVersionNumber(), "Not Assigned");
    EXPECT_EQ(object.DriverInterface::getStringBasedDefaultDriverSetting(), "RS232,9600,EVEN,7,1");
}

TEST_F(Driver, KeepsTheTextOfAFailureBeyondALaterSuccess)
{
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), "");
    EXPECT_FALSE(driver.getLastError().isNull());

    CommunicatorCommand command;
    command.dataType = DataBit;
    command.address = "X1";
    ScriptedPort refusing({"delay", "option 12 0", R"(write "CR\r\n")", R"(read 4 "CD\r\n")"});
    driver.write(&refusing, command, QByteArray(1, '\1'));
    EXPECT_TRUE(driver.hasError());

    ScriptedPort idle({"delay"});
    EXPECT_TRUE(driver.write(&idle, command, QByteArray()));
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), "invalid response");
}

/// Drivers that derive from this one and judge errors by themselves.
class Forgiving : public DriverKV1000
{
public:
    bool hasError() override { return false; }
};

TEST(Retry, AsksAnOverriddenHasError)
{
    Forgiving driver;
    CommunicatorCommand command;
    command.dataType = DataWord;
    command.length = 1;
    command.address = "DM0";
    const std::vector<std::string> oneAttempt = {"delay", "option 12 0", R"(write "CR\r\n")",
                                                 R"(read 4 "")"};
    ScriptedPort silent(oneAttempt);
    EXPECT_TRUE(driver.read(&silent, command).isEmpty());
    EXPECT_EQ(silent.calls(), oneAttempt) << "the port must not be asked for its retries";
}

} // namespace
