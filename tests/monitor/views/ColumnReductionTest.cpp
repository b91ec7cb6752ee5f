#include <views/ColumnReduction.h>

#include <gtest/gtest.h>

#include <random>

using monitor::reduceToColumns;
using monitor::Trace;

namespace
{

using Lines = QVector<QVector<QPointF>>;

Trace through(const QVector<QPointF>& points, const QVector<int>& breaks = {})
{
    Trace trace;
    trace.points = points;
    trace.breaks = breaks;
    return trace;
}

} // namespace

TEST(ColumnReduction, FewPointsStayAsTheyAre)
{
    const QVector<QPointF> points{{0, 5}, {3, 1}, {7, 9}, {10, 2}};
    EXPECT_EQ(reduceToColumns(through(points), 0, 10, 100), (Lines{points}));
}

TEST(ColumnReduction, LowestAndHighestOfAColumnStayInTheirOrder)
{
    const QVector<QPointF> points{{0, 5}, {1, 9}, {2, 1}, {3, 4}, {5, 4}, {6, 1}, {7, 2}, {8, 9}};
    EXPECT_EQ(reduceToColumns(through(points), 0, 10, 2),
              (Lines{{{1, 9}, {2, 1}, {6, 1}, {8, 9}}}));
}

TEST(ColumnReduction, EqualValuesOfAColumnAreOnePoint)
{
    EXPECT_EQ(reduceToColumns(through({{0, 5}, {1, 5}, {2, 5}, {6, 5}}), 0, 10, 2),
              (Lines{{{0, 5}, {6, 5}}}));
}

TEST(ColumnReduction, LineEndsBeforeABreak)
{
    EXPECT_EQ(reduceToColumns(through({{0, 1}, {1, 2}, {5, 3}, {6, 4}}, {2}), 0, 10, 10),
              (Lines{{{0, 1}, {1, 2}}, {{5, 3}, {6, 4}}}));
}

TEST(ColumnReduction, BreakWithinAColumnIsTooSmallToBeSeen)
{
    EXPECT_EQ(reduceToColumns(through({{0, 1}, {1, 2}, {2, 3}, {6, 4}}, {2}), 0, 10, 2),
              (Lines{{{0, 1}, {2, 3}, {6, 4}}}));
}

TEST(ColumnReduction, NothingIsNoLine)
{
    EXPECT_TRUE(reduceToColumns(Trace(), 0, 10, 10).isEmpty());
}

TEST(ColumnReduction, PointsAtBothEndsAndOfOneMomentHaveAColumn)
{
    EXPECT_EQ(reduceToColumns(through({{0, 1}, {10, 2}}), 0, 10, 1), (Lines{{{0, 1}, {10, 2}}}));
    EXPECT_EQ(reduceToColumns(through({{3, 1}, {3, 2}}), 3, 3, 5), (Lines{{{3, 1}, {3, 2}}}));
}

// The extremes of each column are looked up a second time in all points.
TEST(ColumnReduction, NoPeakOfAMillionPointsIsLost)
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

TEST(ColumnReduction, PointsFarOutsideARangeStayOnTheirSidesOfIt)
{
    const QVector<QPointF> points{{-5000, 0}, {5000, 1}};
    EXPECT_EQ(reduceToColumns(through(points), 2.0, 2.001, 1000), (Lines{points}));
}
