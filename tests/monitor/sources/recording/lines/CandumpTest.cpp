#include <sources/recording/lines/Candump.h>

#include <gtest/gtest.h>

#include <QtCore/QIODevice>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

using monitor::CandumpReader;
using monitor::Frame;
using monitor::LineKind;

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
    EXPECT_EQ(CandumpReader().readLine(monitor::viewOf(line), frame), LineKind::Frame)
        << line.constData();
    return frame;
}

LineKind kindOf(const QByteArray& line)
{
    Frame frame;
    return CandumpReader().readLine(monitor::viewOf(line), frame);
}

/// What a whole recording contains.
struct Recording {
    QVector<std::optional<qint64>> milliseconds;
    QStringList buses; // of each frame
    QStringList notes;
    monitor::SourceCounts counts;
};

/// A device that delivers a few lines at a time.
class SomeLines : public QIODevice
{
public:
    SomeLines(QList<QByteArray> lines, int linesAtATime)
        : rest(std::move(lines)), atATime(linesAtATime)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64) override
    {
        QByteArray bytes;
        for (int i = 0; i < atATime && !rest.isEmpty(); ++i)
            bytes += rest.takeFirst() + '\n';
        std::copy(bytes.cbegin(), bytes.cend(), data);
        return bytes.isEmpty() ? -1 : static_cast<qint64>(bytes.size());
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QList<QByteArray> rest;
    int atATime;
};

Recording recordingOf(const QList<QByteArray>& lines, int linesAtATime = 1, int batchSize = 1)
{
    const auto source =
        monitor::openCandump(std::make_unique<SomeLines>(lines, linesAtATime), "x.log");
    Recording recording;
    std::vector<Frame> frames(static_cast<size_t>(batchSize));
    while (const int count = source->read(frames.data(), batchSize)) {
        for (int i = 0; i < count; ++i) {
            const Frame& frame = frames[static_cast<size_t>(i)];
            recording.milliseconds.append(std::nullopt);
            if (frame.nanoseconds)
                recording.milliseconds.last() = *frame.nanoseconds / 1000000;
            recording.buses.append(source->buses().at(frame.bus));
        }
    }
    recording.notes = source->notes();
    recording.counts = source->counts();
    return recording;
}

QList<QByteArray> repeated(const QByteArray& line, int times)
{
    return QVector<QByteArray>(times, line).toList();
}

QVector<std::optional<qint64>> list(std::initializer_list<qint64> times)
{
    return {times.begin(), times.end()};
}

} // namespace

TEST(CandumpLine, EightDigitsAreA29BitId)
{
    const Frame frame = frameIn("(1635188455.020850) can1 18F00E00#821639C4FFFFFF0A");
    EXPECT_EQ(frame.nanoseconds, 1635188455020850000);
    EXPECT_EQ(frame.id, 0x18F00E00U);
    EXPECT_TRUE(frame.extended);
    EXPECT_FALSE(frame.remote);
    EXPECT_EQ(dataOf(frame), "821639c4ffffff0a");
}

TEST(CandumpLine, ThreeDigitsAreAn11BitIdEvenWithLeadingZeros)
{
    const Frame frame = frameIn("(0.000001) vcan0 009#0102");
    EXPECT_EQ(frame.nanoseconds, 1000);
    EXPECT_EQ(frame.id, 9U);
    EXPECT_FALSE(frame.extended);
    EXPECT_EQ(dataOf(frame), "0102");
}

TEST(CandumpLine, LowerCaseDigitsAndExtraBlanksAreAccepted)
{
    const Frame frame = frameIn(" \t(1.5)   can0\t0cf004fe#abCd  ");
    EXPECT_EQ(frame.nanoseconds, 1500000000);
    EXPECT_EQ(frame.id, 0x0CF004FEU);
    EXPECT_EQ(dataOf(frame), "abcd");
}

TEST(CandumpLine, FractionsAreTruncatedToNanoseconds)
{
    EXPECT_EQ(frameIn("(2.1) c 001#").nanoseconds, 2100000000);
    EXPECT_EQ(frameIn("(2.123456789012345678901234567890) c 001#").nanoseconds, 2123456789);
}

