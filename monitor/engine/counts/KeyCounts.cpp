#include "KeyCounts.h"

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>
#include <utility>

namespace monitor
{

namespace
{

constexpr int fewestTableBits = 9; // a block for narrower keys is smaller than a table
constexpr int narrowBits = 16;
constexpr size_t smallestTable = 16;

/// With more than one key of so many in the hash table, counters for all keys take less memory.
constexpr size_t keysPerEntry = 64;

/// The number of entries that each may keep in memory without taking them from the account.
constexpr size_t freeEntries = 1024;

/// The number of entries that each may keep in memory after the first were spilled. So many
/// distinct values are likely to be noise: few of them come again, and more entries in memory would
/// only take longer to search and to sort.
constexpr size_t spilledEntries = 32768;

constexpr auto isKeyLess = [](const KeyCount& left, const KeyCount& right) {
    return left.key < right.key;
};

template <typename Counters>
void widen(Counters& counters)
{
    std::visit(
        [&](const auto& narrow) {
            using Counter = typename std::decay_t<decltype(narrow)>::value_type;
            using Wider =
                std::conditional_t<sizeof(Counter) == 1, quint16,
                                   std::conditional_t<sizeof(Counter) == 2, quint32, quint64>>;
            std::vector<Wider> wide(narrow.begin(), narrow.end());
            counters = std::move(wide);
        },
        counters);
}

/// Sorts digit by digit of base 256, which for many entries takes a fifth of the time that
/// comparing them takes.
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

KeyCounts::KeyCounts(int keyBits, SpillFile* spillFile, size_t entryBound)
    : bits(keyBits), bound(entryBound), file(bits > narrowBits ? spillFile : nullptr), runs(file)
{
    clear();
}

KeyCounts::~KeyCounts()
{
    if (file)
        file->giveBack(reserved);
}

void KeyCounts::add(quint64 key, quint64 times)
{
    if (times == 0)
        return;
    if (blocks.empty())
        addToTable(key, times);
    else
        addToBlock(key, times);
}

void KeyCounts::addToBlock(quint64 key, quint64 times)
{
    Block& block = blocks[key >> blockBits];
    const auto tryToAdd = [&](auto& counters) {
        using Counter = typename std::decay_t<decltype(counters)>::value_type;
        if (counters.empty())
            counters.resize(size_t(1) << std::min(bits, blockBits));
        Counter& counter = counters[key & blockMask];
        const bool isWideEnough = times <= std::numeric_limits<Counter>::max() - quint64(counter);
        if (isWideEnough)
            counter = static_cast<Counter>(counter + times);
        return isWideEnough;
    };
    while (!std::visit(tryToAdd, block.counters))
        widen(block.counters);
    block.count += times;
}

void KeyCounts::addToTable(quint64 key, quint64 times)
{
    size_t place = placeOf(key);
    if (table[place] == 0) {
        if (entries.size() >= table.size() / 2) {
            if (bits <= narrowBits && entries.size() >= (size_t(1) << bits) / keysPerEntry) {
                makeBlocks();
                addToBlock(key, times);
                return;
            }
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

quint64 KeyCounts::count() const
{
    quint64 sum = total;
    for (const Block& block : blocks)
        sum += block.count;
    return sum;
}

quint64 KeyCounts::distinct() const
{
    if (blocks.empty() && !isSpilled())
        return entries.size();
    quint64 sum = 0;
    forEach([&](quint64, quint64) { ++sum; });
    return sum;
}

quint64 KeyCounts::countWhile(const std::function<bool(quint64 key)>& isBefore) const
{
    const quint64 all = count();
    if (all == 0)
        return 0;
    quint64 last = blocks.empty() ? least : keyAt(0);
    quint64 end = blocks.empty() ? greatest : keyAt(all - 1);
    if (!isBefore(last))
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
quint64 KeyCounts::countTo(quint64 last) const
{
    quint64 sum = 0;
    if (blocks.empty()) {
        for (const KeyCount& entry : entries)
            sum += entry.key <= last ? entry.times : 0;
        return sum + runs.countTo(last);
    }
    const quint64 block = last >> blockBits;
    for (quint64 i = 0; i < block; ++i)
        sum += blocks[i].count;
    const auto addUp = [&](const auto& counters) {
        const size_t end = std::min<size_t>(counters.size(), (last & blockMask) + 1);
        for (size_t i = 0; i < end; ++i)
            sum += counters[i];
    };
    std::visit(addUp, blocks[block].counters);
    return sum;
}

quint64 KeyCounts::keyAt(quint64 position) const
{
    if (!blocks.empty()) {
        quint64 block = 0;
        while (position >= blocks[block].count)
            position -= blocks[block++].count;
        quint64 key = block << blockBits;
        const auto skip = [&](const auto& counters) {
            for (size_t i = 0; position >= counters[i]; ++i, ++key)
                position -= counters[i];
        };
        std::visit(skip, blocks[block].counters);
        return key;
    }
    const std::vector<KeyCount>& inOrder = sortedEntries();
    if (isSpilled())
        return runs.keyAt(position, inOrder);
    size_t entry = 0;
    while (position >= inOrder[entry].times)
        position -= inOrder[entry++].times;
    return inOrder[entry].key;
}

void KeyCounts::forEach(const std::function<void(quint64 key, quint64 times)>& visit) const
{
    quint64 key = 0;
    const auto visitCounters = [&](const auto& counters) {
        for (size_t i = 0; i < counters.size(); ++i) {
            if (counters[i] > 0)
                visit(key + i, counters[i]);
        }
    };
    for (const Block& block : blocks) {
        std::visit(visitCounters, block.counters);
        key += blockMask + 1;
    }
    if (blocks.empty())
        runs.forEach(sortedEntries(), visit);
}

void KeyCounts::clear()
{
    entries = {};
    sorted = 0;
    total = 0;
    runs.clear();
    if (file)
        file->giveBack(reserved);
    reserved = 0;
    blocks.clear();
    if (bits < fewestTableBits)
        makeBlocks();
    else
        setTable(smallestTable);
}

/// The place of \a key in the hash table, or the free one where it belongs.
size_t KeyCounts::placeOf(quint64 key) const
{
    // Both halves of the key decide, so that neither small integers nor doubles with few digits
    // share table.
    size_t place = ((key ^ key >> 32) * 0x9E3779B97F4A7C15) >> hashShift;
    while (table[place] != 0 && entries[table[place] - 1].key != key)
        place = (place + 1) & (table.size() - 1);
    return place;
}

/// Moves all entries to counters, one for each key.
void KeyCounts::makeBlocks()
{
    blocks.resize(size_t(1) << std::max(0, bits - blockBits));
    for (const KeyCount& entry : entries)
        addToBlock(entry.key, entry.times);
    entries = {};
    table = {};
    total = 0;
}

/// Makes room for another entry: spills all, or doubles the table.
void KeyCounts::makeRoom()
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
bool KeyCounts::spill()
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

void KeyCounts::sortEntries() const
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

const std::vector<KeyCount>& KeyCounts::sortedEntries() const
{
    if (sorted < entries.size()) {
        sortEntries();
        setTable(table.size());
    }
    return entries;
}

/// Makes a hash table of \a size places, a power of two, for all entries.
void KeyCounts::setTable(size_t size) const
{
    table.assign(size, 0);
    hashShift = static_cast<int>(qCountLeadingZeroBits(quint64(size))) + 1;
    for (size_t i = 0; i < entries.size(); ++i)
        table[placeOf(entries[i].key)] = static_cast<quint32>(i + 1);
}

} // namespace monitor
