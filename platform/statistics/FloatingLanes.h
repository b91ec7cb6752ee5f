#pragma once

#include "FloatingSums.h"

#include <QtCore/QList>

/// The sums of a list of ordinary values, in lanes that are independent of each other and without
/// branches, so that compilers use vector instructions. Each lane takes the same steps as
/// OrdinaryFloatingSums. If nothing was left out in the end, all values were ordinary. NaN and
/// infinities make what was left out NaN.
class FloatingLanes
{
public:
    static constexpr int laneCount = 4;

    explicit FloatingLanes(double first) : anchor(first) {}

    /// Adds a value to each lane. A value equal to the anchor changes nothing.
    template <bool withSquares, typename Values>
    void add(Values values)
    {
        for (int i = 0; i < laneCount; ++i) {
            const DoubleDouble distance = twoDifference(static_cast<double>(values[i]), anchor);
            const DoubleDouble total = twoSum(sum[i], distance.high);
            const DoubleDouble lows = twoSum(total.low, distance.low);
            const DoubleDouble rest = twoSum(sumRest[i], lows.high);
            sum[i] = total.high;
            sumRest[i] = rest.high;
            leftOut[i] += std::fabs(rest.low) + std::fabs(lows.low);
            if constexpr (withSquares) {
                const DoubleDouble square = twoSquare(distance.high);
                const DoubleDouble squaresTotal = twoSum(squares[i], square.high);
                squares[i] = squaresTotal.high;
                squaresRest[i] +=
                    squaresTotal.low + (square.low + 2 * distance.high * distance.low);
            }
        }
    }

    /// Adds the sums of all lanes to \a sums. Returns the magnitude of what was left out, 0 if
    /// nothing.
    double addTo(OrdinaryFloatingSums& sums) const
    {
        double allLeftOut = 0;
        for (int i = 0; i < laneCount; ++i) {
            allLeftOut += leftOut[i] + sums.addDistances({sum[i], sumRest[i]});
            sums.addSquares({squares[i], squaresRest[i]});
        }
        return allLeftOut;
    }

private:
    const double anchor;
    double sum[laneCount] = {}, sumRest[laneCount] = {}, leftOut[laneCount] = {};
    double squares[laneCount] = {}, squaresRest[laneCount] = {};
};

/// Returns the lanes after \a passes, each of which adds one value to each lane, starting at
/// \a value. A separate function, so that the lanes stay in registers.
template <bool withSquares, typename Iterator>
Q_NEVER_INLINE FloatingLanes lanesOf(Iterator value, int passes, double anchor)
{
    FloatingLanes lanes(anchor);
    for (; passes > 0; --passes) {
        lanes.add<withSquares>(value);
        value += FloatingLanes::laneCount;
    }
    return lanes;
}

/// Adds \a values to \a sums, which must be empty, and returns whether all values are ordinary; if
/// not, the sums are useless. If \a withSquares is false, only mean() may be called on them.
template <bool withSquares, typename N>
bool sumOrdinary(const QList<N>& values, OrdinaryFloatingSums& sums)
{
    if (values.isEmpty())
        return false;
    sums.count = static_cast<quint64>(values.size());
    sums.form = OrdinaryFloatingSums::ordinaryForm;
    sums.anchor = static_cast<double>(values.constFirst());
    double leftOut = 0;
    auto value = values.constBegin();
    // The rests of the squares in a lane are not normalised after every value. A lane ends before
    // they grow so large that their own rounding errors matter.
    constexpr int passesOfALane = 1000;
    for (qsizetype left = values.size() / FloatingLanes::laneCount; left > 0;
         left -= passesOfALane) {
        const auto passes = static_cast<int>(std::min<qsizetype>(left, passesOfALane));
        leftOut += lanesOf<withSquares>(value, passes, sums.anchor).addTo(sums);
        value += passes * FloatingLanes::laneCount;
    }
    std::array<N, FloatingLanes::laneCount> last;
    last.fill(values.constFirst());
    std::copy(value, values.constEnd(), last.begin());
    FloatingLanes lanes(sums.anchor);
    lanes.add<withSquares>(last.cbegin());
    leftOut += lanes.addTo(sums);
    // Between these limits no square overflows, and squares that underflow do not matter.
    const bool squaresAreRight = sums.squares > 0x1p-900 && sums.squares < 0x1p896;
    constexpr double limit = 0x1p900; // no count of anchors overflows
    return leftOut == 0 && std::fabs(sums.anchor) < limit && (!withSquares || squaresAreRight);
}
