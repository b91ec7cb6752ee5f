#pragma once

#include "FloatingSums.h"

#include <QtCore/QList>

/// The sums of a list of ordinary values, formed by the same steps as OrdinaryFloatingSums in lanes
/// that do not wait for each other, without a branch, so that compilers make vector instructions of
/// them. Whether the list was one of ordinary values turns out at the end: then nothing has been
/// left out. A value that is not finite leaves a remainder that is not a number.
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

    /// Moves the squares of all lanes to \a sums. Their rests are not evened out with every value,
    /// so it is done before these grow long enough for their own roundings to count.
    void moveSquares(OrdinaryFloatingSums& sums)
    {
        for (int i = 0; i < laneCount; ++i) {
            sums.addSquares({squares[i], squaresRest[i]});
            squares[i] = squaresRest[i] = 0;
        }
    }

    /// Completes \a sums, which have no more than squares, with those of all lanes and \a count
    /// values, and returns whether they are right.
    template <bool withSquares>
    bool collect(OrdinaryFloatingSums& sums, int count)
    {
        moveSquares(sums);
        double allLeftOut = 0;
        for (int i = 0; i < laneCount; ++i)
            allLeftOut += leftOut[i] + sums.addDistances({sum[i], sumRest[i]});
        sums.count = static_cast<quint64>(count);
        sums.form = OrdinaryFloatingSums::ordinaryForm;
        sums.anchor = anchor;
        // Between these limits no square overflows, and those too small for a double do not count.
        const bool squaresAreRight = sums.squares > 0x1p-900 && sums.squares < 0x1p896;
        constexpr double limit = 0x1p900; // no count of anchors overflows
        return allLeftOut == 0 && std::fabs(anchor) < limit && (!withSquares || squaresAreRight);
    }

private:
    const double anchor;
    double sum[laneCount] = {}, sumRest[laneCount] = {}, leftOut[laneCount] = {};
    double squares[laneCount] = {}, squaresRest[laneCount] = {};
};

/// Fills \a sums, which are empty, with those of \a values, and returns whether all of these are
/// ordinary. Without squares only the mean may be asked for.
template <bool withSquares, typename N>
bool sumOrdinary(const QList<N>& values, OrdinaryFloatingSums& sums)
{
    if (values.isEmpty())
        return false;
    FloatingLanes lanes(static_cast<double>(values.constFirst()));
    auto value = values.constBegin();
    constexpr int passesBetweenMoves = 1000;
    for (int passes = values.size() / FloatingLanes::laneCount; passes > 0;) {
        const int next = std::min(passes, passesBetweenMoves);
        passes -= next;
        for (int i = 0; i < next; ++i) {
            lanes.add<withSquares>(value);
            value += FloatingLanes::laneCount;
        }
        lanes.moveSquares(sums);
    }
    std::array<N, FloatingLanes::laneCount> last;
    last.fill(values.constFirst());
    std::copy(value, values.constEnd(), last.begin());
    lanes.add<withSquares>(last.cbegin());
    return lanes.collect<withSquares>(sums, values.size());
}
