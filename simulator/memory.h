// The memory of the simulated controller: the values of every device, shared by all who talk to it.
// It knows no commands and no lines; areas.h says which devices there are.
#ifndef SIMULATOR_MEMORY_H
#define SIMULATOR_MEMORY_H

#include "simulator/areas.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

/// The values that one device can have; which of them it has follows from its ValueKind.
enum class Part {
    State,    ///< a bit, or the contact of a timer or counter
    Current,  ///< a word, a 32-bit value, or the current value of a timer or counter
    SetValue, ///< the set value of a timer or counter
};

/// One device's values; those that its kind does not have stay 0.
struct Cell {
    uint32_t state = 0;
    uint32_t current = 0;
    uint32_t setValue = 0;
};

/// Devices of one area with consecutive indices, all of which exist.
struct Range {
    Device first;
    uint32_t count;
};

/// Safe to use from several threads: every call is carried out as a whole. All values begin as 0.
class Memory
{
public:
    Memory();

    std::vector<Cell> read(const Range& range) const;

    /// Stores one value for each device of the range. The caller has seen to it that there are
    /// range.count values, none above largestValue(), and that the devices have this part.
    void write(const Range& range, Part part, const std::vector<uint32_t>& values);

    /// Sets devices from a text such as "DM100=12", "MR0=1" or "T5=10,20,30" (T5, T6 and T7). Names
    /// are those that an operator panel uses: "R100" is a relay, "T5" the current value of a timer
    /// and "TS5" its set value; likewise "C5" and "CS5", "CTC0" and "PCTC0". Values are decimal or
    /// in the form 0x1F. On a bad text returns false, says why in a sentence, changes nothing.
    bool preset(std::string_view assignment, std::string& why);

    /// Some non-zero values to look at: demoPresets() as a list of texts for preset().
    void presetDemo();

    /// The value that preset() sets for this name, or nothing when there is no such device.
    std::optional<uint32_t> look(std::string_view device) const;

    /// The contact of a timer or counter such as "T5", or the state of a bit.
    std::optional<uint32_t> lookState(std::string_view device) const;

private:
    std::vector<Cell>& cellsOf(const Area& area);
    const std::vector<Cell>& cellsOf(const Area& area) const;

    mutable std::mutex mutex_;
    std::vector<std::vector<Cell>> cells_; ///< in the order of areas()
};

/// True when `count` devices exist from this one on.
bool fits(const Device& first, uint32_t count);

/// The part that a device of this kind is read and written by.
Part mainPart(ValueKind kind);

/// The texts that Memory::presetDemo() sets.
const std::vector<const char*>& demoPresets();

} // namespace simulator

#endif // SIMULATOR_MEMORY_H
