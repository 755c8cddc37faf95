// Stands in for libFuzzer where a target only replays inputs, with any compiler:
//   fuzz_TARGET FILE-OR-DIRECTORY...
// Then come 30,000 inputs of random bytes, or made from the files by random changes, the
// same every time.
#include "input.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <random>

namespace
{

const int RandomInputs = 30000;

/// The files of a directory in the order of their names, or the file itself.
QStringList filesOf(const QString& place)
{
    if (!QFileInfo(place).isDir())
        return {place};
    QStringList files;
    const QDir directory(place);
    for (const QString& name : directory.entryList(QDir::Files, QDir::Name))
        files += directory.filePath(name);
    return files;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), qPrintable(path + ": can be read"));
    return file.readAll();
}

void play(const QByteArray& input)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.constData()),
                           static_cast<size_t>(input.size()));
}

/// Of random bytes, or every third one an input of the corpus with up to three of its bytes changed
/// and, as often as not, its end cut off.
QByteArray randomInput(const QList<QByteArray>& corpus, std::mt19937& random)
{
    const auto below = [&](int limit) { return int(random() % unsigned(std::max(1, limit))); };
    if (below(3) > 0) {
        QByteArray bytes(below(below(2) ? 32 : 512), '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return char(random()); });
        return bytes;
    }
    QByteArray bytes = corpus.at(below(corpus.size()));
    for (int changes = bytes.isEmpty() ? 0 : below(4); changes > 0; --changes)
        bytes[below(bytes.size())] = char(random());
    return below(2) ? bytes : bytes.left(below(bytes.size() + 1));
}

} // namespace

int main(int argc, char** argv)
{
    QStringList files;
    for (int i = 1; i < argc; ++i)
        files += filesOf(QString::fromLocal8Bit(argv[i]));
    require(!files.isEmpty(), "there are files to replay");
    QList<QByteArray> corpus;
    for (const QString& path : files) {
        std::printf("%s\n", qPrintable(path));
        std::fflush(stdout); // the last name printed is that of the input that failed
        corpus += contentOf(path);
        play(corpus.last());
    }
    std::mt19937 random(1);
    for (int i = 0; i < RandomInputs; ++i)
        play(randomInput(corpus, random));
    std::printf("%d inputs replayed, %d random ones played\n", files.size(), RandomInputs);
    return EXIT_SUCCESS;
}
