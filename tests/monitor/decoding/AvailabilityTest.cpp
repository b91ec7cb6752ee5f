#include <decoding/Availability.h>

#include <gtest/gtest.h>

#include <vector>

using monitor::Availability;
using monitor::availabilityOf;

TEST(Availability, ByteAndLongerGoByTheirMostSignificantByte)
{
    struct Row {
        int length;
        quint64 lastMeasured;
        quint64 firstError;
        quint64 lastError;
        quint64 firstNotAvailable;
        quint64 last;
    };
    for (const Row& row : std::vector<Row>{
             {8, 0xFD, 0xFE, 0xFE, 0xFF, 0xFF},
             {10, 0x3F7, 0x3F8, 0x3FB, 0x3FC, 0x3FF},
             {16, 0xFDFF, 0xFE00, 0xFEFF, 0xFF00, 0xFFFF},
             {32, 0xFDFFFFFF, 0xFE000000, 0xFEFFFFFF, 0xFF000000, 0xFFFFFFFF},
             {64, 0xFDFFFFFFFFFFFFFF, 0xFE00000000000000, 0xFEFFFFFFFFFFFFFF, 0xFF00000000000000,
              0xFFFFFFFFFFFFFFFF},
         }) {
        EXPECT_EQ(availabilityOf(0, row.length), Availability::Measured) << row.length;
        EXPECT_EQ(availabilityOf(row.lastMeasured, row.length), Availability::Measured);
        EXPECT_EQ(availabilityOf(row.firstError, row.length), Availability::Error);
        EXPECT_EQ(availabilityOf(row.lastError, row.length), Availability::Error);
        EXPECT_EQ(availabilityOf(row.firstNotAvailable, row.length), Availability::NotAvailable);
        EXPECT_EQ(availabilityOf(row.last, row.length), Availability::NotAvailable);
    }
}

TEST(Availability, TwoAndFourBitsReserveTheirTwoHighestStates)
{
    for (const quint64 states : {4U, 16U}) {
        const int length = states == 4 ? 2 : 4;
        for (quint64 raw = 0; raw < states - 2; ++raw)
            EXPECT_EQ(availabilityOf(raw, length), Availability::Measured) << raw;
        EXPECT_EQ(availabilityOf(states - 2, length), Availability::Error);
        EXPECT_EQ(availabilityOf(states - 1, length), Availability::NotAvailable);
    }
}

TEST(Availability, OtherShortFieldsReserveNothing)
{
    for (const int length : {1, 3, 5, 6, 7}) {
        for (quint64 raw = 0; raw < quint64{1} << length; ++raw)
            EXPECT_EQ(availabilityOf(raw, length), Availability::Measured) << length << ' ' << raw;
    }
}
