// The subcommands. Each function declares one, with its options and help; running it sets the exit
// status, or throws a bench::Failure.
#ifndef PLCCTL_COMMANDS_H
#define PLCCTL_COMMANDS_H

namespace CLI
{
class App;
}

namespace plcctl
{

void addCheckCommand(CLI::App& app, int& status);
void addDiffCommand(CLI::App& app, int& status);
void addDumpCommand(CLI::App& app, int& status);
void addExplainCommand(CLI::App& app, int& status);
void addInfoCommand(CLI::App& app, int& status);
void addLinksCommand(CLI::App& app, int& status);
void addPortsCommand(CLI::App& app, int& status);
void addReadCommand(CLI::App& app, int& status);
void addRestoreCommand(CLI::App& app, int& status);
void addScanCommand(CLI::App& app, int& status);
void addSimulateCommand(CLI::App& app, int& status);
void addTagsCommand(CLI::App& app, int& status);
void addWatchCommand(CLI::App& app, int& status);
void addWriteCommand(CLI::App& app, int& status);

/// Declares the hidden option that prints man pages and completion scripts, of all subcommands that
/// the program has when it runs.
void addGenerateOption(CLI::App& app);

} // namespace plcctl

#endif
