// plcctl explain: the commands, bytes and time of a read or a write, without a controller.
#include "bench.h"
#include "commands.h"
#include "help.h"
#include "report.h"

#include "bench/explain.h"
#include "bench/recipe.h"
#include "bench/statistics.h"

#include "host/tracingport.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

const char* const ReadAction = "read";
const char* const WriteAction = "write";

struct ExplainOptions {
    BenchOptions bench;
    std::string action;
    std::vector<std::string> texts; ///< devices to read, or a device and its values
    int count = 1;
    Format format = Format::Table;
};

using Requests = std::vector<bench::ExplainedRequest>;

Requests explainRead(Bench& bench, const ExplainOptions& options)
{
    return bench::explainRead(bench.driver(),
                              devicesOf(bench.points(options.texts, options.count)));
}

Requests explainWrite(Bench& bench, const ExplainOptions& options)
{
    const std::vector<std::string> values(options.texts.begin() + 1, options.texts.end());
    if (values.empty())
        throw bench::wrongUsage("explain write needs a device and its values",
                                "Such as plcctl explain write DM0 1 2 3.");
    if (options.count != 1)
        throw bench::wrongUsage("--count is for explain read",
                                "As many devices are written as there are values.");
    const bench::Recipe recipe = bench::recipeOf(options.texts.front(), values, bench.names());
    return bench::explainWrite(bench.driver(), recipe.devices(), recipe.values());
}

double inMs(std::chrono::microseconds time)
{
    return static_cast<double>(time.count()) / 1000;
}

std::string msText(std::chrono::microseconds time)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", inMs(time));
    return text;
}

int bytesOf(const bench::Exchange& exchange)
{
    return exchange.commandBytes() + exchange.replyBytes;
}

std::string hexText(const std::string& bytes)
{
    return host::inHex(bytes.data(), static_cast<int>(bytes.size())).toStdString();
}

bool isText(const std::string& bytes)
{
    return host::isText(bytes.data(), static_cast<int>(bytes.size()));
}

/// The command in a line of text, all of it or as much as a table has room for.
std::string commandText(const std::string& bytes)
{
    if (!isText(bytes))
        return hexText(bytes);
    const QString quoted = host::quoted(bytes.data(), static_cast<int>(bytes.size()));
    return quoted.mid(1, quoted.size() - 2).toStdString();
}

/// JSON has escapes of its own.
Json commandForJson(const std::string& bytes)
{
    if (!isText(bytes))
        return {{"hex", hexText(bytes)}};
    return {{"command", QString::fromLatin1(bytes.data(), int(bytes.size())).toStdString()}};
}

std::string shortText(const std::string& bytes)
{
    constexpr std::size_t Room = 30;
    const std::string text = commandText(bytes);
    return text.size() <= Room ? text : text.substr(0, Room - 2) + " …";
}

std::vector<Field> fieldsOf(std::size_t request, const bench::Exchange& exchange,
                            const std::string& command, const host::LineSettings& line)
{
    return {static_cast<int>(request) + 1, command, exchange.commandBytes(), exchange.replyBytes,
            msText(bench::timeOnLine(bytesOf(exchange), line))};
}

Table emptyTable()
{
    return {{"request", "command", "bytes out", "bytes in", "ms on the line"}, {}};
}

std::string leftOutText(const bench::ShortRow& row)
{
    if (row.period == 0)
        return "… " + counted(std::size_t(row.leftOut), "more such request");
    return "… " + std::to_string(row.leftOut) + " more like " +
           (row.period == 1 ? "it" : "these " + std::to_string(row.period));
}

Table shortTable(const Requests& requests, const host::LineSettings& line)
{
    Table table = emptyTable();
    for (const bench::ShortRow& row : bench::shortened(requests)) {
        if (row.exchange != nullptr)
            table.rows.push_back(
                fieldsOf(row.request, *row.exchange, shortText(row.exchange->command), line));
        else
            table.rows.push_back({Field(), leftOutText(row)});
    }
    return table;
}

Table fullTable(const Requests& requests, const host::LineSettings& line)
{
    Table table = emptyTable();
    for (std::size_t i = 0; i < requests.size(); ++i)
        for (const bench::Exchange& exchange : requests[i])
            table.rows.push_back(fieldsOf(i, exchange, commandText(exchange.command), line));
    return table;
}

std::chrono::microseconds timeOf(const bench::Totals& totals, const host::LineSettings& line)
{
    return bench::timeOnLine(totals.commandBytes + totals.replyBytes, line);
}

