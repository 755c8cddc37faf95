#include "bench/dump.h"

#include "bench/file.h"
#include "bench/transfer.h"

#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <unordered_map>

namespace bench
{

namespace
{

QFileInfo infoOf(const std::string& path)
{
    return QFileInfo(QFile::decodeName(path.c_str()));
}

Failure cannotWrite(const std::string& path, const std::string& why)
{
    return Failure(FailureKind::CannotOpen, "can't write " + path + ": " + why);
}

/// A folder can't be written, and a device or a pipe would be replaced by a file.
void refuseOtherThanFile(const std::string& path)
{
    const QFileInfo info = infoOf(path);
    if (info.exists() && !info.isFile())
        throw cannotWrite(path, info.isDir() ? "it is a folder" : "it is not a regular file");
}

/// The lines that are whole.
Snapshot loadPart(const std::string& path, const Devices& devices)
{
    std::string content = contentOf(path);
    content.resize(content.rfind('\n') + 1);
    try {
        return parseSnapshot(content, devices);
    } catch (const Failure& failure) {
        throw failure.prefixed(path + ", ");
    }
}

/// Whether another attempt may have another outcome: the controller said nothing of the point.
bool isLost(const Reading& reading)
{
    return reading.failure && isLineFailure(reading.failure->kind());
}

/// What a link stands for: replacing it would leave the file that is meant as it was.
std::string targetOf(const std::string& file)
{
    const QFileInfo info = infoOf(file);
    return info.isSymLink() ? QFile::encodeName(info.symLinkTarget()).toStdString() : file;
}

} // namespace

PartFile::PartFile(const std::string& file)
    : m_file(targetOf(file))
    , m_part(m_file + ".part")
{
    refuseOtherThanFile(m_file);
    refuseOtherThanFile(m_part);
}

bool PartFile::hasPart() const
{
    return infoOf(m_part).exists();
}

void PartFile::begin(const std::string& text)
{
    replace(text);
    m_stream.open(m_part, std::ios::binary | std::ios::app);
    require(bool(m_stream));
}

void PartFile::add(const std::string& text)
{
    m_stream << text << std::flush;
    require(bool(m_stream));
}

void PartFile::finish(const std::string& text)
{
    m_stream.close();
    replace(text);
    require(std::rename(m_part.c_str(), m_file.c_str()) == 0);
}

void PartFile::discard()
{
    m_stream.close();
    require(std::remove(m_part.c_str()) == 0);
}

void PartFile::replace(const std::string& text)
{
    QSaveFile file(QFile::decodeName(m_part.c_str()));
    // commit() alone misses what fails while the last buffer is written.
    const bool isWritten = file.open(QIODevice::WriteOnly) &&
                           file.write(text.data(), qint64(text.size())) >= 0 && file.flush() &&
                           file.commit();
    if (!isWritten)
        throw cannotWrite(m_part, file.errorString().toStdString());
}

void PartFile::require(bool isGood) const
{
    if (!isGood)
        throw cannotWrite(m_part, std::generic_category().message(errno));
}

Dump::Dump(SnapshotHeader header, const std::vector<Point>& points)
    : m_header(std::move(header))
    , m_points(snapshotPoints(points))
    , m_readings(m_points.size())
{
}

void Dump::takePart(const PartFile& file, const Devices& devices)
{
    const Snapshot part = loadPart(file.part(), devices);
    if (part.header.devices.empty())
        throw wrongUsage(file.part() + " is not a dump that was stopped",
                         "Delete it to begin again.");
    if (part.header.devices != m_header.devices || part.header.driver != m_header.driver)
        throw wrongUsage(file.part() + " belongs to another dump: " + part.header.devices +
                             " read by " + part.header.driver,
                         "Name the same devices, or delete it to begin again.");
    std::unordered_map<std::string, const Value*> known;
    for (const SnapshotValue& value : part.values)
        known[snapshotName(value.point.device)] = &value.value;
    for (std::size_t i = 0; i < m_points.size(); ++i) {
        const auto found = known.find(snapshotName(m_points[i].device));
        if (found == known.end())
            continue;
        m_readings[i].value = *found->second;
        ++m_taken;
    }
}

DumpEnd Dump::run(Session& session, PartFile* file)
{
    if (file != nullptr)
        file->begin(textWithoutEnd());
    const bool isStopped = !readMissing(session, file);
    const bool isEmpty = failed() == size();
    const DumpEnd end = isStopped                ? DumpEnd::Stopped
                        : firstLost() || isEmpty ? DumpEnd::Incomplete
                                                 : DumpEnd::Complete;
    if (file != nullptr && end == DumpEnd::Complete)
        file->finish(text());
    else if (file != nullptr && isEmpty)
        file->discard();
    return end;
}

bool Dump::readMissing(Session& session, PartFile* file)
{
    std::vector<std::size_t> missing;
    std::vector<TypedDevice> devices;
    for (std::size_t i = 0; i < m_points.size(); ++i) {
        if (m_readings[i].value)
            continue;
        missing.push_back(i);
        devices.push_back(m_points[i].device);
    }
    m_done = m_taken;
    return readBlocks(session, devices, [&](const auto& indices, const auto& readings) {
        std::vector<Point> points;
        for (std::size_t i = 0; i < indices.size(); ++i) {
            const std::size_t place = missing[indices[i]];
            m_readings[place] = readings[i];
            points.push_back(m_points[place]);
            if (readings[i].failure && onFailure)
                onFailure(points.back(), *readings[i].failure);
        }
        if (file != nullptr)
            file->add(snapshotLines(points, readings));
        m_done += indices.size();
        if (onProgress)
            onProgress(m_done);
    });
}

std::string Dump::text() const
{
    return textWithoutEnd() + endOfSnapshot();
}

std::string Dump::textWithoutEnd() const
{
    return textOf(m_header) + snapshotLines(m_points, m_readings);
}

std::size_t Dump::failed() const
{
    return std::size_t(std::count_if(m_readings.begin(), m_readings.end(),
                                     [](const Reading& reading) { return !reading.value; }));
}

const Failure* Dump::firstLost() const
{
    const auto lost = std::find_if(m_readings.begin(), m_readings.end(), isLost);
    return lost == m_readings.end() ? nullptr : &*lost->failure;
}

} // namespace bench
