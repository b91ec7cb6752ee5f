#include <views/Trace.h>

#include <gtest/gtest.h>

#include <random>

using monitor::reduceToColumns;
using monitor::SignalSeries;
using monitor::Trace;
using monitor::traceOf;

namespace
{

using Lines = QVector<QVector<QPointF>>;

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

Trace through(const QVector<QPointF>& points, const QVector<int>& breaks = {})
{
    Trace trace;
    trace.points = points;
    trace.breaks = breaks;
    return trace;
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

TEST(Trace, ValuesAreNumberedIfAnyTimeIsMissing)
{
    const Trace trace = traceOf(seriesAt({4000000, SignalSeries::noTime, 6000000}), 0);
    EXPECT_FALSE(trace.hasTimes);
    EXPECT_EQ(xOf(trace), (QVector<double>{1, 2, 3}));
    EXPECT_TRUE(trace.breaks.isEmpty());
}

TEST(Trace, ClockSetBackContinuesAfterABreak)
{
    const Trace trace = traceOf(seriesAt({4000000, 5000000, 0, 1000000}), 4000000);
    EXPECT_EQ(xOf(trace), (QVector<double>{0, 1, 1, 2}));
    EXPECT_EQ(trace.breaks, (QVector<int>{2}));
}

TEST(Trace, SeriesThatBeginsBeforeTheStartIsShiftedToIt)
{
    EXPECT_EQ(xOf(traceOf(seriesAt({10, 1000010}), 5000000)), (QVector<double>{0, 1}));
}

// The usual period is 1 s: values 5 s apart are joined, values 6 s apart are not.
TEST(Trace, MoreThanFiveUsualPeriodsAreAGap)
{
    const Trace trace =
        traceOf(seriesAt({0, 1000000, 2000000, 7000000, 8000000, 14000000, 15000000, 16000000}), 0);
    EXPECT_EQ(trace.breaks, (QVector<int>{5}));
}

TEST(Trace, SimultaneousValuesDoNotTurnEveryStepIntoAGap)
{
    EXPECT_TRUE(traceOf(seriesAt({0, 0, 0, 0, 1000000, 1000000, 2000000}), 0).breaks.isEmpty());
    EXPECT_TRUE(traceOf(seriesAt({7, 7, 7}), 0).breaks.isEmpty());
}

TEST(Trace, EmptySeriesHasNoPointAndSingleValueHasOne)
{
    EXPECT_TRUE(traceOf(seriesAt({}), 0).points.isEmpty());
    EXPECT_EQ(xOf(traceOf(seriesAt({2500000}), 2000000)), (QVector<double>{0.5}));
}

TEST(ColumnReduction, FewPointsAreUnchanged)
{
    const QVector<QPointF> points{{0, 5}, {3, 1}, {7, 9}, {10, 2}};
    EXPECT_EQ(reduceToColumns(through(points), 0, 10, 100), (Lines{points}));
}

TEST(ColumnReduction, LowestAndHighestPointOfAColumnKeepTheirOrder)
{
    const QVector<QPointF> points{{0, 5}, {1, 9}, {2, 1}, {3, 4}, {5, 4}, {6, 1}, {7, 2}, {8, 9}};
    EXPECT_EQ(reduceToColumns(through(points), 0, 10, 2),
              (Lines{{{1, 9}, {2, 1}, {6, 1}, {8, 9}}}));
}

TEST(ColumnReduction, ColumnsBeginAtTheBeginningOfTheRange)
{
    const QVector<QPointF> points{{100, 5}, {101, 9}, {102, 1}, {103, 4}, {105, 4}, {108, 9}};
    EXPECT_EQ(reduceToColumns(through(points), 100, 110, 2),
              (Lines{{{101, 9}, {102, 1}, {105, 4}, {108, 9}}}));
}

TEST(ColumnReduction, EqualValuesInAColumnBecomeOnePoint)
{
    EXPECT_EQ(reduceToColumns(through({{0, 5}, {1, 5}, {2, 5}, {6, 5}}), 0, 10, 2),
              (Lines{{{0, 5}, {6, 5}}}));
}

TEST(ColumnReduction, LineEndsBeforeABreak)
{
    EXPECT_EQ(reduceToColumns(through({{0, 1}, {1, 2}, {5, 3}, {6, 4}}, {2}), 0, 10, 10),
              (Lines{{{0, 1}, {1, 2}}, {{5, 3}, {6, 4}}}));
}

TEST(ColumnReduction, BreakWithinAColumnIsNotShown)
{
    EXPECT_EQ(reduceToColumns(through({{0, 1}, {1, 2}, {2, 3}, {6, 4}}, {2}), 0, 10, 2),
              (Lines{{{0, 1}, {2, 3}, {6, 4}}}));
}

TEST(ColumnReduction, EmptyTraceHasNoLines)
{
    EXPECT_TRUE(reduceToColumns(Trace(), 0, 10, 10).isEmpty());
}

TEST(ColumnReduction, PointsAtBothEndsAndSimultaneousPointsAreKept)
{
    EXPECT_EQ(reduceToColumns(through({{0, 1}, {10, 2}}), 0, 10, 1), (Lines{{{0, 1}, {10, 2}}}));
    EXPECT_EQ(reduceToColumns(through({{3, 1}, {3, 2}}), 3, 3, 5), (Lines{{{3, 1}, {3, 2}}}));
}

// The expected extremes of each column are searched for in all of its points.
TEST(ColumnReduction, AllPeaksOfAMillionPointsAreKept)
{
    constexpr int columns = 500;
    constexpr int perColumn = 2000;
    std::mt19937 random(1);
    std::normal_distribution<double> noise;
    Trace trace;
    for (int i = 0; i < columns * perColumn; ++i)
        trace.points.append({double(i), noise(random)});
    const Lines lines = reduceToColumns(trace, 0, columns * perColumn, columns);
    ASSERT_EQ(lines.size(), 1);
    ASSERT_EQ(lines.at(0).size(), 2 * columns);
    for (int column = 0; column < columns; ++column) {
        const auto all = trace.points.mid(column * perColumn, perColumn);
        double lowest = all.at(0).y();
        double highest = lowest;
        for (const QPointF& point : all) {
            lowest = std::min(lowest, point.y());
            highest = std::max(highest, point.y());
        }
        const double first = lines.at(0).at(2 * column).y();
        const double second = lines.at(0).at(2 * column + 1).y();
        EXPECT_EQ(std::min(first, second), lowest) << column;
        EXPECT_EQ(std::max(first, second), highest) << column;
    }
}

TEST(ColumnReduction, PointsFarOutsideTheRangeStayOnTheirSides)
{
    const QVector<QPointF> points{{-5000, 0}, {5000, 1}};
    EXPECT_EQ(reduceToColumns(through(points), 2.0, 2.001, 1000), (Lines{points}));
}

// Within a column, 9 and 1 are the extremes, but 5 is the value that is held for the next 90 s.
TEST(Trace, StepsKeepTheLastValueOfEachColumn)
{
    Trace trace;
    trace.points = {{0, 5}, {1, 9}, {2, 1}, {3, 5}, {93, 6}, {100, 6}};
    const auto steps = reduceToColumns(trace, 0, 100, 10, monitor::Joining::Steps);
    ASSERT_EQ(steps.size(), 1);
    EXPECT_EQ(steps.at(0), (QVector<QPointF>{{1, 9}, {2, 1}, {3, 5}, {93, 6}}));
}

TEST(Trace, StepsHoldEachValueUntilTheNextOne)
{
    using Points = QVector<QPointF>;
    EXPECT_EQ(monitor::stepsBetween({{0, 1}, {2, 3}, {5, 3}, {6, 0}}),
              (Points{{0, 1}, {2, 1}, {2, 3}, {5, 3}, {6, 3}, {6, 0}}));
    EXPECT_EQ(monitor::stepsBetween({{4, 1}}), (Points{{4, 1}}));
    EXPECT_EQ(monitor::stepsBetween({}), Points());
}
