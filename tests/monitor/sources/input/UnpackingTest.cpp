#include <sources/recording/formats.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <vector>

using monitor::Frame;
using monitor::OpenedRecording;
using monitor::openRecording;

namespace
{

/// The output of a program that is given \a input.
QByteArray outputOf(const QString& program, const QStringList& arguments, const QByteArray& input)
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(-1)) << program.toStdString();
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

QByteArray gzip(const QByteArray& content)
{
    return outputOf("gzip", {"-c"}, content);
}

QByteArray zstd(const QByteArray& content, const QStringList& options = {})
{
    return outputOf("zstd", QStringList{"-q", "-c"} + options, content);
}

QByteArray packedBy(const QString& program, const QByteArray& content)
{
    return program == "gzip" ? gzip(content) : zstd(content);
}

/// A recording whose frames have the ids \a first to \a last and data that hardly shrinks when it
/// is packed.
QByteArray log(int first, int last)
{
    QByteArray content;
    for (int id = first; id <= last; ++id) {
        const quint64 noise = static_cast<quint64>(id) * 0x9E3779B97F4A7C15U;
        content += "(1.0) can0 " + QByteArray::number(id, 16).rightJustified(8, '0') + '#' +
                   QByteArray::number(noise, 16).rightJustified(16, '0') + '\n';
    }
    return content;
}

/// The result of reading a recording.
struct Read {
    QString error;
    std::vector<quint32> ids;
    int shortFrames = 0; // that do not have 8 bytes
    QStringList problems;
    QStringList totals;
    QStringList notes;
    qint64 unreadable = 0;
    monitor::SourceProgress progress;
};

Read read(const OpenedRecording& opened)
{
    Read read;
    read.error = opened.error;
    EXPECT_NE(opened.source == nullptr, opened.error.isEmpty());
    if (!opened.source)
        return read;
    monitor::FrameSource& source = *opened.source;
    for (Frame frame; source.next(frame);) {
        read.shortFrames += frame.length == 8 ? 0 : 1;
        read.ids.push_back(frame.id);
    }
    EXPECT_EQ(source.error(), QString());
    for (const monitor::Problems& problems : source.problems()) {
        read.problems += problems.lines();
        if (problems.count() > 0)
            read.totals += problems.total();
    }
    read.notes = source.notes();
    read.unreadable = source.counts().unreadable;
    read.progress = source.progress();
    return read;
}

Read read(const QByteArray& content)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    return read(openRecording(std::move(buffer), "x.log"));
}

std::vector<quint32> numbers(quint32 first, quint32 last)
{
    std::vector<quint32> numbers;
    for (quint32 number = first; number <= last; ++number)
        numbers.push_back(number);
    return numbers;
}

/// Expects the frames 1 to \a last and no problem.
void expectSound(const QByteArray& content, quint32 last)
{
    const Read sound = read(content);
    EXPECT_EQ(sound.error, QString());
    EXPECT_EQ(sound.ids, numbers(1, last));
    EXPECT_EQ(sound.shortFrames, 0);
    EXPECT_EQ(sound.problems, QStringList());
    EXPECT_EQ(sound.unreadable, 0);
    EXPECT_EQ(sound.progress.done, content.size());
    EXPECT_EQ(sound.progress.total, content.size());
}

/// The largest resident size of this process so far, in KiB.
long peakOfMemory()
{
    rusage usage = {};
    EXPECT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    return usage.ru_maxrss;
}

const QByteArray skippableFrame("\x53\x2A\x4D\x18\x05\0\0\0hello", 13);

} // namespace

class Unpacking : public testing::TestWithParam<const char*>
{
protected:
    QByteArray pack(const QByteArray& content) const { return packedBy(GetParam(), content); }
};

INSTANTIATE_TEST_SUITE_P(Formats, Unpacking, testing::Values("gzip", "zstd"),
                         [](const auto& format) { return std::string(format.param); });

TEST_P(Unpacking, PackedRecordingIsRead)
{
    expectSound(pack(log(1, 1)), 1);
    expectSound(pack(log(1, 30000)), 30000);
}

