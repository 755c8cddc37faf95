// The values of a simulated controller, some of which may move by themselves.
// What the values are called and how they are transferred is left to the protocols; the time comes
// in from outside.
#ifndef SIMULATOR_MEMORY_H
#define SIMULATOR_MEMORY_H

#include "simulator/motion.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace simulator
{

/// One value. Those of one block with consecutive indices are neighbours; what the numbers mean is
/// up to the protocol.
struct Place {
    uint32_t block;
    uint32_t index;
};

/// Safe to use from several threads: every call is carried out as a whole. All values begin as 0,
/// and take no room until something else is written.
class Memory
{
public:
    std::vector<uint32_t> read(const Place& first, uint32_t count) const;

    /// Stores neighbouring values, and ends the movement of those that moved.
    void write(const Place& first, const std::vector<uint32_t>& values);

    /// Lets the value move. The next advanceTo() is the moment at which the movement begins.
    void move(const Place& place, const Motion& motion);

    /// Gives moving values what they hold at this time.
    void advanceTo(TimeMs now);

private:
    struct Moving {
        Place place;
        Motion motion;
        std::optional<TimeMs> start;
    };

    void store(const Place& first, const std::vector<uint32_t>& values);
    void endMovement(const Place& first, size_t count);

    mutable std::mutex m_mutex;
    std::map<uint32_t, std::vector<uint32_t>> m_blocks; ///< each up to the last value written
    std::vector<Moving> m_moving;
};

} // namespace simulator

#endif
