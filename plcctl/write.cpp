// plcctl write: values to consecutive devices, or to many points from a file. Nothing is sent
// unless every device and every value can be understood.
#include "bench.h"
#include "commands.h"
#include "report.h"

#include "bench/file.h"
#include "bench/recipe.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

struct WriteOptions {
    BenchOptions bench;
    std::string device;
    std::vector<std::string> values;
    std::string from; ///< file of devices and values; "-" for standard input
    bool verify = false;
};

void checkArguments(const WriteOptions& options)
{
    const bool isFromFile = !options.from.empty();
    if (isFromFile && !options.device.empty())
        throw bench::wrongUsage("give either a device with values or --from FILE, not both");
    if (!isFromFile && options.values.empty())
        throw bench::wrongUsage("write needs a device and values, or --from FILE",
                                "Try 'plcctl write --help'.");
}

bench::Recipe recipeFor(const WriteOptions& options, const bench::Names& names)
{
    if (options.from.empty())
        return bench::recipeOf(options.device, options.values, names);
    const bench::TextFile file = bench::readTextFile(options.from);
    return bench::recipeFromText(file.name, file.text, names);
}

std::string writtenText(const bench::Recipe& recipe, const WriteOptions& options)
{
    return (recipe.name.empty() ? options.device : recipe.name) + ": " +
           counted(recipe.entries.size(), "value") + " written" +
           (options.verify ? " and read back" : "") +
           (options.bench.port.isSimulated() ? ", to a simulated controller that ends now" : "");
}

int write(const WriteOptions& options)
{
    checkArguments(options);
    Bench bench(options.bench);
    bench.hearLateReplies();
    const bench::Recipe recipe = recipeFor(options, bench.names());
    // What can't be written as a whole is refused before the port is opened.
    bench::check(recipe, bench.driver().blocks());
    for (const std::string& alteration : bench::alterations(recipe))
        note(alteration);
    bench::Session& session = bench.session();
    bench::write(session, recipe);
    if (options.verify)
        bench::verify(session, recipe);
    note(writtenText(recipe, options));
    return Success;
}

} // namespace

void addWriteCommand(CLI::App& app, int& status)
{
    CLI::App* const command = app.add_subcommand("write", "Write values to consecutive devices");
    const auto options = std::make_shared<WriteOptions>();
    command
        ->add_option("DEVICE", options->device,
                     "Where to start, such as DM100, DM8:dint, MR500 or a tag")
        ->type_name("");
    command->add_option("VALUE", options->values, "Numbers such as 12, -5, 0x1F or 21.5, or texts")
        ->type_name("");
    command
        ->add_option(
            "--from", options->from,
            "File of devices and values, a pair in each line: DM100 12, MR500 = 1 or DM30:string8 "
            "\"a text\", and comments after a #; - for standard input")
        ->type_name("FILE");
    command->add_flag("--verify", options->verify,
                      "Read the values back; exit status 6 when one differs");
    addBenchOptions(*command, options->bench);
    command->footer(
        R"(The limits of a tag hold for its name. A value for its device, such as DM101, is
not compared with them.

Examples:
  plcctl write DM100 12 2 -p /dev/ttyUSB0          DM100 = 12, DM101 = 2
  plcctl write DM100:dint -100000 -p /dev/ttyUSB0
  plcctl write MR500 1 0 1 -p tcp:192.168.0.10
  plcctl write boiler.setpoint 21.5 --tags plant.csv --verify -p /dev/ttyS0
  plcctl write --from recipe.txt -p /dev/ttyUSB0)");
    command->callback([options, &status] { status = write(*options); });
}

} // namespace plcctl
