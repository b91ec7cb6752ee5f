#pragma once

#include <QtCore/qglobal.h>

#include <vector>

namespace monitor
{

/// How often each value has been seen, in the order of the values: the median, and how many values
/// lie below or above a limit, are known at any time without going through all of them. Adding one
/// is fast too, since the values lie in pieces of limited size; equal ones share a place.
class ValueCounts
{
public:
    /// Adds a number that is not NaN.
    void add(double value);

    /// Removes a value that was added.
    void remove(double value);

    /// How many there are.
    qint64 count() const { return total; }

    /// How many are less than \a limit.
    qint64 below(double limit) const;

    /// How many are greater than \a limit.
    qint64 above(double limit) const;

    /// The one in the middle, or the mean of the two there; 0 without values.
    double median() const;

private:
    struct Entry {
        double value;
        qint64 count;
    };
    struct Piece {
        double first; // the smallest value
        qint64 count; // of all entries
        std::vector<Entry> entries;
    };

    static constexpr size_t longestPiece = 512;

    size_t pieceOf(double value) const;
    void split(size_t piece);
    double at(qint64 position) const;

    std::vector<Piece> pieces; // none is empty
    qint64 total = 0;
};

} // namespace monitor
