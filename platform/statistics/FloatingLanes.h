#pragma once

#include "FloatingSums.h"

#include <QtCore/QList>

/// The sums of a list of ordinary values, formed by the same steps as OrdinaryFloatingSums in lanes
/// that do not wait for each other, without a branch, so that compilers make vector instructions of
/// them. Whether the values were ordinary turns out at the end: then nothing has been left out. A
/// value that is not finite leaves a remainder that is not a number.
class FloatingLanes
{
public:
    static constexpr int laneCount = 4;

    explicit FloatingLanes(double first) : anchor(first) {}

    /// Adds a value to each lane. The anchor itself adds nothing.
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

    /// Adds the sums of all lanes to \a sums. Returns what is left out of them, 0 if nothing.
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

/// The lanes of \a passes times a value for each, from \a value on. In a function of its own they
/// stay in registers.
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

/// Fills \a sums, which are empty, with those of \a values, and returns whether all of these are
/// ordinary. Without squares only the mean may be asked for.
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
    // The rests of a lane's squares are not evened out with every value, so a lane ends before they
    // grow long enough for their own roundings to count.
    constexpr int passesOfALane = 1000;
    for (int left = values.size() / FloatingLanes::laneCount; left > 0; left -= passesOfALane) {
        const int passes = std::min(left, passesOfALane);
        leftOut += lanesOf<withSquares>(value, passes, sums.anchor).addTo(sums);
        value += passes * FloatingLanes::laneCount;
    }
    std::array<N, FloatingLanes::laneCount> last;
    last.fill(values.constFirst());
    std::copy(value, values.constEnd(), last.begin());
    FloatingLanes lanes(sums.anchor);
    lanes.add<withSquares>(last.cbegin());
    leftOut += lanes.addTo(sums);
    // Between these limits no square overflows, and those too small for a double do not count.
    const bool squaresAreRight = sums.squares > 0x1p-900 && sums.squares < 0x1p896;
    constexpr double limit = 0x1p900; // no count of anchors overflows
    return leftOut == 0 && std::fabs(sums.anchor) < limit && (!withSquares || squaresAreRight);
}