TEST_P(Unpacking, RecordingPackedInSeveralPiecesIsRead)
{
    expectSound(pack(log(1, 100)) + pack("") + pack(log(101, 5000)) + pack(log(5001, 5001)), 5001);
}

TEST_P(Unpacking, LineMayContinueInTheNextPiece)
{
    const QByteArray content = log(1, 10);
    expectSound(pack(content.left(100)) + pack(content.mid(100)), 10);
}

TEST_P(Unpacking, LastLineNeedsNoLineBreak)
{
    for (const quint32 last : {1U, 10000U}) {
        QByteArray content = log(1, static_cast<int>(last));
        content.chop(1);
        expectSound(pack(content), last);
    }
}

TEST_P(Unpacking, ZeroBytesAfterAPieceAreSkipped)
{
    for (const int zeros : {1, 3, 4, 5, 512, 200000}) {
        const QByteArray padding(zeros, '\0');
        expectSound(pack(log(1, 9)) + padding, 9);
        expectSound(pack(log(1, 9)) + padding + pack(log(10, 20)), 20);
    }
}

TEST_P(Unpacking, OtherBytesAfterTheDataAreReported)
{
    const QByteArray packed = pack(log(1, 9));
    const Read others = read(packed + QByteArray(3, '\0') + "hello");
    EXPECT_EQ(others.ids, numbers(1, 9));
    EXPECT_EQ(others.problems,
              QStringList(QString("x.log: byte %1: %2: unknown bytes after the packed data")
                              .arg(packed.size() + 3)
                              .arg(GetParam())));
    EXPECT_EQ(others.totals,
              QStringList("x.log: 1 problem(s) in packed data; the rest of it was not read"));
    EXPECT_EQ(others.unreadable, 1);
}

TEST_P(Unpacking, PackedEmptyFileHasNoFramesAndANote)
{
    const Read empty = read(pack(""));
    EXPECT_EQ(empty.error, QString());
    EXPECT_TRUE(empty.ids.empty());
    EXPECT_EQ(empty.problems, QStringList());
    EXPECT_EQ(empty.notes, QStringList("x.log: is empty"));
}

TEST_P(Unpacking, EveryTruncationDeliversTheFramesBeforeAndIsReported)
{
    const QByteArray first = pack(log(1, 40));
    const QByteArray second = pack(log(41, 80));
    const QByteArray packed = first + second;
    const QString truncated = QString("%1: truncated").arg(GetParam());
    for (int size = 1; size < packed.size(); ++size) {
        const Read cut = read(packed.left(size));
        if (size == first.size()) {
            EXPECT_EQ(cut.ids, numbers(1, 40));
            EXPECT_EQ(cut.problems, QStringList());
            continue;
        }
        ASSERT_EQ(cut.ids, numbers(1, static_cast<quint32>(cut.ids.size()))) << size;
        ASSERT_TRUE(size < first.size() ? cut.ids.size() <= 40 : cut.ids.size() >= 40) << size;
        ASSERT_LT(cut.ids.size(), 81U);
        ASSERT_EQ(cut.shortFrames, 0) << size;
        if (!cut.error.isEmpty()) {
            const bool isBeforeTheFirstFrame =
                cut.error.endsWith(truncated) || cut.error.contains("unknown recording format");
            ASSERT_TRUE(isBeforeTheFirstFrame) << size << cut.error.toStdString();
        } else {
            ASSERT_EQ(cut.problems.size(), 1) << size;
            ASSERT_TRUE(cut.problems.at(0).endsWith(truncated)) << cut.problems.at(0).toStdString();
        }
    }
}

// The packed data of most frames is sound, and only the end is missing.
TEST_P(Unpacking, TruncatedRecordingDeliversMostFrames)
{
    const QByteArray packed = pack(log(1, 30000));
    const Read cut = read(packed.left(packed.size() - 1000));
    EXPECT_GT(cut.ids.size(), 20000U);
    EXPECT_EQ(cut.ids, numbers(1, static_cast<quint32>(cut.ids.size())));
    EXPECT_EQ(cut.unreadable, 1);
}

