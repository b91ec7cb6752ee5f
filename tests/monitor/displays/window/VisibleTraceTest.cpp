#include <displays/window/VisibleTrace.h>

#include <gtest/gtest.h>

using monitor::SignalSeries;
using monitor::Trace;
using monitor::visibleTrace;

namespace
{

/// A value every second from 1 on, which is the second itself; none from \a gap to \a gapEnd.
SignalSeries seconds(int count, int gap = 0, int gapEnd = 0)
{
    SignalSeries series;
    for (int second = 1; second <= count; ++second) {
        if (second > gap && second < gapEnd)
            continue;
        series.values.append(second);
        series.microseconds.append(second * 1000000LL);
    }
    return series;
}

} // namespace

TEST(VisibleTrace, IsWhatLiesInTheRangeAndOnePointToEitherSide)
{
    const Trace trace = visibleTrace(seconds(1000), {500.5, 502.5});
    EXPECT_EQ(trace.points, (QVector<QPointF>{{500, 500}, {501, 501}, {502, 502}, {503, 503}}));
    EXPECT_TRUE(trace.breaks.isEmpty());
}

TEST(VisibleTrace, EndsWhereTheSeriesEnds)
{
    EXPECT_EQ(visibleTrace(seconds(3), {0, 100}).points.size(), 3);
    EXPECT_EQ(visibleTrace(seconds(3), {50, 100}).points, (QVector<QPointF>{{3, 3}}));
    EXPECT_TRUE(visibleTrace(SignalSeries(), {0, 100}).points.isEmpty());
}

// Between the two points alone nothing would tell that it is one.
TEST(VisibleTrace, GapThatFillsTheRangeIsNotJoined)
{
    const Trace trace = visibleTrace(seconds(300, 100, 200), {120, 180});
    EXPECT_EQ(trace.points, (QVector<QPointF>{{100, 100}, {200, 200}}));
    EXPECT_EQ(trace.breaks, QVector<int>{1});
}
