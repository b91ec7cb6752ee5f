#include "../frameText.h"

#include <can/TransportProtocol.h>
#include <sources/recording/lines/Trc.h>

#include <gtest/gtest.h>

using monitor::Frame;
using monitor::LineKind;
using monitor::TrcReader;

namespace
{

QByteArray linesOf(const QList<QByteArray>& lines)
{
    return lines.join("\r\n") + "\r\n";
}

/// Reads \a lines after the line that gives the version.
ReadRecording read(const QByteArray& version, const QList<QByteArray>& lines)
{
    const QByteArray header = ";$FILEVERSION=" + version;
    return readRecording(linesOf(QList<QByteArray>{header} + lines));
}

QStringList textsOf(const QByteArray& version, const QList<QByteArray>& lines)
{
    const ReadRecording recording = read(version, lines);
    EXPECT_EQ(recording.format, QString("PEAK TRC"));
    EXPECT_EQ(recording.problems, QStringList());
    return recording.texts;
}

/// The result of reading one line.
LineKind kindOf(const QByteArray& version, const QByteArray& line)
{
    TrcReader reader;
    Frame frame;
    EXPECT_EQ(reader.readLine(monitor::viewOf(";$FILEVERSION=" + version), frame),
              LineKind::Nothing);
    return reader.readLine(monitor::viewOf(line), frame);
}

/// The time of a frame 0.5 s after the start that \a start gives; -1 if it is unknown.
qint64 timeAfter(const QByteArray& start)
{
    const ReadRecording recording = read("2.0", {";$STARTTIME=" + start, "1 500.000 DT 0300 Rx 0"});
    EXPECT_EQ(recording.frames.size(), 1);
    return recording.frames.value(0).nanoseconds.value_or(-1);
}

const QByteArray line21 = "1 1059.900 DT 1 0300 Rx - 7 00 00 00 00 04 00 00";

} // namespace

TEST(Trc, Version10HasNeitherKeywordsNorTypes)
{
    const ReadRecording recording = readRecording(linesOf(
        {";##########################################", ";   Start time: 18.12.2021 14:28:07.062",
         ";---+--   ----+----  --+--  -+ -- -- -- -- -- -- --",
         "     1)      1841  0001  8  00 11 22 33 44 55 66 77 ",
         "     2)      1842  000007FF  2  08 15", "     3)      1843  18EFC034  0  ",
         "     4)      1844  0400  4  RTR",
         "     5)      1845  FFFFFFFF  4  00 00 00 04 -- -- -- -- BUSHEAVY",
         "     6)      1846  0008  4  ERROR 00 19 08 08",
         "     7)      1847  0002  2  01 02 -- -- --"}));
    EXPECT_EQ(recording.format, QString("PEAK TRC"));
    EXPECT_EQ(recording.texts,
              QStringList({"1841000000 1 data 0011223344556677", "1842000000 7ffx data 0815",
                           "1843000000 18efc034x data", "1844000000 400 remote",
                           "1847000000 2 data 0102"}));
    EXPECT_EQ(recording.counts.errorFrames, 1);
    EXPECT_EQ(recording.problems, QStringList());
    EXPECT_EQ(recording.notes, QStringList());
    EXPECT_EQ(recording.names.first(), QString());
}

