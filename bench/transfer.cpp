#include "bench/transfer.h"

#include "bench/comparison.h"
#include "bench/internal/extent.h"
#include "bench/nearest.h"

#include <algorithm>
#include <map>

namespace bench
{

namespace
{

// A driver takes more in one request, but reports nothing before its end: at 9600 baud that is some
// 1.8 s for 256 words. A stop loses that much, and a progress bar moves that often.
constexpr int MostUnitsPerRead = 256;

// One lost reply says little of a line that loses some; a dead one would cost the time-outs of all
// requests.
constexpr int MostUnanswered = 3;

bool isUnanswered(const Reading& reading)
{
    return reading.failure && reading.failure->kind() == FailureKind::NoReply;
}

std::vector<Reading> notAsked(std::size_t count)
{
    const Failure failure(FailureKind::NoReply, "not asked for after " +
                                                    std::to_string(MostUnanswered) +
                                                    " requests in a row without a reply");
    return std::vector<Reading>(count, {std::nullopt, failure});
}

/// By a tag that shares devices with the value; empty when it allows it.
std::string refusal(const SnapshotValue& value, const Point& tag, bool coversTheSame)
{
    if (tag.writable && !coversTheSame)
        return std::string();
    try {
        // A dump may have the device in another type than the tag.
        requireAllowed(tag, coversTheSame ? valueFrom(dataOf(value.value, value.point.device.type),
                                                      tag.device.type)
                                          : value.value);
        return std::string();
    } catch (const Failure& failure) {
        return "line " + std::to_string(value.line) + ": " + failure.what();
    }
}

/// Tags in the order of their places, so that those that share devices with a value lie together.
class TagsByPlace
{
public:
    explicit TagsByPlace(const std::vector<Point>& tags)
    {
        for (const Point& tag : tags) {
            m_tags.push_back({extentOf(tag.device), &tag});
            m_longest = std::max(m_longest, m_tags.back().place.bytes());
        }
        std::sort(m_tags.begin(), m_tags.end(), comesFirst);
    }

    /// Calls visit(its extent, the tag) for each that shares devices with the extent.
    template <typename Visit>
    void forEachAt(const Extent& extent, Visit visit) const
    {
        Entry first{extent, nullptr}, last = first;
        first.place.begin -= m_longest;
        last.place.begin = extent.end;
        const auto end = std::lower_bound(m_tags.begin(), m_tags.end(), last, comesFirst);
        for (auto entry = std::lower_bound(m_tags.begin(), end, first, comesFirst); entry != end;
             ++entry)
            if (extent.overlaps(entry->place))
                visit(entry->place, *entry->tag);
    }

private:
    struct Entry {
        Extent place;
        const Point* tag;
    };

    static bool comesFirst(const Entry& a, const Entry& b)
    {
        return a.place.place() < b.place.place();
    }

    std::vector<Entry> m_tags;
    int m_longest = 0; ///< in bytes
};

} // namespace

bool readBlocks(Session& session, const std::vector<TypedDevice>& devices,
                const BlockHandler& handler)
{
    int unanswered = 0;
    for (ReadRequest request : planReads(devices, session.driver().blocks(), MostUnitsPerRead)) {
        std::vector<std::size_t> indices;
        std::vector<TypedDevice> block;
        for (Part& part : request.parts) {
            indices.push_back(part.index);
            block.push_back(devices[part.index]);
            part.index = block.size() - 1;
        }
        const std::vector<Reading> readings =
            unanswered < MostUnanswered ? session.read({request}, block) : notAsked(block.size());
        if (session.isStopped && session.isStopped())
            return false;
        handler(indices, readings);
        const bool isLost = std::all_of(readings.begin(), readings.end(), isUnanswered);
        unanswered = isLost ? unanswered + 1 : 0;
    }
    return true;
}

std::vector<Reading> readCurrent(Session& session, const std::vector<SnapshotValue>& values,
                                 const std::function<void(std::size_t read)>& onProgress)
{
    std::vector<Reading> current(values.size());
    std::size_t done = 0;
    const auto take = [&](const auto& indices, const auto& readings) {
        for (std::size_t i = 0; i < indices.size(); ++i)
            current[indices[i]] = readings[i];
        done += indices.size();
        onProgress(done);
    };
    if (!readBlocks(session, devicesOf(values), take))
        throw Failure(FailureKind::NoReply, "stopped");
    return current;
}

std::vector<SkippedValues> takeUnwritable(std::vector<SnapshotValue>& values)
{
    std::vector<SnapshotValue> writable;
    std::map<std::string, std::size_t> counts;
    for (SnapshotValue& value : values) {
        const TypedDevice& device = value.point.device;
        if (isServed(device, Direction::Write))
            writable.push_back(std::move(value));
        else
            ++counts[device.place.area->letters + " as " + nameOf(device.type)];
    }
    values = std::move(writable);
    std::vector<SkippedValues> skipped;
    for (const auto& [what, count] : counts)
        skipped.push_back({what, count});
    return skipped;
}

std::vector<std::string> refusals(const std::vector<SnapshotValue>& values,
                                  const std::vector<Point>& tags)
{
    std::vector<std::string> found;
    const TagsByPlace tagsByPlace(tags);
    for (const SnapshotValue& value : values) {
        const Extent extent = extentOf(value.point.device);
        tagsByPlace.forEachAt(extent, [&](const Extent& place, const Point& tag) {
            const bool coversTheSame = extent.begin == place.begin && extent.end == place.end;
            const std::string why = refusal(value, tag, coversTheSame);
            if (!why.empty())
                found.push_back(why);
        });
    }
    return found;
}

void writeSnapshot(Session& session, const std::vector<SnapshotValue>& values,
                   const std::function<void(std::size_t written)>& onProgress)
{
    const std::vector<TypedDevice> devices = devicesOf(values);
    std::vector<Value> contents;
    for (const SnapshotValue& value : values)
        contents.push_back(value.value);
    const auto plan = planWrites(devices, contents, session.driver().blocks());
    std::size_t requests = 0, written = 0;
    const auto before = session.onRequest;
    session.onRequest = [&](const RequestRecord& record) {
        if (!record.failure) {
            written += plan[requests++].indices.size();
            onProgress(written);
        }
        if (before)
            before(record);
    };
    try {
        session.write(devices, contents);
        session.onRequest = before;
    } catch (const WriteFailure& failure) {
        session.onRequest = before;
        const std::string first = nameInSnapshot(values[failure.index].point);
        throw WriteFailure(failure.prefixed(firstAndMore(first, failure.count) + ": "),
                           failure.index, failure.count);
    }
}

} // namespace bench
