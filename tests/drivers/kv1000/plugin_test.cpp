// The built library as a stranger opens it. This program is not linked against it, so that loading
// is real.
#include "drivers/driverinterface.h"

#include <QObject>

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

} // namespace