TEST(Trc, Versions11To13HaveTypesAndBuses)
{
    EXPECT_EQ(textsOf("1.1", {"  1)  1841.3  Rx  0001  8  00 11 22 33 44 55 66 77",
                              "  2)  1842.0  Tx  18EFC034  1  0A", "  3)  1843.5  Rx 0400  4  RTR",
                              "  4)  1844.0  Warng  FFFFFFFF  4  00 00 00 08  BUSHEAVY"}),
              QStringList({"1841300000 1 data 0011223344556677", "1842000000 18efc034x data 0a",
                           "1843500000 400 remote"}));
    EXPECT_EQ(kindOf("1.2", "  1)  1841.325 Rx  1  0001  1  00"), LineKind::Unknown);
    const ReadRecording version12 =
        read("1.2", {"  1)  1841.325 1  Rx  0001  1  0A", "  2)  1841.4 12  Tx  0002  2  0B 0C"});
    EXPECT_EQ(version12.texts, QStringList({"1841325000 1 data 0a", "1841400000 2 data 0b0c"}));
    EXPECT_EQ(version12.names, QStringList({"1", "12"}));
    const ReadRecording version13 = read("1.3", {"  1)  1841.325 1  Rx  0001  -  1  0A",
                                                 "  2)  1841.4 2  Tx  18EFC034  C0  2  0B 0C"});
    EXPECT_EQ(version13.texts,
              QStringList({"1841325000 1 data 0a", "1841400000 18efc034x data 0b0c"}));
    EXPECT_EQ(version13.names, QStringList({"1", "2"}));
}

TEST(Trc, ErrorLinesOfEveryVersionAreErrorFrames)
{
    EXPECT_EQ(kindOf("1.0", "4) 1063 0008 4 ERROR 00 19 08 08"), LineKind::ErrorFrame);
    EXPECT_EQ(kindOf("1.1", "4) 1063.1 Error 0008 4 00 19 08 08"), LineKind::ErrorFrame);
    EXPECT_EQ(kindOf("1.2", "4) 1063.123 1 Error 0008 4 00 19 08 08"), LineKind::ErrorFrame);
    EXPECT_EQ(kindOf("1.3", "4) 1063.123 1 Error 0008 - 4 00 19 08 08"), LineKind::ErrorFrame);
    EXPECT_EQ(kindOf("2.0", "4 1063.123 ER Rx 04 00 02 00 00"), LineKind::ErrorFrame);
    EXPECT_EQ(kindOf("2.1", "4 1063.123 ER 1 - Rx - 5 04 00 02 00 00"), LineKind::ErrorFrame);
}

TEST(Trc, LinesThatAreNotFramesAreSkipped)
{
    for (const char* line :
         {"9 12.5 ST Rx 00 00 00 08", "9 12.5 EC Rx 02 02", "9 12.5 EV DT 0300 Rx 1 11"})
        EXPECT_EQ(kindOf("2.0", line), LineKind::Nothing) << line;
    for (const char* line : {"9 12.5 ST 1 - Rx - 4 00 00 00 08", "9 12.5 EC 1 - Rx - 2 02 02",
                             "9 12.5 EV 1 User-defined event", "", "  ", ";", "; 1 2 DT"})
        EXPECT_EQ(kindOf("2.1", line), LineKind::Nothing) << line;
    EXPECT_EQ(kindOf("2.1", "9 12.5 XL 1 0300 Rx - 2 02 02"), LineKind::Unknown);
}

TEST(Trc, Version20GivesTheLengthInBytes)
{
    EXPECT_EQ(
        textsOf("2.0", {";$COLUMNS=N,O,T,I,d,l,D", " 1 1059.900 DT 0300 Rx 7 00 00 00 00 04 00 00 ",
                        " 2 1283.231 FD 0500 Tx 12 01 02 03 04 05 06 07 08 09 0A 0B 0C ",
                        " 3 1298.945 RR 00000300 Rx 4"}),
        QStringList({"1059900000 300 data 00000000040000",
                     "1283231000 500 fd 0102030405060708090a0b0c", "1298945000 300x remote"}));
}

TEST(Trc, Version21GivesTheLengthCode)
{
    const QByteArray bytes = " 01 02 03 04 05 06 07 08 09 0A 0B 0C";
    const ReadRecording recording = read(
        "2.1", {";$COLUMNS=N,O,T,B,I,d,R,L,D", line21, "2 1 FD 1 07FF Rx - 9" + bytes,
                "3 2 FB 16 18EF0001 Tx - 9" + bytes, "4 3 FE - 0001 Tx - 1 01",
                "5 4 BI 2 0001 Tx - 15" + QByteArray(" 5A").repeated(64), "6 5 RR 2 0001 Tx - 8"});
    EXPECT_EQ(recording.texts,
              QStringList({"1059900000 300 data 00000000040000",
                           "1000000 7ff fd 0102030405060708090a0b0c",
                           "2000000 18ef0001x brs 0102030405060708090a0b0c", "3000000 1 fd 01",
                           "4000000 1 brs " + QString("5a").repeated(64), "5000000 1 remote"}));
    EXPECT_EQ(recording.names, QStringList({"1", "1", "16", "", "2", "2"}));
    EXPECT_EQ(recording.problems, QStringList());
}

