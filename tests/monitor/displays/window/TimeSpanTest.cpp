#include <displays/window/TimeSpan.h>

#include <gtest/gtest.h>

using monitor::AxisRange;
using monitor::SeriesOutline;
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

SeriesOutline outlineOf(const SignalSeries& series)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    for (int i = 0; i < series.values.size(); ++i)
        outline.add(series.microseconds.at(i), series.values.at(i));
    return outline;
}

/// A value every millisecond for \a count milliseconds, equal to its second; the last one in each
/// second is -1.
SeriesOutline milliseconds(qint64 count)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    for (qint64 i = 0; i < count; ++i)
        outline.add(i * 1000, i % 1000 == 999 ? -1 : double(i / 1000));
    return outline;
}

/// The greatest distance between two successive points.
double longestStepOf(const Trace& trace)
{
    double longest = 0;
    for (int i = 1; i < trace.points.size(); ++i)
        longest = std::max(longest, trace.points.at(i).x() - trace.points.at(i - 1).x());
    return longest;
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

TEST(VisibleTrace, OfAnOutlineIsThatOfTheSeriesAsLongAsEachValueIsKept)
{
    const SignalSeries series = seconds(4000, 100, 200);
    const SeriesOutline outline = outlineOf(series);
    for (const AxisRange& range :
         {AxisRange{500.5, 502.5}, {0, 30}, {120, 180}, {90, 300}, {3990, 5000}, {4500, 5000}}) {
        const Trace expected = visibleTrace(series, range);
        const Trace trace = visibleTrace(outline, range);
        EXPECT_EQ(trace.points, expected.points) << range.from;
        EXPECT_EQ(trace.breaks, expected.breaks) << range.from;
    }
    EXPECT_TRUE(visibleTrace(SeriesOutline(), {0, 100}).points.isEmpty());
}

// The second half of each range is drawn at least 64 points wide, the first half 32 points.
TEST(VisibleTrace, EndOfALongRunIsSharpAtAnyWidth)
{
    const SeriesOutline outline = milliseconds(10000000);
    constexpr double end = 9999.999;
    for (double width = 0.05; width < end; width *= 2) {
        const Trace trace = visibleTrace(outline, {end - width, end});
        ASSERT_FALSE(trace.points.isEmpty());
        EXPECT_LE(trace.points.first().x(), end - width + 0.001);
        EXPECT_EQ(trace.points.last().x(), end);
        EXPECT_LE(longestStepOf(trace), std::max(0.001001, width / 32)) << width;
        EXPECT_LE(longestStepOf(visibleTrace(outline, {end - width / 2, end})),
                  std::max(0.001001, width / 64))
            << width;
        EXPECT_TRUE(trace.breaks.isEmpty()) << width;
        EXPECT_LE(trace.points.size(), 3 * 4098);
    }
}

TEST(VisibleTrace, ExtremesOfALongRunAreVisible)
{
    const SeriesOutline outline = milliseconds(10000000);
    EXPECT_LE(longestStepOf(visibleTrace(outline, {0, 10000})), 10000.0 / 1200);
    for (const AxisRange& range : {AxisRange{0, 10000}, {0, 100}, {5000, 5100}, {9970, 10000}}) {
        double lowest = 1e9;
        double highest = -1e9;
        const Trace trace = visibleTrace(outline, range);
        for (const QPointF& point : trace.points) {
            lowest = std::min(lowest, point.y());
            highest = std::max(highest, point.y());
        }
        EXPECT_EQ(lowest, -1) << range.from;
        EXPECT_GE(highest, range.to - 1) << range.from;
        EXPECT_LE(highest, range.to + 20) << range.from;
    }
}

// The usual period of all values is 10 ms.
TEST(VisibleTrace, SlowValuesAreJoinedAndTheirGapsAreNot)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    qint64 time = 0;
    for (int i = 0; i < 100000; ++i)
        outline.add(time += 10000, 1);
    for (int i = 0; i < 20000; ++i)
        outline.add(time += i == 5000 ? 300000000 : 1000000, 2);
    EXPECT_TRUE(visibleTrace(outline, {1100, 5900}).breaks.isEmpty());
    EXPECT_TRUE(visibleTrace(outline, {20000, 21290}).breaks.isEmpty());
    const Trace trace = visibleTrace(outline, {5500, 7000});
    ASSERT_EQ(trace.breaks.size(), 1);
    const int place = trace.breaks.first();
    EXPECT_EQ(trace.points.at(place - 1).x(), 6000);
    EXPECT_EQ(trace.points.at(place).x(), 6300);
}
