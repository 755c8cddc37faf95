#include "bench/portadvice.h"

#include "bench/nearest.h"
#include "bench/serialports.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fstream>
#include <grp.h>
#include <iomanip>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace bench
{

namespace
{

constexpr std::size_t MostPortsListed = 8;

/// Empty if there are none.
std::string portsThereAre()
{
    std::vector<std::string> devices;
    for (const SerialPort& port : serialPorts())
        devices.push_back(port.device);
    return devices.empty()
               ? ""
               : "Serial ports of this machine: " + listed(devices, MostPortsListed) + ".";
}

std::string noSuchPort()
{
    const std::string ports = portsThereAre();
    return ports.empty() ? "This machine has no serial port. Is the adapter plugged in?" : ports;
}

/// For what could not even be opened; else the failure's text says so itself.
std::string noSerialDevice()
{
    const std::string ports = portsThereAre();
    return "It is not a serial device." + (ports.empty() ? "" : " " + ports);
}

/// A name without a slash is one of the devices in /dev, and not the file of that name here.
std::string pathMeant(const std::string& name)
{
    const bool isHere = QFile::exists(QFile::decodeName(name.c_str()));
    return isHere && name.find('/') == name.npos
               ? "Type ./" + name + " for the file in this folder. "
               : std::string();
}

/// Whether the system knows a device file as something else than a terminal, such as /dev/null.
bool isOtherDevice(const struct stat& file)
{
    const std::string device =
        std::to_string(major(file.st_rdev)) + ":" + std::to_string(minor(file.st_rdev));
    const QFileInfo subsystem(QString::fromStdString("/sys/dev/char/" + device + "/subsystem"));
    return subsystem.exists() && QFileInfo(subsystem.symLinkTarget()).fileName() != "tty";
}

bool mayBeOpened(const std::string& path, const struct stat& file)
{
    return !S_ISDIR(file.st_mode) && ::eaccess(path.c_str(), R_OK | W_OK) == 0;
}

std::string whoMayOpen(const struct stat& file)
{
    const group* const owners = getgrgid(file.st_gid);
    const std::string name = owners ? owners->gr_name : std::to_string(file.st_gid);
    const bool groupMay = (file.st_mode & S_IRGRP) != 0 && (file.st_mode & S_IWGRP) != 0;
    if (!groupMay)
        return "It belongs to the group " + name + ", which may not open it.";
    return "It belongs to the group " + name + ". 'sudo usermod -aG " + name +
           " USER' and a new login let you use it.";
}

/// A line of /proc/locks is as "1: FLOCK  ADVISORY  WRITE 1234 00:18:5 0 EOF", with the device in
/// hexadecimal and the inode in decimal digits.
std::string lockPlace(const struct stat& file)
{
    std::ostringstream place;
    place << std::hex << std::setfill('0') << std::setw(2) << major(file.st_dev) << ':'
          << std::setw(2) << minor(file.st_dev) << ':' << std::dec << file.st_ino;
    return place.str();
}

/// The program that has locked a file, such as "plcctl (1234)". It comes before all that have the
/// file open: the far end of a pseudo-terminal may have that too.
std::string programThatLocks(const struct stat& file)
{
    const std::string wanted = lockPlace(file);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        std::string number, kind, mode, access, process, place;
        std::istringstream(line) >> number >> kind >> mode >> access >> process >> place;
        if (place == wanted)
            return processText(process);
    }
    return std::string();
}

} // namespace

std::string portAdvice(const host::PortAddress& address)
{
    if (address.kind != host::PortAddress::Kind::Serial)
        return "Check the address, and that the controller listens on TCP port " +
               std::to_string(address.tcpPort) + ". 'ping " + address.place.toStdString() +
               "' shows whether the network reaches it.";
    const std::string path = QFile::encodeName(host::devicePath(address.place)).toStdString();
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0)
        return errno == ENOENT ? pathMeant(address.place.toStdString()) + noSuchPort()
                               : std::string();
    if (!S_ISCHR(file.st_mode) || isOtherDevice(file))
        return mayBeOpened(path, file) ? portsThereAre() : noSerialDevice();
    if (!mayBeOpened(path, file))
        return whoMayOpen(file);
    const std::string locker = programThatLocks(file);
    const std::string program = locker.empty() ? programUsing(path) : locker;
    return program.empty() ? std::string() : "It is used by " + program + ".";
}

} // namespace bench
