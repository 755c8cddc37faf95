#include "host/driverplugin.h"

#include "drivers/driverinterface.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QPluginLoader>

namespace host
{

namespace
{

bool isElf(const QString& path)
{
    static const QByteArray Magic("\x7f"
                                  "ELF");
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(Magic.size()) == Magic;
}

/// Why `path` can't hold a plug-in, judged without Qt's loader; empty when it might.
QString reasonAgainstFile(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QStringLiteral("no such file");
    if (!info.isFile())
        return QStringLiteral("not a file");
    if (!info.isReadable())
        return QStringLiteral("not readable");
    if (!isElf(path))
        return QStringLiteral("not a shared library");
    return QString();
}

/// Why the library that `loader` would load is not a driver, judged by its file alone.
QString reasonAgainstLibrary(const QPluginLoader& loader)
{
    const QJsonObject metaData = loader.metaData();
    if (metaData.isEmpty())
        return QStringLiteral("not a Qt 5 plug-in");
    const QString iid = metaData.value(QLatin1String("IID")).toString();
    if (iid != QLatin1String(DriverInterface_iid))
        return QStringLiteral("its interface is \"%1\", a driver's is \"%2\"")
            .arg(iid, QLatin1String(DriverInterface_iid));
    return QString();
}

} // namespace

std::unique_ptr<DriverPlugin> DriverPlugin::load(const QString& file, QString* error)
{
    const auto refuse = [&](const QString& reason) {
        *error = QStringLiteral("can't load driver %1: %2").arg(file, reason);
        return nullptr;
    };

    // An absolute path keeps the loader from searching the plug-in directories for the name.
    const QString path = QFileInfo(file).absoluteFilePath();
    QString reason = reasonAgainstFile(path);
    if (!reason.isEmpty())
        return refuse(reason);

    auto loader = std::make_unique<QPluginLoader>(path);
    reason = reasonAgainstLibrary(*loader);
    if (!reason.isEmpty())
        return refuse(reason);

    // Without this Qt would keep the library in memory for good.
    loader->setLoadHints(QLibrary::LoadHints());
    // Only load() counts this loader among the library's users; instance() alone would not.
    if (!loader->load())
        return refuse(loader->errorString());
    DriverInterface* const driver = qobject_cast<DriverInterface*>(loader->instance());
    if (!driver) {
        reason = loader->instance()
                     ? QStringLiteral("its object does not implement the driver interface")
                     : QStringLiteral("it has no object");
        loader->unload();
        return refuse(reason);
    }
    return std::unique_ptr<DriverPlugin>(new DriverPlugin(std::move(loader), driver));
}

DriverPlugin::DriverPlugin(std::unique_ptr<QPluginLoader> loader, DriverInterface* driver)
    : m_loader(std::move(loader))
    , m_driver(driver)
{
}

DriverPlugin::~DriverPlugin()
{
    m_loader->unload();
}

} // namespace host
