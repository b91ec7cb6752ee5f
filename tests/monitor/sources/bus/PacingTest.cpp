#include <sources/bus/Pacing.h>

#include <gtest/gtest.h>

#include <limits>

using monitor::Frame;
using monitor::Pacing;

namespace
{

Frame at(std::optional<qint64> microseconds)
{
    Frame frame;
    frame.microseconds = microseconds;
    return frame;
}

} // namespace

TEST(Pacing, FramesAreDueAsTheyWereRecordedWhateverTheFirstTime)
{
    Pacing pacing(1);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020850)), 0);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020950)), 100);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020950)), 100);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188456020950)), 1000100);
}

TEST(Pacing, FactorDividesTheWaits)
{
    Pacing pacing(4);
    pacing.dueTimeOf(at(0));
    EXPECT_EQ(pacing.dueTimeOf(at(1000)), 250);
    EXPECT_EQ(pacing.dueTimeOf(at(2000)), 500);
}

TEST(Pacing, NothingIsWaitedForAsFastAsPossible)
{
    Pacing pacing(std::numeric_limits<double>::infinity());
    pacing.dueTimeOf(at(0));
    EXPECT_EQ(pacing.dueTimeOf(at(1000000000)), 0);
}

TEST(Pacing, TimesThatJumpBackwardsOrAreMissingAreNotWaitedFor)
{
    Pacing pacing(1);
    pacing.dueTimeOf(at(5000));
    EXPECT_EQ(pacing.dueTimeOf(at(6000)), 1000);
    EXPECT_EQ(pacing.dueTimeOf(at(100)), 1000);
    EXPECT_EQ(pacing.dueTimeOf(at(std::nullopt)), 1000);
    EXPECT_EQ(pacing.dueTimeOf(at(350)), 1250);
}

TEST(Pacing, FramesBeforeTheFirstTimeAreDueAtOnce)
{
    Pacing pacing(1);
    EXPECT_EQ(pacing.dueTimeOf(at(std::nullopt)), 0);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020850)), 0);
}
