// A compiled panel project: which link is on a port of the panel, and which station answers there.
// It opens the project's database for reading only, and knows neither drivers nor lines.
#ifndef PLCCTL_PROJECT_H
#define PLCCTL_PROJECT_H

#include "drivers/tools.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace plcctl
{

/// A link with its default station; a link may have several of these, or none.
struct ProjectLink {
    int hmiPort;
    int linkId;
    std::optional<int> station;
    std::string ip; ///< of a station that is reached over Ethernet, else empty
    std::optional<int> ipPort;
};

class Project
{
public:
    /// directory  where the panel's program lies, with the compiled project beside it
    /// Throws a Failure (CannotOpen) when there is no project database.
    explicit Project(const std::string& directory);
    ~Project();

    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    /// All links, in the order of their ports.
    std::vector<ProjectLink> links() const;

    /// The link on a port such as "COM2", with its default station. Throws a Failure (WrongUsage)
    /// when the project has none there.
    LinkIdStationId linkOn(const QString& portName) const;

    /// The same for the Ethernet station with this IP address and port.
    LinkIdStationId linkOn(const QString& portName, const QString& ip, quint16 ipPort) const;

private:
    std::string m_directory;
};

/// The name that ports with this HMI port number have, such as "COM2" for 1001; empty for a number
/// that no port has.
std::string portNameOf(int hmiPort);

} // namespace plcctl

#endif
