#pragma once

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>

#include <array>
#include <atomic>
#include <memory>
#include <optional>

/// Running statistics over the values of type \a N added since construction or the last clear().
///
/// Available for the ten element types of STATISTICS_ELEMENT_TYPES. A float or double that is not
/// finite is no measurement: it is left out of every quantity. All answers are in the unit of the
/// values and 0 as long as nothing has been added. They are the same bits whatever the processor.
/// SimpleStatisticCalculator gives the same for the same values in the same order: integer types to
/// the bit, floating-point types within two units in the last place (but for means of which either
/// has lost digits).
///
/// An object is 256 bytes at most and takes no further memory for its values, however many; only a
/// log has storage of its own, for twice its capacity, from the constructor on. Adding a value and
/// every answer but the log and the median take constant time, tens of nanoseconds.
///
/// One thread may add, clear and switch logging while any number of threads read. The reading
/// operations (those declared const) are thread-safe against that one writer and each other; the
/// writing ones (addValue(), clear(), setLogValues()) are reentrant only: where several threads
/// write, the host lets them do so one after the other. The writer never waits. A reader repeats
/// its reading where a change fell into it, and every answer is that of one moment between two
/// changes; two answers may be those of two moments.
template <typename N>
class StatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "StatisticCalculator<N>: N must be one of the ten element types (signed char, "
                  "short, int, long long, their unsigned counterparts, float, double)");

public:
    /// An empty calculator. \a capacity is how many of the newest values a log keeps while
    /// logging is on; empty, 0 or negative means no log. Logging is off at first.
    /// The log takes its memory here: throws std::bad_alloc where there is none for twice the
    /// capacity.
    explicit StatisticCalculator(std::optional<int> capacity);

    /// Adds \a value to the statistics, and to the log while logging is on.
    void addValue(N value);

    /// Forgets every value, those in the log included. Logging stays on or off.
    void clear();

    /// Switches logging. The log keeps what it holds when it is switched off.
    void setLogValues(bool enabled);

    /// The logged values, oldest first: at most as many as the capacity. Linear in their number.
    QList<N> getLoggedValues() const;

    /// The arithmetic mean, from the exact sum of the values.
    ///
    /// Integer types: the double nearest to the exact mean, for up to 2^48 values. Floating-point
    /// types: the same to one unit in the last place. Their sum is exact as long as 18 doubles hold
    /// all of its bits, wherever these lie, but for those below 2^-946 in a series with a value of
    /// 2^900 or more; only a series that spreads over more than about 900 bits and then cancels
    /// down to the lowest of them loses digits.
    double getAverage() const;

    /// The population deviation: the root of the mean squared distance from the mean (divisor n).
    ///
    /// Exactly 0 for equal values, otherwise within one unit in the last place of the double
    /// nearest to the exact root: integer types for up to 2^48 values, floating-point types for up
    /// to 2^26; beyond that the error of the latter grows with the square of the count, from far
    /// below the last digit. The order of the values moves neither answer by more than two units.
    ///
    /// Squares past the range of a double do no harm: they are kept scaled, so the answer is as
    /// good for all finite values, the greatest and the smallest included. It is never negative,
    /// infinite or not a number. Units below the least normal double (2.2e-308) are as coarse as
    /// doubles are there.
    double getDeviation() const;

    /// The greatest value.
    N getMaximum() const;

    /// The smallest value.
    N getMinimum() const;

    /// The median of \a values, not of the values added: the middle one in order, for an even
    /// count the mean of the two middle ones; 0 for a list without a measurement. Linear in the
    /// length of the list.
    double getMedian(QList<N> values) const;

private:
    /// Odd while a change is under way.
    std::atomic<quint64> sequence{0};
    std::atomic<N> maximum{0};
    std::atomic<N> minimum{0};
    /// The exact sums, as words that can be read while they are written.
    std::array<std::atomic<quint64>, std::is_floating_point_v<N> ? 24 : 7> sums{};
    /// The log is a ring; its positions are counted from the first value ever logged.
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
