#include <engine/counts/ValueCounts.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>

using monitor::ValueCounts;

namespace
{

/// The same statistics from a sorted list.
struct SortedList {
    std::vector<double> values;

    double median() const
    {
        const size_t half = values.size() / 2;
        return values.size() % 2 == 1 ? values.at(half)
                                      : (values.at(half - 1) + values.at(half)) / 2;
    }
    auto below(double limit) const
    {
        return std::count_if(values.begin(), values.end(), [=](double v) { return v < limit; });
    }
    auto above(double limit) const
    {
        return std::count_if(values.begin(), values.end(), [=](double v) { return v > limit; });
    }
};

void expectSame(const ValueCounts& counts, SortedList list)
{
    std::sort(list.values.begin(), list.values.end());
    ASSERT_EQ(counts.count(), static_cast<qint64>(list.values.size()));
    EXPECT_EQ(counts.median(), list.median());
    for (const double place : {0.0, 0.1, 0.5, 0.9, 1.0}) {
        const auto last = static_cast<double>(list.values.size() - 1);
        const double value = list.values.at(static_cast<size_t>(place * last));
        for (const double limit : {value, value - 0.25, value + 0.25}) {
            EXPECT_EQ(counts.below(limit), list.below(limit)) << limit;
            EXPECT_EQ(counts.above(limit), list.above(limit)) << limit;
        }
    }
}

void expectSameThroughout(const std::vector<double>& values)
{
    ValueCounts counts;
    SortedList list;
    for (const double value : values) {
        counts.add(value);
        list.values.push_back(value);
        if (list.values.size() % 1999 == 0 || list.values.size() < 5)
            expectSame(counts, list);
    }
    expectSame(counts, list);
}

} // namespace

TEST(ValueCounts, AreZeroWhenEmpty)
{
    const ValueCounts counts;
    EXPECT_EQ(counts.count(), 0);
    EXPECT_EQ(counts.median(), 0);
    EXPECT_EQ(counts.below(1), 0);
    EXPECT_EQ(counts.above(-1), 0);
}

TEST(ValueCounts, RandomValuesMatchASortedList)
{
    std::mt19937 random(1);
    std::normal_distribution<double> spread(0, 1000);
    std::vector<double> values(10000);
    for (double& value : values)
        value = spread(random);
    expectSameThroughout(values);
}

TEST(ValueCounts, RisingAndFallingValuesMatchASortedList)
{
    std::vector<double> values;
    for (int i = 0; i < 6000; ++i)
        values.push_back(i < 3000 ? i : -i);
    expectSameThroughout(values);
}

TEST(ValueCounts, RepeatedValuesCountEachTime)
{
    std::mt19937 random(2);
    std::vector<double> values(10000);
    for (double& value : values)
        value = static_cast<double>(random() % 900);
    expectSameThroughout(values);
}

TEST(ValueCounts, RemovedValuesNoLongerCount)
{
    std::mt19937 random(3);
    std::deque<double> window;
    ValueCounts counts;
    for (int i = 0; i < 20000; ++i) {
        window.push_back(static_cast<double>(random() % 3000));
        counts.add(window.back());
        if (window.size() > 2000 || i > 18500) {
            counts.remove(window.front());
            window.pop_front();
        }
        if (i % 997 == 0)
            expectSame(counts, SortedList{{window.begin(), window.end()}});
    }
    while (!window.empty()) {
        counts.remove(window.front());
        window.pop_front();
    }
    EXPECT_EQ(counts.count(), 0);
    counts.add(7);
    EXPECT_EQ(counts.median(), 7);
}
