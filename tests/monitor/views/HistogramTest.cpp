#include "../catalogue/Descriptions.h"

#include <views/histogram.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

using monitor::CatalogueSignal;
using monitor::Histogram;
using monitor::SignalStatistics;

namespace
{

/// The histogram of values with these bits.
Histogram histogram(const CatalogueSignal& signal, const QVector<quint64>& bits, int most,
                    double k = 3)
{
    const auto values = monitor::SignalValues::make(signal, nullptr);
    for (const quint64 value : bits)
        values->record(value, monitor::Availability::Measured, 0);
    SignalStatistics statistics;
    statistics.count = bits.size();
    statistics.factor = signal.scaling.factor;
    statistics.isFloat = signal.layout.isFloat;
    values->getStatistics(k, monitor::Moments::Exact, statistics);
    return histogramOf(*values, statistics, most);
}

QVector<qint64> countsIn(const Histogram& histogram)
{
    QVector<qint64> counts;
    for (const Histogram::Bar& bar : histogram.bars)
        counts.append(bar.count);
    return counts;
}

quint64 bitsOf(double number)
{
    quint64 bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

CatalogueSignal doubles()
{
    CatalogueSignal signal = describedSignal(0, 64);
    signal.layout.isFloat = true;
    return signal;
}

} // namespace

TEST(Histogram, FewIntegersHaveABarEach)
{
    CatalogueSignal signal = describedSignal(0, 8);
    signal.scaling.factor = 0.5;
    const Histogram found = histogram(signal, {4, 4, 6, 7, 4}, 10);
    EXPECT_EQ(countsIn(found), (QVector<qint64>{3, 0, 1, 1}));
    EXPECT_EQ(found.start, 1.75);
    EXPECT_EQ(found.width, 0.5);
    EXPECT_EQ(found.values, (QVector<double>{2, 3, 3.5}));
}

TEST(Histogram, BarsRepresentTheSameNumberOfIntegers)
{
    QVector<quint64> all;
    for (quint64 value = 0; value < 250; ++value)
        all.append(value);
    const Histogram found = histogram(describedSignal(0, 8), all, 100);
    EXPECT_EQ(found.width, 3);
    QVector<qint64> expected(83, 3);
    expected.append(1);
    EXPECT_EQ(countsIn(found), expected);
}

TEST(Histogram, NegativeFactorReversesTheValues)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.scaling.factor = -2;
    const Histogram found = histogram(signal, {1, 3, 3}, 10);
    EXPECT_EQ(countsIn(found), (QVector<qint64>{2, 0, 1}));
    EXPECT_EQ(found.start, -7);
    EXPECT_EQ(found.values, (QVector<double>{-6, -2}));
}

TEST(Histogram, RangeOfFloatingPointValuesIsDividedEvenly)
{
    const Histogram found =
        histogram(doubles(), {bitsOf(0), bitsOf(0.24), bitsOf(0.25), bitsOf(1)}, 4);
    EXPECT_EQ(countsIn(found), (QVector<qint64>{2, 1, 0, 1}));
    EXPECT_EQ(found.start, 0);
    EXPECT_EQ(found.width, 0.25);
}

TEST(Histogram, SingleValueHasABar)
{
    for (const double value : {0.0, -1e300, 1e-300}) {
        const Histogram found = histogram(doubles(), {bitsOf(value), bitsOf(value)}, 100);
        EXPECT_EQ(countsIn(found), QVector<qint64>{2});
        EXPECT_GT(found.width, 0);
    }
}

TEST(Histogram, ExtremeValuesDoNotOverflow)
{
    const Histogram found = histogram(doubles(), {bitsOf(-1.7e308), bitsOf(1.7e308)}, 100);
    EXPECT_EQ(found.width, 3.4e306);
    EXPECT_EQ(found.bars.size(), 100);
    EXPECT_EQ(found.bars.last().count, 1);
}

TEST(Histogram, BarsWithDeviatorsAreMarked)
{
    QVector<quint64> values(99, 10);
    values.append(20);
    const Histogram found = histogram(describedSignal(0, 8), values, 100);
    ASSERT_EQ(found.bars.size(), 11);
    EXPECT_FALSE(found.bars.first().deviator);
    EXPECT_EQ(found.bars.last().deviator, 20);
}
