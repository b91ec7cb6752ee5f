#include <sources/recording/lines/Asc.h>

#include <gtest/gtest.h>

#include <random>

using monitor::AscReader;
using monitor::Frame;
using monitor::LineKind;

namespace
{

QByteArray dataOf(const Frame& frame)
{
    return QByteArray(reinterpret_cast<const char*>(frame.data.data()), frame.length).toHex();
}

Frame frameIn(const QByteArray& line, const QByteArray& header = QByteArray())
{
    AscReader reader;
    Frame frame;
    EXPECT_EQ(reader.readLine(monitor::viewOf(header), frame), LineKind::Nothing);
    EXPECT_EQ(reader.readLine(monitor::viewOf(line), frame), LineKind::Frame) << line.constData();
    return frame;
}

LineKind kindOf(const QByteArray& line)
{
    Frame frame;
    return AscReader().readLine(monitor::viewOf(line), frame);
}

const QByteArray classicLine =
    "   0.015991 1  18FEDF00x       Rx   d 8 8A A0 0F A6 60 3B D1 40  Length = 273910 ID = 1x";
const QByteArray fdLine = "   0.018991 CANFD   1 Rx        4EE  Name  1 0 9 12 00 11 22 33 44 55 "
                          "66 77 88 99 AA BB 130000 130 303000 e0006659";

} // namespace

TEST(AscReader, ReadsAClassicFrame)
{
    const Frame frame = frameIn(classicLine);
    EXPECT_EQ(frame.nanoseconds, 15991000);
    EXPECT_EQ(frame.id, 0x18FEDF00U);
    EXPECT_TRUE(frame.extended);
    EXPECT_FALSE(frame.remote);
    EXPECT_EQ(dataOf(frame), "8aa00fa6603bd140");
    EXPECT_FALSE(frameIn("0.1 2 7ff Tx d 1 0a").extended);
    EXPECT_EQ(frameIn("0.1 2 7ff Tx d 1 0a").id, 0x7FFU);
    EXPECT_EQ(frameIn("0.1 2 7ff Tx d F 01 02 03 04 05 06 07 08").length, 8);
    EXPECT_EQ(frameIn("0.1 2 1 Tx d 0").length, 0);
}

TEST(AscReader, ReadsACanFdFrameWithAndWithoutAName)
{
    const Frame frame = frameIn(fdLine);
    EXPECT_EQ(frame.id, 0x4EEU);
    EXPECT_EQ(dataOf(frame), "00112233445566778899aabb");
    EXPECT_EQ(dataOf(frameIn("0.1 CANFD 3 Tx 50005x 0 0 2 2 14 73 200050 7a60")), "1473");
    EXPECT_TRUE(frameIn("0.1 CANFD 3 Tx 50005x 0 0 5 0 140000 73 200050").remote);
    EXPECT_FALSE(frameIn("0.1 CANFD 3 Tx 50005x 0 0 0 0 140000 73 200050").remote);
}

// Lines of other formats may begin with a number.
TEST(AscReader, TimeIsFollowedByABlank)
{
    for (const char* line : {"0.5,0x123,1,0,0,0,", "0.5;1", "1) 12 0300 0", "0.5x 1 123 Rx d 0"})
        EXPECT_EQ(kindOf(line), LineKind::Unknown) << line;
}

TEST(AscReader, TimesAreAbsoluteWithoutAHeader)
{
    AscReader reader;
    Frame frame;
    reader.readLine("0.5 1 123 Rx d 0", frame);
    EXPECT_EQ(frame.nanoseconds, 500000000);
    reader.readLine("0.75 1 123 Rx d 0", frame);
    EXPECT_EQ(frame.nanoseconds, 750000000);
}

TEST(AscReader, HeaderSetsTheNumberBase)
{
    const QByteArray line = "0.1 1 100x Rx d 2 10 99";
    EXPECT_EQ(frameIn(line, "base hex  timestamps absolute").id, 0x100U);
    EXPECT_EQ(dataOf(frameIn(line)), "1099");
    EXPECT_EQ(frameIn(line, "base dec  timestamps absolute").id, 100U);
    EXPECT_EQ(dataOf(frameIn(line, "base dec timestamps absolute")), "0a63");
    EXPECT_EQ(dataOf(frameIn("0.1 1 1 Rx d 3 5 200 255", "base dec timestamps absolute")),
              "05c8ff");
}

