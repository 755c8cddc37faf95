// Files as a whole.
#ifndef BENCH_FILE_H
#define BENCH_FILE_H

#include <string>

namespace bench
{

/// All bytes of a file. Throws a Failure (CannotOpen) when it can't be read; a folder can't.
std::string contentOf(const std::string& path);

/// A file that people write, without the mark that some editors put before UTF-8. Throws a Failure:
/// CannotOpen when it can't be read, WrongUsage when it is not UTF-8.
std::string textIn(const std::string& path);

} // namespace bench

#endif
