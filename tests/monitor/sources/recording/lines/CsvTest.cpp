#include "../frameText.h"

#include <sources/recording/lines/Csv.h>

#include <gtest/gtest.h>

using monitor::CsvReader;
using monitor::Frame;
using monitor::LineKind;

namespace
{

const QByteArray pythonCan = "timestamp,arbitration_id,extended,remote,error,dlc,data";
const QByteArray gvret2 = "Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8";
const QByteArray gvret1 = "Time Stamp,ID,Extended,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8";

/// The header of GVRET with \a count columns of data.
QByteArray wideGvret(int count)
{
    QByteArray header = "Time Stamp,ID,Extended,Dir,Bus,LEN";
    for (int i = 1; i <= count; ++i)
        header += ",D" + QByteArray::number(i);
    return header;
}

ReadRecording read(const QByteArray& header, const QList<QByteArray>& rows)
{
    return readRecording(header + "\r\n" + rows.join("\r\n") + "\r\n");
}

QStringList textsOf(const QByteArray& header, const QList<QByteArray>& rows)
{
    const ReadRecording recording = read(header, rows);
    EXPECT_EQ(recording.format, QString("CSV"));
    EXPECT_EQ(recording.problems, QStringList());
    return recording.texts;
}

LineKind kindOf(const QByteArray& header, const QByteArray& row)
{
    CsvReader reader;
    Frame frame;
    EXPECT_EQ(reader.readLine(monitor::viewOf(header), frame), LineKind::Nothing);
    return reader.readLine(monitor::viewOf(row), frame);
}

/// The time of a row of python-can; -1 if it is unknown.
qint64 timeIn(const QByteArray& time)
{
    const ReadRecording recording = read(pythonCan, {time + ",0x1,0,0,0,0,"});
    EXPECT_EQ(recording.frames.size(), 1) << time.constData();
    return recording.frames.value(0).nanoseconds.value_or(-1);
}

} // namespace

TEST(Csv, RowsOfPythonCan)
{
    const ReadRecording recording = read(
        pythonCan, {"1483389946.197,0xdadada,1,0,0,6,WzQyLCA5XQ==", "1483389946.5,0x7ff,0,0,0,0,",
                    "1483389947.0,0x123,0,1,0,8,",
                    "1483389947.5,0x0,1,0,1,8,AAAAAAAAAAA=", "0.25,0x1,1,0,0,12,AAECAwQFBgcICQoL"});
    EXPECT_EQ(recording.texts,
              QStringList({"1483389946197000000 dadadax data 5b34322c2039",
                           "1483389946500000000 7ff data", "1483389947000000000 123 remote",
                           "250000000 1x fd 000102030405060708090a0b"}));
    EXPECT_EQ(recording.counts.errorFrames, 1);
    EXPECT_EQ(recording.problems, QStringList());
    EXPECT_EQ(recording.names.first(), QString());
    EXPECT_EQ(
        recording.notes,
        QStringList("x: the format does not mark CAN FD; only frames of more than 8 bytes are "
                    "read as CAN FD"));
}

TEST(Csv, RowsOfGvret)
{
    const ReadRecording version2 =
        read(gvret2, {"39747828,000005EB,false,Rx,0,8,E8,45,85,4B,4A,28,36,69,",
                      "1698765432123456,18FEF100,TRUE,Tx,12,2,01,02,00,00,00,00,00,00,",
                      "7,1,False,Rx,0,0,00,00,00,00,00,00,00,00,"});
    EXPECT_EQ(version2.texts,
              QStringList({"39747828000 5eb data e845854b4a283669",
                           "1698765432123456000 18fef100x data 0102", "7000 1 data"}));
    EXPECT_EQ(version2.names, QStringList({"0", "12", "0"}));
    EXPECT_EQ(version2.problems, QStringList());
    EXPECT_EQ(version2.notes, QStringList());
    const ReadRecording version1 =
        read(gvret1, {"166064000,0000021A,false,1,8,FE,36,12,FE,69,05,07,AD,"});
    EXPECT_EQ(version1.texts, QStringList("166064000000 21a data fe3612fe690507ad"));
    EXPECT_EQ(version1.names, QStringList("1"));
}

