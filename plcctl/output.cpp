// The three formats.
#include "output.h"

#include <QDateTime>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace plcctl
{

namespace
{

/// Keeps the order in which fields are set.
using Json = nlohmann::ordered_json;

enum class SecondColumn { FlushLeft, FlushRight };

void printLine(const std::string& line)
{
    std::printf("%s\n", line.c_str());
}

/// A field of a CSV line: in quotes where it would not be one field else.
std::string csvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

void printCsv(const std::vector<std::string>& cells)
{
    std::string line;
    const char* separator = "";
    for (const std::string& cell : cells) {
        line += separator + csvField(cell);
        separator = ",";
    }
    printLine(line);
}

void printColumns(const std::vector<Fact>& rows, SecondColumn alignment)
{
    std::size_t nameWidth = 0;
    std::size_t textWidth = 0;
    for (const auto& [name, text] : rows) {
        nameWidth = std::max(nameWidth, name.size());
        textWidth = std::max(textWidth, text.size());
    }
    const bool flushRight = alignment == SecondColumn::FlushRight;
    for (const auto& [name, text] : rows) {
        const std::size_t gap = nameWidth - name.size() + 2;
        printLine(name + std::string(gap + (flushRight ? textWidth - text.size() : 0), ' ') + text);
    }
}

/// A device name may be any bytes; JSON is Unicode.
std::string dump(const Json& json, int indent = -1)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

Json jsonOf(const Reading& reading, const Unit& unit, Notation notation)
{
    return {{"device", reading.device},
            {"type", unit.name},
            {"value", jsonOf(reading.value, unit, notation)}};
}

void printReadingsAsTable(const std::vector<Reading>& readings, const Unit& unit, Notation notation)
{
    std::vector<Fact> rows;
    for (const Reading& reading : readings)
        rows.emplace_back(reading.device, textOf(reading.value, unit, notation));
    printColumns(rows, SecondColumn::FlushRight);
}

void printReadingsAsCsv(const std::vector<Reading>& readings, const Unit& unit, Notation notation)
{
    printCsv({"device", "type", "value"});
    for (const Reading& reading : readings)
        printCsv({reading.device, unit.name, textOf(reading.value, unit, notation)});
}

/// An object a line, so that people can read it too.
void printJsonArray(const std::vector<Json>& objects)
{
    std::string text = "[";
    const char* separator = "\n  ";
    for (const Json& object : objects) {
        text += separator + dump(object);
        separator = ",\n  ";
    }
    printLine(text + (objects.empty() ? "]" : "\n]"));
}

void printReadingsAsJson(const std::vector<Reading>& readings, const Unit& unit, Notation notation)
{
    std::vector<Json> objects;
    for (const Reading& reading : readings)
        objects.push_back(jsonOf(reading, unit, notation));
    printJsonArray(objects);
}

std::string textOf(const Field& field)
{
    if (const int* number = std::get_if<int>(&field))
        return std::to_string(*number);
    const std::string* text = std::get_if<std::string>(&field);
    return text != nullptr ? *text : std::string();
}

/// The names and every row, as texts.
std::vector<std::vector<std::string>> linesOf(const Table& table)
{
    std::vector<std::vector<std::string>> lines = {table.names};
    for (const std::vector<Field>& row : table.rows) {
        lines.emplace_back();
        for (const Field& field : row)
            lines.back().push_back(textOf(field));
    }
    return lines;
}

void printAlignedLines(const std::vector<std::vector<std::string>>& lines)
{
    std::vector<std::size_t> widths(lines.front().size());
    for (const std::vector<std::string>& line : lines)
        for (std::size_t column = 0; column < line.size(); ++column)
            widths[column] = std::max(widths[column], line[column].size());
    for (const std::vector<std::string>& line : lines) {
        std::string text;
        for (std::size_t column = 0; column < line.size(); ++column)
            text += line[column] + std::string(widths[column] - line[column].size() + 2, ' ');
        printLine(text.substr(0, text.find_last_not_of(' ') + 1));
    }
}

Json jsonOf(const Table& table, const std::vector<Field>& row)
{
    Json object = Json::object();
    for (std::size_t column = 0; column < row.size(); ++column) {
        if (const int* number = std::get_if<int>(&row[column]))
            object[table.names[column]] = *number;
        else if (!textOf(row[column]).empty())
            object[table.names[column]] = textOf(row[column]);
    }
    return object;
}

void printTableAsJson(const Table& table)
{
    std::vector<Json> objects;
    for (const std::vector<Field>& row : table.rows)
        objects.push_back(jsonOf(table, row));
    printJsonArray(objects);
}

void printFactsAsCsv(const std::vector<Fact>& facts)
{
    printCsv({"name", "value"});
    for (const auto& [name, text] : facts)
        printCsv({name, text});
}

void printFactsAsJson(const std::vector<Fact>& facts)
{
    Json object;
    for (const auto& [name, text] : facts)
        object[name] = text;
    printLine(dump(object, 2));
}

QDateTime now()
{
    // With its distance from UTC, so that logs of two places can be laid side by side.
    const QDateTime local = QDateTime::currentDateTime();
    return local.toOffsetFromUtc(local.offsetFromUtc());
}

} // namespace

void printReadings(const std::vector<Reading>& readings, const Unit& unit, const Style& style)
{
    switch (style.format) {
    case Format::Table:
        return printReadingsAsTable(readings, unit, style.notation);
    case Format::Csv:
        return printReadingsAsCsv(readings, unit, style.notation);
    case Format::Json:
        return printReadingsAsJson(readings, unit, style.notation);
    }
}

void printFacts(const std::vector<Fact>& facts, Format format)
{
    switch (format) {
    case Format::Table:
        return printColumns(facts, SecondColumn::FlushLeft);
    case Format::Csv:
        return printFactsAsCsv(facts);
    case Format::Json:
        return printFactsAsJson(facts);
    }
}

void printTable(const Table& table, Format format)
{
    switch (format) {
    case Format::Table:
        return printAlignedLines(linesOf(table));
    case Format::Csv:
        for (const std::vector<std::string>& line : linesOf(table))
            printCsv(line);
        return;
    case Format::Json:
        return printTableAsJson(table);
    }
}

std::string clockTime()
{
    return now().toString("HH:mm:ss.zzz").toStdString();
}

ChangePrinter::ChangePrinter(const Unit& unit, const Style& style)
    : m_unit(unit)
    , m_style(style)
{
    if (style.format == Format::Csv)
        printCsv({"time", "device", "type", "value"});
}

void ChangePrinter::print(const Reading& reading) const
{
    const std::string time = now().toString(Qt::ISODateWithMs).toStdString();
    const std::string value = textOf(reading.value, m_unit, m_style.notation);
    switch (m_style.format) {
    case Format::Table:
        printLine(clockTime() + "  " + reading.device + "  " + value);
        break;
    case Format::Csv:
        printCsv({time, reading.device, m_unit.name, value});
        break;
    case Format::Json: {
        Json change = {{"time", time}};
        change.update(jsonOf(reading, m_unit, m_style.notation));
        printLine(dump(change));
        break;
    }
    }
    std::fflush(stdout);
}

} // namespace plcctl
