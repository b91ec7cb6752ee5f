#pragma once

#include "SpilledRuns.h"

#include <limits>
#include <variant>

namespace monitor
{

/// Counts how often each raw value of a signal came. Exact for any number of values, in bounded
/// memory. A value is given as a key, an unsigned number with the same order as the values. The
/// distinct keys are kept in a hash table. If there are many, keys of up to 16 bits get a counter
/// each, and wider ones are written to a temporary file. Throws std::bad_alloc if memory runs out.
/// Reentrant.
class KeyCounts
{
public:
    /// Keys are less than 2 to the power of \a keyBits, which is 1 to 64. At most \a entryBound
    /// distinct keys of more than 16 bits are kept in memory, rounded up to a power of two. Without
    /// \a spillFile, or if it cannot be written, all are. \a spillFile must outlive the counts.
    explicit KeyCounts(int keyBits, SpillFile* spillFile = nullptr, size_t entryBound = 65536);
    ~KeyCounts();

    KeyCounts(const KeyCounts&) = delete;
    KeyCounts& operator=(const KeyCounts&) = delete;

    void add(quint64 key)
    {
        if (blocks.empty()) {
            addToTable(key, 1);
            return;
        }
        Block& block = blocks[key >> blockBits];
        if (!increment<quint8>(block, key) && !increment<quint16>(block, key) &&
            !increment<quint32>(block, key))
            addToBlock(key, 1);
    }

    /// The same as \a times calls of add().
    void add(quint64 key, quint64 times);

    /// The number of values.
    quint64 count() const;

    /// The number of distinct values. Reads all of them if they are spilled.
    quint64 distinct() const;

    /// The number of values whose key satisfies \a isBefore. This must be true for the keys below
    /// some limit and false from there on. It is asked only for keys between the smallest and the
    /// greatest counted one.
    quint64 countWhile(const std::function<bool(quint64 key)>& isBefore) const;

    /// The key at \a position, which must be less than count(), in order of keys.
    quint64 keyAt(quint64 position) const;

    /// Calls \a visit for each distinct key in order.
    void forEach(const std::function<void(quint64 key, quint64 times)>& visit) const;

    /// Whether keys are in the temporary file.
    bool isSpilled() const { return runs.runCount() > 0; }

    /// False if part of the temporary file could not be read. The results lack its values.
    bool isComplete() const { return runs.isComplete(); }

    /// The number of sorted runs in the temporary file.
    size_t runCount() const { return runs.runCount(); }

    /// The number of distinct keys in memory.
    size_t entriesInMemory() const { return entries.size(); }

    /// Deletes all values.
    void clear();

private:
    // Counters of neighbouring keys, wide enough for the greatest count of them. There are none
    // before the first value.
    struct Block {
        std::variant<std::vector<quint8>, std::vector<quint16>, std::vector<quint32>,
                     std::vector<quint64>>
            counters;
        quint64 count = 0; // of values
    };
    static constexpr int blockBits = 9;
    static constexpr quint64 blockMask = (quint64(1) << blockBits) - 1;

    /// Returns false if \a block has no counters of this type, or the counter is at its maximum.
    template <typename Counter>
    static bool increment(Block& block, quint64 key)
    {
        auto* const counters = std::get_if<std::vector<Counter>>(&block.counters);
        if (!counters || counters->empty())
            return false;
        Counter& counter = (*counters)[key & blockMask];
        if (counter == std::numeric_limits<Counter>::max())
            return false;
        ++counter;
        ++block.count;
        return true;
    }

    void addToBlock(quint64 key, quint64 times);
    void addToTable(quint64 key, quint64 times);
    quint64 countTo(quint64 last) const;
    size_t placeOf(quint64 key) const;
    void makeBlocks();
    void makeRoom();
    bool spill();
    void sortEntries() const;
    const std::vector<KeyCount>& sortedEntries() const;
    void setTable(size_t size) const;

    const int bits;
    const size_t bound;
    SpillFile* const file;

    std::vector<Block> blocks; // empty while the hash table is used

    // The distinct keys, of which the first are sorted, and a hash table of twice as many places,
    // which hold the index of an entry plus 1, or 0. Sorting does not change the counts.
    mutable std::vector<KeyCount> entries;
    mutable size_t sorted = 0;
    mutable std::vector<quint32> table;
    mutable int hashShift = 0;
    size_t reserved = 0; // from the account of the file
    quint64 total = 0;
    quint64 least = 0;
    quint64 greatest = 0;
    SpilledRuns runs;
};

} // namespace monitor
