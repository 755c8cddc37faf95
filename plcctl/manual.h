// Man pages, made of what the help is made of: the options and footers of the subcommands.
// No option, subcommand or exit status is written down here.
#ifndef PLCCTL_MANUAL_H
#define PLCCTL_MANUAL_H

#include <string>

namespace CLI
{
class App;
}

namespace plcctl
{

/// The page of the program, or of one of its subcommands, as roff text.
///
/// program  has the version and the exit statuses, which every page repeats
/// command  `program` itself or a subcommand of it
std::string manPage(const CLI::App& program, const CLI::App& command);

/// Writes all pages, such as plcctl.1 and plcctl-read.1, into a directory, which is made where it
/// is missing. Throws a Failure (CannotOpen) when one can't be written.
void writeManPages(const CLI::App& program, const std::string& directory);

} // namespace plcctl

#endif
