#include "bench/tags.h"

#include "bench/file.h"
#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <set>

namespace bench
{

namespace
{

enum Column {
    NameColumn,
    DeviceColumn,
    TypeColumn,
    FactorColumn,
    OffsetColumn,
    UnitColumn,
    DecimalsColumn,
    WritableColumn,
    MinColumn,
    MaxColumn,
    CommentColumn,
    ColumnCount
};

const std::array<const char*, ColumnCount> ColumnNames = {
    "name",     "device",   "type", "factor", "offset", "unit",
    "decimals", "writable", "min",  "max",    "comment"};

constexpr int MaxDecimals = 9;

/// As many as the largest whole number of a type has.
constexpr int RangeDigits = 10;

/// As people mark cells, and as spreadsheets of several languages write what is true or false.
const std::set<std::string> yesWords = {"yes", "y",  "x",    "1",         "true", "ja",  "oui",
                                        "si",  "sì", "wahr", "verdadero", "vrai", "vero"};
const std::set<std::string> noWords = {"no",  "n",      "-",    "0",     "false", "nein",
                                       "non", "falsch", "faux", "falso", ""};

/// Words that neither a person nor resolve() could tell from a device, a pattern or a type.
const char* const NotInNames = " \t\r\n*?:";

const char* const Marks = ".,";
const char* const Digits = "0123456789";

/// The decimals of a number as it was written: 1 for "0.1", 3 for "5e-3".
int decimalsIn(const std::string& number)
{
    const std::size_t exponentAt = std::min(number.find_first_of("eE"), number.size());
    const std::size_t pointAt = std::min(number.find('.'), exponentAt);
    const auto after = static_cast<int>(exponentAt - pointAt);
    const int exponent = exponentAt < number.size() ? std::atoi(&number[exponentAt + 1]) : 0;
    return std::max((after > 0 ? after - 1 : 0) - exponent, 0);
}

/// Whether a mark with three digits after it may be one of thousands, as in "1,000".
bool mayBeThousands(const std::string& number, std::size_t mark)
{
    constexpr std::size_t Group = 3;
    const std::size_t begin = number.find_first_not_of("+-");
    const bool areDigits = number.find_first_not_of(Digits, mark + 1) == std::string::npos &&
                           number.find_first_not_of(Digits, begin) == mark;
    return areDigits && number.size() - mark - 1 == Group && mark > begin &&
           mark - begin <= Group && number[begin] != '0';
}

/// The decimal mark that goes with a separator: the comma is free for it only beside another one.
/// Nothing where both are usual.
char markFor(char separator)
{
    return separator == ',' ? '.' : separator == ';' ? ',' : '\0';
}

class TagReader
{
public:
    TagReader(const std::string& content, const Devices& devices)
        : m_devices(devices)
        , m_table(parseCsv(content))
    {
        m_columns.fill(-1);
        for (const CsvProblem& problem : m_table.problems)
            m_file.problems.push_back({problem.place, std::string(), problem.text});
    }

    TagFile read()
    {
        if (m_file.problems.empty() && readHeader()) {
            findDecimalMark();
            for (std::size_t row = 1; row < m_table.rows.size(); ++row)
                readRow(m_table.rows[row]);
        }
        return m_file;
    }

private:
    bool readHeader()
    {
        if (m_table.rows.empty()) {
            m_file.problems.push_back({{1, 1}, std::string(), "there is no row of column names"});
            return false;
        }
        for (const CsvCell& cell : m_table.rows.front())
            readColumnName(cell);
        for (const Column column : {NameColumn, DeviceColumn}) {
            if (m_columns[column] < 0)
                m_file.problems.push_back(
                    {{m_table.rows.front().front().place.line, 1},
                     std::string(),
                     std::string("there is no column '") + ColumnNames[column] + "'"});
        }
        return m_file.problems.empty();
    }

