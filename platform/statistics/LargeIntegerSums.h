#pragma once

#include "exactMoments.h"

#include <tuple>
#include <type_traits>

/// Count, sum and sum of squares of 64-bit integers, all exact for up to 2^62 values. The sums are
/// those of the distances from the first value. If the values are close together, the sums are
/// short, whatever the size of the values, and results are computed faster.
template <typename N>
class LargeIntegerSums
{
    static_assert(sizeof(N) == sizeof(quint64) && std::is_integral_v<N>);

public:
    /// Whether the series has values: these words are enough for every series.
    bool isOrdinary() const { return count != 0; }

    /// Adds \a value. Always returns true: these sums can hold every value.
    bool add(N value)
    {
        if (count == 0)
            anchor = static_cast<quint64>(value);
        ++count;
        const quint64 distance = static_cast<quint64>(value) - anchor;
        const bool below = value < static_cast<N>(anchor);
        sumLow += distance;
        sumHigh += quint64(sumLow < distance) - quint64(below);
        const Words<2> squared = square(below ? 0 - distance : distance);
        squaresLow += squared[0];
        const quint64 carry = squaresLow < squared[0] ? 1 : 0;
        // Cannot overflow: no square has all bits set in its upper word.
        const quint64 upper = squared[1] + carry;
        squaresMiddle += upper;
        squaresHigh += squaresMiddle < upper ? 1 : 0;
        return true;
    }

    template <typename Products = PlainProducts>
    Q_ALWAYS_INLINE double mean() const
    {
        if (count == 0)
            return 0;
        const Words<2> anchors = product(anchor, count);
        const quint64 low = anchors[0] + sumLow;
        const quint64 high = anchors[1] + sumHigh + (low < sumLow ? 1 : 0) -
                             (static_cast<N>(anchor) < N(0) ? count : 0);
        return isOneWord(low, high) ? meanOf(static_cast<qint64>(low), count)
                                    : meanOf<Products>(low, high, count);
    }

    Q_ALWAYS_INLINE double deviation() const
    {
        if (count == 0)
            return 0;
        if (Q_UNLIKELY(!areFew(count)))
            return deviationOf(Words<2>{sumLow, sumHigh},
                               Words<3>{squaresLow, squaresMiddle, squaresHigh}, count);
        if (areShort())
            return deviationOf(static_cast<qint64>(sumLow), {squaresLow, squaresMiddle}, count);
        return deviationOf(sumLow, sumHigh, squaresLow, squaresMiddle, squaresHigh, count);
    }

    quint64 count = 0;
    quint64 anchor = 0;
    quint64 sumLow = 0;
    quint64 sumHigh = 0;
    quint64 squaresLow = 0;
    quint64 squaresMiddle = 0;
    quint64 squaresHigh = 0;

    /// Whether the sum fits into one word, and the squares of few values times their count into
    /// two.
    bool areShort() const
    {
        constexpr quint64 largeSquares = quint64(1) << 37;
        return isOneWord(sumLow, sumHigh) && squaresHigh == 0 && squaresMiddle < largeSquares;
    }

    static constexpr std::size_t wordCount = 7;
    static constexpr WordRange changing = {0, 7};
    static constexpr WordRange ofMean = {0, 4};
    static constexpr WordRange ofDeviation = {0, 7};
    auto words()
    {
        return std::tie(count, anchor, sumLow, sumHigh, squaresLow, squaresMiddle, squaresHigh);
    }

private:
    /// Whether the upper word only repeats the sign of the lower one.
    static bool isOneWord(quint64 low, quint64 high) { return high == signWord(low); }
};