TEST(Csv, RowsOfGvretWithCanFd)
{
    const QByteArray start = "1,00000001,false,Rx,0,";
    EXPECT_EQ(textsOf(wideGvret(64), {start + "64" + QByteArray(",5A").repeated(64) + ',',
                                      start + "12" + QByteArray(",0B").repeated(64),
                                      start + "9" + QByteArray(",0C").repeated(9),
                                      start + "8" + QByteArray(",0D").repeated(64)}),
              QStringList({"1000 1 fd " + QString("5a").repeated(64),
                           "1000 1 fd " + QString("0b").repeated(12),
                           "1000 1 fd " + QString("0c").repeated(9),
                           "1000 1 data " + QString("0d").repeated(8)}));
    EXPECT_EQ(kindOf(gvret2, start + "64" + QByteArray(",5A").repeated(64)), LineKind::Unknown);
    EXPECT_EQ(kindOf(gvret2, start + "9" + QByteArray(",5A").repeated(9)), LineKind::Unknown);
    EXPECT_EQ(kindOf(gvret2 + ",Note", start + "9" + QByteArray(",5A").repeated(9)),
              LineKind::Unknown);
    EXPECT_EQ(kindOf(wideGvret(70), start + "65" + QByteArray(",5A").repeated(70)),
              LineKind::Unknown);
}

TEST(Csv, LargeIdsMarkedAsStandardAreExtendedAndReported)
{
    const ReadRecording recording =
        read(gvret2,
             {"1,000007FF,false,Rx,0,0,", "1,00000800,false,Rx,0,0,", "1,18FEF100,false,Rx,0,0,"});
    EXPECT_EQ(recording.texts,
              QStringList({"1000 7ff data", "1000 800x data", "1000 18fef100x data"}));
    EXPECT_EQ(recording.notes,
              QStringList("x: 2 frame(s) are marked as not extended but have an id above "
                          "0x7FF; they are read as extended"));
    EXPECT_EQ(kindOf(pythonCan, "1.0,0x800,0,0,0,0,"), LineKind::Unknown);
}

TEST(Csv, ColumnsAreFoundByTheirNames)
{
    EXPECT_EQ(textsOf(" Data , DLC,error,Remote,note,EXTENDED,arbitration_ID,TimeStamp",
                      {"AQI= , 2 ,0,0,,1, 0x123 ,\t1.5"}),
              QStringList("1500000000 123x data 0102"));
    EXPECT_EQ(textsOf("len,D1,D2,bus,id,extended,time stamp", {"1,AB,00,3,1F,true,2"}),
              QStringList("2000 1fx data ab"));
}

TEST(Csv, TimesOfPythonCanAreExact)
{
    EXPECT_EQ(timeIn("1635188455.020850"), 1635188455020850000);
    EXPECT_EQ(timeIn("1700000000.123456789"), 1700000000123456789);
    EXPECT_EQ(timeIn("1700000000.12345678999999"), 1700000000123456789);
    EXPECT_EQ(timeIn("000000000000000000000000001.5"), 1500000000);
    EXPECT_EQ(timeIn("0.000000000000000000000000001"), 0);
    EXPECT_EQ(timeIn("12"), 12000000000);
    EXPECT_EQ(timeIn("1e-05"), 10000);
    EXPECT_EQ(timeIn("1.25E-7"), 125);
    EXPECT_EQ(timeIn("1.7e+09"), 1700000000000000000);
    EXPECT_EQ(timeIn("17e8"), 1700000000000000000);
    EXPECT_EQ(timeIn("0e999"), 0);
    EXPECT_EQ(timeIn("1000000000000000000000e-21"), 1000000000);
    EXPECT_EQ(timeIn("1e-999"), 0);
    EXPECT_EQ(timeIn("-0.0"), 0);
    EXPECT_EQ(timeIn("4e9"), 4000000000000000000);
    EXPECT_EQ(timeIn("4000000000.00000000000000001"), 4000000000000000000);
    for (const char* time : {"", "-", "x", ".5", "1.", "1e", "1e+", "1e1000", "1 2", "+1", "0x1",
                             "1,5", "nan", "inf", "1.5.2", "1_0"})
        EXPECT_EQ(kindOf(pythonCan, QByteArray(time) + ",0x1,0,0,0,0,"), LineKind::Unknown) << time;
}

