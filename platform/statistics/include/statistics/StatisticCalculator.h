#pragma once

/// \file
/// Running statistics.

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>

#include <array>
#include <atomic>
#include <memory>
#include <optional>

/// Running statistics of the values added since construction or the last clear().
///
/// NaN and infinities are ignored. Results have the unit of the values, and are 0 before the first
/// finite value. They are identical, bit for bit, on every processor. For the same values in the
/// same order, the results of SimpleStatisticCalculator are identical for integer types, and differ
/// by at most two units in the last place for floating-point types (except for means that have lost
/// digits, see getAverage()).
///
/// An object takes at most 256 bytes, however many values are added. Memory is allocated only for a
/// log: the constructor allocates twice its capacity. Except for getLoggedValues() and getMedian(),
/// all operations take constant time, tens of nanoseconds.
///
/// This class is reentrant. The const functions are thread-safe: any number of threads may call
/// them while one thread at a time calls addValue(), clear() or setLogValues(). The writer never
/// waits. A reader that is interrupted by a change tries again, so each result reflects one moment
/// between two changes; two results may reflect different moments.
///
/// \tparam N the type of the values, one of the ten in \ref STATISTICS_ELEMENT_TYPES
/// \ingroup statistics-library
template <typename N>
class StatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "StatisticCalculator<N>: N must be one of the ten element types (signed char, "
                  "short, int, long long, their unsigned counterparts, float, double)");

public:
    /// Constructs an empty calculator with logging off. The log keeps the newest \a capacity
    /// values; if \a capacity is empty, 0 or negative, there is no log. Allocates twice the
    /// capacity for the log, and throws std::bad_alloc if memory runs out.
    explicit StatisticCalculator(std::optional<int> capacity);

    /// Adds \a value to the statistics, and to the log if logging is on. Ignores NaN and
    /// infinities.
    STATISTICS_DIRECT_CALL void addValue(N value);

    /// Forgets all values, including those in the log. Does not switch logging on or off.
    void clear();

    /// Switches logging on if \a enabled is true, otherwise off. The log keeps its values when it
    /// is switched off.
    void setLogValues(bool enabled);

    /// Returns the logged values, oldest first, at most as many as the capacity; an empty list if
    /// there is no log. Takes time linear in their number.
    QList<N> getLoggedValues() const;

    /// Returns the arithmetic mean, computed from the exact sum of the values.
    ///
    /// Integer types: the double nearest to the exact mean, for up to 2^48 values. Floating-point
    /// types: within one unit in the last place of that double. Their sum is exact as long as its
    /// bits fit into 18 doubles, whatever their exponents; bits below 2^-946 are lost if a value is
    /// 2^900 or more. So digits are lost only if the values span more than about 900 bits and
    /// cancel each other down to the lowest of these bits.
    STATISTICS_DIRECT_CALL double getAverage() const;

    /// Returns the population standard deviation, the square root of the mean squared distance from
    /// the mean (divisor n).
    ///
    /// Exactly 0 for equal values. Otherwise within one unit in the last place of the double
    /// nearest to the exact result, for up to 2^48 values of integer types and up to 2^26 values
    /// of floating-point types. Beyond 2^26 values, the error for floating-point types grows with
    /// the square of the count, starting far below the last digit. Adding the values in a different
    /// order changes mean and deviation by at most two units in the last place.
    ///
    /// Squares are kept scaled, so they neither overflow nor underflow: the result is equally
    /// accurate for the greatest and the smallest finite values. It is never negative, infinite or
    /// NaN. Below the smallest normal double (2.2e-308), a unit in the last place is that of
    /// subnormal numbers.
    STATISTICS_DIRECT_CALL double getDeviation() const;

    /// Returns the greatest value.
    N getMaximum() const;

    /// Returns the smallest value.
    N getMinimum() const;

    /// Returns the median of \a values, not of the values added: the middle value in sorted order,
    /// or for an even count the mean of the two middle values; 0 for a list without finite values.
    /// Takes time linear in the length of the list. Copies the values unless the list is moved in.
    double getMedian(QList<N> values) const;

private:
    struct Q_DECL_HIDDEN Paths;

    /// Odd while the words below are being changed.
    std::atomic<quint64> sequence{0};
    std::atomic<N> maximum{0};
    std::atomic<N> minimum{0};
    /// The exact sums, in words that can be read while they are written.
    std::array<std::atomic<quint64>, std::is_floating_point_v<N> ? 24 : 7> sums{};
    /// The log is a ring. Its positions count from the first value ever logged.
    std::atomic<quint64> logBegin{0};
    std::atomic<quint64> logEnd{0};
    std::unique_ptr<std::atomic<N>[]> ring;
    const int logCapacity;
    std::atomic<bool> logging{false};
};

#define STATISTICS_DECLARE_CALCULATOR(N)                                                           \
    extern template class STATISTICS_TEMPLATE_DECLARATION StatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DECLARE_CALCULATOR)
#undef STATISTICS_DECLARE_CALCULATOR
