#include "ValueCounts.h"

#include <algorithm>

namespace monitor
{

void ValueCounts::add(double value)
{
    ++total;
    if (chunks.empty())
        chunks.push_back({value, 0, {}});
    const size_t place = chunkOf(value);
    Chunk& chunk = chunks.at(place);
    ++chunk.count;
    const auto isLess = [](const Entry& entry, double other) { return entry.value < other; };
    const auto entry = std::lower_bound(chunk.entries.begin(), chunk.entries.end(), value, isLess);
    if (entry != chunk.entries.end() && entry->value == value) {
        ++entry->count;
        return;
    }
    chunk.entries.insert(entry, {value, 1});
    chunk.first = chunk.entries.front().value;
    if (chunk.entries.size() > maxEntries)
        split(place);
}

void ValueCounts::remove(double value)
{
    const size_t place = chunkOf(value);
    Chunk& chunk = chunks.at(place);
    const auto isLess = [](const Entry& entry, double other) { return entry.value < other; };
    const auto entry = std::lower_bound(chunk.entries.begin(), chunk.entries.end(), value, isLess);
    --total;
    --chunk.count;
    if (--entry->count > 0)
        return;
    chunk.entries.erase(entry);
    if (chunk.entries.empty())
        chunks.erase(chunks.begin() + static_cast<std::ptrdiff_t>(place));
    else
        chunk.first = chunk.entries.front().value;
}

qint64 ValueCounts::below(double limit) const
{
    qint64 less = 0;
    for (size_t i = 0; i < chunks.size() && chunks.at(i).first < limit; ++i) {
        const bool isLast = i + 1 == chunks.size() || chunks.at(i + 1).first >= limit;
        if (!isLast) {
            less += chunks.at(i).count;
            continue;
        }
        for (const Entry& entry : chunks.at(i).entries)
            less += entry.value < limit ? entry.count : 0;
    }
    return less;
}

qint64 ValueCounts::above(double limit) const
{
    qint64 equal = 0;
    if (!chunks.empty()) {
        for (const Entry& entry : chunks.at(chunkOf(limit)).entries)
            equal += entry.value == limit ? entry.count : 0;
    }
    return total - below(limit) - equal;
}

double ValueCounts::median() const
{
    if (total == 0)
        return 0;
    const double upper = at(total / 2);
    return total % 2 == 1 ? upper : at(total / 2 - 1) / 2 + upper / 2;
}

/// The chunk that \a value belongs to: the last one that begins with it or before it.
size_t ValueCounts::chunkOf(double value) const
{
    const auto isLess = [](double other, const Chunk& chunk) { return other < chunk.first; };
    const auto next = std::upper_bound(chunks.begin(), chunks.end(), value, isLess);
    return next == chunks.begin() ? 0 : static_cast<size_t>(next - chunks.begin()) - 1;
}

void ValueCounts::split(size_t chunk)
{
    std::vector<Entry>& entries = chunks.at(chunk).entries;
    const auto middle = entries.begin() + static_cast<std::ptrdiff_t>(entries.size() / 2);
    Chunk rest{middle->value, 0, {middle, entries.end()}};
    for (const Entry& entry : rest.entries)
        rest.count += entry.count;
    entries.erase(middle, entries.end());
    chunks.at(chunk).count -= rest.count;
    chunks.insert(chunks.begin() + static_cast<std::ptrdiff_t>(chunk) + 1, std::move(rest));
}

/// The value at \a position, counted from 0 in order.
double ValueCounts::at(qint64 position) const
{
    size_t chunk = 0;
    while (position >= chunks.at(chunk).count)
        position -= chunks.at(chunk++).count;
    const std::vector<Entry>& entries = chunks.at(chunk).entries;
    size_t entry = 0;
    while (position >= entries.at(entry).count)
        position -= entries.at(entry++).count;
    return entries.at(entry).value;
}

} // namespace monitor