TEST(Trc, ColumnsMayComeInAnotherOrder)
{
    const QByteArray line = "x 300 1.5 DT 3 2 01 02";
    EXPECT_EQ(textsOf("2.1", {";$COLUMNS=R,I,O,T,B,l,D ; and so on", line}),
              QStringList("1500000 300 data 0102"));
    EXPECT_EQ(textsOf("2.1", {";$COLUMNS=longname,I,O,T,?,l,D", line}),
              QStringList("1500000 300 data 0102"));
}

TEST(Trc, LineWithAMissingColumnIsUnreadable)
{
    const ReadRecording recording =
        read("2.1", {";$COLUMNS=O,T,I,L,B,D", "1 DT 300 0 1", "2 DT 300 0"});
    EXPECT_EQ(recording.texts, QStringList("1000000 300 data"));
    EXPECT_EQ(recording.counts.unreadable, 1);
}

TEST(Trc, VersionsWithFixedColumnsIgnoreTheKeyword)
{
    EXPECT_EQ(textsOf("1.1", {";$COLUMNS=I,O,T,l,D", "  1)  18.3  Rx  0001  0"}),
              QStringList("18300000 1 data"));
}

TEST(Trc, InsufficientColumnsAreReportedOnce)
{
    for (const char* columns : {"N,O,T,I,L", "N,O,I,L,D", "N,T,I,L,D", "N,O,T,L,D", "O,T,I,D",
                                "O,T,I,l,L,D", "D,O,T,I,L", "", ",", "O,O,T,I,L,D"}) {
        const ReadRecording recording =
            read("2.1", {";$COLUMNS=" + QByteArray(columns), line21, line21});
        EXPECT_EQ(recording.counts.unreadable, 2) << columns;
        EXPECT_EQ(
            recording.notes,
            QStringList("x: the lines below $COLUMNS cannot be read: $COLUMNS must contain O, "
                        "T, I and either l or L, and end with D"))
            << columns;
    }
}

TEST(Trc, UnknownVersionIsReadByItsColumns)
{
    const QStringList notes(
        "x: the format version \"3.0\" is unknown; frames are read as described "
        "by $COLUMNS, if it is present");
    const ReadRecording with = read("3.0", {";$COLUMNS=N,O,T,B,I,d,R,L,D", line21});
    EXPECT_EQ(with.texts, QStringList("1059900000 300 data 00000000040000"));
    EXPECT_EQ(with.notes, notes);
    const ReadRecording without = read("3.0", {line21});
    EXPECT_EQ(without.counts.unreadable, 1);
    EXPECT_EQ(without.notes, notes);
}

