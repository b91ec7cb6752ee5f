#pragma once

#include "floatingPoint.h"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

/// Returns \a rest + \a low, where \a low is the rounding error of the distance of two values of
/// type \a N. For floats it must be 0: their 24 bits nearly always leave room for the distance.
template <typename N>
Q_ALWAYS_INLINE DoubleDouble plusLow(double rest, double low)
{
    if constexpr (std::is_same_v<N, float>)
        return {rest, low};
    else
        return twoSum(rest, low);
}

/// Returns the square of a \a distance of two values of type \a N, without that of its upper part.
/// The square of the lower part does not matter.
template <typename N>
Q_ALWAYS_INLINE double crossTerm(DoubleDouble distance)
{
    return std::is_same_v<N, float> ? 0 : 2 * distance.high * distance.low;
}

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
/// squares neither overflow nor underflow. Its operations avoid branches and fit into registers,
/// and most values change each word by one or two additions: a longer chain of operations from one
/// state to the next would delay the next value. \a Products are PlainProducts or FusedProducts;
/// the results are the same.
class OrdinaryFloatingSums
{
public:
    /// Adds \a value and returns true. Returns false and changes nothing if that requires
    /// FloatingSums. \a evens must be true for every eighth value.
    template <typename Products, typename N>
    Q_ALWAYS_INLINE bool add(N number, bool evens)
    {
        const auto value = static_cast<double>(number);
        OrdinaryFloatingSums updated = *this;
        const DoubleDouble distance = twoDifference(value, anchor);
        const double leftOut = updated.addDistance<N>(distance);
        updated.addSquare<Products, N>(distance);
        // NaN and infinities have left a NaN or an infinity in the squares.
        if (Q_UNLIKELY(!areOrdinarySquares(updated.squares)) &&
            !(updated.squares == 0 && value == anchor))
            return false;
        if (Q_UNLIKELY(!isZero(leftOut)))
            return false;
        updated.count += 1;
        if (Q_UNLIKELY(evens))
            updated.evenOut();
        *this = updated;
        return true;
    }

    template <typename Products>
    Q_ALWAYS_INLINE double mean() const
    {
        const double reciprocal = 1 / count;
        const double estimate = sum * reciprocal;
        const double remainder = Products::remainder(sum, estimate, count);
        const double correction = (remainder + sumRest) * reciprocal;
        const DoubleDouble mean = twoSum(anchor, estimate);
        const double result = mean.high + (mean.low + correction);
        if (Q_LIKELY(isSmallPart(correction, result)))
            return result;
        return exactMean(anchor, count, sum, sumRest);
    }

    template <typename Products>
    Q_ALWAYS_INLINE double variance() const
    {
        return varianceFrom<Products>({sum, sumRest});
    }

    double anchor = 0;
    double count = 0;
    double sum = 0;
    double sumRest = 0;
    double squares = 0;
    double squaresRest = 0;

    static constexpr std::size_t wordCount = 6;
    static constexpr WordRange changing = {1, 6};
    static constexpr WordRange ofMean = {0, 4};
    static constexpr WordRange ofDeviation = {1, 6};
    auto words() { return std::tie(anchor, count, sum, sumRest, squares, squaresRest); }

    /// Adds a distance or a sum of distances. Returns 0 if nothing was left out.
    template <typename N>
    Q_ALWAYS_INLINE double addDistance(DoubleDouble distance)
    {
        const DoubleDouble total = twoSum(sum, distance.high);
        const DoubleDouble first = plusLow<N>(sumRest, distance.low);
        const DoubleDouble second = twoSum(first.high, total.low);
        sum = total.high;
        sumRest = second.high;
        return bitCast<double>(bitCast<quint64>(first.low) | bitCast<quint64>(second.low));
    }

    /// Adds a square or a sum of squares, the sum of \a added and \a rest.
    Q_ALWAYS_INLINE void addSquares(DoubleDouble added, double rest)
    {
        const DoubleDouble total =
            quickTwoSum(std::max(squares, added.high), std::min(squares, added.high));
        squares = total.high;
        squaresRest += (total.low + added.low) + rest;
    }

    /// Normalises both sums: makes the rests smaller than the last place of the sums, so that their
    /// own rounding errors do not matter, however often the same square is added.
    void evenOut()
    {
        const DoubleDouble distances = twoSum(sum, sumRest);
        const DoubleDouble allSquares = quickTwoSum(squares, squaresRest);
        sum = distances.high;
        sumRest = distances.low;
        squares = allSquares.high;
        squaresRest = allSquares.low;
    }

    static Q_ALWAYS_INLINE bool isZero(double value) { return bitCast<quint64>(value) << 1 == 0; }

    /// Whether \a correction is so small a part of \a mean that its rounding errors do not matter.
    /// Otherwise nearly everything else has cancelled.
    static Q_ALWAYS_INLINE bool isSmallPart(double correction, double mean)
    {
        const double much = correction * 0x1p10;
        return much * much < mean * mean;
    }

protected:
    static constexpr double ordinaryLimit = 0x1p450;
    /// Below this limit a square may underflow. A series of zeros is ordinary nevertheless, until
    /// the first value other than 0.
    static constexpr double tinyLimit = 0x1p-300;

