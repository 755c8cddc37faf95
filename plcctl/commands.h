// The subcommands, each in a source file of its own with its options, its help and what it does.
#ifndef PLCCTL_COMMANDS_H
#define PLCCTL_COMMANDS_H

#include "failure.h"

namespace CLI
{
class App;
}

namespace plcctl
{

// Each adds one subcommand to `app`, which runs while the arguments are parsed. It leaves in
// `status` what the program is to end with, or throws a Failure.
void addInfoCommand(CLI::App& app, ExitStatus& status);
void addReadCommand(CLI::App& app, ExitStatus& status);
void addWriteCommand(CLI::App& app, ExitStatus& status);
void addWatchCommand(CLI::App& app, ExitStatus& status);
void addLinksCommand(CLI::App& app, ExitStatus& status);
void addSimulateCommand(CLI::App& app, ExitStatus& status);

} // namespace plcctl

#endif