TEST(AscReader, DecimalNumbersOutOfRangeAreUnknown)
{
    AscReader reader;
    Frame frame;
    reader.readLine("base dec timestamps absolute", frame);
    EXPECT_EQ(reader.readLine("0.1 1 2047 Rx d 1 255", frame), LineKind::Frame);
    for (const char* line : {"0.1 1 2048 Rx d 1 255", "0.1 1 2047 Rx d 1 256",
                             "0.1 1 536870912x Rx d 1 1", "0.1 1 1 Rx d 1 0A"})
        EXPECT_EQ(reader.readLine(monitor::viewOf(line), frame), LineKind::Unknown) << line;
}

TEST(AscReader, LengthsUpToTheMaximumAreAccepted)
{
    const QByteArray bytes = QByteArray(" 5A").repeated(64);
    EXPECT_EQ(frameIn("0.1 1 123 Rx d F" + bytes).length, 8);
    EXPECT_EQ(kindOf("0.1 1 123 Rx d 10" + bytes), LineKind::Unknown);
    EXPECT_EQ(frameIn("0.1 CANFD 1 Rx 123 0 0 F 64" + bytes).length, 64);
    EXPECT_EQ(kindOf("0.1 CANFD 1 Rx 123 0 0 10 64" + bytes), LineKind::Unknown);
    EXPECT_EQ(kindOf("0.1 CANFD 1 Rx 123 0 0 F 65" + bytes + " 5A"), LineKind::Unknown);
}

TEST(AscReader, ChannelNumbersGoUpTo255)
{
    EXPECT_EQ(kindOf("0.1 255 123 Rx d 0"), LineKind::Frame);
    EXPECT_EQ(kindOf("0.1 256 123 Rx d 0"), LineKind::Nothing);
}

TEST(AscReader, RelativeTimesCountFromThePreviousLineOfAnyKind)
{
    AscReader reader;
    Frame frame;
    reader.readLine("base hex timestamps relative", frame);
    reader.readLine("1.0 Start of measurement", frame);
    reader.readLine("0.5 1 123 Rx d 0", frame);
    EXPECT_EQ(frame.nanoseconds, 1500000000);
    reader.readLine("0.25 1 123 Rx d 0", frame);
    EXPECT_EQ(frame.nanoseconds, 1750000000);
    reader.readLine("base hex timestamps absolute", frame);
    reader.readLine("0.25 1 123 Rx d 0", frame);
    EXPECT_EQ(frame.nanoseconds, 250000000);
}

TEST(AscReader, OverflowingSumOfRelativeTimesIsUnknown)
{
    AscReader reader;
    Frame frame;
    reader.readLine("base hex timestamps relative", frame);
    EXPECT_EQ(reader.readLine("3999999999.0 1 123 Rx d 0", frame), LineKind::Frame);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(reader.readLine("3999999999.0 1 123 Rx d 0", frame), LineKind::Unknown);
    EXPECT_EQ(reader.readLine("0.999999 1 123 Rx d 0", frame), LineKind::Frame);
    EXPECT_EQ(frame.nanoseconds, 3999999999999999000);
}

TEST(AscReader, RemoteFramesHaveNoData)
{
    for (const char* line : {"0.1 1 181 Rx r", "0.1 1 181 Rx r 6", "0.1 1 181 Rx r Length = 0"}) {
        const Frame frame = frameIn(line);
        EXPECT_TRUE(frame.remote);
        EXPECT_EQ(frame.length, 0);
    }
}

TEST(AscReader, ErrorFramesAreRecognised)
{
    for (const char* line : {"0.1 1 ErrorFrame", "0.1 1  ErrorFrame ECC: 10100010",
                             "0.1 CANFD 1 Rx ErrorFrame Not Acknowledge", "0.1 CANFD 1 ErrorFrame"})
        EXPECT_EQ(kindOf(line), LineKind::ErrorFrame) << line;
}

