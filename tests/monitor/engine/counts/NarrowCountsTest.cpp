#include <engine/counts/NarrowCounts.h>

#include <gtest/gtest.h>

#include <map>
#include <random>

using monitor::NarrowCounts;

namespace
{

/// Compares all results with those of \a model.
void expectEqual(const NarrowCounts& counts, const std::map<quint32, quint64>& model,
                 std::mt19937& random)
{
    quint64 before = 0;
    for (const auto& [key, times] : model) {
        ASSERT_EQ(counts.keyAt(before), key);
        ASSERT_EQ(counts.keyAt(before + times - 1), key);
        ASSERT_EQ(counts.countBelow(key), before) << key;
        before += times;
        ASSERT_EQ(counts.countBelow(key + 1), before) << key;
    }
    ASSERT_EQ(counts.countBelow(0x10000), before);
    for (int i = 0; i < 20; ++i) {
        const quint32 limit = random() & 0x1FFFF;
        quint64 expected = 0;
        for (const auto& [key, times] : model)
            expected += key < limit ? times : 0;
        ASSERT_EQ(counts.countBelow(limit), expected) << limit;
        ASSERT_EQ(counts.countWhile([limit](quint64 key) { return key < limit; }), expected)
            << limit;
    }
}

} // namespace

TEST(NarrowCounts, MatchASortedMapWhereverTheKeysLie)
{
    std::mt19937 random(16);
    for (const quint32 center : {0U, 5U, 300U, 0x8000U, 0xFFF0U, 0xFFFFU}) {
        for (const quint32 spread : {0U, 1U, 40U, 1000U, 0xFFFFU}) {
            NarrowCounts counts;
            std::map<quint32, quint64> model;
            for (int i = 0; i < 500; ++i) {
                const quint32 key = (center + random() % (spread + 1)) & 0xFFFF;
                counts.add(key);
                ++model[key];
            }
            expectEqual(counts, model, random);
        }
    }
}

TEST(NarrowCounts, EveryKeyCanBeCounted)
{
    std::mt19937 random(17);
    NarrowCounts counts;
    std::map<quint32, quint64> model;
    for (quint32 key = 0x10000; key-- > 0;) {
        counts.add(key, key % 3 + 1);
        model[key] = key % 3 + 1;
    }
    expectEqual(counts, model, random);
}

TEST(NarrowCounts, CountsOfOneKeyMayExceed32Bits)
{
    std::mt19937 random(18);
    NarrowCounts counts;
    std::map<quint32, quint64> model;
    const auto add = [&](quint32 key, quint64 times) {
        counts.add(key, times);
        model[key] += times;
        expectEqual(counts, model, random);
    };
    add(7, 0xFFFFFFFF);
    add(7, 1);
    add(9, 0x300000005);
    add(7, 0xFFFFFFFFFF);
    add(8, 1);
    counts.add(9);
    counts.add(9, 0);
    ++model[9];
    for (int i = 0; i < 3; ++i) {
        add(9, 0xFFFFFFFF);
        counts.add(9);
        ++model[9];
    }
    expectEqual(counts, model, random);
}

TEST(NarrowCounts, ClearedCountsStartOver)
{
    NarrowCounts counts;
    counts.add(3, 0x200000000);
    counts.clear();
    EXPECT_EQ(counts.countBelow(0x10000), 0U);
    counts.add(40000);
    EXPECT_EQ(counts.countBelow(0x10000), 1U);
    EXPECT_EQ(counts.keyAt(0), 40000U);
}
