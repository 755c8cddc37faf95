// What help texts say of the driver: the default values of its options, and its device areas.
#ifndef PLCCTL_DRIVERHELP_H
#define PLCCTL_DRIVERHELP_H

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace plcctl
{

/// Marks an option whose default value is the driver's.
void defaultsToDriver(CLI::Option* option);

/// Puts the values and the areas into the help texts of all subcommands. They are those of the
/// driver that was named on the command line, else of the one built with this program. Without a
/// driver the texts stay as they are.
void describeDriver(CLI::App& program);

} // namespace plcctl

#endif