TEST(AscReader, HeadersCommentsAndOtherEventsAreSkipped)
{
    for (const char* line :
         {"", "  ", "date Mon Nov 16 10:38:11.123 2020", "base hex  timestamps absolute",
          "no internal events logged", "internal events logged", "// version 9.0.0", "//",
          "Begin Triggerblock Mon Nov 16", "End TriggerBlock", " 0.000000 Start of measurement",
          " 0.015991 CAN 1 Status:chip status error active", "0.1 1  OverloadFrame",
          "0.1 1  Statistic: D 0 R 0 XD 0 XR 0 E 0 O 0 B 0.00%", "0.1 1  123 TxRq d 1 11",
          "0.1 CANFD 1 TxRq 123 0 0 1 1 11", "0.1 Li 5 Rx 8 1 2 3", "0.1 SV: 3 0 1 ::x = 1"})
        EXPECT_EQ(kindOf(line), LineKind::Nothing) << line;
}

TEST(AscReader, CommentsBeginWithTwoSlashes)
{
    for (const char* line : {"/", "/ version", "/x", "x/"})
        EXPECT_EQ(kindOf(line), LineKind::Unknown) << line;
}

TEST(AscReader, MalformedFramesAreUnknown)
{
    for (const char* line : {"hello",
                             "(1.0) can0 123#11",
                             "0.1",
                             "0.1 1",
                             "0.1 1 123",
                             "0.1 1 7FF",
                             "0.1 1 1FFFFFFFx",
                             "0.1 1 123 Rx",
                             ".1 1 123 Rx r",
                             "0.1 1 123 Rx d",
                             "0.1 1 123 Rx d 2 11",
                             "0.1 1 123 Rx d 1 1G",
                             "0.1 1 123 Rx d 1 100",
                             "0.1 1 123 Rx d 1 4",
                             "0.1 1 123 Rx x 1 11",
                             "0.1 1 800 Rx d 0",
                             "0.1 1 20000000x Rx d 0",
                             "0.1 1 x Rx d 0",
                             "0.1 1 EngineData Rx d 0",
                             "0.1 1 123 Rx d 10 11",
                             "0.1 CANFD",
                             "0.1 CANFD 1",
                             "0.1 CANFD 1 Rx",
                             "0.1 CANFD 1 Rx 123",
                             "0.1 CANFD 1 Rx 123 0 0 1 1",
                             "0.1 CANFD 1 Rx 123 0 2 1 1 11",
                             "0.1 CANFD 1 Rx 123 0 0 F 65 11",
                             "0.1 CANFD 1 Rx 800 0 0 1 1 11"})
        EXPECT_EQ(kindOf(line), LineKind::Unknown) << line;
}

TEST(AscReader, OtherLinesLeaveTheFrameUnchanged)
{
    AscReader reader;
    Frame frame;
    reader.readLine("0.1 1 123 Rx d 1 11", frame);
    reader.readLine("0.2 1 124 Rx d 2 22", frame);
    reader.readLine("0.3 1 ErrorFrame", frame);
    EXPECT_EQ(frame.id, 0x123U);
    EXPECT_EQ(dataOf(frame), "11");
}

TEST(AscReader, LinesTruncatedBeforeTheLastByteAreNotFrames)
{
    const auto classicEnd = classicLine.indexOf(" 40 ") + 3;
    for (int size = 4; size < classicEnd; ++size)
        EXPECT_NE(kindOf(classicLine.left(size)), LineKind::Frame) << size;
    const auto fdEnd = fdLine.indexOf(" BB ") + 3;
    for (int size = 4; size < fdEnd; ++size)
        EXPECT_NE(kindOf(fdLine.left(size)), LineKind::Frame) << size;
}