TEST(Trc, LinesThatDoNotFitAreUnreadable)
{
    for (const char* line : {"hello",
                             "1",
                             "1 2 DT",
                             "1 1059.900 DT 1 0300 Rx - 7 00 00 00 00 04 00",
                             "1 1059.900 DT 1 0300 Rx - 1",
                             "1 1059.900 DT 1 0300 Rx - 2 00 1",
                             "1 1059.900 DT 1 0300 Rx - 1 00 00",
                             "1 1059.900 DT 1 0300 Rx - 1 0G",
                             "1 1059.900 DT 1 0300 Rx - 2 00 --",
                             "1 1059.900 DT 1 0300 Rx - 1 100",
                             "1 1059.900 DT 1 - Rx - 1 00",
                             "1 1059.900 DT 1 0800 Rx - 1 00",
                             "1 1059.900 DT 1 20000000 Rx - 1 00",
                             "1 1059.900 DT 1 018FEF100 Rx - 1 00",
                             "1 1059.900 DT x 0300 Rx - 1 00",
                             "1 1059.900 DT 1 FFFFFFFF Rx - 1 00",
                             "1 1059.900 DT 0001 0300 Rx - 1 00",
                             "1 1059.900 DT 256 0300 Rx - 1 00",
                             "1 1059.900 DT 1 0300 Rx - A 00",
                             "1 1059.900 XX 1 0300 Rx - 1 00",
                             "1 1059,900 DT 1 0300 Rx - 1 00",
                             "1 -1059.900 DT 1 0300 Rx - 1 00",
                             "1 1059. DT 1 0300 Rx - 1 00",
                             "1 99999999999999999999 DT 1 0300 Rx - 1 00",
                             "x 1059.900 DT 1 0300 Rx - 1 00",
                             "1 1059.900 RR 1 0300 Rx - 1 00",
                             "1 1059.900 RR 1 0300 Rx - 16",
                             "1 1059.900 FD 1 0300 Rx - 16 00",
                             "1 1059.900 FD 1 0300 Rx - 9 00 00 00 00 00 00 00 00 00",
                             "1 1059.900 DT 1 0300 Rx - 16 00 00 00 00 00 00 00 00"})
        EXPECT_EQ(kindOf("2.1", line), LineKind::Unknown) << line;
    EXPECT_EQ(kindOf("2.0", "1 1.0 FD 0300 Rx 65" + QByteArray(" 00").repeated(65)),
              LineKind::Unknown);
    EXPECT_EQ(kindOf("1.0", "4) 1063 0008 4 RTR 00"), LineKind::Unknown);
    EXPECT_EQ(kindOf("1.0", "4) 1063 0008 4 RT"), LineKind::Unknown);
}

// A length code above 8 of a classic frame means 8 bytes.
TEST(Trc, LengthCodesAbove8MeanEightBytes)
{
    const ReadRecording recording = read("2.1", {"1 1 DT 1 0300 Rx - 9 01 02 03 04 05 06 07 08",
                                                 "1 2 DT 1 0300 Rx - 15 01 02 03 04 05 06 07 08"});
    EXPECT_EQ(recording.texts, QStringList({"1000000 300 data 0102030405060708",
                                            "2000000 300 data 0102030405060708"}));
    // With 29 bits, the line may be that of a longer message that was cut off.
    EXPECT_EQ(kindOf("2.1", "1 1 DT 1 18FEF100 Rx - 9 01 02 03 04 05 06 07 08"), LineKind::Unknown);
}

TEST(Trc, EveryCutOffLineIsUnreadable)
{
    const QByteArray remote = "1 1059.900 RR 1 00000300 Rx - 4";
    for (const QByteArray& line : {line21, remote}) {
        for (int size = 1; size < line.size() - 1; ++size)
            EXPECT_NE(kindOf("2.1", line.left(size)), LineKind::Frame) << size;
        EXPECT_EQ(kindOf("2.1", line), LineKind::Frame);
    }
}

TEST(Trc, StartTimeIsExactToTheNanosecond)
{
    // 37704.5364870833 days are 12135.5364870833 days after 1970-01-01, and a ten-billionth of a
    // day is 8640 ns.
    EXPECT_EQ(timeAfter("37704.5364870833"),
              (12135 * 86400LL * 1000000000) + 5364870833 * 8640 + 500000000);
    EXPECT_EQ(timeAfter("25569"), 500000000);
    EXPECT_EQ(timeAfter("25569.0  ; comment"), 500000000);
    EXPECT_EQ(timeAfter("25569.00000000001;"), 500000864);
    EXPECT_EQ(timeAfter("25569.0000000000000000000001"), 500000000);
    EXPECT_EQ(timeAfter("43474.6427060648"), 1547047529803998720 + 500000000);
}