TEST(CandumpLine, FractionOfSecondsIsOptional)
{
    EXPECT_EQ(frameIn("(2) can0 001#").nanoseconds, 2000000000);
    EXPECT_EQ(frameIn(" (2)  can0  001   [1]  11").nanoseconds, 2000000000);
    EXPECT_EQ(frameIn(" (2021-10-25 19:00:55)  can0  123   [2]  11 22").nanoseconds,
              1635188455000000000);
    for (const char* line : {"() can0 001#", "(2.) can0 001#", "(2x) can0 001#", "(2:0) can0 001#",
                             "(4000000001) can0 001#", "(1000000000000) can0 001#",
                             "(9999-10-25 19:00:55)  can0  123   [2]  11 22",
                             "(1969-12-31 23:59:59)  can0  123   [2]  11 22"})
        EXPECT_EQ(kindOf(line), LineKind::Unknown) << line;
}

// The expected seconds come from `date -u -d "2021-10-25 19:00:55" +%s`.
TEST(CandumpLine, DateAndTimeAreAccepted)
{
    EXPECT_EQ(frameIn(" (2021-10-25 19:00:55.020850)  can0  123   [2]  11 22").nanoseconds,
              1635188455020850000);
    for (const char* line :
         {"(2021-13-25 19:00:55.020850)  can0  123   [2]  11 22",
          "(2021-10-25 24:00:55.020850)  can0  123   [2]  11 22",
          "(2021-10-25 19:00:)  can0  123   [2]  11 22", "(2021-10-25)  can0  123   [2]  11 22"}) {
        Frame frame;
        EXPECT_EQ(CandumpReader().readLine(monitor::viewOf(line), frame), LineKind::Unknown)
            << line;
    }
}

TEST(CandumpLine, MissingTimeDiffersFromTime0)
{
    EXPECT_EQ(frameIn("  can0  123   [2]  11 22").nanoseconds, std::nullopt);
    EXPECT_EQ(frameIn(" (000.000000)  can0  123   [2]  11 22").nanoseconds, 0);
    EXPECT_EQ(frameIn("(0.0) can0 123#").nanoseconds, 0);
}

TEST(CandumpLine, DataCanBeEmpty)
{
    EXPECT_EQ(frameIn("(1.0) can0 123#").length, 0);
}

TEST(CandumpLine, RemoteFrameHasNoDataWhateverItsLength)
{
    for (const char* line : {"(1.0) can0 181#R", "(1.0) can0 181#R6", "(1.0) can0 181#R0 "}) {
        const Frame frame = frameIn(line);
        EXPECT_TRUE(frame.remote);
        EXPECT_EQ(frame.length, 0);
    }
}

TEST(CandumpLine, DotsBetweenBytesAreAccepted)
{
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123#11.22.33")), "112233");
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123#11.2233")), "112233");
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123##4.11.22")), "1122");
}

TEST(CandumpLine, CanFdFramesHaveFlagsAndUpTo64Bytes)
{
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123##0")), "");
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 18FEDF00##F112233445566778899")), "112233445566778899");
    const QByteArray bytes = QByteArray("ab").repeated(64);
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123##1" + bytes)), bytes);
    EXPECT_EQ(kindOf("(1.0) can0 123##1" + bytes + "ab"), LineKind::Unknown);
}

TEST(CandumpLine, LengthCodeAndDirectionAfterTheDataAreAccepted)
{
    EXPECT_EQ(frameIn("(1.0) can0 123#1122334455667788_F").length, 8);
    EXPECT_TRUE(frameIn("(1.0) can0 123#R8_9").remote);
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123#11 T")), "11");
    EXPECT_EQ(dataOf(frameIn("(1.0) can0 123# R ")), "");
}

