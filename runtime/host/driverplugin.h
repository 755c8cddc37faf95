// Loads a driver plug-in and keeps its library in memory for as long as the driver is used. No
// driver's name or file appears here: any plug-in with the driver interface will do.
#ifndef HOST_DRIVERPLUGIN_H
#define HOST_DRIVERPLUGIN_H

#include <QString>

#include <memory>

class DriverInterface;
class QPluginLoader;

namespace host
{

class DriverPlugin
{
public:
    /// Loads the plug-in in `file`. The interface identifier is read from the file first: code of
    /// a library that is no driver never runs.
    ///
    /// error  receives a sentence that names the file and the reason; untouched on success
    /// Returns null when there is no driver.
    static std::unique_ptr<DriverPlugin> load(const QString& file, QString* error);

    /// Deletes the driver and unloads its library, unless another DriverPlugin uses it too.
    ~DriverPlugin();

    /// The plug-in's single instance, owned by this object.
    DriverInterface* driver() const { return m_driver; }

private:
    DriverPlugin(std::unique_ptr<QPluginLoader> loader, DriverInterface* driver);

    std::unique_ptr<QPluginLoader> m_loader;
    DriverInterface* m_driver;
};

} // namespace host

#endif
