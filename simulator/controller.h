// What every simulated controller has, whatever protocol it speaks: values under the names that a
// person uses, and sessions with hosts.
#ifndef SIMULATOR_CONTROLLER_H
#define SIMULATOR_CONTROLLER_H

#include "simulator/faults.h"
#include "simulator/memory.h"

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

/// One host's dealings with a controller: bytes in, bytes out. Transports, timing and faults are
/// the business of others.
class Session
{
public:
    virtual ~Session() = default;

    /// Takes the first complete request off the front of `received`, with what stands before it and
    /// is no request to this controller. Returns it in a form for the operations below, or nothing
    /// while it is incomplete. Keeps `received` from growing beyond the longest request.
    virtual std::optional<std::string> takeRequest(std::string& received) = 0;

    /// A request whose bytes come with a longer pause between them is dropped.
    virtual TimeMs longestPauseMs() const { return std::numeric_limits<TimeMs>::max(); }

    /// The name of the request's command, as in Commands; some other text for an unknown one.
    virtual std::string commandName(std::string_view request) const = 0;

    /// Carries out a request. Returns the bytes of the reply, none where there is no reply.
    virtual std::string answer(std::string_view request) = 0;

    /// Whether the host has opened a session that it has not closed yet; never in protocols without
    /// such commands.
    virtual bool isOpen() const { return false; }

    /// The reply that refuses a request, which was not carried out, with this code.
    virtual std::string errorReply(std::string_view request, uint32_t code) const = 0;
};

/// Device names and values are those that an operator panel uses. Values are decimal or in the form
/// 0x1F.
class Controller
{
public:
    virtual ~Controller() = default;

    /// What fault plans can refer to.
    virtual const Commands& commands() const = 0;

    /// Sessions share the controller's memory, and must not outlive the controller.
    virtual std::unique_ptr<Session> newSession() = 0;

    /// Sets devices from a text such as "DM100=12" or "DM100=1,2,3" (and those after it). On a bad
    /// text returns false, says why in a sentence and changes nothing.
    bool preset(std::string_view text, std::string& why);

    /// Lets a device move, from a text such as "DM100=ramp:0..100/10s"; MotionHelp has the grammar.
    /// On a bad text returns false, says why in a sentence and changes nothing.
    bool move(std::string_view text, std::string& why);

    /// Some values to look at, a few of them moving.
    void presetDemo();

    /// These as texts for preset() and move(), for a person to read.
    std::vector<std::string> demoTexts() const;

    /// The value that preset() sets for this name, or nothing when there is no such device.
    std::optional<uint32_t> look(std::string_view device) const;

    Memory& memory() { return m_memory; }

protected:
    /// The meaning of a device name.
    struct NamedPlace {
        Place place;
        uint32_t count;        ///< of values from this one to the last of its area
        uint32_t largestValue; ///< that it can hold
        std::string lastName;  ///< the name of the last of its area
    };

    /// Texts for preset() and for move().
    struct Demo {
        std::vector<const char*> presets;
        std::vector<const char*> moves;
    };

    virtual std::optional<NamedPlace> find(std::string_view device) const = 0;
    virtual const Demo& demo() const = 0;

    Memory m_memory;

private:
    struct Assignment;

    std::optional<Assignment> parseAssignment(std::string_view text, const char* form,
                                              std::string& why) const;
};

} // namespace simulator

#endif
