// Tables as spreadsheets write them: cells between commas, semicolons or tabs, quoted where needed.
#ifndef BENCH_CSV_H
#define BENCH_CSV_H

#include <string>
#include <vector>

namespace bench
{

/// Where something is in a table. Lines are those of the file, columns are counted in cells; both
/// count from 1.
struct CsvPlace {
    int line = 0;
    int column = 0;
};

struct CsvCell {
    std::string text; ///< without its quotes
    CsvPlace place;   ///< where it begins
};

using CsvRow = std::vector<CsvCell>;

struct CsvProblem {
    CsvPlace place;
    std::string text;
};

struct CsvTable {
    char separator = ',';
    std::vector<CsvRow> rows; ///< without those that have no text in any cell
    std::vector<CsvProblem> problems;
};

/// Takes a table apart. The separator is the one that the first row has most of. Lines end with LF
/// or CR LF, except within quotes. Quotes that are never closed are problems.
CsvTable parseCsv(const std::string& content);

/// A cell for such a table, quoted where it must be.
std::string csvCell(const std::string& text, char separator = ',');

} // namespace bench

#endif
