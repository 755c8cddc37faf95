// Writes data to standard output, as a table for people, as CSV or as JSON.
#ifndef PLCCTL_OUTPUT_H
#define PLCCTL_OUTPUT_H

#include "bench/plan.h"
#include "bench/points.h"

#include <nlohmann/json.hpp>

#include <string>
#include <variant>
#include <vector>

namespace plcctl
{

/// Keeps the order in which fields are set.
using Json = nlohmann::ordered_json;

enum class Format { Table, Csv, Json };

/// How values look, as the person asked for it.
struct Style {
    Format format = Format::Table;
    bench::Notation notation = bench::Notation::Natural;
};

/// A point and the value that was read of it.
struct PointValue {
    const bench::Point* point;
    bench::Value value;
};

/// A number, a text, or nothing.
using Field = std::variant<std::monostate, int, double, std::string>;

/// Named columns.
struct Table {
    std::vector<std::string> names;
    std::vector<std::vector<Field>> rows; ///< a field for each name
};

/// A line each; in CSV after a header, in JSON as one array of objects.
void printValues(const std::vector<PointValue>& values, const Style& style);

/// A line each after a header, numbers flush right; in JSON as one array of objects, without the
/// empty fields.
void printTable(const Table& table, Format format);

/// The rows of a table as a JSON array.
Json jsonOf(const Table& table);

/// An array of objects, each in a line of its own.
void printJsonArray(const Json& objects);

/// One line of JSON; bytes that are not UTF-8 are replaced.
void printJson(const Json& json, int indent = -1);

/// A line of CSV: cells in quotes where they would not be one cell otherwise.
void printCsv(const std::vector<std::string>& cells);

/// A number with as many digits as it needs, up to ten.
std::string numberText(double number);

/// The local time of day, for a person to read.
std::string clockTime();

/// Local date and time with its distance from UTC, so that logs from two places can be compared.
std::string timeStamp();

/// The first fields in CSV, which say what the point is.
std::vector<std::string> cellsOf(const bench::Point& point);

/// The fields of a value in CSV, in the order of valueColumns().
std::vector<std::string> cellsOf(const PointValue& value, bench::Notation notation);
const std::vector<std::string>& valueColumns();

/// What the point is, and the same with its value.
Json jsonOf(const bench::Point& point);
Json jsonOf(const PointValue& value, bench::Notation notation);

/// The value with its unit.
std::string textWithUnit(const PointValue& value, bench::Notation notation);

} // namespace plcctl

#endif
