#include "simulator/memory.h"

#include <algorithm>

namespace simulator
{

std::vector<uint32_t> Memory::read(const Place& first, uint32_t count) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<uint32_t> values(count);
    const auto block = m_blocks.find(first.block);
    if (block == m_blocks.end() || first.index >= block->second.size())
        return values;
    const auto begin = block->second.begin() + first.index;
    std::copy_n(begin, std::min<ptrdiff_t>(count, block->second.end() - begin), values.begin());
    return values;
}

void Memory::write(const Place& first, const std::vector<uint32_t>& values)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    endMovement(first, values.size());
    store(first, values);
}

void Memory::move(const Place& place, const Motion& motion)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    endMovement(place, 1);
    store(place, {valueAfter(motion, 0)});
    m_moving.push_back({place, motion, std::nullopt});
}

void Memory::advanceTo(TimeMs now)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Moving& moving : m_moving) {
        if (!moving.start)
            moving.start = now;
        store(moving.place, {valueAfter(moving.motion, now - *moving.start)});
    }
}

void Memory::store(const Place& first, const std::vector<uint32_t>& values)
{
    std::vector<uint32_t>& block = m_blocks[first.block];
    block.resize(std::max(block.size(), first.index + values.size()));
    std::copy(values.begin(), values.end(), block.begin() + first.index);
}

void Memory::endMovement(const Place& first, size_t count)
{
    const auto isWritten = [&](const Moving& moving) {
        return moving.place.block == first.block && moving.place.index >= first.index &&
               moving.place.index - first.index < count;
    };
    m_moving.erase(std::remove_if(m_moving.begin(), m_moving.end(), isWritten), m_moving.end());
}

} // namespace simulator
