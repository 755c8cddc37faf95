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

std::string contentOf(const std::string& path, const std::string& name)
{
    QFile file(QFile::decodeName(path.c_str()));
    if (QFileInfo(file).isDir())
        throw Failure(FailureKind::CannotOpen, "can't read " + name + ": it is a folder");
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError)
        throw Failure(FailureKind::CannotOpen,
                      "can't read " + name + ": " + file.errorString().toStdString());
    return content.toStdString();
}

} // namespace

std::string contentOf(const std::string& path)
{
    return contentOf(path, path);
}

TextFile readTextFile(const std::string& path)
{
    static const std::string ByteOrderMark = "\xEF\xBB\xBF";
    const bool isInput = path == "-";
    TextFile file{isInput ? "standard input" : path, ""};
    file.text = contentOf(isInput ? "/dev/stdin" : path, file.name);
    if (startsWith(file.text, ByteOrderMark))
        file.text.erase(0, ByteOrderMark.size());
    requireUtf8(file.name, file.text);
    return file;
}

} // namespace bench
