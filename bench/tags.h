// Tag files: tables of points, as a person keeps them in a spreadsheet.
//
// The first row names the columns, in any order and any case:
//
//   name      by which the point is read and written; no blanks, no * ? : and not a device text
//   device    such as DM100 or DM100:int
//   type      an IEC 61131-3 type; the area's natural type where it is missing
//   factor    what a person reads is the controller's number times the factor (1 where missing)
//   offset    plus the offset (0 where missing)
//   unit      shown after the value
//   decimals  shown after the point; those of factor and offset where it is missing
//   writable  yes or no. Without this column every point is writable whose area is; an empty cell
//             in it says no.
//   min, max  what may be written, scaled
//   comment   for people
//
// Only name and device are required. Cells are separated by commas, semicolons or tabs. Numbers
// have a decimal point or a decimal comma, the same in the whole file; thousands are not marked.
// A mark that may be one of thousands, as in 1,000, is refused unless it is the usual one beside
// the separator (a point beside commas, a comma beside semicolons) or another number proves it.
#ifndef BENCH_TAGS_H
#define BENCH_TAGS_H

#include "bench/csv.h"
#include "bench/points.h"

#include <string>
#include <vector>

namespace bench
{

/// What is wrong with a cell.
struct TagProblem {
    CsvPlace place;
    std::string columnName; ///< empty for what concerns the whole line
    std::string text;
};

struct TagFile {
    std::vector<Point> tags; ///< from the rows without a problem
    std::vector<TagProblem> problems;
};

/// Takes the text of a tag file apart, against the areas of a driver.
TagFile parseTags(const std::string& content, const Devices& devices);

/// "line 5, column 3 (type): there is no type 'flot'. Types are ..."
std::string textOf(const TagProblem& problem);

/// The points in a file. Throws a Failure: CannotOpen when it can't be read, WrongUsage with the
/// first problem and their number when it is wrong.
std::vector<Point> loadTags(const std::string& path, const Devices& devices);

} // namespace bench

#endif
