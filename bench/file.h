// Files as a whole.
#ifndef BENCH_FILE_H
#define BENCH_FILE_H

#include <string>

namespace bench
{

/// All bytes of a file. Throws a Failure (CannotOpen) when it can't be read; a folder can't.
std::string contentOf(const std::string& path);

/// A file that people write.
struct TextFile {
    std::string name; ///< in messages
    std::string text; ///< without the mark that some editors put before UTF-8
};

/// Reads a file; "-" is standard input. Throws a Failure: CannotOpen when it can't be read,
/// WrongUsage when it is not UTF-8.
TextFile readTextFile(const std::string& path);

} // namespace bench

#endif
