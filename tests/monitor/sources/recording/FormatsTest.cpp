#include <sources/recording/formats.h>
#include <sources/recording/lines/Asc.h>
#include <sources/recording/lines/Candump.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTemporaryFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <vector>

using monitor::Frame;
using monitor::FrameSource;
using monitor::OpenedRecording;
using monitor::openRecording;

namespace
{

/// The result of reading a recording.
struct Read {
    QString format;
    QString error;
    std::vector<Frame> frames;
    monitor::SourceCounts counts;
    QStringList problems;
    QStringList notes;
};

Read read(const QByteArray& content)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    const OpenedRecording opened = openRecording(std::move(buffer), "x.log");
    Read read;
    read.error = opened.error;
    EXPECT_NE(opened.source == nullptr, opened.error.isEmpty());
    if (!opened.source)
        return read;
    FrameSource& source = *opened.source;
    read.format = opened.format ? opened.format->name : QString();
    for (Frame frame; source.next(frame);)
        read.frames.push_back(frame);
    EXPECT_EQ(source.error(), QString());
    EXPECT_EQ(source.progress().done, content.size());
    EXPECT_EQ(source.progress().total, content.size());
    read.counts = source.counts();
    read.notes = source.notes();
    for (const monitor::Problems& problems : source.problems())
        read.problems += problems.lines();
    return read;
}

QString errorOf(const QByteArray& content)
{
    return read(content).error;
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

bool isEmpty(std::string_view line)
{
    return line.empty();
}

bool isB(std::string_view line)
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
    EXPECT_EQ(candump.frames.size(), 1U);
    EXPECT_EQ(candump.problems, QStringList("x.log:5: unreadable line"));
    const Read asc =
        read(linesOf({"date Mon Nov 16 10:38:11 2020", ascLine, candumpLine, ascLine}));
    EXPECT_EQ(asc.format, QString("Vector ASC"));
    EXPECT_EQ(asc.frames.size(), 2U);
    EXPECT_EQ(asc.problems, QStringList("x.log:3: unreadable line"));
}

