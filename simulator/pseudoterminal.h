// A pseudo-terminal in place of a serial line, with a link that leads to it.
// It moves no bytes; that is the business of its user.
#ifndef SIMULATOR_PSEUDOTERMINAL_H
#define SIMULATOR_PSEUDOTERMINAL_H

#include "simulator/ownedfd.h"

#include <cstdint>
#include <string>
#include <termios.h>

namespace simulator
{

/// The line outlives the hosts that use it, one after the other. What a serial port resets for
/// each of them, settings, claims and unread bytes, would otherwise be kept by the system from one
/// host to the next as long as this end is open.
class PseudoTerminal
{
public:
    PseudoTerminal() = default;

    /// Removes the link.
    ~PseudoTerminal();

    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// Creates the terminal, at most once. With a non-empty `link`, a symbolic link of that name
    /// leads to it. A link left over from an earlier run is replaced; one that leads to a terminal
    /// in use by this class, in any process, or anything else of that name, is left alone and makes
    /// the call fail. On failure returns false and says why in a sentence.
    bool open(const std::string& link, std::string& why);

    /// The device that a host opens, such as "/dev/pts/3"; empty before open().
    const std::string& path() const { return m_path; }

    /// The controller's end; it does not block.
    int descriptor() const { return m_master.get(); }

    /// Readable when a host has opened or closed the device since the last welcomeHosts().
    int eventDescriptor() const { return m_hostEvents.get(); }

    /// Prepares the line for the next host. To be called before bytes are read from descriptor():
    /// replies that a host left unread are gone by the time the next one sends something.
    void welcomeHosts();

private:
    bool makeLink(const std::string& link, std::string& why);
    uint32_t lastHostEvent();
    bool isChanged() const;
    void resetSettings();

    OwnedFd m_master;
    OwnedFd m_slave; ///< our own hold on the host's end
    OwnedFd m_hostEvents;
    OwnedFd m_claim;    ///< tells other processes that this terminal is in use
    termios m_settings; ///< that every host finds
    std::string m_path;
    std::string m_link; ///< the link to remove at the end
};

} // namespace simulator

#endif
