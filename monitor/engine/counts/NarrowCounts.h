#pragma once

#include <QtCore/qglobal.h>

#include <map>
#include <memory>

namespace monitor
{

/// Counts how often each key of at most 16 bits occurs. There is a counter for each key from the
/// smallest to the greatest one so far, rounded to blocks. Throws std::bad_alloc if memory runs
/// out. This class is reentrant.
class NarrowCounts
{
public:
    /// The longest keys, in bits.
    static constexpr int maxBits = 16;

    void add(quint32 key)
    {
        const quint32 place = key - first;
        if (place >= size)
            return addBeyond(key);
        if (++times.get()[place] == 0)
            addCarry(key);
    }

    /// The same as \a count calls of add().
    void add(quint32 key, quint64 count);

    /// The number of values whose keys are less than \a limit.
    quint64 countBelow(quint32 limit) const;

    /// The number of values whose key satisfies \a isBefore. This must be true for the keys below
    /// some limit and false from there on.
    template <typename IsBefore>
    quint64 countWhile(IsBefore isBefore) const
    {
        quint32 lower = first;
        for (quint32 upper = first + size; lower < upper;) {
            const quint32 middle = lower + (upper - lower) / 2;
            if (isBefore(middle))
                lower = middle + 1;
            else
                upper = middle;
        }
        return countBelow(lower);
    }

    /// Calls \a visit for each distinct key in order.
    template <typename Visit>
    void forEach(Visit visit) const
    {
        for (quint32 i = 0; i < size; ++i) {
            const quint64 count = countOf(first + i);
            if (count > 0)
                visit(first + i, count);
        }
    }

    /// The key at \a position in order of keys, counted from 0. There must be more values.
    quint32 keyAt(quint64 position) const;

    /// Deletes all values.
    void clear() { *this = NarrowCounts(); }

private:
    struct Free {
        void operator()(quint32* memory) const;
    };
    using Carries = std::map<quint32, quint64>;

    quint64 countOf(quint32 key) const;
    void addBeyond(quint32 key);
    void addCarry(quint32 key, quint64 carry = 1);

    std::unique_ptr<quint32, Free> times; // of the keys from the first one
    quint32 first = 0;
    quint32 size = 0;
    std::unique_ptr<Carries> carries; // multiples of 2 to the power of 32, by key; may be null
};

} // namespace monitor
