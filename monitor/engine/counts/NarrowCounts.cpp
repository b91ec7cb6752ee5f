#include "NarrowCounts.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace monitor
{

namespace
{

constexpr quint32 blockSize = 32; // keys
constexpr quint32 keys = quint32(1) << NarrowCounts::maxBits;

} // namespace

void NarrowCounts::Free::operator()(quint32* memory) const
{
    std::free(memory);
}

void NarrowCounts::add(quint32 key, quint64 count)
{
    if (count == 0)
        return;
    add(key);
    quint32& low = times.get()[key - first];
    const quint64 sum = low + (count - 1);
    low = static_cast<quint32>(sum);
    if (sum >> 32 != 0)
        addCarry(key, sum >> 32);
}

quint64 NarrowCounts::countBelow(quint32 limit) const
{
    quint64 count = 0;
    const quint32 places = limit > first ? std::min(limit - first, size) : 0;
    for (quint32 i = 0; i < places; ++i)
        count += times.get()[i];
    if (carries) {
        for (auto carry = carries->begin(); carry != carries->lower_bound(limit); ++carry)
            count += carry->second << 32;
    }
    return count;
}

quint32 NarrowCounts::keyAt(quint64 position) const
{
    quint32 key = first;
    for (quint64 count = countOf(key); position >= count; count = countOf(++key))
        position -= count;
    return key;
}

quint64 NarrowCounts::countOf(quint32 key) const
{
    quint64 count = times.get()[key - first];
    if (carries) {
        const auto carry = carries->find(key);
        count += carry == carries->end() ? 0 : carry->second << 32;
    }
    return count;
}

/// Adds a key for which there is no counter. There are then at least twice as many counters as
/// before, so that on average each is moved once. Counters of keys that never occur take no memory
/// if the system allocates pages when they are written.
void NarrowCounts::addBeyond(quint32 key)
{
    quint32 begin = size == 0 ? key : std::min(first, key);
    quint32 end = size == 0 ? key + 1 : std::max(first + size, key + 1);
    const quint32 wanted = 2 * size;
    if (end - begin < wanted && key < first)
        begin = end - std::min(end, wanted);
    if (end - begin < wanted)
        end = begin + wanted;
    begin = begin / blockSize * blockSize;
    end = std::min((end + blockSize - 1) / blockSize * blockSize, keys);
    std::unique_ptr<quint32, Free> moved(
        static_cast<quint32*>(std::calloc(end - begin, sizeof(quint32))));
    if (!moved)
        throw std::bad_alloc();
    std::copy_n(times.get(), size, moved.get() + (first - begin));
    times = std::move(moved);
    first = begin;
    size = end - begin;
    ++times.get()[key - first];
}

void NarrowCounts::addCarry(quint32 key, quint64 carry)
{
    if (!carries)
        carries = std::make_unique<Carries>();
    (*carries)[key] += carry;
}

} // namespace monitor
