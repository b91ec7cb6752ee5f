#pragma once

#include "floatingPoint.h"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

/// Count, sum and sum of squares of finite doubles.
///
/// Both are sums of distances from the first value, the anchor. The sum is a chain of doubles, each
/// of which holds the rounding error of the one before it. It is exact as long as the chain is long
/// enough; two doubles nearly always are. The squares are kept in two doubles. Since the anchor is
/// one of the values, the square of its distance from the mean is at most the count times the
/// variance. So, however far out it lies, subtracting that square loses no more digits than the
/// count has, and two doubles have digits to spare.
///
/// This class is the part that ordinary series need: a chain of two doubles, and magnitudes whose
/// squares neither overflow nor underflow. Its operations avoid branches and fit into registers.
class OrdinaryFloatingSums
{
public:
    /// Whether the other functions of this class may be used; otherwise FloatingSums must be. An
    /// empty series is not ordinary, so they need not check for it.
    bool isOrdinary() const { return form == ordinaryForm; }

    /// Adds \a value and returns true. Returns false and changes nothing if that requires
    /// FloatingSums.
    bool add(double value)
    {
        const DoubleDouble distance = twoDifference(value, anchor);
        const DoubleDouble total = twoSum(sum, distance.high);
        const DoubleDouble lows = twoSum(total.low, distance.low);
        const DoubleDouble rest = twoSum(sumRest, lows.high);
        if (!isOrdinary() || !(std::fabs(value) < ordinaryLimit) || rest.low != 0 || lows.low != 0)
            return false;
        if (Q_UNLIKELY(squares == 0 && std::fabs(value) < tinyLimit && value != anchor))
            return false;
        ++count;
        sum = total.high;
        sumRest = rest.high;
        addSquare(distance);
        return true;
    }

    /// The same for a value of 24 bits, whose distance from another one is nearly always a double.
    bool add(float value)
    {
        const DoubleDouble distance = twoDifference(static_cast<double>(value), anchor);
        const DoubleDouble total = twoSum(sum, distance.high);
        const DoubleDouble rest = twoSum(sumRest, total.low);
        // NaN and infinities have left a NaN.
        if (!isOrdinary() || rest.low != 0 || distance.low != 0)
            return false;
        ++count;
        sum = total.high;
        sumRest = rest.high;
        addSquare(distance.high);
        return true;
    }

    double mean() const
    {
        const double n = static_cast<double>(qint64(count));
        const DoubleDouble meanDistance = quotient(twoSum(sum, sumRest), n);
        const DoubleDouble mean = twoSum(anchor, meanDistance.high);
        if (Q_UNLIKELY(hasCancelled(mean.high)))
            return exactMean();
        return mean.high + (mean.low + meanDistance.low);
    }

    /// Whether so much has cancelled that two doubles may have too few digits left for \a mean.
    bool hasCancelled(double mean) const { return std::fabs(mean) < std::fabs(anchor) * 0x1p-30; }

    double deviation() const { return deviationFrom({sum, sumRest}); }

    quint64 count = 0;
    /// The level (see FloatingSums), and in the bits from 8 on the length of the tail. 0 for an
    /// empty series.
    quint64 form = 0;
    double sum = 0;
    double sumRest = 0;
    double anchor = 0;
    double squares = 0;
    double squaresRest = 0;

    static constexpr std::size_t meanWords = 5;
    static constexpr std::size_t wordCount = 7;
    auto words() { return std::tie(count, form, sum, sumRest, anchor, squares, squaresRest); }

    static constexpr quint64 ordinaryForm = 1;

    /// Adds a sum of distances. Returns the magnitude of what was left out, 0 if nothing.
    double addDistances(DoubleDouble distances)
    {
        const DoubleDouble total = twoSum(sum, distances.high);
        const DoubleDouble lows = twoSum(total.low, distances.low);
        const DoubleDouble rest = twoSum(sumRest, lows.high);
        sum = total.high;
        sumRest = rest.high;
        return std::fabs(rest.low) + std::fabs(lows.low);
    }