    void readColumnName(const CsvCell& cell)
    {
        const std::string name = lower(trimmed(cell.text));
        const auto known = std::find(ColumnNames.begin(), ColumnNames.end(), name);
        if (name.empty())
            return;
        if (known == ColumnNames.end()) {
            const std::vector<std::string> names(ColumnNames.begin(), ColumnNames.end());
            m_file.problems.push_back({cell.place, std::string(),
                                       "there is no column '" + name + "'. " +
                                           didYouMean(name, names) + "The columns are " +
                                           listed(names, names.size())});
            return;
        }
        int& index = m_columns[static_cast<std::size_t>(known - ColumnNames.begin())];
        if (index >= 0)
            m_file.problems.push_back(
                {cell.place, std::string(), "the column '" + name + "' appears twice"});
        index = cell.place.column - 1;
    }

    void readRow(const CsvRow& row)
    {
        const std::size_t before = m_file.problems.size();
        m_row = &row;
        refuseCellsBeyondHeader();
        Point tag;
        tag.name = nameCell();
        readDevice(tag);
        readScale(tag);
        readLimits(tag);
        tag.unit = text(UnitColumn);
        tag.comment = text(CommentColumn);
        if (m_file.problems.size() == before)
            m_file.tags.push_back(tag);
    }

    /// A text with the separator in it that was not quoted has moved all that follows.
    void refuseCellsBeyondHeader()
    {
        for (const CsvCell& cell : *m_row) {
            const bool named = std::find(m_columns.begin(), m_columns.end(),
                                         cell.place.column - 1) != m_columns.end();
            if (!named && !trimmed(cell.text).empty()) {
                m_file.problems.push_back({cell.place, std::string(),
                                           "the cell '" + cell.text + "' belongs to no column"});
                return;
            }
        }
    }

    std::string nameCell()
    {
        const std::string name = text(NameColumn);
        if (name.empty())
            problem(NameColumn, "the name is missing");
        else if (name.find_first_of(NotInNames) != std::string::npos)
            problem(NameColumn, "'" + name + "' has a blank or one of * ? : in it");
        else if (isDeviceText(name))
            problem(NameColumn, "'" + name + "' is also a device");
        else if (!m_names.insert(name).second)
            problem(NameColumn, "'" + name + "' appears twice");
        return name;
    }

    bool isDeviceText(const std::string& name) const
    {
        if (m_devices.description().areas.empty())
            return false;
        try {
            m_devices.parse(name);
            return true;
        } catch (const Failure&) {
            return false;
        }
    }

    void readDevice(Point& tag)
    {
        const std::string typeText = text(TypeColumn);
        std::optional<Type> type;
        try {
            if (!typeText.empty())
                type = typeNamed(typeText);
        } catch (const Failure& failure) {
            problem(TypeColumn, inOneLine(failure));
            return;
        }
        try {
            tag.device = m_devices.parse(text(DeviceColumn), type);
        } catch (const Failure& failure) {
            problem(DeviceColumn, inOneLine(failure));
            return;
        }
        if (type && tag.device.type != *type)
            problem(TypeColumn, "the device already has the type " + nameOf(tag.device.type));
        readWritable(tag);
    }

    void readWritable(Point& tag)
    {
        tag.writable = isServed(tag.device, Direction::Write);
        if (m_columns[WritableColumn] < 0)
            return;
        const std::string word = lower(text(WritableColumn));
        const bool yes = yesWords.count(word) > 0;
        if (!yes && noWords.count(word) == 0)
            problem(WritableColumn, "'" + word + "' is neither yes nor no");
        else if (yes && !tag.writable)
            problem(WritableColumn, inOneLine(notServed(tag.device, Direction::Write)));
        tag.writable = yes;
    }

