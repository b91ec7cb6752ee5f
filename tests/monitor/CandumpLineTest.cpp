#include <reading/CandumpLine.h>

#include <gtest/gtest.h>

#include <random>

using monitor::Frame;
using monitor::LineKind;
using monitor::readCandumpLine;

namespace
{

QByteArray dataOf(const Frame& frame)
{
    QByteArray data;
    for (int i = 0; i < frame.length; ++i)
        data.append(static_cast<char>(frame.data.at(static_cast<size_t>(i))));
    return data.toHex();
}

Frame frameIn(const QByteArray& line)
{
    Frame frame;
    EXPECT_EQ(readCandumpLine(line, frame), LineKind::Frame) << line.constData();
    return frame;
}

LineKind kindOf(const QByteArray& line)
{
    Frame frame;
    return readCandumpLine(line, frame);
}

} // namespace

TEST(CandumpLine, EightDigitsAreA29BitId)
{
    const Frame frame = frameIn("(1635188455.020850) can1 18F00E00#821639C4FFFFFF0A");
    EXPECT_EQ(frame.microseconds, 1635188455020850);
    EXPECT_EQ(frame.id, 0x18F00E00U);
    EXPECT_TRUE(frame.extended);
    EXPECT_FALSE(frame.remote);
    EXPECT_EQ(dataOf(frame), "821639c4ffffff0a");
}

TEST(CandumpLine, ThreeDigitsAreAn11BitIdEvenWithLeadingZeros)
{
    const Frame frame = frameIn("(0.000001) vcan0 009#0102");
    EXPECT_EQ(frame.microseconds, 1);
    EXPECT_EQ(frame.id, 9U);
    EXPECT_FALSE(frame.extended);
    EXPECT_EQ(dataOf(frame), "0102");
}

TEST(CandumpLine, LowerCaseDigitsAndBlanksAroundTheFieldsAreAccepted)
{
    const Frame frame = frameIn(" \t(1.5)   can0\t0cf004fe#abCd  ");
    EXPECT_EQ(frame.microseconds, 1500000);
    EXPECT_EQ(frame.id, 0x0CF004FEU);
    EXPECT_EQ(dataOf(frame), "abcd");
}

TEST(CandumpLine, AnyNumberOfFractionDigitsIsCutToMicroseconds)
{
    EXPECT_EQ(frameIn("(2.1) c 001#").microseconds, 2100000);
    EXPECT_EQ(frameIn("(2.123456789012345678901234567890) c 001#").microseconds, 2123456);
}

TEST(CandumpLine, FrameMayCarryNoData)
{
    EXPECT_EQ(frameIn("(1.0) can0 123#").length, 0);
}

TEST(CandumpLine, RemoteFrameCarriesNoDataWhateverLengthItAsksFor)
{
    for (const char* line : {"(1.0) can0 181#R", "(1.0) can0 181#R6", "(1.0) can0 181#R0 "}) {
        const Frame frame = frameIn(line);
        EXPECT_TRUE(frame.remote);
        EXPECT_EQ(frame.length, 0);
    }
}

TEST(CandumpLine, BlankLinesAndCommentsAreNothing)
{
    for (const char* line : {"", "  ", "\t", "# a comment", "  # (1.0) can0 123#11"})
        EXPECT_EQ(kindOf(line), LineKind::Nothing) << line;
}

TEST(CandumpLine, WhatIsNoClassicFrameIsNoFrame)
{
    for (const char* line : {
             "hello",
             "1.0 can0 123#11",
             "(1.0 can0 123#11",
             "(1) can0 123#11",
             "(.5) can0 123#11",
             "(1.) can0 123#11",
             "(-1.0) can0 123#11",
             "(9999999999999.0) can0 123#11",
             "(99999999999999999999.0) can0 123#11",
             "(1.0)can0 123#11",
             "(1.0) can0",
             "(1.0) can0 #11",
             "(1.0) can0 12#11",
             "(1.0) can0 1234#11",
             "(1.0) can0 1234567#11",
             "(1.0) can0 123456789#11",
             "(1.0) can0 12G#11",
             "(1.0) can0 800#11",
             "(1.0) can0 20000000#11",
             "(1.0) can0 FFFFFFFF#11",
             "(1.0) can0 123",
             "(1.0) can0 123#1",
             "(1.0) can0 123#1G",
             "(1.0) can0 123#G1",
             "(1.0) can0 123#1 1",
             "(1.0) can0 123#112233445566778899",
             "(1.0) can0 123##0112233",
             "(1.0) can0 123#R9",
             "(1.0) can0 123#R66",
             "(1.0) can0 123#11 and more",
             "(1.0) can0 123 [1] 11",
         })
        EXPECT_EQ(kindOf(line), LineKind::NoFrame) << line;
}

TEST(CandumpLine, ZeroByteIsNotTakenForTheEndOfTheLine)
{
    EXPECT_EQ(kindOf(QByteArray("(1.0) can0 123#11\0\0", 19)), LineKind::NoFrame);
    EXPECT_EQ(kindOf(QByteArray("\0", 1)), LineKind::NoFrame);
}

TEST(CandumpLine, LineThatIsNoFrameLeavesTheFrameAsItIs)
{
    Frame frame = frameIn("(1.0) can0 123#11");
    EXPECT_EQ(readCandumpLine("(2.0) can0 124#2", frame), LineKind::NoFrame);
    EXPECT_EQ(readCandumpLine("# comment", frame), LineKind::Nothing);
    EXPECT_EQ(frame.id, 0x123U);
    EXPECT_EQ(frame.microseconds, 1000000);
}

TEST(CandumpLine, EveryPrefixIsAFrameOnlyWhereItsDataEndsWithAWholeByte)
{
    const QByteArray line = "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF";
    const int dataBegin = line.indexOf('#') + 1;
    EXPECT_EQ(kindOf(line.left(0)), LineKind::Nothing);
    for (int size = 1; size < line.size(); ++size) {
        const bool isFrame = size >= dataBegin && (size - dataBegin) % 2 == 0;
        EXPECT_EQ(kindOf(line.left(size)), isFrame ? LineKind::Frame : LineKind::NoFrame) << size;
    }
}

TEST(CandumpLine, DamagedLinesGiveNoFrameBeyondTheLimits)
{
    std::mt19937 random(20211025);
    const QByteArray valid = "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF";
    for (int i = 0; i < 200000; ++i) {
        QByteArray line = valid.mid(0, static_cast<int>(random() % 60));
        for (auto damage = random() % 3; damage > 0 && !line.isEmpty(); --damage)
            line[static_cast<uint>(random()) % static_cast<uint>(line.size())] =
                static_cast<char>(random());
        Frame frame;
        if (readCandumpLine(line, frame) != LineKind::Frame)
            continue;
        ASSERT_LE(frame.length, 8) << line.toHex().constData();
        ASSERT_LE(frame.id, frame.extended ? 0x1FFFFFFFU : 0x7FFU) << line.toHex().constData();
    }
}
