// A plug-in that names the driver interface and has no object.
#include "drivers/driverinterface.h"

#include <QObject>
#include <QtPlugin>

#undef Q_PLUGIN_INSTANCE
#define Q_PLUGIN_INSTANCE(CLASS)                                                                   \
    {                                                                                              \
        return nullptr;                                                                            \
    }

class Hollow : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID DriverInterface_iid)
};

#include "hollow.moc"
