// The options that several subcommands share, as the person typed them.
// It opens nothing: what the texts mean to drivers and lines is the business of bench.h.
#ifndef PLCCTL_OPTIONS_H
#define PLCCTL_OPTIONS_H

#include "output.h"

#include <cstdint>
#include <optional>
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

/// What a simulated controller starts with and what it does wrong.
struct ControllerOptions {
    std::string faults;
    std::uint32_t seed = 1;
    std::vector<std::string> presets;   ///< such as "DM100=12"
    std::vector<std::string> movements; ///< such as "DM100=ramp:0..100/10s"
    std::uint32_t baud = 0;             ///< speed that replies are paced by; 0: at once
};

/// The driver, the line to the controller, and how patient to be with it.
struct BenchOptions {
    std::string driverFile; ///< empty: the one that was built with this program
    std::string port;
    std::string line; ///< empty: the driver's default
    std::optional<int> timeoutMs;
    std::optional<int> retry;
    std::optional<int> delayMs;
    bool trace = false;
    std::string project;          ///< where the panel project lies; empty for none
    std::string portName;         ///< the port's name in that project; empty: the usual one
    ControllerOptions controller; ///< of port "sim" only

    /// The value of `port` that stands for a simulated controller inside this program.
    static constexpr const char* SimulatedPort = "sim";
};

/// Accepts whole numbers in a range, without words about it in the help text.
CLI::Validator between(int low, int high);

/// The devices to read.
void addDevicesArgument(CLI::App& command, std::vector<std::string>& devices);

/// --count.
void addCountOption(CLI::App& command, int& count);

void addDriverOption(CLI::App& command, std::string& driverFile);

/// --project.
CLI::Option* addProjectOption(CLI::App& command, std::string& project);

void addBenchOptions(CLI::App& command, BenchOptions& options);
void addControllerOptions(CLI::App& command, ControllerOptions& options);

/// --type; `unitName` keeps its value as the default.
void addUnitOption(CLI::App& command, std::string& unitName);

/// --format.
void addFormatOption(CLI::App& command, Format& format);

/// --format, --signed and --hex.
void addStyleOptions(CLI::App& command, Style& style);

} // namespace plcctl

#endif
