// The built library as a stranger opens it. This program is not linked against it, so that loading
// and unloading are real.
#include "drivers/driverinterface.h"

#include <QJsonObject>
#include <QPluginLoader>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <memory>

namespace
{

/// The library as a stranger opens it.
class Library : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(handle = dlopen(PLUGIN, RTLD_NOW)) << dlerror(); }
    void TearDown() override { dlclose(handle); }

    template <typename Function>
    Function symbol(const char* name)
    {
        return reinterpret_cast<Function>(dlsym(handle, name));
    }

    void* handle = nullptr;
};

TEST_F(Library, CreatesIndependentDrivers)
{
    const auto create = symbol<DriverInterface* (*)()>("CreateDriver");
    ASSERT_TRUE(create);
    const std::unique_ptr<DriverInterface> first(create()), second(create());
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
}

TEST_F(Library, HasOneInstanceUntilItIsDeleted)
{
    const auto instance = symbol<QObject* (*)()>("qt_plugin_instance");
    ASSERT_TRUE(instance);
    QObject* const driver = instance();
    ASSERT_TRUE(driver);
    EXPECT_EQ(instance(), driver);
    bool destroyed = false;
    QObject::connect(driver, &QObject::destroyed, [&] { destroyed = true; });
    delete driver;
    EXPECT_TRUE(destroyed);
    const std::unique_ptr<QObject> next(instance());
    ASSERT_TRUE(next);
    EXPECT_TRUE(qobject_cast<DriverInterface*>(next.get()));
}

TEST_F(Library, IsRecognisedByTheLoaderOfQt4)
{
    const auto query = symbol<const char* (*)()>("qt_plugin_query_verification_data");
    ASSERT_TRUE(query);
    EXPECT_STREQ(query(), "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.8.6\ndebug=false\n"
                          "buildkey=arm linux g++-4 no-pkg-config");
}

TEST(Plugin, LoadsAndUnloadsAgainAndAgain)
{
    for (int i = 0; i < 100; ++i) {
        QPluginLoader loader(QStringLiteral(PLUGIN));
        loader.setLoadHints({}); // really unload
        EXPECT_EQ(loader.metaData().value("IID").toString(),
                  "com.talvorin.drivers.DriverInterface/1.1");
        const auto driver = qobject_cast<DriverInterface*>(loader.instance());
        ASSERT_TRUE(driver) << loader.errorString().toStdString();
        EXPECT_EQ(driver->name(), "KEYENCE KV-1000");
        EXPECT_TRUE(loader.unload()) << loader.errorString().toStdString();
        ASSERT_FALSE(dlopen(PLUGIN, RTLD_NOW | RTLD_NOLOAD)) << "still in memory";
    }
}

} // namespace
