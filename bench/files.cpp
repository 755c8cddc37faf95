#include "bench/files.h"

#include "bench/failure.h"

#include <QFile>

#include <cstdio>

namespace bench
{

namespace
{

std::string allOf(QFile& file, const std::string& name)
{
    const QByteArray content = file.readAll();
    if (file.error() != QFile::NoError)
        throw Failure(FailureKind::CannotOpen,
                      "cannot read " + name + ": " + file.errorString().toStdString());
    return content.toStdString();
}

} // namespace

std::string contentOf(const std::string& path)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(FailureKind::CannotOpen,
                      "cannot read " + path + ": " + file.errorString().toStdString());
    return allOf(file, path);
}

std::string contentOfStandardInput()
{
    QFile file;
    if (!file.open(stdin, QIODevice::ReadOnly))
        throw Failure(FailureKind::CannotOpen, "cannot read standard input");
    return allOf(file, "standard input");
}

} // namespace bench