TEST(Trc, StartTimeIsTakenAsUtcAndThisIsReportedOnce)
{
    const QByteArray start = ";$STARTTIME=44548.6028595139";
    EXPECT_EQ(read("2.1", {start, line21, start}).notes,
              QStringList("x: the start time is taken as UTC, since the time zone is unknown"));
}

TEST(Trc, NumberOfNotesIsLimited)
{
    QList<QByteArray> lines;
    for (int version = 30; version < 60; ++version)
        lines += ";$FILEVERSION=" + QByteArray::number(version);
    EXPECT_EQ(read("2.1", lines).notes.size(), 10);
}

TEST(Trc, TimesAreRelativeIfTheStartIsNotADate)
{
    for (const char* start :
         {"", "x", "25568.9", "-1", "44548,6", "44548.6x", "99999", "4294967296"}) {
        EXPECT_EQ(timeAfter(start), 500000000) << start;
        EXPECT_EQ(
            read("2.1", {";$STARTTIME=" + QByteArray(start)}).notes,
            QStringList("x: $STARTTIME is not a date from 1970 on; times are counted from the "
                        "start of the recording"))
            << start;
    }
}

TEST(Trc, TimeOutOfRangeIsUnknown)
{
    const ReadRecording recording =
        read("2.0", {";$STARTTIME=44548.5", "1 3999999999999 DT 0300 Rx 0", "1 1 DT 0300 Rx 0"});
    EXPECT_EQ(recording.texts, QStringList({"? 300 data", "1639828800001000000 300 data"}));
}

TEST(Trc, EachHeaderBeginsARecordingOfItsOwn)
{
    EXPECT_EQ(textsOf("2.1", {";$STARTTIME=25570", ";$COLUMNS=O,T,I,L,D", "1 DT 0300 0",
                              ";$FILEVERSION=1.1", "  1)  18.3  Rx  0001  0"}),
              QStringList({"86400001000000 300 data", "18300000 1 data"}));
}

// The frames are those that the bus carried, so the decoder reassembles the message from them.
TEST(Trc, LongMessageIsReadAsTheFramesThatCarryIt)
{
    const ReadRecording recording =
        read("2.1", {"1 7 DT 1 18FEE334 Rx - 15 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F",
                     "2 8 DT 1 18EF1234 Rx - 9 01 02 03 04 05 06 07 08 09", line21});
    EXPECT_EQ(
        recording.texts,
        QStringList(
            {"7000000 1cecff34x data 200f0003ffe3fe00", "7000000 1cebff34x data 0101020304050607",
             "7000000 1cebff34x data 0208090a0b0c0d0e", "7000000 1cebff34x data 030fffffffffffff",
             "8000000 1cec1234x data 10090002ff00ef00", "8000000 1ceb1234x data 0101020304050607",
             "8000000 1ceb1234x data 020809ffffffffff", "1059900000 300 data 00000000040000"}));
    EXPECT_EQ(recording.names, QStringList(QVector<QString>(8, "1").toList()));
    EXPECT_EQ(
        recording.notes,
        QStringList("x: 2 J1939 message(s) of more than 8 bytes are counted as the frames of the "
                    "transport protocol that carry them"));
}

TEST(Trc, LongMessagesOfEveryLengthAreReassembled)
{
    for (int size = 9; size <= 1786; ++size) {
        QByteArray data;
        for (int i = 0; i < size; ++i)
            data += static_cast<char>(i * 7 + size);
        const QByteArray id = size % 2 == 0 ? "18FEE334" : "14EF1234";
        const ReadRecording recording = read(
            "2.0", {"1 7 DT " + id + " Rx " + QByteArray::number(size) + ' ' + data.toHex(' ')});
        if (size > 1785) {
            EXPECT_EQ(recording.counts.unreadable, 1);
            continue;
        }
        monitor::TransportProtocol protocol;
        QByteArray reassembled;
        quint32 pgn = 0;
        for (const Frame& frame : recording.frames) {
            if (const auto message = protocol.take(frame)) {
                pgn = monitor::pgnOf(message->payload.id);
                reassembled = QByteArray(reinterpret_cast<const char*>(message->payload.data),
                                         message->payload.length);
            }
        }
        ASSERT_EQ(reassembled, data) << size;
        ASSERT_EQ(pgn, size % 2 == 0 ? 0xFEE3U : 0xEF00U);
        ASSERT_EQ(protocol.counts().messages, 1);
        ASSERT_EQ(protocol.counts().lost + protocol.counts().interrupted, 0);
    }
}

