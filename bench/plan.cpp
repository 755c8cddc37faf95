#include "bench/plan.h"

#include "bench/internal/extent.h"

#include <algorithm>
#include <tuple>

namespace bench
{

namespace
{

/// The bytes that a value covers.
struct Span {
    std::size_t index; ///< in the list of devices
    std::size_t group; ///< of devices that one request can cover
    std::int64_t begin;
    std::int64_t end;
};

struct Spans {
    std::vector<Extent> groups; ///< of the device of each that was named first, in that order
    std::vector<Span> spans;
};

std::int64_t roundedUp(std::int64_t bytes, int unitBytes)
{
    return (bytes + unitBytes - 1) / unitBytes * unitBytes;
}

Spans spansOf(const std::vector<TypedDevice>& devices)
{
    Spans found;
    for (std::size_t index = 0; index < devices.size(); ++index) {
        const Extent extent = extentOf(devices[index]);
        const auto known =
            std::find_if(found.groups.begin(), found.groups.end(), [&](const Extent& group) {
                return group.group() == extent.group() && group.width == extent.width;
            });
        const auto place = static_cast<std::size_t>(known - found.groups.begin());
        if (known == found.groups.end())
            found.groups.push_back(extent);
        found.spans.push_back({index, place, extent.begin, extent.end});
    }
    return found;
}

void sortByPlace(std::vector<Span>& spans)
{
    std::stable_sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) {
        return std::tie(a.group, a.begin) < std::tie(b.group, b.begin);
    });
}

std::int64_t blockBytes(const Extent& group, const BlockSizes& blocks)
{
    const std::int64_t units = group.width == DataBit ? blocks.bits : blocks.values;
    const auto areaLimit = group.area ? group.area->block : std::nullopt;
    return std::min(units, areaLimit.value_or(units)) * group.unitBytes;
}

/// The command for the units from `begin` to `end`. Only the first unit of a run without areas has
/// a device text.
CommunicatorCommand commandFor(const Extent& group, const TypedDevice& device, std::int64_t begin,
                               std::int64_t end)
{
    CommunicatorCommand command;
    command.dataType = group.width;
    command.length = static_cast<int>((end - begin) / group.unitBytes);
    std::string address = device.text;
    if (device.isDescribed()) {
        Place place = device.place;
        place.position = begin / group.unitBytes;
        address = deviceText(place);
    }
    command.address = QString::fromStdString(address);
    return command;
}

Failure longerThanBlock(const TypedDevice& device)
{
    const std::string what = device.isDescribed() ? device.name + " as " + nameOf(device.type)
                                                  : "the run from " + device.text + " on";
    return wrongUsage(what + " is longer than the driver takes in one request",
                      device.isDescribed() ? "Ask for a shorter type."
                                           : "This driver does not describe its devices, so the "
                                             "run can't be cut. Ask for fewer.");
}

/// Spans of one group that one request covers. Spans come in order of their beginnings.
class ReadRun
{
public:
    ReadRun(const Extent& group, const BlockSizes& blocks, int mostUnits, const Span& first)
        : m_group(group)
        , m_maxBytes(blockBytes(group, blocks))
        , m_sharedBytes(group.area ? std::min(m_maxBytes, std::int64_t(mostUnits) * group.unitBytes)
                                   : m_maxBytes)
        , m_begin(group.area ? first.begin / group.unitBytes * group.unitBytes : 0)
        , m_end(m_begin)
        , m_spans{}
    {
    }

    bool takes(const Span& span) const
    {
        const std::int64_t end = std::max(m_end, roundedUp(span.end, m_group.unitBytes));
        const bool touches = m_group.area == nullptr || span.begin <= m_end;
        return touches && end - m_begin <= (m_spans.empty() ? m_maxBytes : m_sharedBytes);
    }

    void add(const Span& span)
    {
        m_spans.push_back(span);
        m_end = std::max(m_end, roundedUp(span.end, m_group.unitBytes));
    }

    ReadRequest request(const std::vector<TypedDevice>& devices) const
    {
        ReadRequest request;
        request.command = commandFor(m_group, devices[m_spans.front().index], m_begin, m_end);
        request.bytes = static_cast<int>(m_end - m_begin);
        for (const Span& span : m_spans)
            request.parts.push_back({span.index, static_cast<int>(span.begin - m_begin)});
        return request;
    }

private:
    const Extent& m_group;
    std::int64_t m_maxBytes;
    std::int64_t m_sharedBytes; ///< by several values
    std::int64_t m_begin;
    std::int64_t m_end;
    std::vector<Span> m_spans;
};

