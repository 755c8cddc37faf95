// The standard streams of a program: usable from its start, and known to be written at its end.
#ifndef HOST_STANDARDSTREAMS_H
#define HOST_STANDARDSTREAMS_H

namespace host
{

/// Opens the descriptors of standard input, output and error that the program was started without.
/// A file or a port opened later would get their numbers, and what is printed would go to the
/// controller. Input is then at its end, writing to output fails, and messages are dropped.
///
/// Call it before anything else can open a descriptor.
void openMissingStreams();

/// Writes out what standard output still holds. Returns false when any of it, now or earlier, could
/// not be written.
bool flushOutput();

/// Does so as the last act of a program, and tells on standard error when data was lost.
bool finishOutput(const char* program);

} // namespace host

#endif
