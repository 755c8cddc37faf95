// Scripts that complete command lines in a shell, made of what the help is made of: the options of
// the subcommands. No option and no subcommand is written down here.
#ifndef PLCCTL_COMPLETION_H
#define PLCCTL_COMPLETION_H

#include <string>

namespace CLI
{
class App;
}

namespace plcctl
{

std::string bashCompletion(const CLI::App& program);
std::string zshCompletion(const CLI::App& program);

} // namespace plcctl

#endif
