#include <engine/outline/SeriesOutline.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

using monitor::OutlineColumn;
using monitor::SeriesOutline;
using monitor::StepCounts;

namespace
{

constexpr double most = std::numeric_limits<double>::max();
constexpr qint64 earliest = std::numeric_limits<qint64>::min();
constexpr qint64 latest = std::numeric_limits<qint64>::max();

double medianOf(std::vector<quint64> steps)
{
    std::sort(steps.begin(), steps.end());
    return double(steps.at(steps.size() / 2));
}

double countedMedianOf(const std::vector<quint64>& steps)
{
    StepCounts counts;
    for (const quint64 step : steps)
        counts.add(step);
    return counts.median();
}

quint64 countIn(const std::vector<OutlineColumn>& columns)
{
    quint64 count = 0;
    for (const OutlineColumn& column : columns)
        count += column.count;
    return count;
}

void expectNarrowForTheirAge(const std::vector<OutlineColumn>& columns)
{
    const quint64 newest = columns.back().end;
    for (const OutlineColumn& column : columns)
        ASSERT_LE(column.end - column.begin, (newest - column.end) / 128);
}

} // namespace

TEST(StepCounts, MedianOfEqualStepsIsExact)
{
    for (const quint64 step : {quint64(1), quint64(15), quint64(16), quint64(10007),
                               quint64(60000001), quint64(1) << 63U})
        EXPECT_EQ(countedMedianOf({step, step, step, 5, step * 2 - 1}), double(step));
    EXPECT_EQ(StepCounts().median(), std::numeric_limits<double>::infinity());
}

TEST(StepCounts, MedianIsCloseToTheMedianOfTheSortedSteps)
{
    std::mt19937_64 random(1);
    for (const double deviation : {0.01, 0.1, 1.0, 4.0}) {
        std::lognormal_distribution<double> lengths(9.2, deviation);
        std::vector<quint64> steps;
        for (int i = 0; i < 100001; ++i)
            steps.push_back(quint64(lengths(random)) + 1);
        const double expected = medianOf(steps);
        EXPECT_NEAR(countedMedianOf(steps), expected, expected / 200) << deviation;
    }
}

// The usual step decides about gaps, which begin at exactly five steps.
TEST(SeriesOutline, UsualStepOfARegularSeriesIsExactForAnyLength)
{
    SeriesOutline outline;
    EXPECT_EQ(outline.usualStep(), std::numeric_limits<double>::infinity());
    for (qint64 i = 0; i < 20000; ++i) {
        outline.add(i * 10007 + (i > 9000 ? 999999999 : 0), 0);
        if (i > 0) {
            ASSERT_EQ(outline.usualStep(), 10007) << i;
        }
    }
}

// The expected numbers are those in the header, and the bytes are those of the columns.
TEST(SeriesOutline, MemoryIsLimitedForAnyLength)
{
    std::mt19937_64 random(1);
    std::exponential_distribution<double> length(1e-4);
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    qint64 time = 0;
    for (int i = 0; i < 3000000; ++i) {
        // Bursts, silences and all kinds of steps, so that the age of the values has many octaves.
        time += i % 100000 == 0 ? qint64(length(random) * 1e6) : qint64(length(random));
        outline.add(time, double(random()));
        ASSERT_LE(outline.columns().size(), 2600U) << i;
        ASSERT_LE(outline.columnsByAge().size(), 4096U) << i;
    }
    EXPECT_GT(outline.columns().size(), 1200U);
    EXPECT_GT(outline.columnsByAge().size(), 1200U);
    EXPECT_LE(outline.columns().capacity() * sizeof(OutlineColumn), 130000U);
    EXPECT_LE(outline.columnsByAge().capacity() * sizeof(OutlineColumn), 200000U);
    EXPECT_EQ(countIn(outline.columns()), 3000000U);
    EXPECT_EQ(countIn(outline.columnsByAge()), 3000000U);
}