/// The number in all bytes of its device; a Failure when the type can't hold it.
Value wholeNumber(const QByteArray& data, const TypedDevice& device)
{
    const bool isSigned = leastOf(device.type) < 0;
    const Type whole = {data.size() == 2 ? (isSigned ? TypeKind::Int : TypeKind::Uint)
                                         : (isSigned ? TypeKind::Dint : TypeKind::Udint)};
    const Value value = valueFrom(data, whole);
    if (const auto fitting = wholeValue(std::get<std::int64_t>(value), device.type))
        return *fitting;
    throw wrongUsage(device.name + " holds " + textOf(value, whole) + ", which does not fit " +
                         nameOf(device.type),
                     "Type " + device.name + ":" + nameOf(whole) + ".");
}

Value valueIn(const QByteArray& answer, int offset, const TypedDevice& device)
{
    const int bytes = extentOf(device).bytes();
    const QByteArray data = answer.mid(offset, bytes);
    const bool isNarrow = bytes > bytesOf(device.type);
    return isNarrow && isNumber(device.type) ? wholeNumber(data, device)
                                             : valueFrom(data, device.type);
}

/// The bytes of a value in a request: a number narrower than its device keeps its sign.
QByteArray dataIn(const TypedDevice& device, const Value& value)
{
    const QByteArray data = dataOf(value, device.type);
    const auto* number = std::get_if<std::int64_t>(&value);
    const char fill = number != nullptr && *number < 0 ? '\xFF' : '\0';
    return data.leftJustified(extentOf(device).bytes(), fill);
}

void refuseTwice(Spans written, const std::vector<TypedDevice>& devices)
{
    sortByPlace(written.spans);
    for (std::size_t i = 1; i < written.spans.size(); ++i) {
        const Span& last = written.spans[i - 1];
        const Span& next = written.spans[i];
        if (last.group == next.group && next.begin < last.end)
            throw WrittenTwice(wrongUsage(devices[next.index].name + " would be written twice",
                                          "Each device may be written once in one command."),
                               std::min(last.index, next.index), std::max(last.index, next.index));
    }
}

/// Values of one group that one request writes, in the order given.
class WriteRun
{
public:
    WriteRun(const Extent& group, const BlockSizes& blocks, const Span& first)
        : m_group(group)
        , m_maxBytes(blockBytes(group, blocks))
        , m_begin(first.begin)
        , m_end(first.begin)
    {
    }

    bool takes(const Span& span) const
    {
        const std::int64_t bytes = roundedUp(span.end, m_group.unitBytes) - m_begin;
        return span.begin == m_end && bytes <= m_maxBytes;
    }

    void add(const Span& span, const TypedDevice& device, const Value& value)
    {
        m_request.data += dataIn(device, value);
        m_request.indices.push_back(span.index);
        m_end = span.end;
    }

    WriteRequest request(const std::vector<TypedDevice>& devices) const
    {
        const TypedDevice& first = devices[m_request.indices.front()];
        refuseHalves(first, devices[m_request.indices.back()]);
        WriteRequest request = m_request;
        request.command = commandFor(m_group, first, m_begin, m_end);
        return request;
    }

private:
    /// Refuses to write half a device, of which the driver would clear the other half.
    void refuseHalves(const TypedDevice& first, const TypedDevice& last) const
    {
        const int unit = m_group.unitBytes;
        const bool beginsInside = m_begin % unit != 0;
        if (m_group.area == nullptr || (!beginsInside && m_end % unit == 0))
            return;
        Place half = beginsInside ? first.place : last.place;
        half.position = (beginsInside ? m_begin : m_end) / unit;
        const std::string name = deviceText(half, half.digits);
        const std::string advice =
            last.type.kind == TypeKind::Byte
                ? "Write all " + std::to_string(unit) + " bytes of " + name +
                      ", or the whole device as " + name + ":" + m_group.area->type + "."
                : "Give the string a length that fills its last device, such as string" +
                      std::to_string(roundedUp(bytesOf(last.type), unit)) + ".";
        throw wrongUsage("the rest of " + name + " would be cleared", advice);
    }

