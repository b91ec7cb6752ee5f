#include <can/BusLoad.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using monitor::bitsOnBus;
using monitor::BusLoad;
using monitor::Frame;

namespace
{

Frame frameOf(quint32 id, bool extended, const std::vector<quint8>& data)
{
    Frame frame;
    frame.id = id;
    frame.extended = extended;
    frame.length = static_cast<quint8>(data.size());
    std::copy(data.begin(), data.end(), frame.data.begin());
    return frame;
}

std::string binary(quint32 value, int digits)
{
    std::string text;
    for (int i = digits - 1; i >= 0; --i)
        text += (value >> i) % 2 != 0 ? '1' : '0';
    return text;
}

/// The CRC of ISO 11898-1, as the remainder of a polynomial long division.
std::string crcOf(const std::string& bits)
{
    const std::string divisor = "1100010110011001";
    std::string dividend = bits + std::string(15, '0');
    for (size_t i = 0; i < bits.size(); ++i) {
        if (dividend[i] == '0')
            continue;
        for (size_t k = 0; k < divisor.size(); ++k)
            dividend[i + k] = dividend[i + k] == divisor[k] ? '0' : '1';
    }
    return dividend.substr(bits.size());
}

size_t stuffedSize(const std::string& bits)
{
    std::string sent;
    for (const char bit : bits) {
        sent += bit;
        if (sent.size() >= 5 && sent.find_last_not_of(bit) + 5 == sent.size() - 1)
            sent += bit == '1' ? '0' : '1';
    }
    return sent.size();
}

/// Counts the bits of the frame written as a bit string.
int modelledBits(const Frame& frame)
{
    const std::string remote = frame.remote ? "1" : "0";
    std::string bits = "0";
    if (frame.extended)
        bits += binary(frame.id >> 18U, 11) + "11" + binary(frame.id, 18) + remote + "00";
    else
        bits += binary(frame.id, 11) + remote + "00";
    bits += binary(frame.length, 4);
    for (size_t i = 0; i < frame.length; ++i)
        bits += binary(frame.data.at(i), 8);
    return static_cast<int>(stuffedSize(bits + crcOf(bits))) + 13;
}

} // namespace

// The expected numbers come from frames written as bit strings. The CRC is the remainder of a long
// division, and a stuff bit follows every five equal bits.
TEST(FrameBits, ClassicFramesIncludeFormatDataAndStuffBits)
{
    EXPECT_EQ(bitsOnBus(frameOf(0x123, false, {})), 47 + 1);
    EXPECT_EQ(bitsOnBus(frameOf(0x555, false, {0x55, 0x55})), 47 + 16 + 1);
    EXPECT_EQ(bitsOnBus(frameOf(0, false, std::vector<quint8>(8, 0))), 47 + 64 + 16);
    EXPECT_EQ(bitsOnBus(frameOf(0x7FF, false, std::vector<quint8>(8, 0xFF))), 47 + 64 + 15);
    EXPECT_EQ(bitsOnBus(frameOf(0x078, false, {0xF8, 0x78, 0x3C, 0x1E, 0x0F, 0x87, 0xC3, 0xC3})),
              47 + 64 + 13);
    EXPECT_EQ(bitsOnBus(frameOf(0x1FFFFFFF, true, std::vector<quint8>(8, 0))), 67 + 64 + 20);
    EXPECT_EQ(
        bitsOnBus(frameOf(0x18FEDF00, true, {0x8A, 0xA0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})),
        67 + 64 + 15);
    EXPECT_EQ(
        bitsOnBus(frameOf(0x0CF00400, true, {0x51, 0x7D, 0x9A, 0x20, 0x03, 0x00, 0xF0, 0xFF})),
        67 + 64 + 8);
}

TEST(FrameBits, RemoteFramesHaveNoData)
{
    Frame frame = frameOf(0x555, false, {});
    frame.remote = true;
    EXPECT_EQ(bitsOnBus(frame), 47 + 1);
    frame = frameOf(0x18EA0001, true, {});
    frame.remote = true;
    EXPECT_EQ(bitsOnBus(frame), 67 + 4);
}

TEST(FrameBits, LongCanFdFramesAreEstimatedFromTheirLength)
{
    EXPECT_EQ(bitsOnBus(frameOf(0x123, false, std::vector<quint8>(64))), 47 + 64 * 8);
    EXPECT_EQ(bitsOnBus(frameOf(0x123, true, std::vector<quint8>(12))), 67 + 12 * 8);
}

TEST(FrameBits, MatchFramesWrittenAsBitStrings)
{
    std::mt19937 random(11898);
    for (int i = 0; i < 2000; ++i) {
        std::vector<quint8> data(random() % 9);
        for (quint8& byte : data) // long runs of equal bits, so that stuff bits are needed
            byte = static_cast<quint8>(random() % 2 == 0 ? random() : 0xFFU << random() % 9);
        const bool extended = i % 2 == 0;
        Frame frame =
            frameOf(static_cast<quint32>(random()) >> (extended ? 3U : 21U), extended, data);
        frame.remote = data.empty() && random() % 2 == 0;
        ASSERT_EQ(bitsOnBus(frame), modelledBits(frame)) << std::hex << frame.id;
    }
}

TEST(BusLoad, IsZeroBeforeTheSecondReport)
{
    BusLoad load(250000);
    EXPECT_EQ(load.percent(), 0);
    load.add(100000, 999);
    EXPECT_EQ(load.percent(), 0);
}

TEST(BusLoad, IsRelativeToTheBitRate)
{
    BusLoad load(250000);
    load.add(0, 0);
    load.add(100000, 5000); // of 25000 possible
    EXPECT_DOUBLE_EQ(load.percent(), 20);
    load.add(200000, 20000);
    EXPECT_DOUBLE_EQ(load.percent(), 50);
}

TEST(BusLoad, CoversTheLastSecondOnly)
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

TEST(BusLoad, IntervalLongerThanASecondCountsAsAWhole)
{
    BusLoad load(1000);
    load.add(0, 0);
    load.add(4000000, 2000);
    EXPECT_DOUBLE_EQ(load.percent(), 50);
}

TEST(BusLoad, CoversOnlyTheLastIntervalBetweenRareReports)
{
    BusLoad load(1000);
    load.add(7000000, 0);
    load.add(8000000, 1000);
    EXPECT_DOUBLE_EQ(load.percent(), 100);
    load.add(9000000, 250);
    EXPECT_DOUBLE_EQ(load.percent(), 25);
}
