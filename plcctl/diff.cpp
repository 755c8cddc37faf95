// plcctl diff: what differs between two snapshots, or between one and the controller.
#include "bench.h"
#include "commands.h"
#include "output.h"
#include "readcurrent.h"
#include "report.h"

#include "bench/comparison.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace plcctl
{

namespace
{

struct DiffOptions {
    BenchOptions bench;
    std::vector<std::string> files;
    Format format = Format::Table;
};

std::string textOf(const std::optional<bench::Value>& value, const bench::Type& type)
{
    return value ? bench::snapshotText(*value, type) : std::string();
}

bool isTag(const bench::Difference& difference)
{
    return bench::isTag(difference.point);
}

bench::Snapshot load(const bench::TextFile& file, const bench::Driver& driver)
{
    bench::Snapshot snapshot = bench::loadSnapshot(file, driver);
    tellUnread(snapshot, file.name);
    return snapshot;
}

/// The same letters may be other devices of another driver.
void requireOneDriver(const std::vector<bench::TextFile>& files)
{
    const std::string left = bench::driverNamedIn(files[0]);
    const std::string right = bench::driverNamedIn(files[1]);
    if (!left.empty() && !right.empty() && left != right)
        throw bench::wrongUsage("the dumps are of different drivers: " + files[0].name + " of " +
                                left + ", " + files[1].name + " of " + right);
}

void printAsJson(const std::vector<bench::Difference>& differences)
{
    Json rows = Json::array();
    for (const bench::Difference& difference : differences) {
        const bench::Type& type = difference.point.device.type;
        Json row = {{"device", bench::snapshotName(difference.point.device)}};
        const auto& [point, left, right] = difference;
        // Strings that differ after their end, or NaNs, are shown as a dump has them.
        const bool lookTheSame =
            left && right && bench::jsonOf(*left, type) == bench::jsonOf(*right, type);
        const auto jsonOf = [&](const bench::Value& value) {
            return lookTheSame ? Json(bench::snapshotText(value, type))
                               : Json(bench::jsonOf(value, type));
        };
        if (left)
            row["left"] = jsonOf(*left);
        if (right)
            row["right"] = jsonOf(*right);
        if (isTag(difference))
            row["tag"] = difference.point.name;
        rows.push_back(row);
    }
    printJson(rows, 2);
}

void print(const std::vector<bench::Difference>& differences, Format format)
{
    if (format == Format::Json)
        return printAsJson(differences);
    const bool hasTags = std::any_of(differences.begin(), differences.end(), isTag);
    const std::string missing = format == Format::Table ? "-" : "";
    Table table = {{"device", "left", "right"}, {}};
    if (hasTags)
        table.names.emplace_back("tag");
    for (const bench::Difference& difference : differences) {
        const bench::Type& type = difference.point.device.type;
        table.rows.push_back({bench::snapshotName(difference.point.device),
                              difference.left ? textOf(difference.left, type) : missing,
                              difference.right ? textOf(difference.right, type) : missing});
        if (hasTags)
            table.rows.back().emplace_back(isTag(difference) ? difference.point.name
                                                             : std::string());
    }
    if (!table.rows.empty() || format == Format::Csv)
        printTable(table, format);
}

int diff(const DiffOptions& options)
{
    const bool hasTwoFiles = options.files.size() == 2;
    if (hasTwoFiles && !options.bench.port.port.empty())
        throw bench::wrongUsage("diff compares two files, or a file with the controller",
                                "Omit --port, or one of the files.");
    if (hasTwoFiles && options.files[0] == "-" && options.files[1] == "-")
        throw bench::wrongUsage("standard input can be only one of the two files");
    std::vector<bench::TextFile> files;
    for (const std::string& path : options.files)
        files.push_back(bench::readTextFile(path));
    if (hasTwoFiles)
        requireOneDriver(files);
    Bench bench(options.bench);
    const bench::Snapshot left = load(files[0], bench.driver());
    std::vector<bench::Difference> found;
    int status = Success;
    if (hasTwoFiles) {
        const bench::Snapshot right = load(files[1], bench.driver());
        found = bench::differences(left.values, right.values);
    } else {
        const Current current = readCurrent(bench, left.values);
        status = current.status;
        found = bench::differences(left.values, current.readings);
    }
    print(found, options.format);
    if (status == Success && found.empty())
        note("no differences in " + counted(left.values.size(), "value"));
    else if (status == Success)
        status = bench::exitStatus(bench::FailureKind::Different);
    return status;
}

} // namespace

void addDiffCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("diff", "Compare a dump with another one or with the controller");
    const auto options = std::make_shared<DiffOptions>();
    command
        ->add_option("FILE", options->files,
                     "One file to compare with the controller, or two files; - for standard "
                     "input")
        ->required()
        ->expected(1, 2)
        ->type_name("");
    addFormatOption(*command, options->format);
    addRequestOptions(*command, options->bench);
    command->footer(
        R"(Left is the first file, right the second one or the controller. The exit status
is 0 when they hold the same, 6 when they differ.

Examples:
  plcctl diff line3.txt -p /dev/ttyUSB0
  plcctl diff monday.txt friday.txt -f csv)");
    command->callback([options, &status] { status = diff(*options); });
}

} // namespace plcctl
