// The areas of the KV-1000 and how their numbers count.
#include "devicenames.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace plcctl
{

namespace
{

const char* const KnownDriver = "KEYENCE KV-1000";

// A relay's number is its channel times 100 and its bit, 00 to 15.
constexpr int NumbersPerChannel = 100;
constexpr int BitsPerChannel = 16;

/// More digits than this are in no area, and would not fit an int.
constexpr std::size_t MaxDigits = 8;

const char* const Digits = "0123456789";

/// Unknown where a unit is a part of a device only, or no unit of the area at all.
struct Area {
    const char* letters;
    Step bits;
    Step words;
    Step doubleWords;
};

// clang-format off
const Area areas[] = {
    {"DM",   Step::Unknown, Step::One,     Step::Two},
    {"EM",   Step::Unknown, Step::One,     Step::Two},
    {"FM",   Step::Unknown, Step::One,     Step::Two},
    {"ZF",   Step::Unknown, Step::One,     Step::Two},
    {"Z",    Step::Unknown, Step::One,     Step::Two},
    {"CM",   Step::Unknown, Step::One,     Step::Two},
    {"TM",   Step::Unknown, Step::One,     Step::Two},
    {"VM",   Step::Unknown, Step::One,     Step::Two},
    {"T",    Step::One,     Step::Unknown, Step::One},
    {"C",    Step::One,     Step::Unknown, Step::One},
    {"CTC",  Step::One,     Step::Unknown, Step::One},
    {"CTH",  Step::One,     Step::Unknown, Step::One},
    {"TS",   Step::Unknown, Step::Unknown, Step::One},
    {"CS",   Step::Unknown, Step::Unknown, Step::One},
    {"PCTC", Step::Unknown, Step::Unknown, Step::One},
    {"AT",   Step::Unknown, Step::Unknown, Step::One},
    {"R",    Step::Channel, Step::Unknown, Step::Unknown},
    {"MR",   Step::Channel, Step::Unknown, Step::Unknown},
    {"LR",   Step::Channel, Step::Unknown, Step::Unknown},
    {"CR",   Step::Channel, Step::Unknown, Step::Unknown},
};
// clang-format on

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

Step stepOf(const std::string& letters, const Unit& unit)
{
    const auto area = std::find_if(std::begin(areas), std::end(areas), [&](const Area& candidate) {
        return upper(letters) == candidate.letters;
    });
    if (area == std::end(areas))
        return Step::Unknown;
    switch (unit.dataType) {
    case DataBit:
        return area->bits;
    case DataWord:
        return area->words;
    case DataDoubleWord:
        return area->doubleWords;
    default:
        return Step::Unknown;
    }
}

bool isDeviceNumber(const std::string& text)
{
    return !text.empty() && text.size() <= MaxDigits &&
           text.find_first_not_of(Digits) == std::string::npos;
}

} // namespace

RunNames::RunNames(const std::string& driver, const std::string& first, const Unit& unit)
    : m_first(first)
{
    const std::size_t letters = std::min(first.find_first_of(Digits), first.size());
    const std::string number = first.substr(letters);
    if (driver != KnownDriver || !isDeviceNumber(number))
        return;
    m_letters = first.substr(0, letters);
    m_digits = static_cast<int>(number.size());
    m_number = std::stoi(number);
    m_step = stepOf(m_letters, unit);
}

std::string RunNames::at(int index) const
{
    if (index == 0)
        return m_first;
    if (m_step == Step::Unknown)
        return m_first + "[" + std::to_string(index) + "]";
    char number[16];
    std::snprintf(number, sizeof number, "%0*d", m_digits, numberAt(index));
    return m_letters + number;
}

int RunNames::numberAt(int index) const
{
    if (m_step != Step::Channel)
        return m_number + (m_step == Step::Two ? 2 * index : index);
    const int bit = m_number % NumbersPerChannel + index;
    const int channel = m_number / NumbersPerChannel + bit / BitsPerChannel;
    return channel * NumbersPerChannel + bit % BitsPerChannel;
}

} // namespace plcctl