TEST(Csv, TimesOutOfRangeAreUnknownAndReported)
{
    for (const char* time :
         {"-1.5", "4000000000.000000001", "4e10", "1e999", "99999999999999999999999999999"})
        EXPECT_EQ(timeIn(time), -1) << time;
    const ReadRecording recording =
        read(gvret2, {"18446744073709551615,00000001,false,Rx,0,0,", "-5,00000001,false,Rx,0,0,",
                      "5,00000001,false,Rx,0,0,"});
    EXPECT_EQ(recording.texts, QStringList({"? 1 data", "? 1 data", "5000 1 data"}));
    EXPECT_EQ(recording.notes,
              QStringList("x: 2 frame(s) have a time out of range; their time is unknown"));
}

TEST(Csv, DataOfEveryLengthIsDecodedFromBase64)
{
    std::mt19937 random(5);
    for (int size = 0; size <= 64; ++size) {
        QByteArray data;
        for (int i = 0; i < size; ++i)
            data += static_cast<char>(random());
        const ReadRecording recording =
            read(pythonCan, {"1.0,0x1,0,0,0," + QByteArray::number(size) + ',' + data.toBase64()});
        ASSERT_EQ(recording.frames.size(), 1) << size;
        const Frame& frame = recording.frames.first();
        EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(frame.data.data()), frame.length), data);
    }
    EXPECT_EQ(kindOf(pythonCan, "1.0,0x1,0,0,0,65," + QByteArray(65, 'x').toBase64()),
              LineKind::Unknown);
    EXPECT_EQ(kindOf(pythonCan, "1.0,0x1,0,0,0,64," + QByteArray(65, 'x').toBase64()),
              LineKind::Unknown);
}

TEST(Csv, WrongBase64IsUnreadable)
{
    EXPECT_EQ(kindOf(pythonCan, "1.0,0x1,0,0,0,1,+/=="), LineKind::Unknown); // bits after the data
    EXPECT_EQ(kindOf(pythonCan, "1.0,0x1,0,0,0,1,+w=="), LineKind::Frame);
    for (const char* data :
         {"+w=", "+w", "+w===", "====", "+===", "+w==+w==", "+ww", "+-==", "*w==", "=w=="})
        for (const char* length : {"0", "1", "2"})
            EXPECT_EQ(kindOf(pythonCan, QByteArray("1.0,0x1,0,0,0,") + length + ',' + data),
                      LineKind::Unknown)
                << data;
}

TEST(Csv, RowsThatDoNotFitAreUnreadable)
{
    for (const char* row :
         {"1.0", "1.0,0x1,0,0,0,0", "1.0,0x1,0,0,0,1,", "1.0,0x1,0,1,0,1,AA==",
          "1.0,0x1,0,1,0,0,AA==", "1.0,0x1,0,0,0,2,AA==", "1.0,0x1,0,0,0,65,", "1.0,0x1,2,0,0,0,",
          "1.0,0x1,0,,0,0,", "1.0,0x1,0,0,true,0,", "1.0,1,0,0,0,0,", "1.0,0x,0,0,0,0,",
          "1.0,0xG,0,0,0,0,", "1.0,0x20000000,1,0,0,0,", "1.0,0x1,0,0,0,0,,x", "1.0;0x1;0;0;0;0;",
          "\"1.0\",0x1,0,0,0,0,", "hello"})
        EXPECT_EQ(kindOf(pythonCan, row), LineKind::Unknown) << row;
    EXPECT_EQ(kindOf(pythonCan, "1.0,0x1,0,0,0,0,,,"), LineKind::Frame);
    for (const char* row :
         {"1", "1,00000001,false,Rx,0", "1,00000001,false,Rx,0,", "1,00000001,false,Rx,0,1,",
          "1,00000001,false,Rx,0,1,1", "1,00000001,false,Rx,0,1,123", "1,00000001,false,Rx,0,2,01",
          "1,00000001,false,Rx,0,1,0G", "1,00000001,0,Rx,0,1,00", "1,00000001,false,Rx,x,1,00",
          "1,00000001,false,Rx,,1,00", "1,00000001,false,Rx,65536,1,00",
          "1,00000001,false,Rx,000001,1,00", "1,20000000,true,Rx,0,1,00", "1,0x1,false,Rx,0,1,00",
          "x,00000001,false,Rx,0,1,00", "1,00000001,false,Rx,0,1,00,00,00,00,00,00,00,00,00"})
        EXPECT_EQ(kindOf(gvret2, row), LineKind::Unknown) << row;
    EXPECT_EQ(kindOf(pythonCan, "1" + QByteArray(",").repeated(100000)), LineKind::Unknown);
}