TEST(AscReader, DamagedLinesNeverYieldFramesOutOfRange)
{
    std::mt19937 random(20201116);
    for (int i = 0; i < 200000; ++i) {
        QByteArray line = (i % 2 ? classicLine : fdLine).left(static_cast<int>(random() % 120));
        for (auto damage = random() % 3; damage > 0 && !line.isEmpty(); --damage)
            line[static_cast<uint>(random()) % static_cast<uint>(line.size())] =
                static_cast<char>(random());
        Frame frame;
        if (kindOf(line) == LineKind::Frame) {
            AscReader().readLine(monitor::viewOf(line), frame);
            ASSERT_LE(frame.length, 64) << line.toHex().constData();
            ASSERT_LE(frame.id, frame.extended ? 0x1FFFFFFFU : 0x7FFU);
        }
    }
}

TEST(AscReader, DecimalNumbersContainNoLetters)
{
    AscReader reader;
    Frame frame;
    EXPECT_EQ(reader.readLine("base dec  timestamps absolute", frame), LineKind::Nothing);
    EXPECT_EQ(reader.readLine("0.1 1 19 Rx d 1 19", frame), LineKind::Frame);
    EXPECT_EQ(frame.id, 19U);
    EXPECT_EQ(reader.readLine("0.1 1 19 Rx d 1 1A", frame), LineKind::Unknown);
    EXPECT_EQ(reader.readLine("0.1 1 1A Rx d 1 19", frame), LineKind::Unknown);
}

TEST(AscReader, ChannelIsTheBus)
{
    AscReader reader;
    Frame frame;
    EXPECT_EQ(reader.readLine("0.1 2 123 Rx d 1 11", frame), LineKind::Frame);
    EXPECT_EQ(frame.bus, 0);
    EXPECT_EQ(reader.readLine("0.1 CANFD  12 Rx 123 0 0 1 1 11", frame), LineKind::Frame);
    EXPECT_EQ(frame.bus, 1);
    EXPECT_EQ(reader.readLine("0.1 2 123 Rx r", frame), LineKind::Frame);
    EXPECT_EQ(frame.bus, 0);
    EXPECT_EQ(reader.readLine("0.1 CANFD x Rx 123 0 0 1 1 11", frame), LineKind::Frame);
    EXPECT_EQ(reader.buses(), QStringList({"2", "12", ""}));
}

TEST(AscReader, CanFdFramesAreMarked)
{
    EXPECT_TRUE(frameIn(fdLine).fd);
    EXPECT_TRUE(frameIn(fdLine).bitRateSwitch);
    EXPECT_TRUE(frameIn("0.1 CANFD 1 Rx 123 0 0 1 1 11").fd);
    EXPECT_FALSE(frameIn("0.1 CANFD 1 Rx 123 0 0 1 1 11").bitRateSwitch);
    EXPECT_FALSE(frameIn(classicLine).fd);
}

TEST(AscReader, ClassicFrameInACanFdLineIsClassic)
{
    const Frame frame = frameIn("0.1 CANFD 1 Rx 123 1 0 1 1 11 200050 73 200040 7a60");
    EXPECT_FALSE(frame.fd);
    EXPECT_FALSE(frame.bitRateSwitch);
    EXPECT_TRUE(frameIn("0.1 CANFD 1 Rx 123 1 0 1 1 11 0 0 1000 0").fd);
    EXPECT_FALSE(frameIn("0.1 CANFD 3 Tx 50005x 0 0 5 0 140000 73 200050").fd);
}

// The expected seconds come from `date -u -d "2020-11-16 22:38:11" +%s`.
TEST(AscReader, DateIsTheStartOfTheRecording)
{
    for (const char* date :
         {"date Mon Nov 16 22:38:11.123 2020", "date Mon Nov 16 10:38:11.123 pm 2020",
          "date Mon Nov 16 10:38:11.123 PM 2020"}) {
        const Frame frame = frameIn("0.5 1 123 Rx d 1 11", date);
        EXPECT_EQ(frame.nanoseconds, 1605566291623000000) << date;
    }
}

