// A dump: points read request by request into a snapshot. Its file grows under the name FILE.part,
// can be continued later, and gets its own name when it is complete: when the controller has
// answered for every point, be it with a refusal.
#ifndef BENCH_DUMP_H
#define BENCH_DUMP_H

#include "bench/session.h"
#include "bench/snapshot.h"

#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace bench
{

/// A file that is complete or not there.
class PartFile
{
public:
    /// Throws a Failure (CannotOpen) when something other than a file has one of the names.
    explicit PartFile(const std::string& file);

    const std::string& part() const { return m_part; }
    bool hasPart() const;

    // Each throws a Failure (CannotOpen) when it can't write.

    /// The whole text of FILE.part from now on. A crash leaves the old or the new one.
    void begin(const std::string& text);

    /// What is added is out of this program when this returns.
    void add(const std::string& text);

    /// The whole text of FILE; FILE.part is gone.
    void finish(const std::string& text);

    /// FILE.part is gone; FILE stays as it is.
    void discard();

private:
    void replace(const std::string& text);
    void require(bool isGood) const;

    std::string m_file;
    std::string m_part;
    std::ofstream m_stream;
};

enum class DumpEnd {
    Complete,   ///< every point was read, or can't be read
    Incomplete, ///< for some no valid reply came, or no value was read
    Stopped,    ///< by the session
};

class Dump
{
public:
    /// points  in any order, as snapshotPoints() takes them
    Dump(SnapshotHeader header, const std::vector<Point>& points);

    /// Receives how many points are done.
    std::function<void(std::size_t done)> onProgress;
    std::function<void(const Point&, const Failure&)> onFailure;

    /// Takes the values of an earlier dump that was stopped: those of whole lines. Throws a Failure
    /// when it can't be read, or has other points or another driver.
    void takePart(const PartFile& file, const Devices& devices);

    /// Reads what is missing.
    ///
    /// file  grows while it reads, and is finished when the dump is complete; it is discarded when
    ///       no value was read. Null for none
    DumpEnd run(Session& session, PartFile* file);

    /// A snapshot, complete but for what could not be read.
    std::string text() const;

    std::size_t size() const { return m_points.size(); }
    std::size_t taken() const { return m_taken; }
    std::size_t done() const { return m_done; } ///< taken, read or failed
    std::size_t failed() const;                 ///< or not yet read

    /// The first failure that says nothing of its point, such as a missing reply; null for none.
    const Failure* firstLost() const;

private:
    std::string textWithoutEnd() const;
    bool readMissing(Session& session, PartFile* file);

    SnapshotHeader m_header;
    std::vector<Point> m_points;
    std::vector<Reading> m_readings; ///< parallel to the points
    std::size_t m_taken = 0;
    std::size_t m_done = 0;
};

} // namespace bench

#endif
