#include <engine/Rhythm.h>

#include <gtest/gtest.h>

using monitor::Rhythm;

namespace
{

constexpr qint64 ms = 1000;

Rhythm rhythmOf(qint64 period, int values)
{
    Rhythm rhythm;
    for (int i = 0; i < values; ++i)
        rhythm.add(i * period);
    return rhythm;
}

} // namespace

TEST(Rhythm, SingleValueHasNoPeriodAndIsNeverSilent)
{
    const Rhythm rhythm = rhythmOf(0, 1);
    EXPECT_EQ(rhythm.period(), std::nullopt);
    EXPECT_FALSE(rhythm.isSilent(1000000 * ms));
    EXPECT_FALSE(Rhythm().isSilent(1000000 * ms));
}

TEST(Rhythm, SilenceBeginsAfterFiveUsualPeriods)
{
    const Rhythm rhythm = rhythmOf(100 * ms, 10);
    EXPECT_EQ(rhythm.period(), 100.0 * ms);
    EXPECT_FALSE(rhythm.isSilent(1400 * ms));
    EXPECT_TRUE(rhythm.isSilent(1401 * ms));
}

TEST(Rhythm, FastSignalIsSilentAfter200Milliseconds)
{
    const Rhythm rhythm = rhythmOf(10 * ms, 101);
    EXPECT_FALSE(rhythm.isSilent(1200 * ms));
    EXPECT_TRUE(rhythm.isSilent(1201 * ms));
}

TEST(Rhythm, ValuesWithTheSameTimeCountOnce)
{
    Rhythm rhythm;
    for (int i = 0; i < 100; ++i)
        rhythm.add(i / 10 * 100 * ms);
    EXPECT_EQ(rhythm.period(), 100.0 * ms);
}

TEST(Rhythm, LongPauseHardlyChangesTheUsualPeriod)
{
    Rhythm rhythm = rhythmOf(100 * ms, 10);
    rhythm.add(3600000 * ms);
    EXPECT_EQ(rhythm.period(), 150.0 * ms);
}

TEST(Rhythm, SignalThatSlowsDownIsSoonNoLongerSilent)
{
    Rhythm rhythm = rhythmOf(100 * ms, 10);
    for (int i = 1; i <= 12; ++i)
        rhythm.add((900 + i * 2000) * ms);
    EXPECT_FALSE(rhythm.isSilent((900 + 13 * 2000) * ms));
}

TEST(Rhythm, BackwardJumpDoesNotChangeThePeriod)
{
    Rhythm rhythm = rhythmOf(100 * ms, 10);
    rhythm.add(0);
    EXPECT_EQ(rhythm.period(), 100.0 * ms);
    rhythm.add(100 * ms);
    EXPECT_EQ(rhythm.period(), 100.0 * ms);
    EXPECT_FALSE(rhythm.isSilent(600 * ms));
}
