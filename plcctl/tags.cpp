// plcctl tags: checks a tag file against a driver's areas and shows what is in it.
#include "bench.h"
#include "commands.h"
#include "report.h"

#include "bench/file.h"
#include "bench/tags.h"

#include <CLI/CLI.hpp>

#include <cmath>

namespace plcctl
{

namespace
{

struct TagsOptions {
    std::string file;
    std::string driverFile;
    Format format = Format::Table;
};

std::string scaleText(const bench::Scale& scale)
{
    if (scale.isPlain())
        return std::string();
    const std::string offset =
        (scale.offset < 0 ? " - " : " + ") + numberText(std::fabs(scale.offset));
    return "x " + numberText(scale.factor) + (scale.offset == 0 ? "" : offset);
}

/// Whether a tag can be written, and within which limits.
std::string writableText(const bench::Point& tag)
{
    if (!tag.writable)
        return "no";
    const auto text = [](const std::optional<double>& limit) {
        return limit ? numberText(*limit) : std::string();
    };
    return tag.min || tag.max ? text(tag.min) + ".." + text(tag.max) : "yes";
}

/// For people: what belongs together in one column.
Table shortTable(const std::vector<bench::Point>& tags)
{
    Table table{{"name", "device", "type", "scale", "unit", "writable", "comment"}, {}};
    for (const bench::Point& tag : tags)
        table.rows.push_back({tag.name, tag.device.name, bench::nameOf(tag.device.type),
                              scaleText(tag.scale), tag.unit, writableText(tag), tag.comment});
    return table;
}

template <typename Number>
Field fieldOf(const std::optional<Number>& number)
{
    return number ? Field(*number) : Field();
}

/// For programs: the columns of a tag file, with what was left out there.
Table fullTable(const std::vector<bench::Point>& tags)
{
    Table table{{"name", "device", "type", "factor", "offset", "unit", "decimals", "writable",
                 "min", "max", "comment"},
                {}};
    for (const bench::Point& tag : tags)
        table.rows.push_back({tag.name, tag.device.name, bench::nameOf(tag.device.type),
                              tag.scale.factor, tag.scale.offset, tag.unit, fieldOf(tag.decimals),
                              std::string(tag.writable ? "yes" : "no"), fieldOf(tag.min),
                              fieldOf(tag.max), tag.comment});
    return table;
}

void print(const std::vector<bench::Point>& tags, Format format)
{
    if (format != Format::Json)
        return printTable(format == Format::Table ? shortTable(tags) : fullTable(tags), format);
    Json json = jsonOf(fullTable(tags));
    for (std::size_t i = 0; i < tags.size(); ++i)
        json[i]["writable"] = tags[i].writable;
    printJsonArray(json);
}

/// All problems are reported, each with its place.
int checkTags(const TagsOptions& options)
{
    const bench::Driver driver(driverFile(options.driverFile));
    const bench::TextFile file = bench::readTextFile(options.file);
    const bench::TagFile found = bench::parseTags(file.text, driver.devices());
    for (const bench::TagProblem& problem : found.problems)
        note(file.name + ", " + bench::textOf(problem));
    if (found.tags.empty() && found.problems.empty())
        note(file.name + " has no tags");
    if (!found.tags.empty() || options.format != Format::Table)
        print(found.tags, options.format);
    return found.problems.empty() ? Success : bench::exitStatus(bench::FailureKind::WrongUsage);
}

} // namespace

void addTagsCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("tags", "Check a tag file against a driver and show its tags");
    const auto options = std::make_shared<TagsOptions>();
    command->add_option("FILE", options->file, "CSV table of tags; - for standard input")
        ->required()
        ->type_name("");
    addDriverOption(*command, options->driverFile);
    addFormatOption(*command, options->format);
    command->footer(
        R"(The first row names the columns: name and device, and if needed type, factor,
offset, unit, decimals, writable, min, max and comment. What a person reads is
the controller's number times the factor, plus the offset. In a column writable
an empty cell means no; without the column each tag is writable if its area is.

  name,device,type,factor,unit,min,max
  boiler.temp,DM100,int,0.1,°C,,
  boiler.setpoint,DM101,int,0.1,°C,5,80

Examples:
  plcctl tags plant.csv
  plcctl read 'boiler.*' --tags plant.csv -p /dev/ttyUSB0)");
    command->callback([options, &status] { status = checkTags(*options); });
}

} // namespace plcctl
