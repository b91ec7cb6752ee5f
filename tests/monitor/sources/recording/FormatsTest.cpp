#include <sources/recording/Asc.h>
#include <sources/recording/Candump.h>
#include <sources/recording/formats.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTemporaryFile>

#include <sys/stat.h>

using monitor::Frame;
using monitor::FrameSource;
using monitor::openRecording;

namespace
{

/// The result of reading a recording.
struct Read {
    QString format;
    int frames = 0;
    monitor::SourceCounts counts;
    QStringList problems;
};

Read read(const QByteArray& content)
{
    const monitor::RecordingFormat* const found = monitor::formatOf(content);
    const monitor::RecordingFormat& format =
        found ? *found : monitor::recordingFormats().constFirst();
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    const std::unique_ptr<FrameSource> source = format.open(std::move(buffer), "x.log");
    Read read;
    read.format = format.name;
    for (Frame frame; source->next(frame);)
        ++read.frames;
    EXPECT_EQ(source->error(), QString());
    EXPECT_EQ(source->progress().done, content.size());
    EXPECT_EQ(source->progress().total, content.size());
    read.counts = source->counts();
    for (const monitor::Problems& problems : source->problems())
        read.problems += problems.lines();
    return read;
}

QByteArray linesOf(const QList<QByteArray>& lines)
{
    return lines.join("\r\n") + "\r\n";
}

/// Writes a file with \a line repeated, and returns its name.
QString write(const QTemporaryDir& directory, const QByteArray& line, int times)
{
    QFile file(directory.filePath("bus.log"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(line.repeated(times));
    return file.fileName();
}

const QByteArray candumpLine = "(1.0) can0 123#1122";
const QByteArray ascLine = "   0.015991 1  123             Rx   d 2 11 22";

bool isEmpty(const QByteArray& line)
{
    return line.isEmpty();
}

bool isB(const QByteArray& line)
{
    return line == "b";
}

} // namespace

TEST(RecordingFormats, FindLineReturnsTheBeginningOfTheLine)
{
    EXPECT_EQ(monitor::findLine("b", isB), 0);
    EXPECT_EQ(monitor::findLine("\nb\nb", isB), 1);
    EXPECT_EQ(monitor::findLine("a\r\nab\r\nb\r\n", isB), 7);
    EXPECT_EQ(monitor::findLine("a\r\n\r\nb", isEmpty), 3);
    for (const char* nowhere : {"", "a", "a\n", "a\r\n"})
        EXPECT_EQ(monitor::findLine(nowhere, isEmpty), -1) << nowhere;
}

TEST(RecordingFormats, EachFormatFindsItsFirstLine)
{
    EXPECT_EQ(monitor::findCandump("# comment\n\nhello\n" + candumpLine), 17);
    EXPECT_EQ(monitor::findAsc("# comment\n\nhello\n" + ascLine), 17);
    EXPECT_EQ(monitor::findCandump("# comment\n\n" + ascLine), -1);
    EXPECT_EQ(monitor::findAsc("# comment\n\n" + candumpLine), -1);
}

TEST(RecordingFormats, EachFormatIsRecognisedByItsFirstLine)
{
    EXPECT_EQ(read(candumpLine).format, QString("candump"));
    EXPECT_EQ(read(" can0  123   [1]  11").format, QString("candump"));
    EXPECT_EQ(read("DROPCOUNT: dropped 1 CAN frame on 'can0' socket").format, QString("candump"));
    EXPECT_EQ(read(ascLine).format, QString("Vector ASC"));
    EXPECT_EQ(read("date Mon Nov 16 10:38:11 2020").format, QString("Vector ASC"));
    EXPECT_EQ(read("// version 9.0.0").format, QString("Vector ASC"));
    EXPECT_EQ(read(";$FILEVERSION=1.1").format, QString("PEAK TRC"));
    EXPECT_EQ(read("Time Stamp,ID,Extended,Bus,LEN,D1").format, QString("CSV"));
    EXPECT_EQ(read("LOGG" + QByteArray(140, '\0')).format, QString("Vector BLF"));
}

TEST(RecordingFormats, FirstCharacteristicLineDecides)
{
    const Read candump = read(linesOf({"# comment", "", ascLine.mid(100), candumpLine, ascLine}));
    EXPECT_EQ(candump.format, QString("candump"));
    EXPECT_EQ(candump.frames, 1);
    EXPECT_EQ(candump.problems, QStringList("x.log:5: unreadable line"));
    const Read asc =
        read(linesOf({"date Mon Nov 16 10:38:11 2020", ascLine, candumpLine, ascLine}));
    EXPECT_EQ(asc.format, QString("Vector ASC"));
    EXPECT_EQ(asc.frames, 2);
    EXPECT_EQ(asc.problems, QStringList("x.log:3: unreadable line"));
}

TEST(RecordingFormats, LeadingCommentsAreNotProblems)
{
    const Read asc = read(linesOf({"# one", "# two", "base hex timestamps absolute", ascLine}));
    EXPECT_EQ(asc.format, QString("Vector ASC"));
    EXPECT_EQ(asc.frames, 1);
    EXPECT_EQ(asc.problems, QStringList());
}

TEST(RecordingFormats, LeadingNonsenseDoesNotDecide)
{
    const Read candump = read(linesOf({"hello", "1.0", candumpLine}));
    EXPECT_EQ(candump.format, QString("candump"));
    EXPECT_EQ(candump.counts.unreadable, 2);
    const Read asc = read(linesOf({"hello", "1.0", ascLine}));
    EXPECT_EQ(asc.format, QString("Vector ASC"));
    EXPECT_EQ(asc.counts.unreadable, 2);
}

TEST(RecordingFormats, EveryLineOfAnUnknownFormatIsUnreadable)
{
    EXPECT_EQ(monitor::formatOf("hello\nworld\n"), nullptr);
    const Read other = read(linesOf({"hello", "world"}));
    EXPECT_EQ(other.frames, 0);
    EXPECT_EQ(other.counts.unreadable, 2);
}

TEST(RecordingFormats, ErrorFramesAndLostFramesAreCounted)
{
    const Read recording =
        read(linesOf({"DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total drops 12)",
                      candumpLine, "(1.0) can0 20000088#0000000000000000",
                      "DROPCOUNT: dropped 1 CAN frame on 'can0' socket (total drops 13)"}));
    EXPECT_EQ(recording.frames, 1);
    EXPECT_EQ(recording.counts.lost, 13);
    EXPECT_EQ(recording.counts.errorFrames, 1);
    EXPECT_EQ(recording.counts.unreadable, 0);
}

TEST(RecordingFormats, WordWithZeroBytesIsNotAccepted)
{
    const QByteArray line = " 0.1 1 123 " + QByteArray("Rx\0\0", 4) + " d 0";
    EXPECT_EQ(read(linesOf({ascLine, line})).frames, 1);
}

TEST(RecordingFormats, FileIsOpenedInItsFormat)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write(linesOf({ascLine, ascLine}));
    file.close();
    const monitor::OpenedRecording recording = openRecording(file.fileName());
    ASSERT_TRUE(recording.source);
    EXPECT_EQ(recording.format->name, QString("Vector ASC"));
    Frame frame;
    ASSERT_TRUE(recording.source->next(frame));
    EXPECT_EQ(frame.id, 0x123U);
}

TEST(RecordingFormats, FormatIsFoundAfterMuchUnknownText)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write(QByteArray(300000, 'x') + '\n' + linesOf({"# comment", ascLine, ascLine}));
    file.close();
    const monitor::OpenedRecording recording = openRecording(file.fileName());
    ASSERT_TRUE(recording.source);
    EXPECT_EQ(recording.format->name, QString("Vector ASC"));
    Frame frame;
    EXPECT_TRUE(recording.source->next(frame));
    EXPECT_TRUE(recording.source->next(frame));
    EXPECT_EQ(recording.source->counts().unreadable, 1);
}