    void readScale(Point& tag)
    {
        tag.scale.factor = number(FactorColumn).value_or(1);
        tag.scale.offset = number(OffsetColumn).value_or(0);
        tag.decimals = decimals();
        const Type& type = tag.device.type;
        const bool takesScale = isWhole(type) || type.kind == TypeKind::Real;
        if (tag.scale.factor == 0)
            problem(FactorColumn, "a factor of 0 would make all values equal");
        if (!takesScale && !tag.scale.isPlain())
            problem(FactorColumn, "a " + nameOf(type) + " has no scale");
        if (!tag.decimals && isWhole(type) && !tag.scale.isPlain())
            tag.decimals = impliedDecimals();
    }

    /// Those of factor and offset as written; nothing where the values need an exponent.
    std::optional<int> impliedDecimals() const
    {
        const int decimals = std::max(decimalsIn(m_numberTexts[FactorColumn]),
                                      decimalsIn(m_numberTexts[OffsetColumn]));
        return decimals <= MaxDecimals ? std::make_optional(decimals) : std::nullopt;
    }

    void readLimits(Point& tag)
    {
        tag.min = number(MinColumn);
        tag.max = number(MaxColumn);
        if (tag.min && tag.max && *tag.min > *tag.max)
            problem(MinColumn, "the minimum is above the maximum");
        requireInRange(MinColumn, tag.min, tag);
        requireInRange(MaxColumn, tag.max, tag);
        if ((tag.min || tag.max) && tag.device.type.kind == TypeKind::String)
            problem(tag.min ? MinColumn : MaxColumn, "a string has no limits");
    }

    /// Refuses a limit that no value of the type comes to. Half a step is lost in rounding.
    void requireInRange(Column column, const std::optional<double>& limit, const Point& tag)
    {
        const Type& type = tag.device.type;
        const bool isKnown = !tag.device.name.empty(); // else that is the problem
        if (!limit || !isKnown || !(isWhole(type) || type.kind == TypeKind::Bool))
            return;
        const auto scaled = [&](std::int64_t number) {
            return double(number) * tag.scale.factor + tag.scale.offset;
        };
        const auto [low, high] = std::minmax({scaled(leastOf(type)), scaled(greatestOf(type))});
        const double tolerance = std::fabs(tag.scale.factor) / 2;
        if (*limit < low - tolerance || *limit > high + tolerance)
            problem(column, "'" + text(column) + "' is outside what " + aTypeOf(tag) + " holds, " +
                                shortText(low, RangeDigits) + " to " +
                                shortText(high, RangeDigits));
    }

    static std::string aTypeOf(const Point& tag)
    {
        const std::string name = nameOf(tag.device.type);
        return (name == "int" ? "an " : "a ") + name +
               (tag.scale.isPlain() ? "" : " of this scale");
    }

    std::optional<int> decimals()
    {
        const auto decimals = number(DecimalsColumn);
        if (!decimals)
            return std::nullopt;
        if (*decimals < 0 || *decimals > MaxDecimals || *decimals != std::floor(*decimals))
            problem(DecimalsColumn,
                    "'" + text(DecimalsColumn) + "' is not 0 to " + std::to_string(MaxDecimals));
        return static_cast<int>(std::clamp(*decimals, 0.0, double(MaxDecimals)));
    }

    /// The number in a cell; nothing when it is empty, and a problem when it is not a number.
    std::optional<double> number(Column column)
    {
        std::string digits = text(column);
        m_numberTexts[column].clear();
        if (digits.empty())
            return std::nullopt;
        const std::size_t mark = digits.find_first_of(Marks);
        if (mark != std::string::npos && !isDecimalMark(column, digits, mark))
            return std::nullopt;
        if (mark != std::string::npos)
            digits[mark] = '.';
        const auto number = numberFrom(digits);
        if (!number)
            problem(column, "'" + text(column) + "' is not a number");
        m_numberTexts[column] = digits;
        return number;
    }