TEST(RecordingFormats, LeadingCommentsAreNotProblems)
{
    const Read asc = read(linesOf({"# one", "# two", "base hex timestamps absolute", ascLine}));
    EXPECT_EQ(asc.format, QString("Vector ASC"));
    EXPECT_EQ(asc.frames.size(), 1U);
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

TEST(RecordingFormats, UnknownFormatIsAnErrorThatShowsTheFirstBytes)
{
    EXPECT_EQ(monitor::formatOf("hello\nworld\n"), nullptr);
    QStringList names;
    for (const monitor::RecordingFormat& format : monitor::recordingFormats())
        names += format.name;
    const QString supported = "; supported: " + names.join(", ");
    EXPECT_EQ(errorOf("hello\nworld\n"),
              "x.log: unknown recording format (begins with \"hello\")" + supported);
    EXPECT_EQ(errorOf("\r\n \t\r\n  hello "),
              "x.log: unknown recording format (begins with \"hello\")" + supported);
    EXPECT_EQ(errorOf("D\xFC"
                      "se"),
              QString("x.log: unknown recording format (begins with \"D\u00FCse\")") + supported);
    EXPECT_EQ(errorOf(QByteArray(1000, 'x')), "x.log: unknown recording format (begins with \"" +
                                                  QString(40, 'x') + "\")" + supported);
    EXPECT_EQ(errorOf(QByteArray("\x7F"
                                 "ELF\x02\x01\x01\0\0\0",
                                 10)),
              "x.log: unknown recording format (begins with 7F 45 4C 46 02 01 01 00)" + supported);
    EXPECT_EQ(errorOf(QByteArray(1, '\0')),
              "x.log: unknown recording format (begins with 00)" + supported);
}

TEST(RecordingFormats, KnownButUnsupportedFormatIsNamedWithAdvice)
{
    const QByteArray mdf4("UnFinMF 4.11    \0\0\0\0\0\0\0\0\0\0\0\0\x9B\x01", 30);
    const QByteArray mdf3("MDF     3.30    \0\0\0\0\0\0\0\0\0\0\0\0\x4A\x01", 30);
    ASSERT_NE(monitor::formatOf(mdf4), nullptr);
    EXPECT_EQ(monitor::formatOf(mdf4)->name, QString("ASAM MF4"));
    const struct {
        QByteArray content;
        QString error;
    } cases[] = {
        {"PK\x03\x04...", "is a zip archive: unpack it first"},
        {"BZh91AY&SY", "is a file compressed with bzip2: unpack it first"},
        {QByteArray("\xFD"
                    "7zXZ\0\0\4",
                    8),
         "is a file compressed with xz: unpack it first"},
        {"\x04\x22\x4D\x18@", "is a file compressed with LZ4: unpack it first"},
        {"7z\xBC\xAF\x27\x1C", "is a 7z archive: unpack it first"},
        // Without this, the text in the archive would be read as a recording.
        {QByteArray(257, '\0') + "ustar" + QByteArray(250, '\0') + '\n' + candumpLine + '\n',
         "is a tar archive: unpack it first"},
        {QByteArray("\xFF\xFE(\0", 4), "is UTF-16 text: convert it to UTF-8 first, for example "
                                       "with iconv -f UTF-16 -t UTF-8"},
        {QByteArray("\xFE\xFF\0(", 4), "is UTF-16 text: convert it to UTF-8 first, for example "
                                       "with iconv -f UTF-16 -t UTF-8"},
        {mdf3, "is an MDF 3 file: convert it to MDF 4 first"},
        {mdf3.left(11), "is an MDF 3 file: convert it to MDF 4 first"},
        {"Generic File\x01", "is a container of a data logger (\"Generic File\"): convert it to "
                             "MF4 with the tools of the logger first"},
        {QByteArray("SQLite format 3\0\x10", 17),
         "is an SQLite database: export its messages as a candump or ASC log first"},
        {"\x89HDF\r\n\x1A\n", "is an HDF5 file: export its messages as a candump or ASC log first"},
        {"PAR1\x15", "is a Parquet file: export its messages as a candump or ASC log first"},
        {"MATLAB 5.0 MAT-file, Platform",
         "is a MATLAB file: export its messages as a candump or ASC log first"},
        {"VANTREL\n", "is a saved run: use vantrel show"},
        {"SQLite format 3" + QByteArray(68 - 15, '\0') + "VTRL", "is a summary: use vantrel show"},
        {"@ TEXT @ 3 @\n1;2\n", "is a trace in \"@ TEXT @\" format: export it as a candump, ASC "
                                "or TRC log first"},
        {"\nVERSION \"1\"\n",
         "is a DBC file, which describes messages: use the option --dbc for it"},
        {"BO_ 1 X: 8 Y\n", "is a DBC file, which describes messages: use the option --dbc for it"},
        {"; written by hand\n[FileInfo]\r\n",
         "is an EDS or DCF file, which describes a node: use the option --eds for it"},
        {"FormatVersion=6.0 // Do not edit this line!\n",
         "is a SYM file, which describes messages: convert it to DBC for the option --dbc"},
        {"<?xml version=\"1.0\"?>\n", "is an XML file, perhaps a description in ARXML, KCD or XDD "
                                      "format: this command needs a recording"},
        {"{\n  \"frames\": []}",
         "is a JSON file: export its messages as a candump or ASC log first"},
        {"[ {\"id\": 1}]", "is a JSON file: export its messages as a candump or ASC log first"},
        {"zeit,kennung,daten\n1,2,3\n",
         "is a CSV file with an unknown header (begins with \"zeit,kennung,daten\"): the header "
         "must be \"timestamp,arbitration_id,...\" or \"Time Stamp,ID,Extended,...\", with "
         "commas"},
        {"Zeit;Kennung;Daten\n",
         "is a CSV file with an unknown header (begins with \"Zeit;Kennung;Daten\"): the header "
         "must be \"timestamp,arbitration_id,...\" or \"Time Stamp,ID,Extended,...\", with "
         "commas"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(errorOf(one.content), "x.log: " + one.error);
}

TEST(RecordingFormats, TextThatLooksLikeADescriptionIsReadIfItHasFrames)
{
    EXPECT_EQ(read("VERSION \"1\"\n" + candumpLine).frames.size(), 1U);
    EXPECT_EQ(read("a,b,c\n" + candumpLine).frames.size(), 1U);
}

TEST(RecordingFormats, FileWithoutContentHasNoFramesAndANote)
{
    for (const char* content : {"", "\n\r\n \t\n", "\xEF\xBB\xBF"}) {
        const Read empty = read(content);
        EXPECT_EQ(empty.error, QString());
        EXPECT_TRUE(empty.frames.empty());
        EXPECT_EQ(empty.counts.unreadable, 0);
        EXPECT_EQ(empty.notes, QStringList("x.log: is empty"));
    }
}

TEST(RecordingFormats, ByteOrderMarkIsSkipped)
{
    for (const QByteArray& line : {candumpLine, ascLine}) {
        const Read marked = read("\xEF\xBB\xBF" + line + '\n' + line + '\n');
        EXPECT_EQ(marked.frames.size(), 2U);
        EXPECT_EQ(marked.problems, QStringList());
    }
}

TEST(RecordingFormats, ErrorFramesAndLostFramesAreCounted)
{
    const Read recording =
        read(linesOf({"DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total drops 12)",
                      candumpLine, "(1.0) can0 20000088#0000000000000000",
                      "DROPCOUNT: dropped 1 CAN frame on 'can0' socket (total drops 13)"}));
    EXPECT_EQ(recording.frames.size(), 1U);
    EXPECT_EQ(recording.counts.lost, 13);
    EXPECT_EQ(recording.counts.errorFrames, 1);
    EXPECT_EQ(recording.counts.unreadable, 0);
}

TEST(RecordingFormats, WordWithZeroBytesIsNotAccepted)
{
    const QByteArray line = " 0.1 1 123 " + QByteArray("Rx\0\0", 4) + " d 0";
    EXPECT_EQ(read(linesOf({ascLine, line})).frames.size(), 1U);
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

TEST(RecordingFormats, FormatIsSearchedForInTheFirstMebibyteOnly)
{
    const QTemporaryDir directory;
    for (const int lines : {8191, 8193}) {
        const QByteArray unknown(127, '-');
        QFile file(write(directory, unknown + '\n', lines));
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write("date Mon\nbase hex  timestamps absolute\n");
        file.close();
        const OpenedRecording opened = openRecording(file.fileName());
        EXPECT_EQ(opened.format ? opened.format->name : QString(),
                  QString(lines < 8192 ? "Vector ASC" : ""));
        EXPECT_EQ(opened.error.contains("unknown recording format"), lines > 8192);
    }
}

// The writer keeps the pipe open until the first frame has been read.
TEST(RecordingFormats, PipeIsReadBeforeItIsClosed)
{
    const QTemporaryDir directory;
    const QString pipe = directory.filePath("pipe");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QProcess writer;
    writer.start("sh", {"-c", "exec >\"$1\"; head -c 40000 \"$2\"; read line", "sh", pipe,
                        write(directory, candumpLine + '\n', 4000)});
    ASSERT_TRUE(writer.waitForStarted());
    const OpenedRecording recording = openRecording(pipe);
    ASSERT_TRUE(recording.source);
    Frame frame;
    EXPECT_TRUE(recording.source->next(frame));
    EXPECT_EQ(writer.state(), QProcess::Running);
    writer.closeWriteChannel();
    EXPECT_TRUE(writer.waitForFinished());
}

/// A pipe whose writing end belongs to the test.
class RecordingPipe : public testing::Test
{
protected:
    RecordingPipe()
    {
        EXPECT_EQ(mkfifo(QFile::encodeName(name).constData(), 0600), 0);
        openWriter(O_RDWR); // so that the pipe has a writer as soon as it has a reader
        EXPECT_EQ(::pipe2(interrupt, O_CLOEXEC), 0);
    }
    ~RecordingPipe() override
    {
        closeWriter();
        ::close(interrupt[0]);
        ::close(interrupt[1]);
    }

    void put(const QByteArray& bytes) const
    {
        EXPECT_EQ(::write(writer, bytes.constData(), static_cast<size_t>(bytes.size())),
                  bytes.size());
    }

    void openWriter(int mode)
    {
        writer = ::open(QFile::encodeName(name).constData(), mode | O_CLOEXEC);
    }

    void requestEnd() const { EXPECT_EQ(::write(interrupt[1], "", 1), 1); }

    void closeWriter()
    {
        if (writer >= 0)
            ::close(writer);
        writer = -1;
    }

    /// The frames of the pipe up to its end.
    Read readAll() const
    {
        const OpenedRecording opened = openRecording(name, interrupt[0]);
        Read read;
        read.error = opened.error;
        if (!opened.source)
            return read;
        for (Frame frame; opened.source->next(frame);)
            read.frames.push_back(frame);
        EXPECT_EQ(opened.source->error(), QString());
        read.notes = opened.source->notes();
        read.counts = opened.source->counts();
        return read;
    }

    /// Expects batches with two frames from a pipe that is still open.
    void expectTwoFrames() const
    {
        const OpenedRecording opened = openRecording(name, interrupt[0]);
        ASSERT_TRUE(opened.source) << opened.error.toStdString();
        requestEnd();
        Frame frames[10];
        for (int count = 0; count < 2;) {
            const int size = opened.source->read(frames + count, 10 - count);
            ASSERT_GT(size, 0);
            count += size;
        }
        EXPECT_EQ(frames[1].id, 0x123U);
        EXPECT_EQ(opened.source->notes(), QStringList());
    }

    QTemporaryDir directory;
    QString name = directory.filePath("pipe");
    int writer = -1;
    int interrupt[2] = {-1, -1};
};

// A file descriptor with a short line that is not closed: reading on would never return.
TEST_F(RecordingPipe, OneWholeLineIsEnough)
{
    put("# comment\n" + candumpLine + '\n');
    const OpenedRecording opened = openRecording(name);
    ASSERT_TRUE(opened.source);
    Frame frame;
    EXPECT_TRUE(opened.source->next(frame));
    EXPECT_EQ(frame.id, 0x123U);
}

TEST_F(RecordingPipe, BytesThatArriveOneByOneAreReadTogether)
{
    const QByteArray content = linesOf({"# comment", "hello", ascLine, ascLine});
    closeWriter();
    std::thread slow([&] {
        openWriter(O_WRONLY); // waits for the reader
        for (const char c : content)
            put(QByteArray(1, c));
        closeWriter();
    });
    const OpenedRecording opened = openRecording(name);
    slow.join();
    ASSERT_TRUE(opened.source) << opened.error.toStdString();
    EXPECT_EQ(opened.format->name, QString("Vector ASC"));
    int frames = 0;
    for (Frame frame; opened.source->next(frame);)
        ++frames;
    EXPECT_EQ(frames, 2);
    EXPECT_EQ(opened.source->counts().unreadable, 1);
    EXPECT_EQ(opened.source->progress().done, content.size());
    EXPECT_EQ(opened.source->progress().total, 0);
}

TEST_F(RecordingPipe, RequestToEndEndsWaitingForTheFirstByte)
{
    requestEnd();
    const Read nothing = readAll();
    EXPECT_EQ(nothing.error, QString());
    EXPECT_TRUE(nothing.frames.empty());
    EXPECT_EQ(nothing.notes, QStringList(name + ": reading was interrupted"));
}

// The cut line would be a frame of one byte.
TEST_F(RecordingPipe, RequestToEndLeavesOutTheLineThatIsCut)
{
    put(candumpLine + '\n' + candumpLine + '\n' + candumpLine.left(candumpLine.size() - 2));
    const OpenedRecording opened = openRecording(name, interrupt[0]);
    ASSERT_TRUE(opened.source);
    requestEnd();
    int frames = 0;
    for (Frame frame; opened.source->next(frame);) {
        EXPECT_EQ(frame.length, 2);
        ++frames;
    }
    EXPECT_EQ(frames, 2);
    EXPECT_EQ(opened.source->notes(), QStringList(name + ": reading was interrupted"));
}

// If a batch waited for more, the request to end would be noticed.
TEST_F(RecordingPipe, BatchOfLinesHasTheFramesThatHaveArrived)
{
    put(candumpLine + '\n' + candumpLine + "\n(1.0) can0 123");
    expectTwoFrames();
}

TEST_F(RecordingPipe, BatchOfPacketsHasTheFramesThatHaveArrived)
{
    const QByteArray header("\xD4\xC3\xB2\xA1\2\0\4\0\0\0\0\0\0\0\0\0\0\0\1\0\xE3\0\0\0", 24);
    const QByteArray packet("\0\0\0\0\0\0\0\0\x9\0\0\0\x9\0\0\0\0\0\1\x23\1\0\0\0\x11", 25);
    put(header + packet + packet);
    expectTwoFrames();
}

TEST_F(RecordingPipe, RequestToEndIsNoticedBeforeThePipeHasAWriter)
{
    closeWriter();
    requestEnd();
    EXPECT_EQ(readAll().notes, QStringList(name + ": reading was interrupted"));
}

TEST_F(RecordingPipe, EmptyPipeIsNoted)
{
    closeWriter();
    std::thread other([&] {
        // Opening waits for the reader.
        ::close(::open(QFile::encodeName(name).constData(), O_WRONLY | O_CLOEXEC));
    });
    EXPECT_EQ(readAll().notes, QStringList(name + ": is empty"));
    other.join();
}

// Standard input is replaced, so that the test needs no other process.
TEST_F(RecordingPipe, DashIsStandardInput)
{
    const int saved = ::dup(STDIN_FILENO);
    ASSERT_GE(::dup2(writer, STDIN_FILENO), 0);
    put(candumpLine + "\nhello\n");
    const OpenedRecording pipe = openRecording("-");
    ASSERT_TRUE(pipe.source) << pipe.error.toStdString();
    Frame frame;
    EXPECT_TRUE(pipe.source->next(frame));

    QFile file(write(directory, candumpLine + '\n', 3));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    for (const int linesRead : {0, 1}) {
        ASSERT_EQ(::lseek(file.handle(), linesRead * (candumpLine.size() + 1), SEEK_SET),
                  linesRead * (candumpLine.size() + 1));
        ASSERT_GE(::dup2(file.handle(), STDIN_FILENO), 0);
        const OpenedRecording redirected = openRecording("-");
        ASSERT_TRUE(redirected.source);
        int frames = 0;
        while (redirected.source->next(frame))
            ++frames;
        EXPECT_EQ(frames, 3 - linesRead);
    }

    QFile unknown(directory.filePath("unknown"));
    ASSERT_TRUE(unknown.open(QIODevice::ReadWrite));
    unknown.write("hello");
    ASSERT_TRUE(unknown.seek(0));
    ASSERT_GE(::dup2(unknown.handle(), STDIN_FILENO), 0);
    EXPECT_TRUE(openRecording("-").error.startsWith(
        "standard input: unknown recording format (begins with \"hello\")"));

    ASSERT_GE(::dup2(saved, STDIN_FILENO), 0);
    ::close(saved);
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