    /// Adds a square or a sum of squares.
    void addSquares(DoubleDouble added)
    {
        const DoubleDouble total = twoSum(squares, added.high);
        evenOutSquares(total.high, squaresRest + (total.low + added.low));
    }

protected:
    static constexpr double ordinaryLimit = 0x1p450;
    /// Below this limit a square may underflow. A series of zeros is ordinary nevertheless, until
    /// the first value other than 0.
    static constexpr double tinyLimit = 0x1p-300;

    void addSquare(double distance) { addSquares(twoSquare(distance)); }

    void addSquare(DoubleDouble distance)
    {
        addSquare(distance.high);
        evenOutSquares(squares, squaresRest + 2 * distance.high * distance.low);
    }

    /// Keeps the rest below the last place of the squares, so that its own rounding errors do not
    /// matter, however often the same square is added.
    void evenOutSquares(double high, double rest)
    {
        const DoubleDouble even = quickTwoSum(high, rest);
        squares = even.high;
        squaresRest = even.low;
    }

    /// Returns the deviation, given the sum of the distances.
    double deviationFrom(DoubleDouble distances) const
    {
        const double n = static_cast<double>(qint64(count));
        const DoubleDouble minuend = timesCount(squares, n);
        const DoubleDouble subtrahend = twoSquare(distances.high);
        // The subtrahend is greater by rounding errors at most; then the difference is exact too.
        const DoubleDouble difference = quickTwoSum(minuend.high, -subtrahend.high);
        const double subtrahendRest = distances.low * (2 * distances.high + distances.low);
        const double lows = (minuend.low + n * squaresRest) - (subtrahend.low + subtrahendRest);
        const double variance = difference.high + (difference.low + lows);
        return variance > 0 ? std::sqrt(variance / (n * n)) : 0;
    }

    /// Returns the sum of the first \a length of \a parts as two doubles. Repeated passes of twoSum
    /// move the sum to the front.
    template <std::size_t size>
    static DoubleDouble distilled(std::array<double, size>& parts, std::size_t length)
    {
        for (std::size_t pass = 1; pass < length; ++pass) {
            for (std::size_t i = length - 1; i > 0; --i) {
                const DoubleDouble pair = twoSum(parts[i - 1], parts[i]);
                parts[i - 1] = pair.high;
                parts[i] = pair.low;
            }
        }
        double rest = 0;
        for (std::size_t i = length - 1; i > 0; --i)
            rest += parts[i];
        return {parts[0], rest};
    }

private:
    /// Returns the mean if the sum of the distances nearly cancels the anchor.
    Q_NEVER_INLINE double exactMean() const
    {
        const double n = static_cast<double>(qint64(count));
        const DoubleDouble anchors = twoProduct(anchor, n);
        std::array<double, 4> parts = {anchors.high, sum, sumRest, anchors.low};
        const DoubleDouble mean = quotient(distilled(parts, parts.size()), n);
        return mean.high + mean.low;
    }
};

/// The same for all finite doubles, whatever their magnitudes.
class FloatingSums : public OrdinaryFloatingSums
{
public:
    void add(double value)
    {
        if (!OrdinaryFloatingSums::add(value))
            addAny(value);
    }

    void add(float value)
    {
        if (!OrdinaryFloatingSums::add(value))
            addAny(static_cast<double>(value));
    }

    double mean() const { return isOrdinary() ? OrdinaryFloatingSums::mean() : anyMean(); }

    double deviation() const
    {
        return isOrdinary() ? OrdinaryFloatingSums::deviation() : anyDeviation();
    }

    quint64 tailLength() const { return form >> 8; }

