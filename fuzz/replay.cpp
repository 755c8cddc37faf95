// Stands in for libFuzzer where a target only replays inputs, with any compiler:
//   fuzz_TARGET FILE-OR-DIRECTORY...
// Then come some thousand inputs of random bytes, the same every time.
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

void replay(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), qPrintable(path + ": can be read"));
    const QByteArray input = file.readAll();
    std::printf("%s\n", qPrintable(path));
    std::fflush(stdout); // the last name printed is that of the input that failed
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.constData()),
                           static_cast<size_t>(input.size()));
}

void playRandomInputs()
{
    std::mt19937 random(1);
    for (int i = 0; i < RandomInputs; ++i) {
        uint8_t bytes[512];
        const size_t size = random() % (i % 2 ? 32 : sizeof bytes);
        std::generate_n(bytes, size, [&] { return static_cast<uint8_t>(random()); });
        LLVMFuzzerTestOneInput(bytes, size);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QStringList files;
    for (int i = 1; i < argc; ++i)
        files += filesOf(QString::fromLocal8Bit(argv[i]));
    for (const QString& path : files)
        replay(path);
    playRandomInputs();
    std::printf("%d inputs replayed, %d random ones played\n", files.size(), RandomInputs);
    return files.isEmpty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
