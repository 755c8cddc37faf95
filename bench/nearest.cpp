#include "bench/nearest.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace bench
{

namespace
{

char lower(char c)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

/// The fewest typing errors between two words.
std::size_t typingErrors(const std::string& a, const std::string& b)
{
    using Row = std::vector<std::size_t>;
    Row beforeLast, last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = lower(a[i - 1]) == lower(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool exchanged = i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) &&
                                   lower(a[i - 2]) == lower(b[j - 1]);
            if (exchanged)
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last[b.size()];
}

} // namespace

std::vector<std::string> nearestFirst(const std::string& meant, std::vector<std::string> words)
{
    std::stable_sort(words.begin(), words.end(), [&](const std::string& a, const std::string& b) {
        return typingErrors(meant, a) < typingErrors(meant, b);
    });
    return words;
}

std::string nearest(const std::string& meant, const std::vector<std::string>& words)
{
    if (words.empty())
        return std::string();
    const std::string best = nearestFirst(meant, words).front();
    // More than a third of the letters wrong is another word, and so is one with all of them wrong.
    const std::size_t longer = std::max(meant.size(), best.size());
    const std::size_t most = std::max<std::size_t>(1, longer / 3);
    const std::size_t errors = typingErrors(meant, best);
    return errors <= most && errors < longer ? best : std::string();
}

std::string didYouMean(const std::string& meant, const std::vector<std::string>& words)
{
    const std::string word = nearest(meant, words);
    return word.empty() ? word : "Did you mean " + word + "? ";
}

std::string listed(const std::vector<std::string>& words, std::size_t most)
{
    // "and 1 more" would take the room of the word itself.
    const std::size_t shown = words.size() <= most + 1 ? words.size() : most;
    std::string text;
    for (std::size_t i = 0; i < shown; ++i)
        text += (i == 0 ? "" : ", ") + words[i];
    if (shown < words.size())
        text += " and " + std::to_string(words.size() - shown) + " more";
    return text;
}

std::string counted(std::uint64_t count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string firstAndMore(const std::string& first, std::size_t count)
{
    return first + (count > 1 ? " and " + std::to_string(count - 1) + " more" : "");
}

std::string visible(const std::string& text)
{
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char code[8];
        if (c == '\r') {
            shown += "\\r";
        } else if (c == '\n') {
            shown += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            std::snprintf(code, sizeof code, "\\x%02X", byte);
            shown += code;
        } else {
            shown += c;
        }
    }
    return shown;
}

} // namespace bench
