#pragma once

#include "FloatingSums.h"
#include "dispatch.h"

#include <QtCore/QList>

/// The sums of a list of ordinary values, in lanes that are independent of each other and without
/// branches, so that compilers use vector instructions. Each lane takes the same steps as
/// OrdinaryFloatingSums. If nothing was left out in the end, all values were ordinary. NaN and
/// infinities make what was left out NaN. Distances with tiny squares count as left out.
class FloatingLanes
{
public:
    static constexpr int laneCount = 8;

    explicit FloatingLanes(double first) : anchor(first) {}

    /// Adds a value to each lane. A value equal to the anchor changes nothing. \a N is the type
    /// that the values had.
    template <typename Products, typename N, bool withSquares>
    Q_ALWAYS_INLINE void add(const double* values)
    {
        for (int i = 0; i < laneCount; ++i) {
            const DoubleDouble distance = twoDifference(values[i], anchor);
            const DoubleDouble total = twoSum(sum[i], distance.high);
            const DoubleDouble lows = plusLow<N>(sumRest[i], distance.low);
            const DoubleDouble rest = twoSum(lows.high, total.low);
            sum[i] = total.high;
            sumRest[i] = rest.high;
            leftOut[i] += std::fabs(rest.low) + std::fabs(lows.low);
            if constexpr (withSquares) {
                const double square = distance.high * distance.high;
                const double error = Products::errorOfLargeSquare(distance.high, square);
                leftOut[i] += std::fabs(square < leastExactSquare ? distance.high : 0);
                const DoubleDouble all =
                    quickTwoSum(std::max(squares[i], square), std::min(squares[i], square));
                squares[i] = all.high;
                squaresRest[i] += (all.low + error) + crossTerm<N>(distance);
            }
        }
    }

    /// Adds the sums of all lanes to \a sums. Returns whether nothing was left out.
    bool addTo(OrdinaryFloatingSums& sums) const
    {
        bool isExact = true;
        for (int i = 0; i < laneCount; ++i) {
            isExact &= leftOut[i] == 0 &&
                       OrdinaryFloatingSums::isZero(sums.addDistance<double>({sum[i], sumRest[i]}));
            sums.addSquares({squares[i], squaresRest[i]}, 0);
            sums.evenOut();
        }
        return isExact;
    }

private:
    const double anchor;
    double sum[laneCount] = {}, sumRest[laneCount] = {};
    double squares[laneCount] = {}, squaresRest[laneCount] = {};
    double leftOut[laneCount] = {};
};

/// Returns the lanes after \a passes, each of which adds one value to each lane, starting at
/// \a value. Inlined into a function of its own, so that the lanes stay in registers.
template <typename Products, typename N, bool withSquares>
Q_ALWAYS_INLINE FloatingLanes lanesOf(const double* value, int passes, double anchor)
{
    FloatingLanes lanes(anchor);
    for (; passes > 0; --passes) {
        lanes.add<Products, N, withSquares>(value);
        value += FloatingLanes::laneCount;
    }
    return lanes;
}

template <typename N, bool withSquares>
Q_NEVER_INLINE FloatingLanes plainLanesOf(const double* value, int passes, double anchor)
{
    return lanesOf<PlainProducts, N, withSquares>(value, passes, anchor);
}

#if VANTREL_HAS_FUSED
template <typename N, bool withSquares>
VANTREL_FUSED Q_NEVER_INLINE FloatingLanes fusedLanesOf(const double* value, int passes,
                                                        double anchor)
{
    return lanesOf<FusedProducts, N, withSquares>(value, passes, anchor);
}
#endif

/// The fastest of these functions that the processor runs.
template <typename N, bool withSquares>
auto fastestLanesOf()
{
#if VANTREL_HAS_FUSED
    if (runsFused)
        return fusedLanesOf<N, withSquares>;
#endif
    return plainLanesOf<N, withSquares>;
}

/// Adds \a values to \a sums, which must be empty, and returns whether all values are ordinary; if
/// not, the sums are useless. If \a withSquares is false, only mean() may be called on them.
/// \a lanesOfValues is one of the functions above.
template <bool withSquares, typename N, typename Lanes>
bool sumOrdinary(const QList<N>& values, FloatingSums& sums, Lanes lanesOfValues)
{
    if (values.isEmpty())
        return false;
    const double anchor = static_cast<double>(values.constFirst());
    sums.count = static_cast<double>(values.size());
    sums.form = FloatingSums::ordinaryForm;
    sums.anchor = anchor;
    bool isExact = true;
    // As doubles, one next to the other: lists of Qt 5 keep floats apart. The rests of the squares
    // in a lane are not normalised after every value. A lane ends before they grow so large that
    // their own rounding errors matter.
    constexpr int partSize = 128 * FloatingLanes::laneCount;
    std::array<double, partSize + FloatingLanes::laneCount> part;
    for (auto value = values.constBegin(); value != values.constEnd();) {
        const auto left =
            static_cast<int>(std::min<qsizetype>(values.constEnd() - value, partSize));
        const double* first = part.data();
        int passes = left / FloatingLanes::laneCount;
        if (std::is_same_v<N, double> && passes > 0) {
            first = reinterpret_cast<const double*>(&*value); // no need to copy them
            value += passes * FloatingLanes::laneCount;
        } else {
            // An anchor changes nothing.
            const auto end = std::copy(value, value + left, part.begin());
            std::fill_n(end, FloatingLanes::laneCount, anchor);
            passes = (left + FloatingLanes::laneCount - 1) / FloatingLanes::laneCount;
            value += left;
        }
        isExact &= lanesOfValues(first, passes, anchor).addTo(sums);
    }
    // Between these limits no square overflows, and squares that underflow do not matter.
    const bool squaresAreRight = sums.squares > 0x1p-900 && sums.squares < 0x1p896;
    constexpr double limit = 0x1p900; // no count of anchors overflows
    return isExact && std::fabs(anchor) < limit && (!withSquares || squaresAreRight);
}