    /// The mark of the first number that would be none if its mark were one of thousands.
    void findDecimalMark()
    {
        for (std::size_t row = 1; row < m_table.rows.size() && m_decimalMark == '\0'; ++row) {
            m_row = &m_table.rows[row];
            for (const Column column : {FactorColumn, OffsetColumn, MinColumn, MaxColumn})
                if (m_decimalMark == '\0')
                    m_decimalMark = certainMarkIn(text(column));
        }
    }

    static char certainMarkIn(std::string number)
    {
        const std::size_t at = number.find_first_of(Marks);
        if (at == std::string::npos || mayBeThousands(number, at))
            return '\0';
        const char mark = number[at];
        number[at] = '.';
        return numberFrom(number) ? mark : '\0';
    }

    /// A file with both marks has one that marks thousands, and which one can't be known.
    bool isDecimalMark(Column column, const std::string& number, std::size_t at)
    {
        const char mark = number[at];
        if (m_decimalMark == mark)
            return true;
        if (m_decimalMark != '\0')
            problem(column, "'" + number + "' has the decimal mark '" + mark +
                                "', but other numbers in the file have '" + m_decimalMark + "'");
        else if (mark != markFor(m_table.separator) && mayBeThousands(number, at))
            problem(column, ambiguous(number, at));
        else
            return true;
        return false;
    }

    /// Both meanings are given in a form that is understood.
    std::string ambiguous(const std::string& number, std::size_t at) const
    {
        const char usual = markFor(m_table.separator);
        const std::string whole = number.substr(0, at), decimals = number.substr(at + 1);
        const std::size_t last = decimals.find_last_not_of('0');
        const std::string kept = last == std::string::npos ? "0" : decimals.substr(0, last + 1);
        const bool isStillAmbiguous = usual == '\0' && kept.size() == decimals.size();
        return "'" + number + "' may mark decimals or thousands; write " + whole +
               (usual == '\0' ? number[at] : usual) + kept + (isStillAmbiguous ? "0" : "") +
               " or " + whole + decimals;
    }

    /// The trimmed text of a cell, empty where there is none.
    std::string text(Column column) const
    {
        const int index = m_columns[column];
        const bool exists = index >= 0 && index < static_cast<int>(m_row->size());
        return exists ? trimmed((*m_row)[static_cast<std::size_t>(index)].text) : std::string();
    }

    void problem(Column column, const std::string& text)
    {
        const int cell = std::max(m_columns[column], 0);
        const bool exists = cell < static_cast<int>(m_row->size());
        const int line =
            exists ? (*m_row)[static_cast<std::size_t>(cell)].place.line : m_row->back().place.line;
        m_file.problems.push_back({{line, cell + 1}, ColumnNames[column], text});
    }

    const Devices& m_devices;
    CsvTable m_table;
    std::array<int, ColumnCount> m_columns; ///< the index of each column's cells, -1 for none
    const CsvRow* m_row = nullptr;
    std::array<std::string, ColumnCount> m_numberTexts; ///< of this row, with a decimal point
    char m_decimalMark = '\0';                          ///< that a number proves; else none
    std::set<std::string> m_names;
    TagFile m_file;
};

} // namespace

TagFile parseTags(const std::string& content, const Devices& devices)
{
    return TagReader(content, devices).read();
}

std::string textOf(const TagProblem& problem)
{
    const std::string name = problem.columnName.empty() ? "" : " (" + problem.columnName + ")";
    return "line " + std::to_string(problem.place.line) + ", column " +
           std::to_string(problem.place.column) + name + ": " + problem.text;
}

std::vector<Point> loadTags(const std::string& path, const Devices& devices)
{
    const TextFile file = readTextFile(path);
    const TagFile found = parseTags(file.text, devices);
    if (found.problems.empty())
        return found.tags;
    const std::size_t others = found.problems.size() - 1;
    throw wrongUsage(file.name + ", " + textOf(found.problems.front()) +
                     (others == 0 ? "" : " (and " + counted(others, "more problem") + ")"));
}

} // namespace bench
