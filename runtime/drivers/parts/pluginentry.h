// The entry points of a driver plug-in: CreateDriver, for a plain dlopen, and those of the Qt that
// the plug-in is built with, 4 or 5.
#ifndef DRIVERS_PARTS_PLUGINENTRY_H
#define DRIVERS_PARTS_PLUGINENTRY_H

#include "drivers/driverinterface.h"

#include <QObject>
#include <QtPlugin>

/// At the end of the source file that has the driver class, before its moc include:
///
///     PANEL_DRIVER(DriverMinimal, "minimal.json")
///     #include "minimal.moc"
///
/// description  a JSON file beside the source that describes the driver's devices. Qt 5 puts it
///              into the plug-in; Qt 4 has no place for it.
///
/// CreateDriver gives a new driver that the caller owns. Without it a runtime that asks the library
/// for CreateDriver would find that of libkv1000.so, which holds the kit, and get another driver.
#if QT_VERSION < 0x050000

#define PANEL_DRIVER(Class, description)                                                           \
    extern "C" DRIVER_KIT_EXPORT DriverInterface* CreateDriver()                                   \
    {                                                                                              \
        return new Class;                                                                          \
    }                                                                                              \
    Q_EXPORT_PLUGIN2(Class, Class)

#else

#define PANEL_DRIVER(Class, description)                                                           \
    class Class##Plugin : public Class                                                             \
    {                                                                                              \
        Q_OBJECT                                                                                   \
        Q_PLUGIN_METADATA(IID DriverInterface_iid FILE description)                                \
    };                                                                                             \
    extern "C" DRIVER_KIT_EXPORT DriverInterface* CreateDriver()                                   \
    {                                                                                              \
        return new Class;                                                                          \
    }

#endif

#endif
