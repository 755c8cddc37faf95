#include "bench/transfer.h"

#include "bench/comparison.h"
#include "bench/internal/extent.h"
#include "bench/nearest.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

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

const TypedDevice& deviceOf(const Point& tag)
{
    return tag.device;
}

const TypedDevice& deviceOf(const SnapshotValue& value)
{
    return value.point.device;
}

/// Tags or values in the order of their places, so that those that share devices lie together.
template <typename Item>
class ByPlace
{
public:
    explicit ByPlace(const std::vector<Item>& items)
    {
        for (const Item& item : items) {
            m_entries.push_back({extentOf(deviceOf(item)), &item});
            m_longest = std::max(m_longest, m_entries.back().place.bytes());
        }
        std::sort(m_entries.begin(), m_entries.end(), comesFirst);
    }

    /// Calls visit(its extent, the item) for each that shares devices with the extent.
    template <typename Visit>
    void forEachAt(const Extent& extent, Visit visit) const
    {
        Entry first{extent, nullptr}, last = first;
        first.place.begin -= m_longest;
        last.place.begin = extent.end;
        const auto end = std::lower_bound(m_entries.begin(), m_entries.end(), last, comesFirst);
        for (auto entry = std::lower_bound(m_entries.begin(), end, first, comesFirst); entry != end;
             ++entry)
            if (extent.overlaps(entry->place))
                visit(entry->place, *entry->item);
    }

private:
    struct Entry {
        Extent place;
        const Item* item;
    };

    static bool comesFirst(const Entry& a, const Entry& b)
    {
        return a.place.place() < b.place.place();
    }

    std::vector<Entry> m_entries;
    int m_longest = 0; ///< in bytes
};

/// What the values give a tag, whatever their types; nothing unless they cover all of it.
std::optional<Value> valueOf(const Point& tag, const ByPlace<SnapshotValue>& values)
{
    const Extent extent = extentOf(tag.device);
    QByteArray bytes(extent.bytes(), '\0');
    std::vector<bool> isKnown(std::size_t(extent.bytes()));
    values.forEachAt(extent, [&](const Extent& place, const SnapshotValue& value) {
        // The rest of a wider device is written as zeros.
        const QByteArray data =
            dataOf(value.value, value.point.device.type).leftJustified(place.bytes(), '\0');
        const std::int64_t end = std::min(place.end, extent.end);
        for (std::int64_t at = std::max(place.begin, extent.begin); at < end; ++at) {
            bytes[int(at - extent.begin)] = data[int(at - place.begin)];
            isKnown[std::size_t(at - extent.begin)] = true;
        }
    });
    const bool isCovered = std::find(isKnown.begin(), isKnown.end(), false) == isKnown.end();
    return isCovered ? std::make_optional(valueFrom(bytes, tag.device.type)) : std::nullopt;
}

/// Why a tag does not allow a value that shares devices with it; empty when it does.
std::string refusal(const Point& tag, const SnapshotValue& value,
                    const ByPlace<SnapshotValue>& values)
{
    const std::optional<Value> held = valueOf(tag, values);
    if (tag.writable && !held)
        return std::string();
    try {
        requireAllowed(tag, held.value_or(value.value));
        return std::string();
    } catch (const Failure& failure) {
        return "line " + std::to_string(value.line) + ": " + failure.what();
    }
}

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

std::vector<std::string> refusals(const std::vector<SnapshotValue>& written,
                                  const std::vector<SnapshotValue>& values,
                                  const std::vector<Point>& tags)
{
    std::vector<std::string> found;
    const ByPlace<Point> tagsByPlace(tags);
    const ByPlace<SnapshotValue> valuesByPlace(values);
    std::set<const Point*> refused; // one that several values share says so once
    for (const SnapshotValue& value : written) {
        tagsByPlace.forEachAt(extentOf(value.point.device), [&](const Extent&, const Point& tag) {
            const std::string why =
                refused.count(&tag) > 0 ? std::string() : refusal(tag, value, valuesByPlace);
            if (why.empty())
                return;
            refused.insert(&tag);
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
