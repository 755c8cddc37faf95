// Small helpers for taking short texts apart.
// They know nothing of what the texts mean.
#ifndef SIMULATOR_TEXT_H
#define SIMULATOR_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

/// The number that the whole text spells, in base 10 or 16 without any prefix; nothing for anything
/// else, signs, blanks and numbers above 32 bits among it.
std::optional<uint32_t> parseNumber(std::string_view text, int base = 10);

/// The pieces between the separators, one more than there are separators; pieces may be empty.
std::vector<std::string_view> split(std::string_view text, char separator);

/// The text with ASCII letters in upper case.
std::string inUpperCase(std::string_view text);

/// The text in double quotes, for messages.
std::string quoted(std::string_view text);

} // namespace simulator

#endif // SIMULATOR_TEXT_H