TEST_P(Unpacking, WrongChecksumIsReportedAndTheFramesAreDelivered)
{
    QByteArray packed = pack(log(1, 30000));
    const int checksum = QByteArray(GetParam()) == "gzip" ? 8 : 4; // bytes from the end
    packed[packed.size() - checksum] = static_cast<char>(packed.at(packed.size() - checksum) + 1);
    const Read wrong = read(packed);
    EXPECT_EQ(wrong.ids, numbers(1, 30000));
    ASSERT_EQ(wrong.problems.size(), 1);
    EXPECT_TRUE(wrong.problems.at(0).endsWith("wrong checksum: the data before it may be damaged"))
        << wrong.problems.at(0).toStdString();
}

TEST_P(Unpacking, FramesBeforeADamagedPieceAreDelivered)
{
    const QByteArray first = pack(log(1, 1000));
    QByteArray second = pack(log(1001, 30000));
    const auto damaged = second.size() * 3 / 4;
    for (auto i = damaged; i < damaged + 50; ++i)
        second[i] = static_cast<char>(~second.at(i));
    const Read damage = read(first + second);
    EXPECT_EQ(damage.error, QString());
    ASSERT_GT(damage.ids.size(), 1000U);
    EXPECT_EQ(std::vector<quint32>(damage.ids.cbegin(), damage.ids.cbegin() + 1000),
              numbers(1, 1000));
    // Damaged data may be unpacked to wrong bytes; only the checksum shows it.
    EXPECT_EQ(damage.problems.filter(QString(": %1: ").arg(GetParam())).size(), 1)
        << damage.problems.join('\n').toStdString();
    second[0] = '\x7F';
    const Read unknown = read(first + second);
    EXPECT_EQ(unknown.ids, numbers(1, 1000));
    EXPECT_EQ(unknown.problems.filter("unknown bytes after the packed data").size(), 1);
}

TEST_P(Unpacking, TwoLayersAreReadAndThreeAreAnError)
{
    const QByteArray content = log(1, 3000);
    for (const char* other : {"gzip", "zstd"}) {
        const QByteArray twice = pack(packedBy(other, content));
        expectSound(twice, 3000);
        EXPECT_EQ(read(pack(twice)).error,
                  QString("x.log: is packed more than twice: unpack it first"));
    }
}

TEST_P(Unpacking, ProblemOfTheInnerLayerIsReportedOnce)
{
    const QByteArray inner = gzip(log(1, 1000));
    const Read cut = read(pack(inner.left(inner.size() - 2)));
    EXPECT_EQ(cut.ids, numbers(1, 1000));
    EXPECT_EQ(
        cut.problems,
        QStringList(QString("x.log (unpacked): byte %1: gzip: truncated").arg(inner.size() - 2)));
}

TEST_P(Unpacking, ProblemOfTheOuterLayerIsReportedOnce)
{
    const QByteArray outer = pack(gzip(log(1, 30000)));
    const Read cut = read(outer.left(outer.size() - 2000));
    EXPECT_GT(cut.ids.size(), 1000U);
    ASSERT_EQ(cut.problems.size(), 1) << cut.problems.join('\n').toStdString();
    EXPECT_TRUE(cut.problems.at(0).startsWith("x.log: byte "));
    EXPECT_TRUE(cut.problems.at(0).endsWith(QString(GetParam()) + ": truncated"));
}

// Without the line breaks, the lines are 300 MB long in all.
TEST_P(Unpacking, HugeUnpackedSizeNeedsNoMemory)
{
    QByteArray packed = pack(log(1, 100));
    const QByteArray zeros = pack(QByteArray(30 << 20, '\0'));
    for (int i = 0; i < 10; ++i)
        packed += zeros;
    packed += pack('\n' + log(101, 102));
    EXPECT_LT(packed.size(), 400000);
    const long before = peakOfMemory();
    const Read bomb = read(packed);
    EXPECT_LT(peakOfMemory() - before, 60 << 10);
    EXPECT_EQ(bomb.ids, numbers(1, 102));
    EXPECT_EQ(bomb.problems, QStringList("x.log:101: unreadable line"));
}

