#include "bench/file.h"

#include "bench/failure.h"
#include "bench/internal/text.h"

#include <QFile>
#include <QFileInfo>

#include <sstream>
#include <unistd.h>

namespace bench
{

namespace
{

Failure notUtf8(const std::string& what)
{
    return wrongUsage(what, "Save it as UTF-8; a spreadsheet may call that \"CSV UTF-8\".");
}

void requireUtf8(const std::string& name, const std::string& text)
{
    if (startsWith(text, "\xFF\xFE") || startsWith(text, "\xFE\xFF"))
        throw notUtf8(name + " is UTF-16, not UTF-8");
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        // UTF-16 without a mark has zero bytes.
        if (!isUtf8(line) || line.find('\0') != std::string::npos)
            throw notUtf8(name + ", line " + std::to_string(number) + ": the text is not UTF-8");
    }
}

/// file  just opened, whether that succeeded or not
std::string allOf(QFile& file, const std::string& name)
{
    const QByteArray content = file.isOpen() ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError)
        throw Failure(FailureKind::CannotOpen,
                      "can't read " + name + ": " + file.errorString().toStdString());
    return content.toStdString();
}

TextFile standardInput()
{
    const std::string name = "standard input";
    QFile file;
    file.open(STDIN_FILENO, QIODevice::ReadOnly);
    return {name, allOf(file, name)};
}

} // namespace

std::string contentOf(const std::string& path)
{
    QFile file(QFile::decodeName(path.c_str()));
    if (QFileInfo(file).isDir())
        throw Failure(FailureKind::CannotOpen, "can't read " + path + ": it is a folder");
    file.open(QIODevice::ReadOnly);
    return allOf(file, path);
}

TextFile readTextFile(const std::string& path)
{
    static const std::string ByteOrderMark = "\xEF\xBB\xBF";
    TextFile file = path == "-" ? standardInput() : TextFile{path, contentOf(path)};
    if (startsWith(file.text, ByteOrderMark))
        file.text.erase(0, ByteOrderMark.size());
    requireUtf8(file.name, file.text);
    return file;
}

} // namespace bench