TEST(CandumpLine, ScreenFormatIsReadWithAndWithoutTime)
{
    const Frame frame = frameIn(" (000.005001)  can0  18FEDF00   [8]  8A A0 00 01 02 03 04 fF");
    EXPECT_EQ(frame.nanoseconds, 5001000);
    EXPECT_EQ(frame.id, 0x18FEDF00U);
    EXPECT_TRUE(frame.extended);
    EXPECT_EQ(dataOf(frame), "8aa00001020304ff");
    EXPECT_EQ(dataOf(frameIn("  can0  123   [2]  11 22")), "1122");
    EXPECT_EQ(dataOf(frameIn("  can0  123   [0]")), "");
    EXPECT_EQ(dataOf(frameIn("  can0  123   [2]  11 22   '.\"'")), "1122");
    EXPECT_EQ(dataOf(frameIn("  can0  RX - -  123   [1]  11")), "11");
    EXPECT_EQ(dataOf(frameIn("  can0  TX B E  123  [09]  11 22 33 44 55 66 77 88 99")),
              "112233445566778899");
}

TEST(CandumpLine, LengthInScreenFormatIsDecimalUpTo64)
{
    const QByteArray bytes = QByteArray(" 5A").repeated(64);
    EXPECT_EQ(frameIn("  can0  123  [12]" + bytes.left(12 * 3)).length, 12);
    EXPECT_EQ(frameIn("  can0  123  [64]" + bytes).length, 64);
    EXPECT_EQ(kindOf("  can0  123  [65]" + bytes + " 5A"), LineKind::Unknown);
}

TEST(CandumpLine, HighestIdsAreNotErrorFrames)
{
    EXPECT_EQ(frameIn("(1.0) can0 1FFFFFFF#11").id, 0x1FFFFFFFU);
    EXPECT_EQ(frameIn("  can0  1FFFFFFF   [1]  11").id, 0x1FFFFFFFU);
    EXPECT_EQ(frameIn("(1.0) can0 7FF#11").id, 0x7FFU);
    EXPECT_EQ(kindOf("(1.0) can0 20000000#11"), LineKind::ErrorFrame);
}

TEST(CandumpLine, RemoteRequestInScreenFormatHasNoData)
{
    EXPECT_TRUE(frameIn("  can0  181   [6]  remote request  ").remote);
    const Frame frame = frameIn("  can0  181   [6]  remote request");
    EXPECT_TRUE(frame.remote);
    EXPECT_EQ(frame.id, 0x181U);
    EXPECT_EQ(frame.length, 0);
}

TEST(CandumpLine, ErrorFramesAreRecognised)
{
    EXPECT_EQ(kindOf("(1.0) can0 20000088#0000000000000000"), LineKind::ErrorFrame);
    EXPECT_EQ(kindOf("  can0  20000004   [8]  00 04 00 00 00 00 00 60   ERRORFRAME"),
              LineKind::ErrorFrame);
}

TEST(CandumpLine, DropcountIsTheNumberOfLostFrames)
{
    const QByteArray line = "DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total drops 30)";
    CandumpReader reader;
    Frame frame;
    EXPECT_EQ(reader.readLine(monitor::viewOf(line), frame), LineKind::Lost);
    EXPECT_EQ(reader.readLine("(1.0) can0 123#11", frame), LineKind::Frame);
    EXPECT_EQ(reader.lost(), 12);
}

TEST(CandumpLine, TruncatedLinesInScreenFormatAreUnknown)
{
    const QByteArray line = " (000.005001)  can0  123   [4]  8A A0 FF 01";
    for (int size = 2; size < line.size(); ++size)
        EXPECT_EQ(kindOf(line.left(size)), LineKind::Unknown) << size;
}

TEST(CandumpLine, BlankLinesAndCommentsAreSkipped)
{
    for (const char* line : {"", "  ", "\t", "# a comment", "  # (1.0) can0 123#11"})
        EXPECT_EQ(kindOf(line), LineKind::Nothing) << line;
}