    static constexpr std::size_t tailCapacity = 16;
    /// The part that sum and sumRest cannot hold, in the first tailLength() elements.
    std::array<double, tailCapacity> tail{};

private:
    /// The scales of squares and of the sum while all values are below a limit. With them, no sum
    /// and no square overflows, and no square that matters underflows.
    struct Level {
        double limit;
        double ofSquares;
        double ofSum;
    };
    static constexpr double reduction = 0x1p-600;
    static constexpr double infinity = std::numeric_limits<double>::infinity();
    /// The first level is that of an empty series, the second one that of a series of zeros. A
    /// series rises from each level to the next. Once a value has exceeded the first limit, squares
    /// that underflow do not matter.
    static constexpr Level levels[] = {{tinyLimit, 1 / reduction, 1},
                                       {ordinaryLimit, 1, 1},
                                       {0x1p900, reduction, 1},
                                       {infinity, reduction, 0x1p-128}};
    static constexpr quint64 levelMask = 3;
    static constexpr quint64 tailUnit = 1 << 8;

    const Level& level() const { return levels[form & levelMask]; }

    Q_NEVER_INLINE void addAny(double value)
    {
        const bool onlyZeros = anchor == 0 && sum == 0 && squares == 0;
        if (onlyZeros && form <= ordinaryForm)
            form = value == 0 ? ordinaryForm : 0;
        while (!(std::fabs(value) < level().limit))
            raiseLevel();
        if (count == 0)
            anchor = value;
        ++count;
        const Level scale = level();
        addSquare(twoDifference(value * scale.ofSquares, anchor * scale.ofSquares));
        const DoubleDouble distance = twoDifference(value * scale.ofSum, anchor * scale.ofSum);
        const DoubleDouble total = twoSum(sum, distance.high);
        sum = total.high;
        addToRest(total.low);
        addToRest(distance.low);
    }

    void addToRest(double term)
    {
        const DoubleDouble rest = twoSum(sumRest, term);
        sumRest = rest.high;
        term = rest.low;
        for (quint64 i = 0; i < tailLength() && term != 0; ++i) {
            const DoubleDouble link = twoSum(tail[i], term);
            tail[i] = link.high;
            term = link.low;
        }
        if (term != 0 && tailLength() < tailCapacity) {
            tail[tailLength()] = term;
            form += tailUnit;
        }
    }

    void raiseLevel()
    {
        const Level before = level();
        ++form;
        const double ofSum = level().ofSum / before.ofSum;
        sum *= ofSum;
        sumRest *= ofSum;
        for (quint64 i = 0; i < tailLength(); ++i)
            tail[i] *= ofSum;
        // In two steps, because the square of this factor underflows.
        const double ofSquares = level().ofSquares / before.ofSquares;
        squares = squares * ofSquares * ofSquares;
        squaresRest = squaresRest * ofSquares * ofSquares;
    }

    Q_NEVER_INLINE double anyMean() const
    {
        if (count == 0)
            return 0;
        const double n = static_cast<double>(qint64(count));
        const DoubleDouble anchors = twoProduct(anchor * level().ofSum, n);
        const DoubleDouble mean = quotient(distilledWith({anchors.high, anchors.low}), n);
        return (mean.high + mean.low) / level().ofSum;
    }

    Q_NEVER_INLINE double anyDeviation() const
    {
        const Level scale = level();
        const double change = scale.ofSquares / scale.ofSum;
        const DoubleDouble distances = distilledWith({0, 0});
        const double scaled = deviationFrom({distances.high * change, distances.low * change});
        return std::fmin(scaled / scale.ofSquares, std::numeric_limits<double>::max());
    }

    /// Returns the sum of the distances and of \a terms.
    DoubleDouble distilledWith(DoubleDouble terms) const
    {
        std::array<double, tailCapacity + 4> parts = {terms.high, sum, sumRest, terms.low};
        std::copy_n(tail.begin(), tailLength(), parts.begin() + 4);
        return distilled(parts, 4 + tailLength());
    }
};