TEST(Csv, EveryCutOffRowIsUnreadable)
{
    const QByteArray data = "1.5,0x123,1,0,0,7,WzQyLCA5XQ==";
    const QByteArray row = "39747828,000005EB,false,Rx,0,8,E8,45,85,4B,4A,28,36,69";
    for (int size = 1; size < data.size(); ++size)
        EXPECT_NE(kindOf(pythonCan, data.left(size)), LineKind::Frame) << size;
    for (int size = 1; size < row.size(); ++size)
        EXPECT_NE(kindOf(gvret2, row.left(size)), LineKind::Frame) << size;
}

TEST(Csv, CommentsAndRepeatedHeadersAreSkipped)
{
    EXPECT_EQ(textsOf(gvret2, {"", "  ", "# comment", gvret2, "1,00000001,false,Rx,0,0,", gvret1,
                               "2,00000002,false,0,0,", pythonCan, "3.0,0x3,0,0,0,0,"}),
              QStringList({"1000 1 data", "2000 2 data", "3000000000 3 data"}));
}

TEST(Csv, RowsAboveTheHeaderAreUnreadable)
{
    Frame frame;
    EXPECT_EQ(CsvReader().readLine("1.0,0x1,0,0,0,0,", frame), LineKind::Unknown);
}

TEST(Csv, FileIsRecognisedByItsHeader)
{
    for (const QByteArray& header :
         {pythonCan, gvret1, gvret2, gvret2 + ',', wideGvret(64), "\xEF\xBB\xBF" + pythonCan,
          gvret2.toUpper(), "\n\n" + gvret2, pythonCan + ",channel"})
        EXPECT_EQ(readRecording(header + "\n").format, QString("CSV")) << header.constData();
    for (const QByteArray& header :
         {QByteArray("ID,Data Bytes"), QByteArray(pythonCan).replace(',', ';'),
          QByteArray(gvret2).replace(',', ';'), QByteArray("timestamp,arbitration_id"),
          "# " + pythonCan, pythonCan + ",data", QByteArray("a,b\n1.0,2,3"),
          QByteArray("1.0,0x1,0,0,0,0,"), QByteArray("timestamp;id\n1.0;0x1"),
          pythonCan + QByteArray(",").repeated(128)})
        EXPECT_EQ(readRecording(header + "\n").format, QString()) << header.constData();
}

TEST(Csv, FramesOfAFileByPythonCanAreThoseOfTheLog)
{
    const RandomLog log = randomLog(3000);
    const ReadRecording recording = readRecording(
        convertedByPythonCan(log.log, "writer = can.CSVWriter(name)\nfor message in messages: "
                                      "writer.on_message_received(message)\nwriter.stop()\n"));
    EXPECT_EQ(recording.format, QString("CSV"));
    EXPECT_EQ(recording.problems, QStringList());
    EXPECT_EQ(recording.counts.errorFrames, log.errorFrames);
    ASSERT_EQ(recording.frames.size(), log.frames.size());
    for (int i = 0; i < log.frames.size(); ++i) {
        Frame expected = log.frames.at(i);
        expected.fd = expected.length > 8; // the file has no flag for FD
        expected.bitRateSwitch = false;
        ASSERT_EQ(recording.texts.at(i), frameText(expected));
    }
}
