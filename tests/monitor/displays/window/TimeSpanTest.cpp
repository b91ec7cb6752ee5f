#include <displays/window/TimeSpan.h>

#include <gtest/gtest.h>

using monitor::AxisRange;
using monitor::SignalSeries;
using monitor::TimeSpan;
using monitor::Trace;
using monitor::visibleTrace;

namespace
{

void expectRange(const AxisRange& range, double from, double to)
{
    EXPECT_NEAR(range.from, from, 1e-9);
    EXPECT_NEAR(range.to, to, 1e-9);
}

/// A value every second from 1 to \a count, equal to its time, except between \a gap and \a gapEnd.
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

TEST(TimeSpan, FollowsTheEndOnceItIsFull)
{
    const TimeSpan span;
    expectRange(span.range(12), 0, 12);
    expectRange(span.range(100), 70, 100);
}

TEST(TimeSpan, ZoomKeepsFollowingTheEnd)
{
    TimeSpan span;
    span.zoom(0.5, 75, 100);
    expectRange(span.range(100), 85, 100);
    expectRange(span.range(101), 86, 101);
}

TEST(TimeSpan, MovedRangeStaysInPlaceAndZoomsAroundTheMouse)
{
    TimeSpan span;
    span.move(-20, 100);
    EXPECT_FALSE(span.isFollowing());
    expectRange(span.range(100), 50, 80);
    expectRange(span.range(200), 50, 80);
    span.zoom(0.5, 60, 200);
    expectRange(span.range(200), 55, 70);
    span.zoom(2, 60, 200);
    expectRange(span.range(200), 50, 80);
}

TEST(TimeSpan, MovingToTheEndFollowsItAgain)
{
    TimeSpan span;
    span.move(-20, 100);
    span.move(15, 100);
    EXPECT_FALSE(span.isFollowing());
    span.move(15, 100);
    EXPECT_TRUE(span.isFollowing());
    expectRange(span.range(130), 100, 130);
    span.move(-20, 130);
    span.follow();
    expectRange(span.range(140), 110, 140);
}

TEST(TimeSpan, StaysWithinTheRunAndIsNeverEmpty)
{
    TimeSpan span;
    span.move(-1000, 100);
    expectRange(span.range(100), 0, 30);
    span.zoom(1000, 10, 100);
    expectRange(span.range(100), 0, 100);
    span.zoom(1e-9, 10, 100);
    const AxisRange range = span.range(100);
    EXPECT_GT(range.to, range.from);
    EXPECT_GT(TimeSpan().range(0).to, 0);
}

TEST(VisibleTrace, ContainsTheRangeAndOnePointOnEitherSide)
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

// The two points alone would not reveal the gap.
TEST(VisibleTrace, GapThatFillsTheRangeRemainsAGap)
{
    const Trace trace = visibleTrace(seconds(300, 100, 200), {120, 180});
    EXPECT_EQ(trace.points, (QVector<QPointF>{{100, 100}, {200, 200}}));
    EXPECT_EQ(trace.breaks, QVector<int>{1});
}