// The expected seconds come from `date -u -d "2020-03-01 00:05:00" +%s` and so on.
TEST(AscReader, DateHasEnglishOrGermanNames)
{
    const struct {
        const char* date;
        qint64 seconds;
    } cases[] = {{"date Sun Mar 1 12:05:00 am 2020", 1583021100},
                 {"date Son Mrz 1 00:05:00 2020", 1583021100},
                 {"date Son M\xE4r 01 00:05:00 2020", 1583021100},
                 {"date Son M\xC3\xA4r 01 00:05:00 2020", 1583021100},
                 {"date Fre Mai 1 12:05:00 2020", 1588334700},
                 {"date Fri May 1 12:05:00 pm 2020", 1588334700},
                 {"date Die Dez 1 12:05:00.0 2020", 1606824300},
                 {"date Don Okt 1 12:05:00.000 2020", 1601553900}};
    for (const auto& c : cases)
        EXPECT_EQ(frameIn("0.0 1 123 Rx d 1 11", c.date).nanoseconds, c.seconds * 1000000000)
            << c.date;
}

TEST(AscReader, AssumptionsAboutTheDateAreReported)
{
    const auto notesAfter = [](const QByteArray& line) {
        AscReader reader;
        Frame frame;
        EXPECT_EQ(reader.readLine(monitor::viewOf(line), frame), LineKind::Nothing);
        EXPECT_EQ(reader.readLine("0.5 1 123 Rx d 1 11", frame), LineKind::Frame);
        EXPECT_TRUE(!line.contains("date M") || frame.nanoseconds == 500000000) << line.constData();
        return reader.notes();
    };
    EXPECT_EQ(notesAfter("base hex  timestamps absolute"), QStringList());
    EXPECT_EQ(notesAfter("date Sun Mar 1 12:05:00 am 2020"),
              QStringList("the date has no time zone and is taken as UTC"));
    for (const char* line : {"date M", "date Mon Nov 16 2020", "date Mon Foo 16 10:38:11 2020",
                             "date Mon Nov 31 10:38:11 2020", "date Mon Nov 16 24:38:11 2020",
                             "date Mon Nov 16 10:60:11 2020", "date Mon Nov 16 10:38:60 2020",
                             "date Mon Nov 16 13:38:11 pm 2020", "date Mon Nov 16 0:38:11 am 2020",
                             "date Mon Nov 16 10:38:11 xm 2020", "date Mon Nov 16 10:38 2020",
                             "date Mon Nov 16 10:38:11 1969", "date Mon Nov 16 10:38:11 2099",
                             "date Mon Nov 16 10:38:11 99999999"})
        EXPECT_EQ(notesAfter(line),
                  QStringList("the date is not recognised, so times count from the start of the "
                              "recording"))
            << line;
}

TEST(AscReader, TriggerBlockThatBeginsWithTheMeasurementHasTheStart)
{
    const QByteArray date = "date Sun Mar 1 12:05:00 am 2020";
    const QByteArray block = "Begin Triggerblock Fri May 1 12:05:00.5 pm 2020";
    const QByteArray measurement = " 0.000000 Start of measurement";
    const auto timeAfter = [](const QList<QByteArray>& lines) {
        AscReader reader;
        Frame frame;
        for (const QByteArray& line : lines)
            EXPECT_EQ(reader.readLine(monitor::viewOf(line), frame), LineKind::Nothing)
                << line.constData();
        EXPECT_EQ(reader.readLine("0.5 1 123 Rx d 1 11", frame), LineKind::Frame);
        return frame.nanoseconds;
    };
    EXPECT_EQ(timeAfter({date, block, measurement}), 1588334701000000000);
    EXPECT_EQ(timeAfter({block, measurement}), 1588334701000000000);
    EXPECT_EQ(timeAfter({"date unknown", block, measurement}), 1588334701000000000);
    for (const auto& lines :
         {QList<QByteArray>{date, block},
          {date, measurement},
          {date, "Begin Triggerblock", measurement},
          {date, block, " 7.000000 Start of measurement"},
          {date, "Begin TriggerBlock Sun Mar 1 12:05:00.999 am 2020", measurement}})
        EXPECT_EQ(timeAfter(lines), 1583021100500000000) << lines.last().constData();
}
