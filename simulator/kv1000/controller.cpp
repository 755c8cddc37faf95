#include "simulator/kv1000/controller.h"

#include "simulator/kv1000/areas.h"
#include "simulator/kv1000/session.h"
#include "simulator/text.h"

namespace simulator::kv1000
{

namespace
{

/// A device as an operator panel names it, with the part of it that the name stands for.
struct DevicePart {
    Device device;
    Part part;
};

struct PanelName {
    const char* panel; ///< letters that the panel uses, upper case
    const char* wire;  ///< letters that the controller uses instead
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
std::optional<DevicePart> findRenamed(const PanelName& name, const std::string& text)
{
    const size_t letters = text.find_first_of("0123456789");
    if (letters == std::string::npos || text.compare(0, letters, name.panel) != 0)
        return std::nullopt;
    const auto device = findDevice(name.wire + text.substr(letters));
    if (!device)
        return std::nullopt;
    return DevicePart{*device, name.isSetValue ? Part::SetValue : mainPart(device->area->kind)};
}

std::optional<DevicePart> findPart(std::string_view panelText)
{
    const std::string text = inUpperCase(panelText);
    for (const PanelName& name : PanelNames) {
        if (const auto found = findRenamed(name, text))
            return found;
    }
    const auto device = findDevice(text);
    // A bare number is a relay only on the wire; a person who types one has forgotten the letters.
    if (!device || device->area->name[0] == '\0')
        return std::nullopt;
    return DevicePart{*device, mainPart(device->area->kind)};
}

} // namespace

const Commands& Controller::commands() const
{
    static const Commands commands = {commandWords(), MaxErrorDigit};
    return commands;
}

std::unique_ptr<simulator::Session> Controller::newSession()
{
    return std::make_unique<Session>(m_memory);
}

std::optional<uint32_t> Controller::lookState(std::string_view device) const
{
    const auto found = findPart(device);
    if (!found)
        return std::nullopt;
    return m_memory.read(placeOf(found->device, Part::State), 1).front();
}

std::optional<Controller::NamedPlace> Controller::find(std::string_view device) const
{
    const auto found = findPart(device);
    if (!found)
        return std::nullopt;
    const Area& area = *found->device.area;
    return NamedPlace{placeOf(found->device, found->part), area.size - found->device.index,
                      largestValue(area.kind), wireText({&area, area.size - 1})};
}

const Controller::Demo& Controller::demo() const
{
    static const Demo demo = {
        {
            "DM0=10,20,30,40,50,60,70,80,90,100",
            "MR500=1,0,1,1",
            "R0=1",
            "TS5=100",
            "CS0=1000",
            "AT0=123456",
        },
        {
            "DM100=ramp:0..1000/10s",
            "DM101=sine:0..1000/20s",
            "MR500=toggle/2s",
            "T5=ramp:0..100/10s",
            "C0=counter:0..1000/1s",
        },
    };
    return demo;
}

} // namespace simulator::kv1000
