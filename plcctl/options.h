// The options that several subcommands share, as the person typed them.
#ifndef PLCCTL_OPTIONS_H
#define PLCCTL_OPTIONS_H

#include "output.h"

#include "bench/openport.h"

#include <cstdint>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
class Validator;
} // namespace CLI

namespace plcctl
{

/// The driver, the port to the controller, and how devices are named.
struct BenchOptions {
    std::string driverFile; ///< empty: the one that was built with this program
    std::string tagFile;    ///< empty for none
    std::string type;       ///< of devices without one; empty: the natural one of their area
    bench::PortOptions port;
    bool trace = false;
    std::string project;  ///< where the panel project is; empty for none
    std::string portName; ///< the port's name in that project; empty: the usual one
};

/// Accepts whole numbers in a range, without words about it in the help text.
CLI::Validator between(std::int64_t low, std::int64_t high);

/// The devices to read.
void addDevicesArgument(CLI::App& command, std::vector<std::string>& devices);

/// --count.
void addCountOption(CLI::App& command, int& count);

/// --driver.
void addDriverOption(CLI::App& command, std::string& driverFile);

/// --tags and --type.
void addNamingOptions(CLI::App& command, BenchOptions& options);

/// --project.
CLI::Option* addProjectOption(CLI::App& command, std::string& project);

/// --line.
void addLineOption(CLI::App& command, bench::PortOptions& options);

/// Where the controller is and how patient to be with it. -o is short for --timeout, unless the
/// subcommand already has an option of that name.
void addPortOptions(CLI::App& command, BenchOptions& options);

/// --fault, --seed, --set and --move.
void addControllerOptions(CLI::App& command, bench::ControllerOptions& options);

/// What a subcommand needs that sends requests: --driver, --project and --port-name, and the
/// options of the port and of the simulated controller.
void addRequestOptions(CLI::App& command, BenchOptions& options);

/// The same for one that takes devices as the person names them.
void addBenchOptions(CLI::App& command, BenchOptions& options);

/// --format.
void addFormatOption(CLI::App& command, Format& format,
                     const std::vector<std::string>& choice = {"table", "csv", "json"});

/// --format, --signed and --hex.
void addStyleOptions(CLI::App& command, Style& style);

/// "500ms", "1.5s", "1m" or "1h", in milliseconds. Throws CLI::ValidationError in the name of the
/// option, also for a number without a unit.
int parseDurationMs(const std::string& option, const std::string& text);

} // namespace plcctl

#endif