// The writer keeps the pipe open until the first frame has been read.
TEST(RecordingFormats, FormatIsSearchedForInTheFirstMebibyteOnly)
{
    const QTemporaryDir directory;
    for (const int lines : {8191, 8193}) {
        const QByteArray unknown(127, '-');
        QFile file(write(directory, unknown + '\n', lines));
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write("date Mon\nbase hex  timestamps absolute\n");
        file.close();
        EXPECT_EQ(openRecording(file.fileName()).format->name,
                  QString(lines < 8192 ? "Vector ASC" : "candump"));
    }
}

TEST(RecordingFormats, PipeIsReadBeforeItIsClosed)
{
    const QTemporaryDir directory;
    const QString pipe = directory.filePath("pipe");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QProcess writer;
    writer.start("sh", {"-c", "exec >\"$1\"; head -c 40000 \"$2\"; read line", "sh", pipe,
                        write(directory, candumpLine + '\n', 4000)});
    ASSERT_TRUE(writer.waitForStarted());
    const monitor::OpenedRecording recording = openRecording(pipe);
    ASSERT_TRUE(recording.source);
    Frame frame;
    EXPECT_TRUE(recording.source->next(frame));
    EXPECT_EQ(writer.state(), QProcess::Running);
    writer.closeWriteChannel();
    EXPECT_TRUE(writer.waitForFinished());
}

TEST(RecordingFormats, ErrorNamesAnUnreadableFile)
{
    const monitor::OpenedRecording missing = openRecording("/nonexistent/bus.log");
    EXPECT_FALSE(missing.source);
    EXPECT_TRUE(missing.error.startsWith("/nonexistent/bus.log: cannot be read: "));
    const monitor::OpenedRecording folder = openRecording("/");
    Frame frame;
    EXPECT_TRUE(!folder.source || !folder.source->next(frame));
    const QString error = folder.source ? folder.source->error() : folder.error;
    EXPECT_TRUE(error.startsWith("/: cannot be read: ")) << error.toStdString();
}

TEST(RecordingFormats, FirstLineOfTheFileCanDecide)
{
    EXPECT_EQ(read(linesOf({candumpLine, ascLine})).format, QString("candump"));
    EXPECT_EQ(read(linesOf({ascLine, candumpLine})).format, QString("Vector ASC"));
}
