// Whole files, as the bench reads them.
#ifndef BENCH_FILES_H
#define BENCH_FILES_H

#include <string>

namespace bench
{

/// All bytes of a file. Throws a Failure (CannotOpen) with the system's reason when it can't be
/// read; a folder can't.
std::string contentOf(const std::string& path);

/// The same for standard input.
std::string contentOfStandardInput();

} // namespace bench

#endif