TEST(SeriesOutline, FewValuesNeedLittleMemory)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    for (qint64 i = 0; i < 10; ++i)
        outline.add(i, 0);
    EXPECT_LE(outline.columns().capacity() + outline.columnsByAge().capacity(), 40U);
}

TEST(SeriesOutline, ColumnsAreNarrowerThanOne1200thOfTheRange)
{
    SeriesOutline outline;
    for (qint64 i = 0; i < 200000; ++i) {
        outline.add(i * 777 + 5, 0);
        if (i < 10 || i % 1237 != 0)
            continue;
        const double range = double(outline.columns().back().end);
        for (const OutlineColumn& column : outline.columns())
            ASSERT_LT(double(column.end - column.begin), range / 1200) << i;
    }
}

TEST(SeriesOutline, ColumnKnowsItsExtremesTheirOrderAndItsLastValue)
{
    OutlineColumn column{1, 1, 5, 5, 5};
    column.append({2, 2, 9, 9, 9});
    EXPECT_FALSE(column.isHighestFirst);
    column.append({3, 3, 1, 1, 1});
    EXPECT_TRUE(column.isHighestFirst);
    column.append({4, 4, 9, 9, 9});
    EXPECT_FALSE(column.isHighestFirst) << "the last of equal values counts as the highest";
    column.append({7, 8, 0, 10, 3, 2, true});
    EXPECT_TRUE(column.isHighestFirst);
    EXPECT_EQ(column.begin, 1U);
    EXPECT_EQ(column.end, 8U);
    EXPECT_EQ(column.lowest, 0);
    EXPECT_EQ(column.highest, 10);
    EXPECT_EQ(column.last, 3);
    EXPECT_EQ(column.count, 6U);
    column.append({9, 9, 1, 1, 1, std::numeric_limits<quint32>::max() - 1});
    EXPECT_EQ(column.count, std::numeric_limits<quint32>::max());
}

TEST(SeriesOutline, NewestValuesHaveColumnsOfTheirOwnAndOlderColumnsAreNarrowForTheirAge)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    for (qint64 i = 0; i < 10000000; ++i)
        outline.add(i * 1000, double(i));
    const auto& columns = outline.columnsByAge();
    int alone = 0;
    for (size_t i = columns.size(); i-- > 0 && columns[i].count == 1;)
        ++alone;
    EXPECT_GE(alone, 128);
    expectNarrowForTheirAge(columns);
}

TEST(SeriesOutline, ExtremeTimesAndValuesDoNotOverflow)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    for (int i = 0; i < 5000; ++i) {
        outline.add(earliest + 1 + i, -most);
        outline.add(latest - i, most);
    }
    EXPECT_EQ(outline.firstTime(), earliest + 1);
    EXPECT_EQ(outline.columns().back().end, std::numeric_limits<quint64>::max());
    EXPECT_EQ(countIn(outline.columns()), 10000U);
    EXPECT_EQ(countIn(outline.columnsByAge()), 10000U);
    EXPECT_EQ(outline.columns().back().last, most);
}

TEST(SeriesOutline, ValuesOfTheSameTimeShareAColumnAndLeaveRoomForOthers)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    for (int i = 0; i < 100000; ++i)
        outline.add(7, i);
    EXPECT_EQ(countIn(outline.columns()), 100000U);
    EXPECT_EQ(countIn(outline.columnsByAge()), 100000U);
    EXPECT_EQ(outline.columnsByAge().back().highest, 99999);
    for (qint64 i = 1; i <= 10000; ++i)
        outline.add(7 + i * 10000, 0);
    EXPECT_GT(outline.columns().size(), 1200U);
    expectNarrowForTheirAge(outline.columnsByAge());
}

TEST(SeriesOutline, ClearingDeletesAllValues)
{
    SeriesOutline outline(SeriesOutline::Detail::Newest);
    outline.add(std::nullopt, 1);
    outline.clear();
    EXPECT_TRUE(outline.columns().empty());
    EXPECT_TRUE(outline.hasTimes());
    outline.add(5, 1);
    EXPECT_EQ(outline.columnsByAge().size(), 1U);
}
