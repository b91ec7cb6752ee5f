#include <can/BusLoad.h>

#include <gtest/gtest.h>

using monitor::BusLoad;

TEST(BusLoad, NothingIsKnownBeforeThereIsAStretchOfTime)
{
    BusLoad load(250000);
    EXPECT_EQ(load.percent(), 0);
    load.add(100000, 999);
    EXPECT_EQ(load.percent(), 0);
}

TEST(BusLoad, BitsAreComparedWithWhatTheBusCarriesInThatTime)
{
    BusLoad load(250000);
    load.add(0, 0);
    load.add(100000, 5000); // of 25000
    EXPECT_DOUBLE_EQ(load.percent(), 20);
    load.add(200000, 20000);
    EXPECT_DOUBLE_EQ(load.percent(), 50);
}

TEST(BusLoad, WhatIsOlderThanASecondNoLongerCounts)
{
    BusLoad load(1000000);
    load.add(0, 0);
    for (int i = 1; i <= 10; ++i)
        load.add(i * 100000, 100000);
    EXPECT_DOUBLE_EQ(load.percent(), 100);
    for (int i = 11; i <= 20; ++i)
        load.add(i * 100000, 0);
    EXPECT_DOUBLE_EQ(load.percent(), 0);
}

TEST(BusLoad, StretchLongerThanASecondIsTakenAsAWhole)
{
    BusLoad load(1000);
    load.add(0, 0);
    load.add(4000000, 2000);
    EXPECT_DOUBLE_EQ(load.percent(), 50);
}
