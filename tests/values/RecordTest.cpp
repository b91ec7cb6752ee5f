#include <vantrel/values/J1939Value.h>

#include <gtest/gtest.h>

TEST(J1939Value, FreshRecordHasBothBytesZero)
{
    const J1939Value value;
    EXPECT_EQ(value.auxCode1, 0);
    EXPECT_EQ(value.auxCode2, 0);
}
