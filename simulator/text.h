// Parses short texts.
#ifndef SIMULATOR_TEXT_H
#define SIMULATOR_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

/// The number that the whole text spells, in base 10 or 16 without any prefix; nothing for any
/// other text, such as one with signs or blanks, and for numbers above 32 bits.
std::optional<uint32_t> parseNumber(std::string_view text, int base = 10);

/// A value such as "12" or "0x1F", at most `largest`. Returns nothing for any other text and says
/// why in a sentence.
std::optional<uint32_t> parseValue(std::string_view text, uint32_t largest, std::string& why);

/// A time such as "700ms" or "2s", an hour at most, in milliseconds; nothing for any other text.
std::optional<uint32_t> parseTimeMs(std::string_view text);

/// The pieces between the separators, one more than there are separators; pieces may be empty.
std::vector<std::string_view> split(std::string_view text, char separator);

/// The text with ASCII letters in upper case.
std::string inUpperCase(std::string_view text);

/// The text in double quotes, for messages.
std::string quoted(std::string_view text);

} // namespace simulator

#endif
