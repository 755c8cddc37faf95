// Words that a person may have meant, and texts for people.
#ifndef BENCH_NEAREST_H
#define BENCH_NEAREST_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench
{

/// All words, those first that take the fewest typing errors to become `meant`: a letter too many,
/// one missing, a wrong one, or two exchanged. Letter case does not count; equals keep their order.
std::vector<std::string> nearestFirst(const std::string& meant, std::vector<std::string> words);

/// The word that `meant` most likely was, or an empty text when all are too different.
std::string nearest(const std::string& meant, const std::vector<std::string>& words);

/// The question "Did you mean DM? " about that word, to put before a sentence; empty if there is no
/// such word.
std::string didYouMean(const std::string& meant, const std::vector<std::string>& words);

/// The words as a list, such as "DM, EM, FM and 3 more".
std::string listed(const std::vector<std::string>& words, std::size_t most);

/// "1 value", "2 values".
std::string counted(std::uint64_t count, const std::string& thing);

/// "DM0", "DM0 and 9 more".
std::string firstAndMore(const std::string& first, std::size_t count);

/// The text with control characters written as \r, \n or \x1F, so that a terminal shows them.
std::string visible(const std::string& text);

} // namespace bench

#endif