TEST(CandumpLine, MalformedLinesAreUnknown)
{
    for (const char* line : {
             "hello",
             "(1.0 can0 123#11",
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
             "(1.0) can0 40000000#11",
             "(1.0) can0 FFFFFFFF#11",
             "(1.0) can0 123",
             "(1.0) can0 123#1",
             "(1.0) can0 123#1G",
             "(1.0) can0 123#G1",
             "(1.0) can0 123#1 1",
             "(1.0) can0 123#112233445566778899",
             "(1.0) can0 123##",
             "(1.0) can0 123##G",
             "(1.0) can0 123##01",
             "(1.0) can0 123##0.",
             "(1.0) can0 123#11.",
             "(1.0) can0 123#.11",
             "(1.0) can0 123#11..22",
             "(1.0) can0 123#1.1",
             "(1.0) can0 123#11_9",
             "(1.0) can0 123#1122334455667788_8",
             "(1.0) can0 123#11R",
             "(1.0) can0 123#11 X",
             "(1.0) can0 123#R9",
             "(1.0) can0 123#R66",
             "(1.0) can0 123#11 and more",
             "(1.0) can0 123 [1]",
             "(1.0) can0 123 [1] 1",
             "(1.0) can0 123 [1] 111",
             "(1.0) can0 123 [1] 11 22",
             "(1.0) can0 123 [2] 1122",
             "(1.0) can0 123 [9] 11 22 33 44 55 66 77 88 99",
             "(1.0) can0 123 [65] 11",
             "(1.0) can0 123 [008] 11",
             "(1.0) can0 123 [001] 11",
             "(1.0) can0 123 [] 11",
             "(1.0) can0 123 [1x 11",
             "(1.0) can0 123 x1] 11",
             "(202--10-25 19:00:55.0) can0 123 [1] 11",
             "(1.0) can0 123 8 11",
             "(1.0) can0 123 [8] remote",
             "(1.0) can0 123 [8] remote request 11",
             "(1.0) can0 20000088 [1] 11",
             "(1.0) can0 123 [3] 22`11 00",
             "(1.0) can0 123 [3] 33 22`11",
             "(1.0) can0 123 [1] 0001000",
             "(1.0) can0 123 [1] 00010002",
             "(1.0) can0 123 {8} 11 22 33 44 55 66 77 88",
             "(1.0) can0 123 {E} 11 22 33 44 55 66 77",
             "(1.0) 123#11",
             "(1.0) 123#11 R",
             "1.0 123#11",
             "1 123#11",
             "123#11",
             "1.0x can0 123#11",
             "4000000000.1 can0 123#11",
             "DROPCOUNT: dropped",
             "DROPCOUNT: dropped many CAN frames",
         })
        EXPECT_EQ(kindOf(line), LineKind::Unknown) << line;
}

TEST(CandumpLine, ZeroByteDoesNotEndTheLine)
{
    EXPECT_EQ(kindOf(QByteArray("(1.0) can0 123#11\0\0", 19)), LineKind::Unknown);
    EXPECT_EQ(kindOf(QByteArray("\0", 1)), LineKind::Unknown);
}

TEST(CandumpLine, OtherLinesLeaveTheFrameUnchanged)
{
    Frame frame = frameIn("(1.0) can0 123#11");
    EXPECT_EQ(CandumpReader().readLine("(2.0) can0 124#2", frame), LineKind::Unknown);
    EXPECT_EQ(CandumpReader().readLine("# comment", frame), LineKind::Nothing);
    EXPECT_EQ(frame.id, 0x123U);
    EXPECT_EQ(frame.nanoseconds, 1000000000);
}

TEST(CandumpLine, TruncatedLineIsAFrameOnlyIfItEndsWithAWholeByte)
{
    const QByteArray line = "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF";
    const auto dataBegin = line.indexOf('#') + 1;
    EXPECT_EQ(kindOf(line.left(0)), LineKind::Nothing);
    for (int size = 1; size < line.size(); ++size) {
        const bool isFrame = size >= dataBegin && (size - dataBegin) % 2 == 0;
        EXPECT_EQ(kindOf(line.left(size)), isFrame ? LineKind::Frame : LineKind::Unknown) << size;
    }
}

TEST(CandumpLine, DamagedLinesNeverYieldFramesOutOfRange)
{
    std::mt19937 random(20211025);
    const QByteArray logLine = "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF";
    const QByteArray screenLine = " (000.005001)  can0  18FEDF00   [8]  8A A0 FF 01 02 03 04 05";
    for (int i = 0; i < 200000; ++i) {
        QByteArray line = (i % 2 ? logLine : screenLine).mid(0, static_cast<int>(random() % 60));
        for (auto damage = random() % 3; damage > 0 && !line.isEmpty(); --damage)
            line[static_cast<uint>(random()) % static_cast<uint>(line.size())] =
                static_cast<char>(random());
        Frame frame;
        if (CandumpReader().readLine(monitor::viewOf(line), frame) != LineKind::Frame)
            continue;
        ASSERT_LE(frame.length, 64) << line.toHex().constData();
        ASSERT_LE(frame.id, frame.extended ? 0x1FFFFFFFU : 0x7FFU) << line.toHex().constData();
    }
}

