#include "bench/file.h"

#include "bench/failure.h"
#include "bench/internal/text.h"

#include <QFile>
#include <QFileInfo>

#include <sstream>

namespace bench
{

namespace
{

Failure notUtf8(const std::string& what)
{
    return wrongUsage(what, "Save it as UTF-8; a spreadsheet may call that \"CSV UTF-8\".");
}

void requireUtf8(const std::string& path, const std::string& text)
{
    if (startsWith(text, "\xFF\xFE") || startsWith(text, "\xFE\xFF"))
        throw notUtf8(path + " is UTF-16, not UTF-8");
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        // UTF-16 without a mark has zero bytes.
        if (!isUtf8(line) || line.find('\0') != std::string::npos)
            throw notUtf8(path + ", line " + std::to_string(number) + ": the text is not UTF-8");
    }
}

} // namespace

std::string contentOf(const std::string& path)
{
    QFile file(QFile::decodeName(path.c_str()));
    if (QFileInfo(file).isDir())
        throw Failure(FailureKind::CannotOpen, "can't read " + path + ": it is a folder");
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError)
        throw Failure(FailureKind::CannotOpen,
                      "can't read " + path + ": " + file.errorString().toStdString());
    return content.toStdString();
}

std::string textIn(const std::string& path)
{
    static const std::string ByteOrderMark = "\xEF\xBB\xBF";
    std::string text = contentOf(path);
    if (startsWith(text, ByteOrderMark))
        text.erase(0, ByteOrderMark.size());
    requireUtf8(path, text);
    return text;
}

} // namespace bench
