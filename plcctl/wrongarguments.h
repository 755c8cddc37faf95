// What the parser of the command line complains about, in words for the person who typed it.
#ifndef PLCCTL_WRONGARGUMENTS_H
#define PLCCTL_WRONGARGUMENTS_H

#include "bench/failure.h"

namespace CLI
{
class App;
class ParseError;
} // namespace CLI

namespace plcctl
{

/// The failure (WrongUsage) for what went wrong while `program` parsed its arguments.
bench::Failure wrongArguments(const CLI::App& program, const CLI::ParseError& error);

/// Lets no option of the subcommands take an empty value: it comes from a variable of a script that
/// was never set, and would mean the default.
void refuseEmptyValues(CLI::App& program);

} // namespace plcctl

#endif
