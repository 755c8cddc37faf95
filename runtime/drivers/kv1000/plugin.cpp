// The entry points by which a runtime finds the driver, for the loaders of Qt 4 and of Qt 5 and for
// a plain dlopen.
#include "drivers/kv1000/kv1000.h"

/// A new driver, independent of the plug-in's single instance; the caller owns it.
extern "C" DRIVER_KIT_EXPORT DriverInterface* CreateDriver()
{
    return new DriverKV1000;
}

#if QT_VERSION < 0x050000

Q_EXPORT_PLUGIN2(kv1000, DriverKV1000)

#else

// Q_PLUGIN_METADATA in the class made qt_plugin_instance. The loader of Qt 4 also needs to be told
// what it was built for; it looks for this text in the file, and asks the function.
__attribute__((section(".qtplugin"), used)) static const char VerificationData[] =
    "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
    "version=4.8.6\n"
    "debug=false\n"
    "buildkey=arm linux g++-4 no-pkg-config";

extern "C" DRIVER_KIT_EXPORT const char* qt_plugin_query_verification_data();
const char* qt_plugin_query_verification_data()
{
    return VerificationData;
}

#endif
