#include "bench/serialports.h"

#include <QSerialPortInfo>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace bench
{

namespace
{

namespace fs = std::filesystem;

bool isNumber(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// Processes come and go while they are looked at, so no error stops the search.
bool hasOpen(const fs::path& process, const fs::path& device)
{
    std::error_code error;
    for (fs::directory_iterator file(process / "fd", error), end; !error && file != end;
         file.increment(error)) {
        std::error_code unreadable;
        if (fs::read_symlink(file->path(), unreadable) == device)
            return true;
    }
    return false;
}

SerialPort described(const QSerialPortInfo& info)
{
    SerialPort port;
    port.device = info.systemLocation().toStdString();
    port.description = info.description().toStdString();
    port.manufacturer = info.manufacturer().toStdString();
    port.serialNumber = info.serialNumber().toStdString();
    port.usedBy = programUsing(port.device);
    return port;
}

} // namespace

std::vector<SerialPort> serialPorts()
{
    std::vector<SerialPort> ports;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
        ports.push_back(described(info));
    std::sort(ports.begin(), ports.end(), [](const SerialPort& left, const SerialPort& right) {
        return left.device < right.device;
    });
    return ports;
}

std::string processText(const std::string& number)
{
    std::ifstream file("/proc/" + number + "/comm");
    std::string program;
    std::getline(file, program);
    return program + " (" + number + ")";
}

std::string programUsing(const std::string& device)
{
    std::error_code error;
    const fs::path file = fs::canonical(device, error); // /dev/serial/by-id has links
    if (error)
        return std::string();
    for (fs::directory_iterator process("/proc", error), end; !error && process != end;
         process.increment(error)) {
        const std::string number = process->path().filename().string();
        if (isNumber(number) && hasOpen(process->path(), file))
            return processText(number);
    }
    return std::string();
}

} // namespace bench
