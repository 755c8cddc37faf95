#include "conformance/stories.h"

#include "conformance/play.h"
#include "conformance/scriptedport.h"

#include <QRegularExpression>
#include <QStringList>

const char* const StoriesHelp = R"(Story files:
  A story has a name at the beginning of a line; then, on lines that begin with
  blanks, the request, every call that the driver makes of its port with what
  the port answers, and the outcome. Items on one line are separated by
  semicolons. A line that begins with # is a comment.

    define ask <text> -> <reply> = option 12 0; write "<text>\n"; reply <reply>

    two registers come low byte first
        read word D5 2
        delay; ask G 5 2 -> "35 513\n"
        = 23 00 01 02

  Requests:
    read WIDTH DEVICE COUNT   WIDTH: bit, byte, word, dword, quad, block, group
                              or a code
    write WIDTH DEVICE BYTES  such as 23 00 01 02, low byte first; or nothing
  Port calls:
    delay [N]                 asks for the pause; the port answers N ms, or 0;
                              numbers have at most 9 digits
    retry N                   asks for the retries; the port answers N
    option N VALUE            sets an option to an integer
    write "BYTES"             sends the bytes
    read N "BYTES" [as M]     asks for N bytes and receives BYTES; the port says
                              that it was as many as that, or M
  Several reads in short:
    reply "A", "B" of N, "C" as M
                              a read for each, of as many bytes as it brings, or
                              of N
    bytes "ABC"               a read of one byte for each byte
  Outcomes:
    = 23 00     the data of a read
    = nothing   no data and no error
    = ok        a write that worked
    = false     a write that did not, without an error
    ! TEXT      a failure, with the driver's error text

  In quotes and error texts: characters and \r \n \t \0 \" \\ \x1F.
  A shorthand is defined before it is used, by define PATTERN = ITEMS. A <name>
  in the pattern matches any text, and means the same text in the items.)";

