#include <sources/BusNames.h>

#include <gtest/gtest.h>

using monitor::BusNames;

TEST(BusNames, BusesAreNumberedInTheOrderInWhichTheyAppear)
{
    BusNames names;
    EXPECT_EQ(names.names(), QStringList());
    EXPECT_EQ(names.indexOf("can1"), 0);
    EXPECT_EQ(names.indexOf("can0"), 1);
    EXPECT_EQ(names.indexOf("can0"), 1);
    EXPECT_EQ(names.indexOf("can1"), 0);
    EXPECT_EQ(names.indexOf("can"), 2);
    EXPECT_EQ(names.indexOf(""), 3);
    EXPECT_EQ(names.indexOf("can01", 4), 1);
    EXPECT_EQ(names.names(), (QStringList{"can1", "can0", "can", ""}));
}

TEST(BusNames, NamesBeyondTheMaximumShareOne)
{
    BusNames names;
    for (int i = 0; i < 1024; ++i)
        ASSERT_EQ(names.indexOf(QByteArray::number(i)), i);
    EXPECT_EQ(names.indexOf("one too many"), 1023);
    EXPECT_EQ(names.indexOf("1022"), 1022);
    EXPECT_EQ(names.names().size(), 1024);
    EXPECT_EQ(names.names().mid(1022), (QStringList{"1022", "other"}));
}
