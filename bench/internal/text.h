// What several rooms do with texts. ASCII letters only change their case.
#ifndef BENCH_INTERNAL_TEXT_H
#define BENCH_INTERNAL_TEXT_H

#include <optional>
#include <string>

namespace bench
{

std::string upper(std::string text);
std::string lower(std::string text);

/// Without blanks, tabs and line ends around it.
std::string trimmed(const std::string& text);

bool startsWith(const std::string& text, const std::string& start);

bool isUtf8(const std::string& text);

/// A finite number with a decimal point, whatever the locale; nothing for another text.
std::optional<double> numberFrom(const std::string& text);

/// A number with so many digits after the point, whatever the locale.
std::string fixedText(double number, int decimals);

/// A number with at most so many significant digits, with an exponent where it is shorter.
std::string shortText(double number, int digits);

} // namespace bench

#endif