TEST(CandumpLine, InvalidLengthInScreenFormatIsUnknown)
{
    EXPECT_EQ(kindOf("can0 123 [64]" + QByteArray(" 11").repeated(64)), LineKind::Frame);
    EXPECT_EQ(kindOf("can0 123 [65]" + QByteArray(" 11").repeated(65)), LineKind::Unknown);
    EXPECT_EQ(kindOf("can0 123 [9]" + QByteArray(" 11").repeated(9)), LineKind::Unknown);
}

TEST(CandumpLine, InterfaceIsTheBus)
{
    const Recording recording =
        recordingOf({"(1.0) can0 123#11", "(1.0)   vcan12 123#11", "  can0  123   [1]  11",
                     "1.0 slcan0 123#R", "7 123 [1] 11"});
    EXPECT_EQ(recording.buses, QStringList({"can0", "vcan12", "can0", "slcan0", "7"}));
    EXPECT_EQ(kindOf("(1.0) " + QByteArray(65, 'c') + " 123#11"), LineKind::Unknown);
    EXPECT_EQ(kindOf("(1.0) " + QByteArray(64, 'c') + " 123#11"), LineKind::Frame);
}

TEST(CandumpLine, CanFdFramesAreMarked)
{
    EXPECT_TRUE(frameIn("(1.0) can0 123##0").fd);
    EXPECT_TRUE(frameIn("  can0  123  [08]  11 22 33 44 55 66 77 88").fd);
    for (const char* line : {"(1.0) can0 123#11", "(1.0) can0 123#R", "  can0  123   [1]  11"})
        EXPECT_FALSE(frameIn(line).fd) << line;
}

TEST(CandumpLine, BitRateSwitchIsTheLowestFlag)
{
    for (const char* line : {"(1.0) can0 123##1", "(1.0) can0 123##511", "(1.0) can0 123##F",
                             "  can0  RX B E  123  [01]  11", "  can0  TX B -  123  [01]  11"})
        EXPECT_TRUE(frameIn(line).bitRateSwitch) << line;
    for (const char* line : {"(1.0) can0 123##0", "(1.0) can0 123##E11", "(1.0) can0 123#11",
                             "  can0  RX - E  123  [01]  11", "  can0  123  [01]  11"})
        EXPECT_FALSE(frameIn(line).bitRateSwitch) << line;
}

TEST(CandumpLine, TimeNeedsNoBrackets)
{
    const Frame frame = frameIn("1700000000.123456\tcan0\t123#1122");
    EXPECT_EQ(frame.nanoseconds, 1700000000123456000);
    EXPECT_EQ(dataOf(frame), "1122");
    EXPECT_EQ(frameIn("1.5 can0  123   [1]  11").nanoseconds, 1500000000);
}

TEST(CandumpLine, CompactLineWithoutTimeIsAccepted)
{
    EXPECT_EQ(frameIn("can0 123#11").nanoseconds, std::nullopt);
}

TEST(CandumpLine, RemoteMarkMayBeLowerCase)
{
    EXPECT_TRUE(frameIn("(1.0) can0 123#r").remote);
    EXPECT_TRUE(frameIn("(1.0) can0 123#r5").remote);
}

TEST(CandumpLine, BytesInReverseOrderAreReversed)
{
    EXPECT_EQ(dataOf(frameIn("  can0  123   [3]  33`22`11")), "112233");
    EXPECT_EQ(dataOf(frameIn("  can0  123   [3]  33`22`11   `.\".`")), "112233");
    EXPECT_EQ(dataOf(frameIn("  can0  123   [1]  11   `.`")), "11");
}

