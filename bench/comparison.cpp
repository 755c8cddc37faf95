#include "bench/comparison.h"

#include "bench/internal/extent.h"

#include <algorithm>
#include <unordered_map>

namespace bench
{

namespace
{

constexpr std::size_t MostDifferencesTold = 5;

bool differs(const std::optional<Value>& a, const std::optional<Value>& b, const Type& type)
{
    return a.has_value() != b.has_value() || (a && !isSame(*a, *b, type));
}

} // namespace

std::vector<Difference> differences(const std::vector<SnapshotValue>& left,
                                    const std::vector<SnapshotValue>& right)
{
    std::unordered_map<std::string, const SnapshotValue*> others;
    for (const SnapshotValue& value : right)
        others[snapshotName(value.point.device)] = &value;
    std::vector<Difference> found;
    for (const SnapshotValue& value : left) {
        const auto other = others.find(snapshotName(value.point.device));
        std::optional<Value> there;
        if (other != others.end()) {
            there = other->second->value;
            others.erase(other);
        }
        if (differs(value.value, there, value.point.device.type))
            found.push_back({value.point, value.value, there});
    }
    for (const SnapshotValue& value : right)
        if (others.count(snapshotName(value.point.device)) > 0)
            found.push_back({value.point, std::nullopt, value.value});
    return found;
}

std::vector<Difference> differences(const std::vector<SnapshotValue>& left,
                                    const std::vector<Reading>& right)
{
    std::vector<Difference> found;
    for (std::size_t i = 0; i < left.size(); ++i)
        if (right[i].value && differs(left[i].value, right[i].value, left[i].point.device.type))
            found.push_back({left[i].point, left[i].value, right[i].value});
    return found;
}

std::vector<SnapshotValue> valuesToWrite(const std::vector<SnapshotValue>& values,
                                         const std::vector<Reading>& current)
{
    std::vector<bool> isWritten(values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        isWritten[i] = differs(values[i].value, current[i].value, values[i].point.device.type);
    const auto shareDevice = [&](std::size_t i, std::size_t j) {
        const Extent a = extentOf(values[i].point.device);
        const Extent b = extentOf(values[j].point.device);
        const bool isCut = a.area && (a.end - 1) / a.unitBytes != b.begin / b.unitBytes;
        return a.group() == b.group() && !isCut;
    };
    for (std::size_t i = 1; i < values.size(); ++i)
        if (isWritten[i - 1] && shareDevice(i - 1, i))
            isWritten[i] = true;
    for (std::size_t i = values.size(); i-- > 1;)
        if (isWritten[i] && shareDevice(i - 1, i))
            isWritten[i - 1] = true;
    std::vector<SnapshotValue> written;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (isWritten[i])
            written.push_back(values[i]);
    return written;
}

void requireKept(const std::vector<SnapshotValue>& written, const std::vector<Reading>& readBack)
{
    const auto wrong = differences(written, readBack);
    if (wrong.empty())
        return;
    std::string text;
    for (std::size_t i = 0; i < std::min(wrong.size(), MostDifferencesTold); ++i) {
        const Type& type = wrong[i].point.device.type;
        text += (i == 0 ? "" : "; ") + nameInSnapshot(wrong[i].point) + ": wrote " +
                snapshotText(*wrong[i].left, type) + ", read back " +
                snapshotText(*wrong[i].right, type);
    }
    if (wrong.size() > MostDifferencesTold)
        text += "; and " + std::to_string(wrong.size() - MostDifferencesTold) + " more";
    throw Failure(FailureKind::Different, text,
                  "The controller took the values and changed them, or its program did.");
}

std::string nameInSnapshot(const Point& point)
{
    const std::string device = snapshotName(point.device);
    return isTag(point) ? point.name + " (" + device + ")" : device;
}

} // namespace bench
