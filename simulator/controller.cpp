#include "simulator/controller.h"

#include "simulator/text.h"

namespace simulator
{

namespace
{

/// Every value of a list such as "10,0x1F", or nothing and the reason.
std::optional<std::vector<uint32_t>> parseValues(std::string_view list, uint32_t largest,
                                                 std::string& why)
{
    std::vector<uint32_t> values;
    for (std::string_view text : split(list, ',')) {
        const auto value = parseValue(text, largest, why);
        if (!value)
            return std::nullopt;
        values.push_back(*value);
    }
    return values;
}

} // namespace

/// "DM100=12": a device, and what is to become of it.
struct Controller::Assignment {
    std::string_view name;
    NamedPlace target;
    std::string_view right;

    std::string refusal(const std::string& why) const { return std::string(name) + ": " + why; }
};

std::optional<Controller::Assignment>
Controller::parseAssignment(std::string_view text, const char* form, std::string& why) const
{
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        why = quoted(text) + " is not of the form " + form;
        return std::nullopt;
    }
    const std::string_view name = text.substr(0, equals);
    const auto target = find(name);
    if (!target) {
        why = "there is no device " + quoted(name);
        return std::nullopt;
    }
    return Assignment{name, *target, text.substr(equals + 1)};
}

bool Controller::preset(std::string_view text, std::string& why)
{
    const auto assignment = parseAssignment(text, "DEVICE=VALUE", why);
    if (!assignment)
        return false;
    const NamedPlace& target = assignment->target;
    const auto values = parseValues(assignment->right, target.largestValue, why);
    if (!values) {
        why = assignment->refusal(why);
        return false;
    }
    if (values->size() > target.count) {
        why = quoted(text) + " goes beyond " + target.lastName;
        return false;
    }
    m_memory.write(target.place, *values);
    return true;
}

bool Controller::move(std::string_view text, std::string& why)
{
    const auto assignment = parseAssignment(text, "DEVICE=KIND:FIRST..LAST/PERIOD", why);
    if (!assignment)
        return false;
    const NamedPlace& target = assignment->target;
    const auto motion = parseMotion(assignment->right, target.largestValue, why);
    if (!motion) {
        why = assignment->refusal(why);
        return false;
    }
    m_memory.move(target.place, *motion);
    return true;
}

void Controller::presetDemo()
{
    std::string why;
    for (const char* text : demo().presets)
        preset(text, why);
    for (const char* text : demo().moves)
        move(text, why);
}

std::vector<std::string> Controller::demoTexts() const
{
    std::vector<std::string> texts(demo().presets.begin(), demo().presets.end());
    texts.insert(texts.end(), demo().moves.begin(), demo().moves.end());
    return texts;
}

std::optional<uint32_t> Controller::look(std::string_view device) const
{
    const auto target = find(device);
    if (!target)
        return std::nullopt;
    return m_memory.read(target->place, 1).front();
}

} // namespace simulator
