#include "simulator/memory.h"

#include "simulator/text.h"

namespace simulator
{

namespace
{

/// A device as an operator panel names it, with the part of it that the name stands for.
struct Place {
    Device device;
    Part part;
};

struct PanelName {
    const char* panel; ///< letters that the panel uses, upper case
    const char* wire;  ///< letters that the controller knows instead
    bool isSetValue;
};

// Every other name is the same for panel and controller.
constexpr PanelName PanelNames[] = {
    {"R", "", false},
    {"TS", "T", true},
    {"CS", "C", true},
    {"PCTC", "CTC", true},
};

/// The device of a name such as "TS5", when its letters are exactly those of `name`.
std::optional<Place> findRenamed(const PanelName& name, const std::string& text)
{
    const size_t letters = text.find_first_of("0123456789");
    if (letters == std::string::npos || text.compare(0, letters, name.panel) != 0)
        return std::nullopt;
    const auto device = findDevice(name.wire + text.substr(letters));
    if (!device)
        return std::nullopt;
    return Place{*device, name.isSetValue ? Part::SetValue : mainPart(device->area->kind)};
}

std::optional<Place> findPlace(std::string_view panelText)
{
    const std::string text = inUpperCase(panelText);
    for (const PanelName& name : PanelNames) {
        if (const auto place = findRenamed(name, text))
            return place;
    }
    const auto device = findDevice(text);
    // A bare number is a relay only on the wire; a person who types one has forgotten the letters.
    if (!device || device->area->name[0] == '\0')
        return std::nullopt;
    return Place{*device, mainPart(device->area->kind)};
}

std::optional<uint32_t> parseValue(std::string_view text)
{
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    return isHexadecimal ? parseNumber(text.substr(2), 16) : parseNumber(text);
}

/// Every value of a list such as "10,0x1F", or nothing and the reason.
std::optional<std::vector<uint32_t>> parseValues(std::string_view list, uint32_t largest,
                                                 std::string& why)
{
    std::vector<uint32_t> values;
    for (std::string_view text : split(list, ',')) {
        const auto value = parseValue(text);
        if (!value || *value > largest) {
            why = quoted(text) + " is not a value from 0 to " + std::to_string(largest);
            return std::nullopt;
        }
        values.push_back(*value);
    }
    return values;
}

uint32_t& partOf(Cell& cell, Part part)
{
    switch (part) {
    case Part::State:
        return cell.state;
    case Part::Current:
        return cell.current;
    case Part::SetValue:
        break;
    }
    return cell.setValue;
}

size_t positionInTable(const Area& area)
{
    return static_cast<size_t>(&area - areas().data());
}

} // namespace

Memory::Memory()
{
    for (const Area& area : areas())
        cells_.emplace_back(area.size);
}

std::vector<Cell>& Memory::cellsOf(const Area& area)
{
    return cells_[positionInTable(area)];
}

const std::vector<Cell>& Memory::cellsOf(const Area& area) const
{
    return cells_[positionInTable(area)];
}

std::vector<Cell> Memory::read(const Range& range) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto first = cellsOf(*range.first.area).begin() + range.first.index;
    return std::vector<Cell>(first, first + range.count);
}

void Memory::write(const Range& range, Part part, const std::vector<uint32_t>& values)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    auto cell = cellsOf(*range.first.area).begin() + range.first.index;
    for (uint32_t value : values)
        partOf(*cell++, part) = value;
}

bool Memory::preset(std::string_view assignment, std::string& why)
{
    const size_t equals = assignment.find('=');
    if (equals == std::string_view::npos) {
        why = quoted(assignment) + " is not of the form DEVICE=VALUE";
        return false;
    }
    const std::string_view name = assignment.substr(0, equals);
    const auto place = findPlace(name);
    if (!place) {
        why = "there is no device " + quoted(name);
        return false;
    }
    const Area& area = *place->device.area;
    const uint32_t largest = place->part == Part::State ? 1 : largestValue(area.kind);
    const auto values = parseValues(assignment.substr(equals + 1), largest, why);
    if (!values)
        return false;
    const Range range{place->device, static_cast<uint32_t>(values->size())};
    if (!fits(range.first, range.count)) {
        why = quoted(assignment) + " goes beyond " + wireText({&area, area.size - 1});
        return false;
    }
    write(range, place->part, *values);
    return true;
}

void Memory::presetDemo()
{
    std::string why;
    for (const char* assignment : demoPresets())
        preset(assignment, why);
}

std::optional<uint32_t> Memory::look(std::string_view device) const
{
    const auto place = findPlace(device);
    if (!place)
        return std::nullopt;
    Cell cell = read({place->device, 1}).front();
    return partOf(cell, place->part);
}

std::optional<uint32_t> Memory::lookState(std::string_view device) const
{
    const auto place = findPlace(device);
    if (!place)
        return std::nullopt;
    return read({place->device, 1}).front().state;
}

bool fits(const Device& first, uint32_t count)
{
    return count <= first.area->size - first.index;
}

Part mainPart(ValueKind kind)
{
    return kind == ValueKind::Bit ? Part::State : Part::Current;
}

const std::vector<const char*>& demoPresets()
{
    static const std::vector<const char*> presets = {
        "DM0=10,20,30,40,50,60,70,80,90,100",
        "DM100=12,2",
        "MR500=1,0,1,1",
        "R0=1",
        "T5=42",
        "TS5=100",
        "C0=7",
        "CS0=1000",
        "AT0=123456",
    };
    return presets;
}

} // namespace simulator
