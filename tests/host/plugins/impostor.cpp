// A plug-in that names the driver interface and does not implement it.
#include "drivers/driverinterface.h"

#include <QObject>

class Impostor : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID DriverInterface_iid)
};

#include "impostor.moc"
