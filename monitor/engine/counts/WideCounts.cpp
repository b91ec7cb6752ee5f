#include "WideCounts.h"

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <array>
#include <utility>

namespace monitor
{

namespace
{

constexpr size_t smallestTable = 16;

/// The number of entries that each object may keep in memory in addition to the shared budget.
constexpr size_t freeEntries = 1024;

/// The number of entries that each object may keep in memory after the first were spilled. So many
/// distinct values are likely to be noise: few of them recur, and more entries in memory would only
/// take longer to search and to sort.
constexpr size_t spilledEntries = 32768;

constexpr auto isKeyLess = [](const KeyCount& left, const KeyCount& right) {
    return left.key < right.key;
};

/// Sorts by the digits of the keys in base 256 (radix sort). For many entries this takes a fifth of
/// the time of a sort by comparison.
void sortByDigits(std::vector<KeyCount>& entries)
{
    constexpr size_t digits = 8;
    const auto digitOf = [](quint64 key, size_t digit) { return key >> (8 * digit) & 255U; };
    std::array<std::array<size_t, 256>, digits> places{};
    for (const KeyCount& entry : entries) {
        for (size_t digit = 0; digit < digits; ++digit)
            ++places[digit][digitOf(entry.key, digit)];
    }
    std::vector<KeyCount> moved(entries.size());
    for (size_t digit = 0; digit < digits; ++digit) {
        if (places[digit][digitOf(entries.front().key, digit)] == entries.size())
            continue; // all have the same
        size_t place = 0;
        for (size_t& next : places[digit])
            place += std::exchange(next, place);
        for (const KeyCount& entry : entries)
            moved[places[digit][digitOf(entry.key, digit)]++] = entry;
        entries.swap(moved);
    }
}

} // namespace

WideCounts::WideCounts(SpillFile* spillFile, size_t entryBound)
    : bound(entryBound), file(spillFile), runs(file)
{
    setTable(smallestTable);
}

WideCounts::~WideCounts()
{
    if (file)
        file->giveBack(reserved);
}

void WideCounts::add(quint64 key, quint64 times)
{
    if (times == 0)
        return;
    size_t place = placeOf(key);
    if (table[place] == 0) {
        if (entries.size() >= table.size() / 2) {
            makeRoom();
            place = placeOf(key);
        }
        entries.push_back({key, 0});
        table[place] = static_cast<quint32>(entries.size());
        least = total > 0 ? std::min(least, key) : key;
        greatest = total > 0 ? std::max(greatest, key) : key;
    }
    entries[table[place] - 1].times += times;
    total += times;
}

quint64 WideCounts::distinct() const
{
    if (!isSpilled())
        return entries.size();
    quint64 sum = 0;
    forEach([&](quint64, quint64) { ++sum; });
    return sum;
}

quint64 WideCounts::countWhile(const std::function<bool(quint64 key)>& isBefore) const
{
    quint64 last = least;
    quint64 end = greatest;
    if (total == 0 || !isBefore(last))
        return 0;
    while (last < end) {
        const quint64 middle = end - (end - last) / 2;
        if (isBefore(middle))
            last = middle;
        else
            end = middle - 1;
    }
    return countTo(last);
}

/// The number of values whose key is at most \a last.
quint64 WideCounts::countTo(quint64 last) const
{
    quint64 sum = runs.countTo(last);
    for (const KeyCount& entry : entries)
        sum += entry.key <= last ? entry.times : 0;
    return sum;
}

quint64 WideCounts::keyAt(quint64 position) const
{
    const std::vector<KeyCount>& inOrder = sortedEntries();
    if (isSpilled())
        return runs.keyAt(position, inOrder);
    size_t entry = 0;
    while (position >= inOrder[entry].times)
        position -= inOrder[entry++].times;
    return inOrder[entry].key;
}

void WideCounts::forEach(const std::function<void(quint64 key, quint64 times)>& visit) const
{
    runs.forEach(sortedEntries(), visit);
}

void WideCounts::clear()
{
    entries = {};
    sorted = 0;
    total = 0;
    runs.clear();
    if (file)
        file->giveBack(reserved);
    reserved = 0;
    setTable(smallestTable);
}

/// The place of \a key in the hash table, or the free one where it belongs.
size_t WideCounts::placeOf(quint64 key) const
{
    // Both halves of the key count, so that neither small integers nor doubles with few digits all
    // get the same place.
    size_t place = ((key ^ key >> 32) * 0x9E3779B97F4A7C15) >> hashShift;
    while (table[place] != 0 && entries[table[place] - 1].key != key)
        place = (place + 1) & (table.size() - 1);
    return place;
}

/// Makes room for another entry: spills all, or doubles the table.
void WideCounts::makeRoom()
{
    const size_t room = table.size() / 2;
    const size_t limit = isSpilled() ? std::min(bound, spilledEntries) : bound;
    const bool isFree = !file || room < std::min(bound, freeEntries);
    const bool isReserved = !isFree && room < limit && file->reserve(room);
    reserved += isReserved ? room : 0;
    if (!isFree && !isReserved && spill())
        return;
    setTable(2 * table.size());
    entries.reserve(2 * room);
}

/// Moves all entries to the temporary file. Returns false if that fails; then setTable() must
/// follow.
bool WideCounts::spill()
{
    std::fill(table.begin(), table.end(), 0);
    sortEntries();
    if (!runs.add(entries))
        return false;
    entries.clear();
    sorted = 0;
    if (table.size() > 2 * spilledEntries) {
        entries = {};
        table = {};
        setTable(2 * spilledEntries);
        const size_t needed = std::min(reserved, spilledEntries - freeEntries);
        file->giveBack(reserved - needed);
        reserved = needed;
    }
    return true;
}

void WideCounts::sortEntries() const
{
    const size_t added = entries.size() - sorted;
    const auto known = entries.begin() + static_cast<std::ptrdiff_t>(sorted);
    if (added <= 1000 || added < sorted / 8) {
        std::sort(known, entries.end(), isKeyLess);
        std::inplace_merge(entries.begin(), known, entries.end(), isKeyLess);
    } else if (!std::is_sorted(entries.begin(), entries.end(), isKeyLess)) {
        sortByDigits(entries);
    }
    sorted = entries.size();
}

const std::vector<KeyCount>& WideCounts::sortedEntries() const
{
    if (sorted < entries.size()) {
        sortEntries();
        setTable(table.size());
    }
    return entries;
}

/// Makes a hash table of \a size places, a power of two, for all entries.
void WideCounts::setTable(size_t size) const
{
    table.assign(size, 0);
    hashShift = static_cast<int>(qCountLeadingZeroBits(quint64(size))) + 1;
    for (size_t i = 0; i < entries.size(); ++i)
        table[placeOf(entries[i].key)] = static_cast<quint32>(i + 1);
}

} // namespace monitor
