#pragma once

#include "exactMoments.h"

#include <tuple>

/// Count, sum and sum of squares of integers of at most 32 bits, all exact for up to 2^63 values.
class SmallIntegerSums
{
public:
    /// Whether the series has values: these words are enough for every series.
    bool isOrdinary() const { return count != 0; }

    /// Adds \a value. Always returns true: these sums can hold every value.
    bool add(qint64 value)
    {
        const quint64 term = static_cast<quint64>(value);
        const quint64 termSquared = term * term;
        ++count;
        sumLow += term;
        sumHigh += quint64(sumLow < term) - quint64(value < 0);
        squaresLow += termSquared;
        squaresHigh += squaresLow < termSquared ? 1 : 0;
        return true;
    }

    /// Adds all of \a values to empty sums. No list is so long that the sum, or the sum of either
    /// half of the squares, exceeds a word.
    template <typename List>
    void addAll(const List& values)
    {
        qint64 sum = 0;
        quint64 lowHalves = 0, highHalves = 0;
        for (const auto value : values) {
            const quint64 square = squareOf(value);
            sum += value;
            lowHalves += static_cast<quint32>(square);
            highHalves += square >> 32;
        }
        count = static_cast<quint64>(values.size());
        sumLow = static_cast<quint64>(sum);
        sumHigh = signWord(sumLow);
        squaresLow = (highHalves << 32) + lowHalves;
        squaresHigh = (highHalves >> 32) + (squaresLow < lowHalves ? 1 : 0);
    }

    double mean() const
    {
        if (count == 0)
            return 0;
        // The sum of few values fits into one word.
        if (areFew(count))
            return meanOf(static_cast<qint64>(sumLow), count);
        return anyMeanOf(sumLow, sumHigh, count);
    }

    double deviation() const
    {
        if (count == 0)
            return 0;
        if (areFew(count))
            return deviationOf(static_cast<qint64>(sumLow), {squaresLow, squaresHigh}, count);
        return deviationOf(Words<2>{sumLow, sumHigh}, Words<3>{squaresLow, squaresHigh, 0}, count);
    }

    quint64 count = 0;
    quint64 sumLow = 0;
    quint64 sumHigh = 0;
    quint64 squaresLow = 0;
    quint64 squaresHigh = 0;

    static constexpr std::size_t wordCount = 5;
    static constexpr WordRange changing = {0, 5};
    static constexpr WordRange ofMean = {0, 3};
    static constexpr WordRange ofDeviation = {0, 5};
    auto words() { return std::tie(count, sumLow, sumHigh, squaresLow, squaresHigh); }

private:
    static quint64 squareOf(qint64 value)
    {
        return static_cast<quint64>(value) * static_cast<quint64>(value);
    }
};