namespace
{

const char* const Quote = R"rx("(?:[^"\\]|\\.)*")rx";
const char* const Number = R"rx(\d{1,9})rx"; // as many digits as always fit an int

QRegularExpression wholly(const QString& pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

struct Shorthand {
    QRegularExpression pattern;
    QStringList parameters; ///< "<text>", in the order of the pattern's groups
    QString items;
};

Shorthand shorthandFrom(const QString& definition)
{
    static const QRegularExpression parts("^define (.*?) = (.*)$"), parameter("<[^<> ]+>");
    const QRegularExpressionMatch match = parts.match(definition);
    if (!match.hasMatch())
        throw std::invalid_argument("not define PATTERN = ITEMS");
    QString pattern = QRegularExpression::escape(match.captured(1));
    pattern.replace(QRegularExpression(R"(\\<[^<> ]+\\>)"), "(.*)");
    QStringList parameters;
    for (auto found = parameter.globalMatch(match.captured(1)); found.hasNext();)
        parameters << found.next().captured();
    return {wholly(pattern), parameters, match.captured(2)};
}

/// Items between semicolons that are outside quotes.
QStringList itemsOf(const QString& line)
{
    static const QRegularExpression item(QString("(?:%1|[^;\"])+").arg(Quote));
    static const QRegularExpression quote(Quote);
    if (QString(line).remove(quote).contains('"'))
        throw std::invalid_argument("the closing quote is missing");
    QStringList items;
    for (auto found = item.globalMatch(line); found.hasNext();)
        items << found.next().captured().trimmed();
    return items;
}

QByteArray bytesIn(const QString& quote)
{
    return unquoted(quote.toStdString());
}

/// A call as ScriptedPort would note it.
QString normal(const QString& call)
{
    static const QRegularExpression quote(Quote);
    QString text = call;
    const QRegularExpressionMatch match = quote.match(text);
    if (match.hasMatch())
        text.replace(match.capturedStart(), match.capturedLength(),
                     QString::fromStdString(quoted(bytesIn(match.captured()))));
    return text;
}

QStringList repliesIn(const QString& list)
{
    static const QRegularExpression one(QString("(%1)( as -?%2)?(?: of (%2))?").arg(Quote, Number));
    QStringList reads;
    for (auto found = one.globalMatch(list); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const QString length = match.captured(3).isEmpty()
                                   ? QString::number(bytesIn(match.captured(1)).size())
                                   : match.captured(3);
        reads << normal("read " + length + " " + match.captured(1) + match.captured(2));
    }
    return reads;
}

QStringList bytewise(const QString& quote)
{
    QStringList reads;
    for (char byte : bytesIn(quote))
        reads << QString::fromStdString("read 1 " + quoted(QByteArray(1, byte)));
    return reads;
}

class Reader
{
public:
    void define(const QString& line) { m_shorthands << shorthandFrom(line); }

    /// The calls that an item means.
    QStringList callsOf(const QString& item, int depth = 0) const
    {
        static const QString Reply = QString("%1(?: as -?%2)?(?: of %2)?").arg(Quote, Number);
        static const QRegularExpression reply = wholly(QString("reply %1(?:, %1)*").arg(Reply));
        static const QRegularExpression bytes = wholly(QString("bytes %1").arg(Quote));
        static const QRegularExpression call =
            wholly(QString("delay( %2)?|retry -?%2|option %2 -?%2|write %1|"
                           "read %2 %1( as -?%2)?")
                       .arg(Quote, Number));
        if (reply.match(item).hasMatch())
            return repliesIn(item);
        if (bytes.match(item).hasMatch())
            return bytewise(item);
        if (call.match(item).hasMatch())
            return {normal(item)};
        return writtenOut(item, depth);
    }

private:
    QStringList writtenOut(const QString& item, int depth) const
    {
        constexpr int MaxDepth = 20; // a shorthand may use itself
        for (const Shorthand& shorthand : m_shorthands) {
            const QRegularExpressionMatch match = shorthand.pattern.match(item);
            if (!match.hasMatch() || depth == MaxDepth)
                continue;
            QString items = shorthand.items;
            for (int i = 0; i < shorthand.parameters.size(); ++i)
                items.replace(shorthand.parameters[i], match.captured(i + 1));
            QStringList calls;
            for (const QString& part : itemsOf(items))
                calls += callsOf(part, depth + 1);
            return calls;
        }
        throw std::invalid_argument("neither a call nor a shorthand: " + item.toStdString());
    }

    QList<Shorthand> m_shorthands;
};

void addLine(Story& story, const std::string& line, const Reader& reader)
{
    if (story.request.empty()) {
        checkRequest(line);
        story.request = line;
    } else if (!story.outcome.empty()) {
        throw std::invalid_argument("the story has ended with its outcome");
    } else if (line[0] == '=' || line[0] == '!') {
        story.outcome = line;
    } else {
        for (const QString& item : itemsOf(QString::fromStdString(line)))
            for (const QString& call : reader.callsOf(item))
                story.calls.push_back(call.toStdString());
    }
}

} // namespace

std::vector<Story> readStories(std::istream& file)
{
    std::vector<Story> stories;
    Reader reader;
    int number = 0;
    const auto endStory = [&] {
        if (!stories.empty() && stories.back().outcome.empty())
            throw BadStory(stories.back().line, "the story has no outcome");
    };
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const size_t begin = line.find_first_not_of(" \t");
        if (begin == std::string::npos || line[begin] == '#')
            continue;
        try {
            if (line.compare(0, 7, "define ") == 0) {
                reader.define(QString::fromStdString(line));
            } else if (begin == 0) {
                endStory();
                stories.push_back({line, number, "", {}, ""});
            } else if (stories.empty()) {
                throw std::invalid_argument("a story begins with its name, without blanks before");
            } else {
                addLine(stories.back(), line.substr(begin), reader);
            }
        } catch (const std::logic_error& error) {
            throw BadStory(number, error.what());
        }
    }
    endStory();
    return stories;
}
