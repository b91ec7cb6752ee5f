#pragma once

#include "SpilledRuns.h"

namespace monitor
{

/// Counts how often each key of any width occurs, exactly and in bounded memory for any length.
/// The distinct keys are kept in a hash table; if there are many, they are written to a temporary
/// file. Throws std::bad_alloc if memory runs out. This class is reentrant.
class WideCounts
{
public:
    /// At most \a entryBound distinct keys, rounded up to a power of two, are kept in memory.
    /// Without \a spillFile, or if it cannot be written, all are kept there. \a spillFile must
    /// outlive the counts.
    explicit WideCounts(SpillFile* spillFile = nullptr, size_t entryBound = 65536);
    ~WideCounts();

    WideCounts(const WideCounts&) = delete;
    WideCounts& operator=(const WideCounts&) = delete;

    /// Adds \a times values with this \a key.
    void add(quint64 key, quint64 times = 1);

    /// The number of values.
    quint64 count() const { return total; }

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
    quint64 countTo(quint64 last) const;
    size_t placeOf(quint64 key) const;
    void makeRoom();
    bool spill();
    void sortEntries() const;
    const std::vector<KeyCount>& sortedEntries() const;
    void setTable(size_t size) const;

    const size_t bound;
    SpillFile* const file;

    // The distinct keys, of which the first are sorted, and a hash table of twice as many places,
    // which hold the index of an entry plus 1, or 0. Sorting does not change the counts.
    mutable std::vector<KeyCount> entries;
    mutable size_t sorted = 0;
    mutable std::vector<quint32> table;
    mutable int hashShift = 0;
    size_t reserved = 0; // from the budget of the file
    quint64 total = 0;
    quint64 least = 0;
    quint64 greatest = 0;
    SpilledRuns runs;
};

} // namespace monitor
