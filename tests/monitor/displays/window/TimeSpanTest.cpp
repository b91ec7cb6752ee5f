#include <displays/window/TimeSpan.h>

#include <gtest/gtest.h>

using monitor::AxisRange;
using monitor::TimeSpan;

namespace
{

void expectRange(const AxisRange& range, double from, double to)
{
    EXPECT_NEAR(range.from, from, 1e-9);
    EXPECT_NEAR(range.to, to, 1e-9);
}

} // namespace

TEST(TimeSpan, ShowsTheBeginningUntilItIsFullAndTheEndFromThenOn)
{
    const TimeSpan span;
    expectRange(span.range(12), 0, 12);
    expectRange(span.range(100), 70, 100);
}

TEST(TimeSpan, ZoomKeepsTheEndThatIsFollowed)
{
    TimeSpan span;
    span.zoom(0.5, 75, 100);
    expectRange(span.range(100), 85, 100);
    expectRange(span.range(101), 86, 101);
}

TEST(TimeSpan, WhatHasBeenMovedToStandsStillAndIsZoomedAroundTheMouse)
{
    TimeSpan span;
    span.move(-20, 100);
    EXPECT_FALSE(span.isFollowing());
    expectRange(span.range(100), 50, 80);
    expectRange(span.range(200), 50, 80);
    span.zoom(0.5, 60, 200);
    expectRange(span.range(200), 55, 70);
    span.zoom(2, 60, 200);
    expectRange(span.range(200), 50, 80);
}

TEST(TimeSpan, EndIsFollowedAgainByWhoeverComesToIt)
{
    TimeSpan span;
    span.move(-20, 100);
    span.move(15, 100);
    EXPECT_FALSE(span.isFollowing());
    span.move(15, 100);
    EXPECT_TRUE(span.isFollowing());
    expectRange(span.range(130), 100, 130);
    span.move(-20, 130);
    span.follow();
    expectRange(span.range(140), 110, 140);
}

TEST(TimeSpan, StaysBetweenTheBeginningAndTheEndAndIsNeverEmpty)
{
    TimeSpan span;
    span.move(-1000, 100);
    expectRange(span.range(100), 0, 30);
    span.zoom(1000, 10, 100);
    expectRange(span.range(100), 0, 100);
    span.zoom(1e-9, 10, 100);
    const AxisRange range = span.range(100);
    EXPECT_GT(range.to, range.from);
    EXPECT_GT(TimeSpan().range(0).to, 0);
}
