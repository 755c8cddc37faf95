// The plug-in loader: what it loads, what it refuses and why, and that nothing stays in memory.
#include "host/driverplugin.h"

#include "drivers/driverinterface.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <string>

namespace
{

bool isInMemory(const char* library)
{
    void* const handle = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

TEST(DriverPlugin, RefusesWhatIsNoDriver)
{
    const struct {
        const char* file;
        const char* reason;
    } rows[] = {
        {"/no/such/driver.so", "no such file"},
        {SOURCE_DIRECTORY "/CMakeLists.txt", "not a shared library"},
        {PLAIN_LIBRARY, "not a Qt 5 plug-in"},
        {STRANGER, "its interface is \"org.example.Stranger/1.0\", a driver's is "
                   "\"com.talvorin.drivers.DriverInterface/1.1\""},
        {IMPOSTOR, "its object does not implement the driver interface"},
        {HOLLOW, "it has no object"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_FALSE(host::DriverPlugin::load(row.file, &error)) << row.file;
        EXPECT_EQ(error, QStringLiteral("can't load driver %1: %2").arg(row.file, row.reason));
        EXPECT_TRUE(row.file == std::string(PLAIN_LIBRARY) || !isInMemory(row.file)) << row.file;
    }
    EXPECT_FALSE(qEnvironmentVariableIsSet("STRANGER_RAN"));
}

TEST(DriverPlugin, LoadsAndUnloadsAgainAndAgain)
{
    for (int round = 0; round < 50; ++round) {
        QString error;
        auto plugin = host::DriverPlugin::load(KV1000_DRIVER, &error);
        ASSERT_TRUE(plugin) << qPrintable(error);
        EXPECT_EQ(plugin->driver()->name(), "KEYENCE KV-1000");
        plugin.reset();
        EXPECT_FALSE(isInMemory(KV1000_DRIVER));
    }
}

} // namespace
