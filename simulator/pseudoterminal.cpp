#include "simulator/pseudoterminal.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace simulator
{

namespace
{

constexpr const char* PtyDirectory = "/dev/pts/";

std::string lastError()
{
    return std::strerror(errno);
}

/// Where a symbolic link leads to; empty for anything else.
std::string linkTarget(const std::string& link)
{
    std::array<char, 256> target;
    const ssize_t length = readlink(link.c_str(), target.data(), target.size());
    return length < 0 ? std::string() : std::string(target.data(), static_cast<size_t>(length));
}

bool exists(const std::string& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

OwnedFd openMaster(std::string& slavePath)
{
    OwnedFd master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    std::array<char, 64> name;
    if (!master.valid() || grantpt(master.get()) != 0 || unlockpt(master.get()) != 0 ||
        ptsname_r(master.get(), name.data(), name.size()) != 0)
        return OwnedFd();
    slavePath = name.data();
    return master;
}

OwnedFd watchHosts(const std::string& path)
{
    OwnedFd events(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!events.valid() || inotify_add_watch(events.get(), path.c_str(), IN_OPEN | IN_CLOSE) < 0)
        return OwnedFd();
    return events;
}

/// A socket by a name that follows from the terminal's, which no file stands for: it ends with the
/// process that holds it, however that ends. Invalid when another holds it.
OwnedFd claimTerminal(const std::string& path)
{
    const std::string name = "plc-simulator" + path;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() + 1 > sizeof address.sun_path)
        return OwnedFd();
    name.copy(address.sun_path + 1, name.size()); // after a NUL: no file
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    OwnedFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0)
        return OwnedFd();
    return socket;
}

bool isClaimed(const std::string& path)
{
    return !claimTerminal(path).valid();
}

} // namespace

PseudoTerminal::~PseudoTerminal()
{
    // Another terminal may have taken the name over.
    if (!m_link.empty() && linkTarget(m_link) == m_path)
        unlink(m_link.c_str());
}

bool PseudoTerminal::open(const std::string& link, std::string& why)
{
    std::string path;
    OwnedFd master = openMaster(path);
    // As long as the slave is open somewhere, the master never sees a hang-up: hosts may come and
    // go, and what they send while the controller is busy stays.
    OwnedFd slave(master.valid() ? ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC) : -1);
    OwnedFd hostEvents = slave.valid() ? watchHosts(path) : OwnedFd();
    if (!slave.valid() || !hostEvents.valid() || tcgetattr(slave.get(), &m_settings) != 0) {
        why = "can't create a pseudo-terminal: " + lastError();
        return false;
    }
    m_path = path;
    if (!link.empty() && !makeLink(link, why)) {
        m_path.clear();
        return false;
    }
    m_master = std::move(master);
    m_slave = std::move(slave);
    m_hostEvents = std::move(hostEvents);
    m_claim = claimTerminal(m_path);
    // Bytes pass unchanged and without echo. A pseudo-terminal ignores parity, and to ask for it is
    // an error when it is all that a host would change: so the speed is one that it will change.
    cfmakeraw(&m_settings);
    cfsetspeed(&m_settings, B50);
    resetSettings();
    return true;
}

bool PseudoTerminal::makeLink(const std::string& link, std::string& why)
{
    const std::string target = linkTarget(link);
    const bool leadsToTerminal = target.rfind(PtyDirectory, 0) == 0;
    if (exists(link) && !leadsToTerminal) {
        why = link + " exists already and is not a link to a pseudo-terminal";
        return false;
    }
    if (leadsToTerminal && isClaimed(target)) {
        why =
            link + " is in use: it leads to " + target + ", where another controller is simulated";
        return false;
    }
    if (leadsToTerminal)
        unlink(link.c_str());
    if (symlink(m_path.c_str(), link.c_str()) != 0) {
        why = "can't create the link " + link + ": " + lastError();
        return false;
    }
    m_link = link;
    return true;
}

void PseudoTerminal::welcomeHosts()
{
    const uint32_t last = lastHostEvent();
    if (last == 0)
        return;
    // Opened, too: since the last host left a late reply may have come.
    tcflush(m_slave.get(), TCIFLUSH);
    // What was changed before this second look is not that of a host which has come since the
    // first.
    if ((last & IN_CLOSE) != 0 && isChanged() && (lastHostEvent() & IN_OPEN) == 0)
        resetSettings();
}

/// The latest event that waits, 0 for none; all of them are taken.
uint32_t PseudoTerminal::lastHostEvent()
{
    alignas(inotify_event) std::array<char, 4096> bytes;
    const ssize_t size = read(m_hostEvents.get(), bytes.data(), bytes.size());
    uint32_t last = 0;
    for (ssize_t place = 0; place < size;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(bytes.data() + place);
        last = event->mask;
        place += static_cast<ssize_t>(sizeof *event + event->len);
    }
    return last;
}

/// Whether a host has left the terminal otherwise than it found it.
bool PseudoTerminal::isChanged() const
{
    int isExclusive = 0;
    termios settings = {};
    ioctl(m_slave.get(), TIOCGEXCL, &isExclusive);
    tcgetattr(m_slave.get(), &settings);
    return isExclusive != 0 || settings.c_cflag != m_settings.c_cflag ||
           settings.c_iflag != m_settings.c_iflag || settings.c_oflag != m_settings.c_oflag ||
           settings.c_lflag != m_settings.c_lflag;
}

/// A host that was killed has neither restored the settings nor given up its claim to the device.
void PseudoTerminal::resetSettings()
{
    ioctl(m_slave.get(), TIOCNXCL);
    tcsetattr(m_slave.get(), TCSANOW, &m_settings);
}

} // namespace simulator
