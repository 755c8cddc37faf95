// The three formats.
#include "output.h"

#include "bench/csv.h"

#include <QDateTime>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

namespace plcctl
{

namespace
{

using Line = std::vector<std::string>;

void printLine(const std::string& line)
{
    std::printf("%s\n", line.c_str());
}

/// Characters, not bytes: units such as °C are UTF-8.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string padded(const std::string& text, std::size_t width, bool flushRight)
{
    const std::string blanks(width - std::min(width, widthOf(text)), ' ');
    return flushRight ? blanks + text : text + blanks;
}

/// flushRight  for each column, whether it is flush right
void printAligned(const std::vector<Line>& lines, const std::vector<bool>& flushRight)
{
    std::vector<std::size_t> widths(flushRight.size());
    for (const Line& line : lines)
        for (std::size_t column = 0; column < line.size(); ++column)
            widths[column] = std::max(widths[column], widthOf(line[column]));
    for (const Line& line : lines) {
        std::string text;
        for (std::size_t column = 0; column < line.size(); ++column)
            text += (column == 0 ? "" : "  ") +
                    padded(line[column], widths[column], flushRight[column]);
        printLine(text.substr(0, text.find_last_not_of(' ') + 1));
    }
}

std::string textOf(const Field& field)
{
    if (const int* number = std::get_if<int>(&field))
        return std::to_string(*number);
    if (const double* number = std::get_if<double>(&field))
        return numberText(*number);
    const std::string* text = std::get_if<std::string>(&field);
    return text != nullptr ? *text : std::string();
}

/// The names and every row, as texts.
std::vector<Line> linesOf(const Table& table)
{
    std::vector<Line> lines = {table.names};
    for (const std::vector<Field>& row : table.rows) {
        lines.emplace_back();
        for (const Field& field : row)
            lines.back().push_back(textOf(field));
    }
    return lines;
}

bool isNumber(const std::string& text)
{
    return text.find_first_not_of("0123456789.-") == std::string::npos &&
           std::count(text.begin(), text.end(), '.') <= 1; // an IP address has more
}

/// Columns with nothing but numbers are flush right.
std::vector<bool> columnsOfNumbers(const Table& table)
{
    std::vector<bool> columns(table.names.size(), true);
    for (const std::vector<Field>& row : table.rows)
        for (std::size_t column = 0; column < row.size(); ++column)
            if (!isNumber(textOf(row[column])))
                columns[column] = false;
    return columns;
}

/// The names, with the type where a device is shown in several types.
std::vector<std::string> namesOf(const std::vector<PointValue>& values)
{
    std::map<std::string, std::set<std::string>> types;
    for (const PointValue& value : values)
        types[value.point->name].insert(bench::nameOf(value.point->device.type));
    std::vector<std::string> names;
    for (const PointValue& value : values) {
        const std::string& name = value.point->name;
        names.push_back(
            types[name].size() == 1 ? name : name + ":" + bench::nameOf(value.point->device.type));
    }
    return names;
}

/// Values are flush right, and a unit follows a blank.
void printValueLines(const std::vector<PointValue>& values, bench::Notation notation)
{
    std::size_t nameWidth = 0, valueWidth = 0;
    std::vector<Line> lines;
    const std::vector<std::string> names = namesOf(values);
    for (const PointValue& value : values) {
        lines.push_back({names[lines.size()], bench::textOf(*value.point, value.value, notation),
                         bench::unitOf(*value.point, notation)});
        nameWidth = std::max(nameWidth, widthOf(lines.back()[0]));
        valueWidth = std::max(valueWidth, widthOf(lines.back()[1]));
    }
    for (const Line& line : lines) {
        const std::string unit = line[2].empty() ? "" : " " + line[2];
        printLine(padded(line[0], nameWidth, false) + "  " + padded(line[1], valueWidth, true) +
                  unit);
    }
}

QDateTime now()
{
    const QDateTime local = QDateTime::currentDateTime();
    return local.toOffsetFromUtc(local.offsetFromUtc());
}

} // namespace

std::string numberText(double number)
{
    // Enough for factors and limits as people write them.
    constexpr int Digits = 10;
    return QString::number(number, 'g', Digits).toStdString();
}

void printJson(const Json& json, int indent)
{
    printLine(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

void printJsonArray(const Json& objects)
{
    std::string text = "[";
    const char* separator = "\n  ";
    for (const Json& object : objects) {
        text += separator + object.dump(-1, ' ', false, Json::error_handler_t::replace);
        separator = ",\n  ";
    }
    printLine(text + (objects.empty() ? "]" : "\n]"));
}

void printCsv(const std::vector<std::string>& cells)
{
    std::string line;
    const char* separator = "";
    for (const std::string& cell : cells) {
        line += separator + bench::csvCell(cell);
        separator = ",";
    }
    printLine(line);
}

const std::vector<std::string>& valueColumns()
{
    static const std::vector<std::string> columns = {"name", "device", "type", "value", "unit"};
    return columns;
}

std::vector<std::string> cellsOf(const bench::Point& point)
{
    return {point.name, point.device.name, bench::nameOf(point.device.type)};
}

std::vector<std::string> cellsOf(const PointValue& value, bench::Notation notation)
{
    const bench::Point& point = *value.point;
    std::vector<std::string> cells = cellsOf(point);
    cells.push_back(bench::textOf(point, value.value, notation));
    cells.push_back(bench::unitOf(point, notation));
    return cells;
}

Json jsonOf(const bench::Point& point)
{
    return {{"name", point.name},
            {"device", point.device.name},
            {"type", bench::nameOf(point.device.type)}};
}

Json jsonOf(const PointValue& value, bench::Notation notation)
{
    const bench::Point& point = *value.point;
    Json json = jsonOf(point);
    json["value"] = bench::jsonOf(point, value.value, notation);
    const std::string unit = bench::unitOf(point, notation);
    if (!unit.empty())
        json["unit"] = unit;
    return json;
}

std::string textWithUnit(const PointValue& value, bench::Notation notation)
{
    const std::string text = bench::textOf(*value.point, value.value, notation);
    const std::string unit = bench::unitOf(*value.point, notation);
    return unit.empty() ? text : text + " " + unit;
}

void printValues(const std::vector<PointValue>& values, const Style& style)
{
    switch (style.format) {
    case Format::Table:
        return printValueLines(values, style.notation);
    case Format::Csv:
        printCsv(valueColumns());
        for (const PointValue& value : values)
            printCsv(cellsOf(value, style.notation));
        return;
    case Format::Json: {
        Json objects = Json::array();
        for (const PointValue& value : values)
            objects.push_back(jsonOf(value, style.notation));
        return printJsonArray(objects);
    }
    }
}

Json jsonOf(const Table& table)
{
    Json objects = Json::array();
    for (const std::vector<Field>& row : table.rows) {
        Json object = Json::object();
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (const int* number = std::get_if<int>(&row[column]))
                object[table.names[column]] = *number;
            else if (const double* real = std::get_if<double>(&row[column]))
                object[table.names[column]] = *real;
            else if (!textOf(row[column]).empty())
                object[table.names[column]] = textOf(row[column]);
        }
        objects.push_back(object);
    }
    return objects;
}

void printTable(const Table& table, Format format)
{
    switch (format) {
    case Format::Table:
        return printAligned(linesOf(table), columnsOfNumbers(table));
    case Format::Csv:
        for (const Line& line : linesOf(table))
            printCsv(line);
        return;
    case Format::Json:
        return printJsonArray(jsonOf(table));
    }
}

std::string clockTime()
{
    return now().toString("HH:mm:ss.zzz").toStdString();
}

std::string timeStamp()
{
    return now().toString(Qt::ISODateWithMs).toStdString();
}

} // namespace plcctl