std::string bytesText(int bytes)
{
    return counted(std::size_t(bytes), "byte");
}

std::string sessionsText(const bench::Totals& totals)
{
    return totals.sessions == 0 ? "" : ", " + counted(std::size_t(totals.sessions), "session");
}

void printTotals(const bench::Totals& totals, const host::LineSettings& line, int driversTimeoutMs)
{
    const int leastMs = bench::leastTimeoutMs(totals, line);
    std::printf(
        "\n%s%s, %s: %s out, %s in\n", counted(std::size_t(totals.requests), "request").c_str(),
        sessionsText(totals).c_str(), counted(std::size_t(totals.exchanges), "command").c_str(),
        bytesText(totals.commandBytes).c_str(), bytesText(totals.replyBytes).c_str());
    std::printf("%s on the line at %s, %d bits a byte\n",
                bench::durationText(timeOf(totals, line)).c_str(), qPrintable(host::textOf(line)),
                host::bitsPerCharacter(line));
    std::printf("least time-out %d ms, plus what the controller takes to answer\n"
                "(the driver's default, %d ms, is %s)\n",
                leastMs, driversTimeoutMs,
                leastMs < driversTimeoutMs
                    ? "longer"
                    : "enough for plcctl, which adds the time on the\nline; a panel needs more");
}

Json jsonOf(const Requests& requests, const host::LineSettings& line)
{
    Json list = Json::array();
    for (const bench::ExplainedRequest& request : requests) {
        Json exchanges = Json::array();
        for (const bench::Exchange& exchange : request) {
            Json object = commandForJson(exchange.command);
            object.update({{"bytesOut", exchange.commandBytes()},
                           {"bytesIn", exchange.replyBytes},
                           {"lineMs", inMs(bench::timeOnLine(bytesOf(exchange), line))}});
            exchanges.push_back(object);
        }
        list.push_back(exchanges);
    }
    const bench::Totals totals = bench::totalsOf(requests);
    return {{"line", host::textOf(line).toStdString()},
            {"bitsPerByte", host::bitsPerCharacter(line)},
            {"requests", list},
            {"totals",
             {{"requests", totals.requests},
              {"sessions", totals.sessions},
              {"commands", totals.exchanges},
              {"bytesOut", totals.commandBytes},
              {"bytesIn", totals.replyBytes},
              {"lineMs", inMs(timeOf(totals, line))},
              {"leastTimeoutMs", bench::leastTimeoutMs(totals, line)}}}};
}

int explain(const ExplainOptions& options)
{
    Bench bench(options.bench);
    const host::LineSettings line = bench::lineSettings(options.bench.port, bench.driver());
    const Requests requests =
        options.action == ReadAction ? explainRead(bench, options) : explainWrite(bench, options);
    switch (options.format) {
    case Format::Table:
        printTable(shortTable(requests, line), Format::Table);
        printTotals(bench::totalsOf(requests), line,
                    bench::exchangeSettings({}, bench.driver()).timeoutMs);
        break;
    case Format::Csv:
        printTable(fullTable(requests, line), Format::Csv);
        break;
    case Format::Json:
        printJson(jsonOf(requests, line), 2);
        break;
    }
    return Success;
}

} // namespace

void addExplainCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("explain", "Show a request's commands, bytes and time, offline");
    const auto options = std::make_shared<ExplainOptions>();
    command->add_option("ACTION", options->action, "read or write")
        ->required()
        ->check(oneOf({ReadAction, WriteAction}))
        ->type_name("");
    command
        ->add_option("DEVICE", options->texts,
                     "Devices to read, or the device to write to and then its values")
        ->required()
        ->type_name("");
    addCountOption(*command, options->count);
    addNamingOptions(*command, options->bench);
    addDriverOption(*command, options->bench.driverFile);
    addLineOption(*command, options->bench.port);
    addFormatOption(*command, options->format);
    command->footer(
        R"(The driver makes its requests as usual, the built-in simulated controller
answers, and the bytes are counted. Times are those of the bytes alone: what
controller and adapter take comes on top. csv and json list every command; one
that isn't text is shown as hexadecimal bytes (in JSON as "hex").

Examples:
  plcctl explain read DM0 -c 5000 --line RS232,9600,EVEN,8,1
  plcctl explain write DM0 1 2 3 -f json)");
    command->callback([options, &status] { status = explain(*options); });
}

} // namespace plcctl
