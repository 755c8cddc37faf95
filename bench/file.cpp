#include "bench/file.h"

#include "bench/failure.h"

#include <QFile>

namespace bench
{

std::string contentOf(const std::string& path)
{
    QFile file(QFile::decodeName(path.c_str()));
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError)
        throw Failure(FailureKind::CannotOpen,
                      "can't read " + path + ": " + file.errorString().toStdString());
    return content.toStdString();
}

} // namespace bench