TEST(CandumpLine, BinaryDigitsAreRead)
{
    EXPECT_EQ(dataOf(frameIn("  can0  123   [2]  00010001 10100101")), "11a5");
    EXPECT_EQ(dataOf(frameIn("  can0  123   [2]  10100101`00010001")), "11a5");
}

TEST(CandumpLine, LengthCodeInBracesMeansEightBytes)
{
    EXPECT_EQ(frameIn("  can0  123   {E}  11 22 33 44 55 66 77 88").length, 8);
    EXPECT_FALSE(frameIn("  can0  123   {9}  11 22 33 44 55 66 77 88").fd);
}

TEST(CandumpLine, ColoursAreIgnored)
{
    EXPECT_EQ(dataOf(frameIn("\x1b[34m  can0\x1b[0m  123\x1b[1;31m   [2]  11 22\x1b[0m")), "1122");
    const Recording recording = recordingOf({"  can0\x1b[0m  123   [2]  11 22"});
    EXPECT_EQ(recording.buses, QStringList("can0"));
    EXPECT_EQ(kindOf("\x1b[34"), LineKind::Nothing);
}

TEST(CandumpLine, ByteOrderMarkIsIgnored)
{
    EXPECT_EQ(dataOf(frameIn("\xEF\xBB\xBF(1.0) can0 123#11")), "11");
    EXPECT_EQ(monitor::findCandump("\xEF\xBB\xBF(1.0) can0 123#11"), 0);
}

TEST(CandumpLine, XlFramesAreCountedInANote)
{
    const Recording recording =
        recordingOf({"(1.0) can0 123#11", "(1.0) can0 45123#81:00:12345678#112233",
                     "  can0  123   [0012] (81|00|12345678) 11 22"});
    EXPECT_EQ(recording.milliseconds.size(), 1);
    EXPECT_EQ(recording.counts.unreadable, 0);
    EXPECT_EQ(recording.notes.constFirst(), QString("x.log: 2 CAN XL frame(s) skipped"));
    EXPECT_EQ(kindOf("(1.0) can0 45123#81:00:12345678"), LineKind::Unknown);
}

TEST(CandumpLine, DetailsAfterAnErrorFrameAreSkipped)
{
    const QByteArray error = "  can0  20000004   [8]  00 04 00 00 00 00 00 60   ERRORFRAME";
    const Recording recording = recordingOf({error, "\tcontroller-problem{rx-error-warning}",
                                             "\tbus-error", "(1.0) can0 123#11", "\tbus-error",
                                             error, "\t(1.0) can0 123#11", "bus-error"});
    EXPECT_EQ(recording.counts.errorFrames, 2);
    EXPECT_EQ(recording.milliseconds.size(), 2);
    EXPECT_EQ(recording.counts.unreadable, 2);
}

TEST(CandumpLine, MessageAboutTheInterfaceIsSkipped)
{
    EXPECT_EQ(kindOf("can0: interface down"), LineKind::Nothing);
}

TEST(CandumpLine, ZeroBytesAfterAPowerFailureAreReported)
{
    const QByteArray zeros(4096, '\0');
    const Recording recording =
        recordingOf({"(1.0) can0 123#11", "(2.0) can0 123#11", zeros + "(3.0) can0 123#11", zeros});
    EXPECT_EQ(recording.milliseconds, list({1000, 2000, 3000}));
    EXPECT_EQ(recording.counts.unreadable, 1);
    EXPECT_EQ(
        recording.notes,
        QStringList("x.log: contains zero bytes, perhaps from a power failure; they are skipped"));
}

// Times in milliseconds: 0, 10, 20, 25 as differences.
TEST(CandumpTimes, DecreasingShortTimesAreDifferences)
{
    const Recording recording =
        recordingOf({" (000.000000)  can0  123   [1]  11", " (000.010000)  can0  123   [1]  11",
                     " (000.010000)  can0  20000004   [8]  00 04 00 00 00 00 00 60   ERRORFRAME",
                     " (000.005000)  can0  123   [1]  11", " (000.100000)  can0  123   [1]  11"});
    EXPECT_EQ(recording.milliseconds, list({0, 10, 25, 125}));
    EXPECT_EQ(recording.notes,
              QStringList("x.log: short times such as (000.010000) decrease, so each is taken as "
                          "the time since the previous line"));
}

