#include <views/Trace.h>

#include <gtest/gtest.h>

#include <limits>

using monitor::SignalSeries;
using monitor::Trace;
using monitor::traceOf;

namespace
{

SignalSeries seriesAt(const QVector<qint64>& microseconds)
{
    SignalSeries series;
    series.microseconds = microseconds;
    for (int i = 0; i < microseconds.size(); ++i)
        series.values.append(100 + i);
    return series;
}

QVector<double> xOf(const Trace& trace)
{
    QVector<double> x;
    for (const QPointF& point : trace.points)
        x.append(point.x());
    return x;
}

} // namespace

TEST(Trace, TimesAreSecondsFromTheStart)
{
    const Trace trace = traceOf(seriesAt({4000000, 4500000, 5500000}), 3000000);
    EXPECT_TRUE(trace.hasTimes);
    EXPECT_EQ(xOf(trace), (QVector<double>{1, 1.5, 2.5}));
    EXPECT_EQ(trace.points.at(2).y(), 102);
    EXPECT_TRUE(trace.breaks.isEmpty());
}

TEST(Trace, ValuesAreNumberedIfOneHasNoTime)
{
    const Trace trace = traceOf(seriesAt({4000000, SignalSeries::noTime, 6000000}), 0);
    EXPECT_FALSE(trace.hasTimes);
    EXPECT_EQ(xOf(trace), (QVector<double>{1, 2, 3}));
    EXPECT_TRUE(trace.breaks.isEmpty());
}

TEST(Trace, ClockThatIsSetBackGoesOnWhereItWasWithABreak)
{
    const Trace trace = traceOf(seriesAt({4000000, 5000000, 0, 1000000}), 4000000);
    EXPECT_EQ(xOf(trace), (QVector<double>{0, 1, 1, 2}));
    EXPECT_EQ(trace.breaks, (QVector<int>{2}));
}

TEST(Trace, SignalThatBeginsBeforeTheStartBeginsAtIt)
{
    EXPECT_EQ(xOf(traceOf(seriesAt({10, 1000010}), 5000000)), (QVector<double>{0, 1}));
}

// The usual period is a second, so 5 seconds are joined and 6 are not.
TEST(Trace, MoreThanFiveUsualPeriodsAreAGap)
{
    const Trace trace =
        traceOf(seriesAt({0, 1000000, 2000000, 7000000, 8000000, 14000000, 15000000, 16000000}), 0);
    EXPECT_EQ(trace.breaks, (QVector<int>{5}));
}

TEST(Trace, ValuesOfOneMomentDoNotMakeEveryStepAGap)
{
    EXPECT_TRUE(traceOf(seriesAt({0, 0, 0, 0, 1000000, 1000000, 2000000}), 0).breaks.isEmpty());
    EXPECT_TRUE(traceOf(seriesAt({7, 7, 7}), 0).breaks.isEmpty());
}

TEST(Trace, NoValueIsNoPointAndOneValueIsOne)
{
    EXPECT_TRUE(traceOf(seriesAt({}), 0).points.isEmpty());
    EXPECT_EQ(xOf(traceOf(seriesAt({2500000}), 2000000)), (QVector<double>{0.5}));
}
