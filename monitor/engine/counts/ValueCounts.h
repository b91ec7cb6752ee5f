#pragma once

#include <QtCore/qglobal.h>

#include <vector>

namespace monitor
{

/// How often each value has been seen, sorted by value. The median and the number of values below
/// or above a limit are found without visiting all values. Adding a value is fast too, since the
/// values are stored in chunks of limited size. Equal values share an entry.
class ValueCounts
{
public:
    /// Adds \a value, which must not be NaN.
    void add(double value);

    /// Removes a value that was added.
    void remove(double value);

    void clear() { *this = ValueCounts(); }

    /// The number of values.
    qint64 count() const { return total; }

    /// The number of values less than \a limit.
    qint64 below(double limit) const;

    /// The number of values greater than \a limit.
    qint64 above(double limit) const;

    /// The middle value, or the mean of the two middle values; 0 if there are no values.
    double median() const;

private:
    struct Entry {
        double value;
        qint64 count;
    };
    struct Chunk {
        double first; // the smallest value
        qint64 count; // of all entries
        std::vector<Entry> entries;
    };

    static constexpr size_t maxEntries = 512;

    size_t chunkOf(double value) const;
    void split(size_t chunk);
    double at(qint64 position) const;

    std::vector<Chunk> chunks; // none is empty
    qint64 total = 0;
};

} // namespace monitor