// The time of the error frame is the first one whose meaning is undecided.
TEST(CandumpTimes, FramesInABatchBeforeShortTimesKeepTheirTimes)
{
    const QByteArray usual = "(1635188455.020850) can1 123#11";
    const QList<QByteArray> lines{
        usual,
        usual,
        " (000.020000)  can0  20000004   [8]  00 04 00 00 00 00 00 60   ERRORFRAME",
        usual,
        " (000.030000)  can0  123   [1]  11",
        usual,
        " (000.010000)  can0  123   [1]  11",
        usual};
    const qint64 time = 1635188455020;
    for (const int linesAtATime : {1, 2, 3, 4, 5, 8}) {
        for (const int batchSize : {1, 2, 3, 100})
            EXPECT_EQ(recordingOf(lines, linesAtATime, batchSize).milliseconds,
                      list({time, time, time, 50, time, 60, time}))
                << linesAtATime << ' ' << batchSize;
    }
}

TEST(CandumpTimes, ShortTimesThatDoNotDecreaseCountFromTheFirstLine)
{
    const Recording recording =
        recordingOf({" (000.000000)  can0  123   [1]  11", " (000.010000)  can0  123   [1]  11",
                     " (000.010000)  can0  123   [1]  11", " (1234.000000)  can0  123   [1]  11"});
    EXPECT_EQ(recording.milliseconds, list({0, 10, 10, 1234000}));
    EXPECT_EQ(recording.notes,
              QStringList("x.log: short times such as (000.010000) do not decrease, so each is "
                          "taken as the time since the first line"));
}

TEST(CandumpTimes, LateDecreaseDoesNotChangeTheMeaningOfTimes)
{
    for (const int lines : {CandumpReader::examinedTimes - 1, CandumpReader::examinedTimes}) {
        QList<QByteArray> text = repeated(" (001.000000)  can0  123   [1]  11", lines);
        text.append(" (000.500000)  can0  123   [1]  11");
        const Recording recording = recordingOf(text);
        ASSERT_EQ(recording.milliseconds.size(), lines + 1);
        const bool isLate = lines == CandumpReader::examinedTimes;
        EXPECT_EQ(recording.milliseconds.at(1), isLate ? 1000 : 2000);
        EXPECT_EQ(recording.milliseconds.last(), isLate ? 500 : lines * 1000 + 500);
    }
}

TEST(CandumpTimes, OtherTimesAreNeverDifferences)
{
    const Recording recording = recordingOf(
        {"(2.0) can0 123#11", "(1.0) can0 123#11", "(0000000100.000000) can0 123#11",
         "(0000000050.000000) can0 123#11", " (99.000000)  can0  123   [1]  11",
         "(000.002000) can0 123#11", "(000.001000) can0 123#11",
         " (0000000100.000000)  can0  123   [1]  11", " (0000000050.000000)  can0  123   [1]  11"});
    EXPECT_EQ(recording.milliseconds,
              list({2000, 1000, 100000, 50000, 99000, 2, 1, 100000, 50000}));
    EXPECT_EQ(recording.notes, QStringList());
}

TEST(CandumpTimes, OverflowingSumOfDifferencesIsUnreadable)
{
    QList<QByteArray> lines = repeated(" (999999999.000000)  can0  123   [1]  11", 6);
    lines.append(" (000.000001)  can0  123   [1]  11");
    lines.append(lines);
    const Recording recording = recordingOf(lines);
    EXPECT_GT(recording.counts.unreadable, 0);
    for (const auto& time : recording.milliseconds)
        EXPECT_TRUE(time && *time >= 0);
}

TEST(CandumpTimes, AssumptionsAndMissingTimesAreReported)
{
    const Recording recording =
        recordingOf({" (2021-10-25 19:00:55.020850)  can0  123   [2]  11 22", "can0 123#11",
                     "  can0  123   [2]  11 22"});
    EXPECT_EQ(recording.notes,
              QStringList({"x.log: the dates have no time zone and are taken as UTC",
                           "x.log: 2 frame(s) have no time"}));
}
