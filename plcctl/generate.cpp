// plcctl --generate: what the build installs beside the program, and what completion asks for.
// It is for scripts, so the help does not show it.
#include "bench.h"
#include "commands.h"
#include "completion.h"
#include "driverhelp.h"
#include "manual.h"

#include "bench/serialports.h"
#include "bench/tags.h"

#include "host/driverdescription.h"

#include <CLI/CLI.hpp>
#include <QFileInfo>

#include <cstdio>

namespace plcctl
{

namespace
{

/// Areas and tags. The areas are read from the plug-in's file: none of its code runs while a person
/// types.
void printNames(const std::string& driver, const std::string& tagFile)
{
    const QString file = QString::fromStdString(driverFile(driver));
    if (!QFileInfo::exists(file))
        throw bench::Failure(bench::FailureKind::CannotOpen, "there is no driver " + driver);
    QString error;
    const auto description = host::readDriverDescription(file, &error);
    if (!description)
        throw bench::Failure(bench::FailureKind::CannotOpen, error.toStdString());
    for (const host::DeviceArea& area : description->areas)
        std::printf("%s\n", area.letters.c_str());
    if (tagFile.empty())
        return;
    for (const bench::Point& tag : bench::loadTags(tagFile, bench::Devices(*description)))
        std::printf("%s\n", tag.name.c_str());
}

void printPorts()
{
    for (const bench::SerialPort& port : bench::serialPorts())
        std::printf("%s\n", port.device.c_str());
}

/// what  "man DIRECTORY", "bash", "zsh", "ports" or "names DRIVER TAGFILE", both of which may be
///       empty or missing
void generate(CLI::App& program, std::vector<std::string> what)
{
    what.resize(3);
    if (what[0] == "man" && !what[1].empty()) {
        describeDriver(program);
        writeManPages(program, what[1]);
    } else if (what[0] == "bash") {
        std::printf("%s", bashCompletion(program).c_str());
    } else if (what[0] == "zsh") {
        std::printf("%s", zshCompletion(program).c_str());
    } else if (what[0] == "names") {
        printNames(what[1], what[2]);
    } else if (what[0] == "ports") {
        printPorts();
    } else {
        throw bench::wrongUsage("--generate needs man DIRECTORY, bash, zsh, names or ports");
    }
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
           "Man pages, completion scripts, or names that they complete")
        ->expected(1, 3)
        ->group("");
}

} // namespace plcctl