    const Extent& m_group;
    std::int64_t m_maxBytes;
    std::int64_t m_begin;
    std::int64_t m_end;
    WriteRequest m_request;
};

void checkWrite(const std::vector<TypedDevice>& devices)
{
    for (const TypedDevice& device : devices) {
        if (!isServed(device, Direction::Write))
            throw notServed(device, Direction::Write);
    }
}

} // namespace

std::vector<ReadRequest> planReads(const std::vector<TypedDevice>& devices,
                                   const BlockSizes& blocks, int mostUnits)
{
    for (const TypedDevice& device : devices) {
        if (!isServed(device, Direction::Read))
            throw notServed(device, Direction::Read);
    }
    Spans wanted = spansOf(devices);
    sortByPlace(wanted.spans);

    std::vector<ReadRequest> requests;
    for (std::size_t next = 0; next < wanted.spans.size();) {
        const Span& first = wanted.spans[next];
        ReadRun run(wanted.groups[first.group], blocks, mostUnits, first);
        if (!run.takes(first))
            throw longerThanBlock(devices[first.index]);
        for (; next < wanted.spans.size() && wanted.spans[next].group == first.group; ++next) {
            if (!run.takes(wanted.spans[next]))
                break;
            run.add(wanted.spans[next]);
        }
        requests.push_back(run.request(devices));
    }
    return requests;
}

std::vector<ReadRequest> halves(const ReadRequest& request, const std::vector<TypedDevice>& devices,
                                const BlockSizes& blocks)
{
    const std::size_t middle = request.parts.size() / 2;
    std::vector<TypedDevice> first;
    std::vector<TypedDevice> second;
    for (std::size_t i = 0; i < request.parts.size(); ++i)
        (i < middle ? first : second).push_back(devices[request.parts[i].index]);

    std::vector<ReadRequest> requests = planReads(first, blocks);
    const std::size_t ofFirst = requests.size();
    for (ReadRequest& half : planReads(second, blocks))
        requests.push_back(std::move(half));
    for (std::size_t i = 0; i < requests.size(); ++i)
        for (Part& part : requests[i].parts)
            part.index = request.parts[part.index + (i < ofFirst ? 0 : middle)].index;
    return requests;
}

void takeAnswer(const ReadRequest& request, const QByteArray& answer,
                const std::vector<TypedDevice>& devices, std::vector<Reading>& readings)
{
    if (answer.size() != request.bytes) {
        takeFailure(request,
                    Failure(FailureKind::InvalidReply,
                            "the driver returned " + std::to_string(answer.size()) +
                                " bytes instead of " + std::to_string(request.bytes)),
                    readings);
        return;
    }
    for (const Part& part : request.parts) {
        Reading& reading = readings[part.index];
        reading = Reading();
        try {
            reading.value = valueIn(answer, part.offset, devices[part.index]);
        } catch (const Failure& failure) {
            reading.failure = failure;
        }
    }
}

void takeFailure(const ReadRequest& request, const Failure& failure, std::vector<Reading>& readings)
{
    for (const Part& part : request.parts)
        readings[part.index] = {std::nullopt, failure};
}

std::vector<WriteRequest> planWrites(const std::vector<TypedDevice>& devices,
                                     const std::vector<Value>& values, const BlockSizes& blocks)
{
    checkWrite(devices);
    const Spans written = spansOf(devices);
    refuseTwice(written, devices);

    std::vector<WriteRequest> requests;
    const std::vector<Span>& spans = written.spans;
    for (std::size_t next = 0; next < spans.size();) {
        const Span& first = spans[next];
        const Extent& group = written.groups[first.group];
        WriteRun run(group, blocks, first);
        // Without areas only the first value of a run has a device text.
        if (!run.takes(first) || (group.area == nullptr && first.begin != 0))
            throw longerThanBlock(devices[first.index]);
        for (; next < spans.size() && spans[next].group == first.group; ++next) {
            if (!run.takes(spans[next]))
                break;
            run.add(spans[next], devices[spans[next].index], values[spans[next].index]);
        }
        requests.push_back(run.request(devices));
    }
    return requests;
}

} // namespace bench