TEST(Trc, IncompleteLongMessageIsUnreadable)
{
    const QByteArray line = "1 7 DT 1 18FEE334 Rx - 10 01 02 03 04 05 06 07 08 09 0A";
    for (int size = 1; size < line.size() - 1; ++size)
        EXPECT_NE(kindOf("2.1", line.left(size)), LineKind::Frame) << size;
    const ReadRecording recording = read("2.1", {line, line.left(40), line21});
    EXPECT_EQ(recording.frames.size(), 4);
    EXPECT_EQ(recording.counts.unreadable, 1);
}

TEST(Trc, FileIsRecognisedByItsHeader)
{
    for (const char* start :
         {";$FILEVERSION=2.1", "\r\n \r\n;$FILEVERSION=2.1\r\n", "\xEF\xBB\xBF;$FILEVERSION=1.1",
          ";#####\r\n;", "; my recording\n;\n 1)  12  0300 0", "1) 12.5 Rx 0300 0", "\n;####"})
        EXPECT_EQ(readRecording(start).format, QString("PEAK TRC")) << start;
    for (const char* start : {"; comment", "# ;$FILEVERSION=2.1", "1) one thing", "1 12 0300 0",
                              "hello\n;####", ";$OTHER=1", ")", ") 1"})
        EXPECT_NE(readRecording(start).format, QString("PEAK TRC")) << start;
    EXPECT_EQ(readRecording("(1.0) can0 123#1122\n;$FILEVERSION=2.1").format, QString("candump"));
}

TEST(Trc, ByteOrderMarkIsIgnored)
{
    EXPECT_EQ(readRecording("\xEF\xBB\xBF;$FILEVERSION=2.1\n" + line21).texts,
              QStringList("1059900000 300 data 00000000040000"));
}

TEST(Trc, DataFramesOfAFileByPythonCanAreThoseOfTheLog)
{
    const RandomLog log = randomLog(3000);
    QVector<Frame> expected;
    for (const Frame& frame : log.frames) {
        if (!frame.remote && !frame.fd) // others are not written
            expected += frame;
    }
    ASSERT_GT(expected.size(), 2000);
    for (const char* version : {"V1_0", "V2_1"}) {
        const bool isOld = version == QString("V1_0");
        const ReadRecording recording = readRecording(convertedByPythonCan(
            log.log,
            "writer = can.TRCWriter(name)\nwriter.file_version = can.io.trc.TRCFileVersion." +
                QByteArray(version) +
                "\nfor message in messages: writer.on_message_received(message)\nwriter.stop()\n"));
        EXPECT_EQ(recording.format, QString("PEAK TRC"));
        EXPECT_EQ(recording.problems, QStringList());
        ASSERT_EQ(recording.frames.size(), expected.size());
        for (int i = 0; i < expected.size(); ++i) {
            Frame frame = recording.frames.at(i);
            // Only differences of times are right in these files.
            const qint64 time = *frame.nanoseconds - *recording.frames.first().nanoseconds;
            const qint64 expectedTime = *expected.at(i).nanoseconds - *expected.first().nanoseconds;
            ASSERT_LE(std::abs(time - expectedTime), isOld ? 1000000 : 1000) << i;
            frame.nanoseconds = expected.at(i).nanoseconds;
            ASSERT_EQ(frameText(frame), frameText(expected.at(i)));
            ASSERT_EQ(recording.names.at(i),
                      isOld ? QString() : QString::number(expected.at(i).bus + 1));
        }
    }
}
