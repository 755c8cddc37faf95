// plcctl ports: the serial ports there are.
#include "commands.h"
#include "options.h"
#include "report.h"

#include "bench/serialports.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

Table tableOf(const std::vector<bench::SerialPort>& ports)
{
    Table table{{"device", "description", "manufacturer", "serial", "program"}, {}};
    for (const bench::SerialPort& port : ports)
        table.rows.push_back(
            {port.device, port.description, port.manufacturer, port.serialNumber, port.usedBy});
    return table;
}

void printPorts(Format format)
{
    const std::vector<bench::SerialPort> ports = bench::serialPorts();
    if (!ports.empty() || format != Format::Table)
        printTable(tableOf(ports), format);
    if (ports.empty())
        note("there is no serial port; is the adapter plugged in, and does 'dmesg' show it?");
}

} // namespace

void addPortsCommand(CLI::App& app, int& status)
{
    CLI::App* const command = app.add_subcommand("ports", "List the serial ports of this machine");
    const auto format = std::make_shared<Format>(Format::Table);
    addFormatOption(*command, *format);
    command->footer("The last column is the program that has the port open, as far as you may see "
                    "it:\nprograms of other users are shown to root only.\n"
                    "\n"
                    "Example:\n"
                    "  plcctl ports -f json");
    command->callback([format, &status] {
        printPorts(*format);
        status = Success;
    });
}

} // namespace plcctl