    template <typename Products, typename N>
    Q_ALWAYS_INLINE void addSquare(DoubleDouble distance)
    {
        addSquares(twoSquare<Products>(distance.high), crossTerm<N>(distance));
    }

    /// Returns the variance, given the sum of the distances. Exactly 0 for equal values.
    template <typename Products>
    Q_ALWAYS_INLINE double varianceFrom(DoubleDouble distances) const
    {
        const DoubleDouble minuend = twoProduct<Products>(squares, count);
        const DoubleDouble subtrahend = twoSquare<Products>(distances.high);
        // The subtrahend is greater by rounding errors at most; then the difference is exact too.
        const DoubleDouble difference = quickTwoDifference(minuend.high, subtrahend.high);
        const double errors = (minuend.low - subtrahend.low) + difference.low;
        // The rests are used last, because they are the last words to be ready after a new value.
        const double rests = count * squaresRest - 2 * distances.high * distances.low;
        return (difference.high + (errors + rests)) / (count * count);
    }

    /// Returns (\a a.high + \a a.low) / \a count; \a a.low is at most about an ulp of \a a.high.
    static double quotient(DoubleDouble a, double count)
    {
        const double estimate = a.high / count;
        return estimate + (PlainProducts::remainder(a.high, estimate, count) + a.low) / count;
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
    /// Whether \a squares lie between the squares of the limits; false for NaN.
    static Q_ALWAYS_INLINE bool areOrdinarySquares(double squares)
    {
        static_assert(tinyLimit == 0x1p-300 && ordinaryLimit == 0x1p450);
        constexpr quint64 least = exponentBias - 600, limit = exponentBias + 900;
        return (bitCast<quint64>(squares) >> 52) - least < limit - least;
    }

    /// Returns the mean if the sum of the distances nearly cancels the anchor, or itself.
    Q_NEVER_INLINE static double exactMean(double anchor, double count, double sum, double sumRest)
    {
        const DoubleDouble anchors = twoProduct<PlainProducts>(anchor, count);
        std::array<double, 4> parts = {anchors.high, sum, sumRest, anchors.low};
        return quotient(distilled(parts, parts.size()), count);
    }
};

/// The same for all finite doubles, whatever their magnitudes.
class FloatingSums : public OrdinaryFloatingSums
{
public:
    /// Whether the functions of the base class may be used. An empty series is not ordinary, so
    /// they need not check for it.
    bool isOrdinary() const { return form == ordinaryForm; }

    void add(double value)
    {
        const bool evens = static_cast<quint64>(count) % evenInterval == evenInterval - 1;
        if (!isOrdinary() || !OrdinaryFloatingSums::add<PlainProducts>(value, evens))
            addAny(value);
    }

    double mean() const
    {
        return isOrdinary() ? OrdinaryFloatingSums::mean<PlainProducts>() : anyMean();
    }

    double deviation() const
    {
        return isOrdinary() ? std::sqrt(variance<PlainProducts>()) : anyDeviation();
    }

    quint64 tailLength() const { return form >> 8; }

    static constexpr int evenInterval = 8;
    static constexpr quint64 ordinaryForm = 1;
    static constexpr std::size_t tailCapacity = 16;

    /// The level, and in the bits from 8 on the length of the tail. 0 for an empty series.
    quint64 form = 0;
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
        if (onlyZeros)
            form = value == 0 ? ordinaryForm : 0;
        while (!(std::fabs(value) < level().limit))
            raiseLevel();
        if (count == 0)
            anchor = value;
        count += 1;
        const Level scale = level();
        addSquare<PlainProducts, double>(
            twoDifference(value * scale.ofSquares, anchor * scale.ofSquares));
        const DoubleDouble distance = twoDifference(value * scale.ofSum, anchor * scale.ofSum);
        const DoubleDouble total = twoSum(sum, distance.high);
        sum = total.high;
        addToRest(total.low);
        addToRest(distance.low);
        evenOut();
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
        const DoubleDouble anchors = twoProduct<PlainProducts>(anchor * level().ofSum, count);
        return quotient(distilledWith(anchors), count) / level().ofSum;
    }

    Q_NEVER_INLINE double anyDeviation() const
    {
        if (count == 0)
            return 0;
        const Level scale = level();
        const double change = scale.ofSquares / scale.ofSum;
        const DoubleDouble distances = distilledWith({0, 0});
        const double scaled =
            varianceFrom<PlainProducts>({distances.high * change, distances.low * change});
        return std::fmin(std::sqrt(scaled) / scale.ofSquares, std::numeric_limits<double>::max());
    }

    /// Returns the sum of the distances and of \a terms.
    DoubleDouble distilledWith(DoubleDouble terms) const
    {
        std::array<double, tailCapacity + 4> parts = {terms.high, sum, sumRest, terms.low};
        std::copy_n(tail.begin(), tailLength(), parts.begin() + 4);
        return distilled(parts, 4 + tailLength());
    }
};
