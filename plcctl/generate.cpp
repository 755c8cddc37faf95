// plcctl --generate: what the build installs beside the program, and what completion asks for.
// It is for scripts, so the help does not show it.
#include "bench.h"
#include "commands.h"
#include "completion.h"
#include "manual.h"

#include "host/driverdescription.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

/// Read from the plug-in's file: none of its code runs while a person types.
void printAreas(const std::string& driver)
{
    QString error;
    const auto description =
        host::readDriverDescription(QString::fromStdString(driverFile(driver)), &error);
    if (!description)
        throw bench::Failure(bench::FailureKind::CannotOpen, error.toStdString());
    for (const host::DeviceArea& area : description->areas)
        std::printf("%s\n", area.letters.c_str());
}

/// what  "man DIRECTORY", "bash", "zsh", "areas" or "areas DRIVER"
void generate(const CLI::App& program, const std::vector<std::string>& what)
{
    const std::string argument = what.size() > 1 ? what[1] : "";
    if (what[0] == "man" && !argument.empty())
        writeManPages(program, argument);
    else if (what[0] == "bash")
        std::printf("%s", bashCompletion(program).c_str());
    else if (what[0] == "zsh")
        std::printf("%s", zshCompletion(program).c_str());
    else if (what[0] == "areas")
        printAreas(argument);
    else
        throw bench::wrongUsage("--generate wants man DIRECTORY, bash, zsh or areas");
}

} // namespace

void addGenerateOption(CLI::App& app)
{
    app.add_option_function<std::vector<std::string>>(
           "--generate",
           [&app](const std::vector<std::string>& what) {
               generate(app, what);
               throw CLI::Success();
           },
           "Man pages, completion scripts or a driver's areas")
        ->expected(1, 2)
        ->group("");
}

} // namespace plcctl
