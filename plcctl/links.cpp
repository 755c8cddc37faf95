// plcctl links: the links of a panel project.
#include "commands.h"
#include "options.h"
#include "project.h"
#include "report.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

struct LinksOptions {
    std::string project;
    Format format = Format::Table;
};

Field fieldOf(const std::optional<int>& number)
{
    return number ? Field(*number) : Field();
}

Table tableOf(const std::vector<ProjectLink>& links)
{
    Table table{{"port", "hmiport", "link", "station", "ip", "ipport"}, {}};
    for (const ProjectLink& link : links)
        table.rows.push_back({portNameOf(link.hmiPort), link.hmiPort, link.linkId,
                              fieldOf(link.station), link.ip, fieldOf(link.ipPort)});
    return table;
}

} // namespace

void addLinksCommand(CLI::App& app, int& status)
{
    CLI::App* const command = app.add_subcommand("links", "List the links of a panel project");
    const auto options = std::make_shared<LinksOptions>();
    addProjectOption(*command, options->project)->required();
    addFormatOption(*command, options->format);
    command->footer("Example:\n"
                    "  plcctl links --project /opt/panel");
    command->callback([options, &status] {
        printTable(tableOf(Project(options->project).links()), options->format);
        status = Success;
    });
}

} // namespace plcctl
