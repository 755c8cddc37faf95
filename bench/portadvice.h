// Why a port can't be opened, as far as the system says, and what to do about it.
#ifndef BENCH_PORTADVICE_H
#define BENCH_PORTADVICE_H

#include "host/portaddress.h"

#include <string>

namespace bench
{

/// Advice on a port that could not be opened just now: the ports that there are, the group that may
/// open it, or the program that uses it. Empty where the system does not say.
std::string portAdvice(const host::PortAddress& address);

} // namespace bench

#endif
