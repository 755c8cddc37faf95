#include "host/standardstreams.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace host
{

namespace
{

struct StandardStream {
    int descriptor;
    const char* substitute;
    int flags;
};

const StandardStream streams[] = {
    {STDIN_FILENO, "/dev/null", O_RDONLY},
    {STDOUT_FILENO, "/dev/full", O_WRONLY}, // lost data has to be noticed
    {STDERR_FILENO, "/dev/null", O_WRONLY},
};

} // namespace

void openMissingStreams()
{
    // From 0 on: open() returns the lowest descriptor that is free.
    for (const StandardStream& stream : streams)
        if (::fcntl(stream.descriptor, F_GETFD) < 0)
            ::open(stream.substitute, stream.flags);
}

bool flushOutput()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

bool finishOutput(const char* program)
{
    if (flushOutput())
        return true;
    std::fprintf(stderr, "%s: can't write to standard output\n", program);
    return false;
}

} // namespace host
