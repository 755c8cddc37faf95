// Writes data to standard output, as a table for people, as CSV or as JSON.
// It knows no driver and no line.
#ifndef PLCCTL_OUTPUT_H
#define PLCCTL_OUTPUT_H

#include "units.h"

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace plcctl
{

enum class Format { Table, Csv, Json };

/// How values look, as the person asked for it.
struct Style {
    Format format = Format::Table;
    Notation notation = Notation::Unsigned;
};

/// One unit that was read.
struct Reading {
    std::string device;
    std::uint32_t value;
};

/// A name and its text.
using Fact = std::pair<std::string, std::string>;

/// A number, a text, or nothing.
using Field = std::variant<std::monostate, int, std::string>;

/// Named columns.
struct Table {
    std::vector<std::string> names;
    std::vector<std::vector<Field>> rows; ///< a field for each name
};

/// A line each; in CSV behind a header, in JSON as one array of objects.
void printReadings(const std::vector<Reading>& readings, const Unit& unit, const Style& style);

/// A line each; in CSV behind a header, in JSON as one object.
void printFacts(const std::vector<Fact>& facts, Format format);

/// A line each behind a header; in JSON as one array of objects, without the empty fields.
void printTable(const Table& table, Format format);

/// The local time of day, for a person to read.
std::string clockTime();

/// Prints what changed as it comes, a line each with the time; in CSV behind a header, in JSON as
/// an object each.
class ChangePrinter
{
public:
    ChangePrinter(const Unit& unit, const Style& style);
    void print(const Reading& reading) const;

private:
    const Unit& m_unit;
    Style m_style;
};

} // namespace plcctl

#endif
