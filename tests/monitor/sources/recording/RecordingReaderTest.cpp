#include <sources/recording/RecordingReader.h>

#include <gtest/gtest.h>

#include <QtCore/QList>

using monitor::Frame;
using monitor::LineKind;
using monitor::RecordingReader;

namespace
{

/// The kinds of the lines: F frame, E error frame, D dropped, n nothing, x no frame.
QByteArray kindsIn(const QList<QByteArray>& lines)
{
    RecordingReader reader;
    QByteArray kinds;
    for (const QByteArray& line : lines) {
        Frame frame;
        kinds += "FEDnx"[static_cast<int>(reader.readLine(line, frame))];
    }
    return kinds;
}

const QByteArray candumpLine = "(1.0) can0 123#1122";
const QByteArray ascLine = "   0.015991 1  123             Rx   d 2 11 22";

} // namespace

TEST(RecordingReader, LinesOfCandumpMakeACandumpRecording)
{
    EXPECT_EQ(kindsIn({candumpLine, ascLine}), "Fx");
    EXPECT_EQ(kindsIn({"# comment", "", " can0  123   [1]  11", ascLine, candumpLine}), "nnFxF");
}

TEST(RecordingReader, LinesOfAnAscMakeAnAscRecording)
{
    EXPECT_EQ(kindsIn({ascLine, candumpLine}), "Fx");
    EXPECT_EQ(kindsIn({"date Mon Nov 16 10:38:11 2020", ascLine, candumpLine}), "nFx");
    EXPECT_EQ(kindsIn({"// version 9.0.0", candumpLine, ascLine}), "nxF");
}

TEST(RecordingReader, NonsenseBeforeTheFirstLineDecidesNothing)
{
    EXPECT_EQ(kindsIn({"hello", "world", candumpLine}), "xxF");
    EXPECT_EQ(kindsIn({"hello", "1.0", ascLine}), "xxF");
}

TEST(RecordingReader, AddsUpWhatIsDropped)
{
    RecordingReader reader;
    Frame frame;
    for (const char* line : {"DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total drops 12)",
                             "(1.0) can0 123#1122",
                             "DROPCOUNT: dropped 1 CAN frame on 'can0' socket (total drops 13)"})
        reader.readLine(line, frame);
    EXPECT_EQ(reader.dropped(), 13);
}

TEST(RecordingReader, WordWithZeroBytesIsNotTakenForAShorterOne)
{
    const QByteArray line = " 0.1 1 123 " + QByteArray("Rx\0\0", 4) + " d 0";
    EXPECT_EQ(kindsIn({ascLine, line}), "Fx");
}
