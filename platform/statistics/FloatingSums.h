#pragma once

#include <statistics/floatingPoint.h>

#include <array>
#include <limits>
#include <tuple>

/// Count, sum and sum of squares of finite doubles.
///
/// The sum is a chain of doubles, each holding what rounding left out of the one before it; it is
/// exact as long as the chain is long enough, which two doubles nearly always are. The squares are
/// of the distances from the first value and kept in two doubles. The first value being one of
/// them, the square of its distance from the mean is at most the count times the variance: however
/// far out it lies, taking that square off again costs no more digits than the count has, and two
/// doubles have them to spare.
class FloatingSums
{
public:
    using Value = double;

    void add(double value)
    {
        if (!(std::fabs(value) < levels[level].limit))
            raiseLevel(value);
        if (count == 0)
            anchor = value;
        ++count;
        const Level& scale = levels[level];
        addSquare(twoDifference(value * scale.ofSquares, anchor * scale.ofSquares));
        addTerm(value * scale.ofSum);
    }

    double mean() const
    {
        if (count == 0)
            return 0;
        const double scaled = quotient(shortSum(), static_cast<double>(count));
        return level == ordinaryLevel ? scaled : scaled / levels[level].ofSum;
    }

    double deviation() const
    {
        // Also the answer for an empty series; a square is 0 only where the distance is.
        if (squares == 0)
            return 0;
        const double n = static_cast<double>(count);
        const DoubleDouble distances = sumOfDistances(n);
        DoubleDouble minuend = timesCount(squares, n), subtrahend = twoSquare(distances.high);
        minuend.low += n * squaresRest;
        subtrahend.low += 2 * distances.high * distances.low;
        const DoubleDouble difference = twoDifference(minuend.high, subtrahend.high);
        const double variance = difference.high + (difference.low + (minuend.low - subtrahend.low));
        const double scaled = variance > 0 ? std::sqrt(variance / (n * n)) : 0;
        if (level == ordinaryLevel)
            return scaled;
        return std::fmin(scaled / levels[level].ofSquares, std::numeric_limits<double>::max());
    }

    quint64 count = 0;
    quint64 level = 0;
    quint64 tailLength = 0;
    double sum = 0;
    double sumRest = 0;
    double anchor = 0;
    double squares = 0;
    double squaresRest = 0;

    static constexpr std::size_t meanWords = 5;
    static constexpr std::size_t wordCount = 8;
    auto words()
    {
        return std::tie(count, level, tailLength, sum, sumRest, anchor, squares, squaresRest);
    }

    static constexpr std::size_t tailCapacity = 16;
    /// What sum and sumRest cannot hold. Only the first tailLength of them are set.
    std::array<double, tailCapacity> tail{};

private:
    /// What values are multiplied by while their magnitude is below a limit, so that neither a sum
    /// nor a square ever overflows, and no square that matters underflows.
    struct Level {
        double limit;
        double ofSquares;
        double ofSum;
    };
    static constexpr double reduction = 0x1p-600;
    static constexpr Level levels[] = {
        {0x1p-300, 0x1p600, 1},
        {0x1p450, 1, 1},
        {0x1p900, reduction, 1},
        {std::numeric_limits<double>::infinity(), reduction, 0x1p-128}};

    void addSquare(DoubleDouble distance)
    {
        const DoubleDouble square = twoSquare(distance.high);
        const DoubleDouble total = twoSum(squares, square.high);
        squares = total.high;
        squaresRest += total.low + (square.low + 2 * distance.high * distance.low);
    }

    void addTerm(double term)
    {
        const DoubleDouble total = twoSum(sum, term);
        const DoubleDouble rest = twoSum(sumRest, total.low);
        sum = total.high;
        sumRest = rest.high;
        if (rest.low != 0)
            addToTail(rest.low);
    }

    void addToTail(double term)
    {
        for (quint64 i = 0; i < tailLength && term != 0; ++i) {
            const DoubleDouble total = twoSum(tail[i], term);
            tail[i] = total.high;
            term = total.low;
        }
        if (term != 0 && tailLength < tailCapacity)
            tail[tailLength++] = term;
    }

    void raiseLevel(double value)
    {
        const Level before = levels[level];
        while (!(std::fabs(value) < levels[level].limit))
            ++level;
        const double ofSum = levels[level].ofSum / before.ofSum;
        sum *= ofSum;
        sumRest *= ofSum;
        for (quint64 i = 0; i < tailLength; ++i)
            tail[i] *= ofSum;
        // In two steps, because the square of a scale's change may be no double.
        for (double scale = before.ofSquares; scale != levels[level].ofSquares;
             scale *= reduction) {
            squares = squares * reduction * reduction;
            squaresRest = squaresRest * reduction * reduction;
        }
    }

    /// The sum in two doubles.
    DoubleDouble shortSum() const
    {
        if (tailLength == 0)
            return twoSum(sum, sumRest);
        double rest = 0;
        const DoubleDouble leading = distilled(rest);
        return {leading.high, leading.low + rest};
    }

    /// The sum in three doubles, of which \a rest is the last: one pass of twoSum after the other
    /// moves what the parts have in common to the front.
    DoubleDouble distilled(double& rest) const
    {
        std::array<double, tailCapacity + 2> parts;
        parts[0] = sum;
        parts[1] = sumRest;
        std::size_t length = 2;
        for (; length < tailLength + 2; ++length)
            parts[length] = tail[length - 2];
        for (std::size_t pass = 1; pass < length; ++pass) {
            for (std::size_t i = length - 1; i > 0; --i) {
                const DoubleDouble pair = twoSum(parts[i - 1], parts[i]);
                parts[i - 1] = pair.high;
                parts[i] = pair.low;
            }
        }
        rest = 0;
        for (std::size_t i = length; i > 2; --i)
            rest += parts[i - 1];
        return {parts[0], parts[1]};
    }

    /// The sum of the distances from the anchor, in the scale of the squares.
    DoubleDouble sumOfDistances(double n) const
    {
        const Level& scale = levels[level];
        double rest = 0;
        DoubleDouble total = tailLength == 0 ? DoubleDouble{sum, sumRest} : distilled(rest);
        if (level != ordinaryLevel) {
            const double change = scale.ofSquares / scale.ofSum;
            total = {total.high * change, total.low * change};
            rest *= change;
        }
        const DoubleDouble anchors = timesCount(anchor * scale.ofSquares, n);
        const DoubleDouble leading = twoDifference(total.high, anchors.high);
        const DoubleDouble following = twoDifference(total.low, anchors.low);
        const DoubleDouble middle = twoSum(leading.low, following.high);
        const DoubleDouble distances = twoSum(leading.high, middle.high);
        return {distances.high, distances.low + (middle.low + following.low + rest)};
    }

    static constexpr quint64 ordinaryLevel = 1;
};