TEST_P(Unpacking, PackedFileThatIsNotARecordingIsAnError)
{
    EXPECT_TRUE(read(pack("hello\n"))
                    .error.startsWith(
                        "x.log: unknown recording format (begins with \"hello\"); supported: "));
    EXPECT_EQ(read(pack("PK\x03\x04")).error, QString("x.log: is a zip archive: unpack it first"));
}

// The writer keeps the pipe open until the frames have been read.
TEST_P(Unpacking, PipeIsUnpackedBeforeItIsClosed)
{
    const QTemporaryDir directory;
    const QString pipe = directory.filePath("pipe");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const int writer = ::open(QFile::encodeName(pipe).constData(), O_RDWR | O_CLOEXEC);
    const QByteArray packed = pack(log(1, 1000));
    std::thread slow([&] {
        for (int i = 0; i < packed.size(); i += 100) {
            const QByteArray piece = packed.mid(i, 100);
            EXPECT_EQ(::write(writer, piece.constData(), static_cast<size_t>(piece.size())),
                      piece.size());
        }
    });
    const OpenedRecording opened = openRecording(pipe);
    ASSERT_TRUE(opened.source) << opened.error.toStdString();
    Frame frame;
    for (quint32 id = 1; id <= 1000; ++id) {
        ASSERT_TRUE(opened.source->next(frame));
        ASSERT_EQ(frame.id, id);
    }
    slow.join();
    ::close(writer);
    EXPECT_FALSE(opened.source->next(frame));
    EXPECT_EQ(opened.source->problems().constFirst().count(), 0);
}

TEST(UnpackingBoth, PiecesOfBothFormatsMayFollowEachOther)
{
    expectSound(gzip(log(1, 9)) + zstd(log(10, 20)) + gzip(log(21, 30)), 30);
}

TEST(UnpackingZstd, SkippableFramesAreSkipped)
{
    const QByteArray packed = zstd(log(1, 9));
    expectSound(skippableFrame + packed + skippableFrame + zstd(log(10, 20)) + skippableFrame, 20);
    EXPECT_EQ(read(skippableFrame).notes, QStringList("x.log: is empty"));
}

TEST(UnpackingZstd, EveryBlockBeforeADamagedOneIsDelivered)
{
    const QByteArray content = log(1, 30000);
    QByteArray packed = zstd(content, {"-1"});
    for (auto i = packed.size() - 1000; i < packed.size() - 900; ++i)
        packed[i] = static_cast<char>(~packed.at(i));
    const Read damaged = read(packed);
    constexpr int longestBlock = 128 * 1024;
    const auto lineSize = content.size() / 30000;
    const auto sound = static_cast<quint32>(30000 - longestBlock / lineSize - 1);
    ASSERT_GE(damaged.ids.size(), sound);
    EXPECT_EQ(std::vector<quint32>(damaged.ids.cbegin(), damaged.ids.cbegin() + sound),
              numbers(1, sound));
    EXPECT_GT(damaged.unreadable, 0);
}

TEST(UnpackingZstd, WindowOf128MebibytesIsReadAndALargerOneIsReported)
{
    expectSound(zstd(log(1, 9), {"--long=27"}), 9);
    const Read large = read(zstd(log(1, 9), {"--long=28"}));
    EXPECT_EQ(large.error, QString("x.log: byte 5: zstd: the window is larger than 128 MiB; unpack "
                                   "the file first, with zstd -d --long=31"));
}

TEST(UnpackingGzip, HeaderWithANameIsRead)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("bus.log"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(log(1, 9));
    file.close();
    const QByteArray packed = outputOf("gzip", {"-9", "-c", file.fileName()}, {});
    ASSERT_TRUE(packed.contains("bus.log"));
    expectSound(packed, 9);
}

TEST(UnpackingGzip, NameOfTheFileDoesNotMatter)
{
    const QTemporaryDir directory;
    for (const QByteArray& content : {log(1, 9), gzip(log(1, 9))}) {
        QFile file(directory.filePath("bus.zip"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        EXPECT_EQ(read(openRecording(file.fileName())).ids, numbers(1, 9));
    }
}
