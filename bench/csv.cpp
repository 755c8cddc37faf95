#include "bench/csv.h"

#include "bench/internal/text.h"

#include <algorithm>

namespace bench
{

namespace
{

char separatorIn(const std::string& content)
{
    const std::string header = content.substr(0, content.find('\n'));
    char best = ',';
    for (const char candidate : {';', '\t'}) {
        if (std::count(header.begin(), header.end(), candidate) >
            std::count(header.begin(), header.end(), best))
            best = candidate;
    }
    return best;
}

bool hasText(const CsvRow& row)
{
    return std::any_of(row.begin(), row.end(),
                       [](const CsvCell& cell) { return !trimmed(cell.text).empty(); });
}

/// Walks once over the text.
class Parser
{
public:
    Parser(const std::string& content, char separator)
        : m_content(content)
        , m_separator(separator)
    {
    }

    CsvTable table()
    {
        m_table.separator = m_separator;
        while (!atEnd())
            takeRow();
        return m_table;
    }

private:
    bool atEnd() const { return m_at >= m_content.size(); }
    bool at(const char* text) const
    {
        return m_content.compare(m_at, std::string(text).size(), text) == 0;
    }
    bool atLineEnd() const { return atEnd() || at("\n") || at("\r\n"); }
    bool atCellEnd() const { return atLineEnd() || m_content[m_at] == m_separator; }

    char take()
    {
        const char c = m_content[m_at++];
        m_line += c == '\n';
        return c;
    }

    void takeRow()
    {
        CsvRow row;
        bool more = true;
        while (more) {
            row.push_back(takeCell(static_cast<int>(row.size()) + 1));
            more = !atLineEnd();
            if (more)
                take(); // the separator
        }
        while (!atEnd() && take() != '\n') {
        }
        if (hasText(row))
            m_table.rows.push_back(row);
    }

    CsvCell takeCell(int column)
    {
        CsvCell cell{std::string(), {m_line, column}};
        if (at("\"")) {
            takeQuoted(cell);
            if (!atCellEnd())
                m_table.problems.push_back({cell.place, "there is text after the closing quote"});
        }
        while (!atCellEnd())
            cell.text += take();
        return cell;
    }

    void takeQuoted(CsvCell& cell)
    {
        take();
        while (!atEnd()) {
            const char c = take();
            if (c != '"')
                cell.text += c;
            else if (at("\""))
                cell.text += take();
            else
                return;
        }
        m_table.problems.push_back({cell.place, "its quote is never closed"});
    }

    const std::string& m_content;
    char m_separator;
    std::size_t m_at = 0;
    int m_line = 1;
    CsvTable m_table;
};

} // namespace

CsvTable parseCsv(const std::string& content)
{
    return Parser(content, separatorIn(content)).table();
}

std::string csvCell(const std::string& text, char separator)
{
    if (text.find_first_of(std::string("\"\r\n") + separator) == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

} // namespace bench
