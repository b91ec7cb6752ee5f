#include "../../app/FileSizeLimit.h"

#include <engine/counts/WideCounts.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <thread>

using monitor::SpillFile;
using monitor::WideCounts;

namespace
{

constexpr quint64 greatestKey = std::numeric_limits<quint64>::max();
constexpr size_t smallBound = 64;

using Counts = std::map<quint64, quint64>;

Counts countsOf(const WideCounts& counts)
{
    Counts result;
    bool isRising = true;
    counts.forEach([&](quint64 key, quint64 times) {
        isRising = isRising && (result.empty() || result.rbegin()->first < key);
        result[key] += times;
    });
    EXPECT_TRUE(isRising);
    return result;
}

/// Compares everything that \a counts can tell with \a expected.
void expectSame(const WideCounts& counts, const Counts& expected)
{
    ASSERT_TRUE(countsOf(counts) == expected);
    EXPECT_EQ(counts.distinct(), expected.size());
    EXPECT_TRUE(counts.isComplete());
    quint64 before = 0;
    quint64 place = 0;
    const quint64 step = expected.size() / 50 + 1;
    for (const auto& [key, times] : expected) {
        if (place++ % step == 0) {
            const quint64 limit = key;
            EXPECT_EQ(counts.countWhile([=](quint64 other) { return other < limit; }), before);
            EXPECT_EQ(counts.countWhile([=](quint64 other) { return other <= limit; }),
                      before + times);
            EXPECT_EQ(counts.keyAt(before), key);
            EXPECT_EQ(counts.keyAt(before + times - 1), key);
        }
        before += times;
    }
    EXPECT_EQ(counts.count(), before);
    EXPECT_EQ(counts.countWhile([](quint64) { return false; }), 0U);
    EXPECT_EQ(counts.countWhile([](quint64) { return true; }), before);
    if (before > 0) {
        EXPECT_EQ(counts.keyAt(before - 1), expected.rbegin()->first);
    }
}

/// Adds keys one by one to counts with a small bound, and compares them with a map now and then.
void expectSameThroughout(const std::vector<quint64>& keys, size_t bound = smallBound)
{
    SpillFile file;
    WideCounts counts(&file, bound);
    Counts expected;
    size_t added = 0;
    for (const quint64 key : keys) {
        counts.add(key);
        ++expected[key];
        ++added;
        if (added == 1 || added == 50 || added % 30011 == 0)
            expectSame(counts, expected);
        ASSERT_LE(counts.entriesInMemory(), bound);
    }
    expectSame(counts, expected);
    EXPECT_EQ(counts.isSpilled(), expected.size() > bound);
    EXPECT_EQ(file.error(), QString());
}

std::vector<quint64> randomKeys(int bits, size_t size, unsigned int seed)
{
    std::mt19937_64 random(seed);
    std::vector<quint64> keys(size);
    for (quint64& key : keys)
        key = random() >> (64 - bits);
    return keys;
}

/// A key in the order of the values, which are not NaN.
quint64 keyOf(double value)
{
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const quint64 sign = quint64(1) << 63;
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

double valueOf(quint64 key)
{
    const quint64 sign = quint64(1) << 63;
    const quint64 bits = (key & sign) != 0 ? key & ~sign : ~key;
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

TEST(WideCounts, AreZeroWhenEmpty)
{
    expectSame(WideCounts(), {});
}

class WideCountsOfWidth : public testing::TestWithParam<int>
{
};
INSTANTIATE_TEST_SUITE_P(Bits, WideCountsOfWidth,
                         testing::Values(1, 7, 8, 9, 10, 15, 16, 17, 20, 32, 33, 63, 64));

TEST_P(WideCountsOfWidth, RandomKeysMatchAMap)
{
    expectSameThroughout(randomKeys(GetParam(), 100000, 1));
}

TEST_P(WideCountsOfWidth, SmallestAndGreatestKeysAreCounted)
{
    const quint64 greatest = greatestKey >> (64 - GetParam());
    std::vector<quint64> keys = randomKeys(GetParam(), 1000, 2);
    for (int i = 0; i < 500; ++i)
        keys.insert(keys.end(), {0, greatest});
    std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    expectSameThroughout(keys);
}

TEST_P(WideCountsOfWidth, EqualKeysShareAnEntry)
{
    WideCounts counts;
    const quint64 greatest = greatestKey >> (64 - GetParam());
    for (int i = 0; i < 1000; ++i)
        counts.add(greatest);
    expectSame(counts, {{greatest, 1000}});
}

TEST_P(WideCountsOfWidth, CountsBeyond32BitsAreExact)
{
    constexpr quint64 limit = quint64(1) << 32;
    SpillFile file;
    WideCounts counts(&file, 4);
    Counts expected;
    const auto add = [&](quint64 key, quint64 times) {
        counts.add(key, times);
        expected[key] += times;
    };
    for (const quint64 key : randomKeys(GetParam(), 20, 4)) {
        add(key, limit - 1);
        counts.add(key);
        ++expected[key];
    }
    add(0, 3 * limit + 5);
    add(1, limit);
    add(1, limit - 2);
    add(1, 3);
    counts.add(1, 0);
    expectSame(counts, expected);
}

TEST(WideCounts, FewKeysThatComeOftenStayInMemory)
{
    SpillFile file;
    WideCounts counts(&file, smallBound);
    Counts expected;
    std::mt19937 random(5);
    for (int i = 0; i < 100000; ++i) {
        const quint64 key = random() % smallBound * 1000000;
        counts.add(key);
        ++expected[key];
        if (i % 30 == 0 && i < 300)
            expectSame(counts, expected);
    }
    expectSame(counts, expected);
    EXPECT_FALSE(counts.isSpilled());
    EXPECT_EQ(file.size(), 0);
}

TEST(WideCounts, CountersMatchAMap)
{
    std::vector<quint64> rising;
    std::vector<quint64> falling;
    std::vector<quint64> wrapping;
    std::vector<quint64> stepping; // two steps forward, one step back
    for (quint64 i = 0; i < 60000; ++i) {
        rising.push_back(4000000000 + i * i);
        falling.push_back(greatestKey - i * 3);
        wrapping.push_back((i * 7) % 50021 * 1000);
        stepping.push_back(1000 * (i / 2 + i % 2 * 2));
    }
    for (const auto& keys : {rising, falling, wrapping, stepping}) {
        for (const size_t bound : {64U, 2048U})
            expectSameThroughout(keys, bound);
    }
}

TEST(WideCounts, CountersTakeAByteForEachKey)
{
    SpillFile file;
    WideCounts counts(&file);
    constexpr quint64 size = 10 * 65536;
    for (quint64 key = 0; key <= size; ++key)
        counts.add(key);
    EXPECT_EQ(counts.entriesInMemory(), 1U);
    EXPECT_EQ(file.size(), static_cast<qint64>(size));
    EXPECT_EQ(counts.keyAt(size / 2), size / 2);
    EXPECT_EQ(counts.countWhile([](quint64 key) { return key < 123456; }), 123456U);
    EXPECT_EQ(counts.distinct(), size + 1);
}

TEST(WideCounts, SmallRunsOfACounterShareAPage)
{
    SpillFile file;
    WideCounts counts(&file, smallBound);
    constexpr quint64 size = 100000;
    for (quint64 key = 0; key < size; ++key)
        counts.add(key);
    const size_t fullPages = size / SpillFile::pageSize;
    EXPECT_LE(file.size(), static_cast<qint64>((2 * fullPages + 10) * SpillFile::pageSize));
    EXPECT_EQ(counts.distinct(), size);
}

TEST(WideCounts, MedianAndDeviatorsOfRandomDoublesMatchASortedList)
{
    std::mt19937 random(6);
    std::normal_distribution<double> spread(0, 1000);
    SpillFile file;
    WideCounts counts(&file, smallBound);
    std::vector<double> values(50001);
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = i % 10 == 0 ? 0 : spread(random);
        counts.add(keyOf(values[i]));
    }
    values.push_back(-std::numeric_limits<double>::infinity());
    counts.add(keyOf(values.back()));
    std::sort(values.begin(), values.end());
    for (const size_t position : {size_t(0), size_t(1), values.size() / 2, values.size() - 1})
        EXPECT_EQ(valueOf(counts.keyAt(position)), values[position]);
    for (const double limit : {-1e300, -1000.0, -0.0, 0.5, 999.0}) {
        const auto isBelow = [=](double value) { return value < limit; };
        EXPECT_EQ(counts.countWhile([&](quint64 key) { return isBelow(valueOf(key)); }),
                  static_cast<quint64>(std::count_if(values.begin(), values.end(), isBelow)));
    }
}

// A caller need not know how NaN compares, whose keys are beyond those of infinity.
TEST(WideCounts, OnlyKeysBetweenTheSmallestAndTheGreatestAreCompared)
{
    WideCounts counts;
    for (const quint64 key : {700U, 1500U, 4000U})
        counts.add(key);
    quint64 asked = 0;
    const auto isBefore = [&](quint64 key) {
        ++asked;
        EXPECT_TRUE(key >= 700 && key <= 4000) << key;
        return key < 1500;
    };
    EXPECT_EQ(counts.countWhile(isBefore), 1U);
    EXPECT_GT(asked, 0U);
}

TEST(WideCounts, ManyKeysInMemoryMatchAMap)
{
    SpillFile file(SpillFile::defaultDirectory(), 65536);
    WideCounts counts(&file);
    Counts expected;
    size_t most = 0;
    for (const quint64 key : randomKeys(64, 150000, 7)) {
        counts.add(key);
        ++expected[key];
        if (expected.size() == 60000 || expected.size() == 61000 || expected.size() == 100000)
            expectSame(counts, expected);
        most = std::max(most, counts.entriesInMemory());
    }
    expectSame(counts, expected);
    EXPECT_EQ(most, 65536U);
    // Keys that do not recur are given less memory. The rest is left for others.
    EXPECT_LE(counts.entriesInMemory(), 32768U);
    EXPECT_FALSE(file.reserve(65536 - 32768 + 1024 + 1));
    EXPECT_TRUE(file.reserve(65536 - 32768 + 1024));
}

TEST(WideCounts, KeysWithEqualDigitsMatchAMap)
{
    WideCounts counts;
    Counts expected;
    for (const quint64 key : randomKeys(64, 5000, 14)) {
        counts.add(key & 0xFF00FF00FF000000);
        ++expected[key & 0xFF00FF00FF000000];
    }
    expectSame(counts, expected);
}

TEST(WideCounts, SpilledRunsAreMerged)
{
    SpillFile file;
    WideCounts counts(&file, smallBound);
    constexpr size_t size = 300000;
    for (const quint64 key : randomKeys(64, size, 13))
        counts.add(key);
    EXPECT_LE(counts.runCount(), 28U); // of 4687: at most seven of each power of eight pages
    EXPECT_LE(file.size(), static_cast<qint64>(2 * 8 * size));
}

TEST(WideCounts, AreZeroAgainAfterClearing)
{
    SpillFile file;
    WideCounts counts(&file, smallBound);
    for (const quint64 key : randomKeys(64, 20000, 8))
        counts.add(key, quint64(1) << 31);
    EXPECT_GT(file.size(), 0);
    counts.clear();
    expectSame(counts, {});
    EXPECT_EQ(file.size(), 0);
    counts.add(5);
    counts.add(3);
    expectSame(counts, {{3, 1}, {5, 1}});
}

TEST(WideCounts, SpaceOfDeletedCountsIsUsedAgain)
{
    SpillFile file;
    WideCounts remaining(&file, smallBound);
    for (const quint64 key : randomKeys(64, 1000, 9))
        remaining.add(key);
    qint64 size = 0;
    for (int i = 0; i < 5; ++i) {
        WideCounts counts(&file, smallBound);
        for (const quint64 key : randomKeys(64, 20000, 10))
            counts.add(key);
        size = i == 0 ? file.size() : size;
    }
    EXPECT_EQ(file.size(), size);
    EXPECT_EQ(remaining.distinct(), 1000U);
}

TEST(WideCounts, KeepAllInMemoryWithoutAFile)
{
    WideCounts counts(nullptr, smallBound);
    Counts expected;
    for (const quint64 key : randomKeys(64, 5000, 11)) {
        counts.add(key);
        ++expected[key];
    }
    expectSame(counts, expected);
    EXPECT_EQ(counts.entriesInMemory(), 5000U);
}

TEST(WideCounts, ShareTheMemoryOfAllSignals)
{
    SpillFile file(SpillFile::defaultDirectory(), 4096);
    std::vector<std::unique_ptr<WideCounts>> signalCounts;
    for (unsigned int i = 0; i < 20; ++i) {
        signalCounts.push_back(std::make_unique<WideCounts>(&file));
        for (const quint64 key : randomKeys(64, 3000, i))
            signalCounts.back()->add(key);
    }
    size_t entries = 0;
    for (const auto& counts : signalCounts) {
        entries += counts->entriesInMemory();
        EXPECT_EQ(counts->distinct(), 3000U);
    }
    EXPECT_LE(entries, 4096 + 20 * 1024U); // each may keep 1024 without asking
    EXPECT_TRUE(signalCounts.back()->isSpilled());
    signalCounts.clear();
    EXPECT_TRUE(file.reserve(4096));
}

TEST(WideCounts, AreExactWhenTheDiskIsFull)
{
    // The disk is full at the first page, before and while runs are merged.
    for (const rlim_t pages : {0U, 5U, 9U, 20U}) {
        SpillFile file;
        WideCounts counts(&file, smallBound);
        Counts expected;
        const FileSizeLimit limit(pages * SpillFile::pageSize);
        for (const quint64 key : randomKeys(64, 50000, 12)) {
            counts.add(key);
            ++expected[key];
        }
        expectSame(counts, expected);
        EXPECT_EQ(counts.isSpilled(), pages > 0);
        EXPECT_GT(counts.entriesInMemory(), smallBound);
        EXPECT_TRUE(file.error().contains(QStringLiteral("cannot be written"))) << pages;
        counts.clear();
        EXPECT_EQ(file.size(), 0);
    }
}

TEST(WideCounts, OfSeveralThreadsShareAFile)
{
    SpillFile file;
    std::vector<std::unique_ptr<WideCounts>> signalCounts;
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 4; ++i) {
        signalCounts.push_back(std::make_unique<WideCounts>(&file, smallBound));
        threads.emplace_back([&counts = *signalCounts.back(), i] {
            for (const quint64 key : randomKeys(64, 20000, i))
                counts.add(key);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (unsigned int i = 0; i < 4; ++i) {
        Counts expected;
        for (const quint64 key : randomKeys(64, 20000, i))
            ++expected[key];
        expectSame(*signalCounts[i], expected);
    }
}
