#include <sanitizers.h>
#include <sources/recording/Recordings.h>
#include <text/LineCursor.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <random>

using monitor::Frame;
using Reader = monitor::Recordings;

namespace
{

constexpr qint64 second = 1000000000;

/// While this object exists, the process can open only \a files more files.
class OpenFileLimit
{
public:
    explicit OpenFileLimit(int files)
    {
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit limit = before;
        limit.rlim_cur = static_cast<rlim_t>(highestDescriptor() + 1 + files);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~OpenFileLimit() { setrlimit(RLIMIT_NOFILE, &before); }

    OpenFileLimit(const OpenFileLimit&) = delete;
    OpenFileLimit& operator=(const OpenFileLimit&) = delete;

private:
    static int highestDescriptor()
    {
        int highest = 0;
        for (const QString& name :
             QDir("/proc/self/fd")
                 .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System))
            highest = std::max(highest, name.toInt());
        return highest;
    }

    rlimit before{};
};

/// A line of a log; \a nanoseconds have microseconds only.
QByteArray line(qint64 nanoseconds, quint32 id, const QByteArray& bus = "can0")
{
    return '(' + QByteArray::number(nanoseconds / second) + '.' +
           QByteArray::number(nanoseconds % second / 1000).rightJustified(6, '0') + ") " + bus +
           ' ' + QByteArray::number(id, 16).toUpper().rightJustified(3, '0') + "#11\n";
}

/// The time \a milliseconds after 2021-10-25 19:00:55 UTC.
constexpr qint64 october(qint64 milliseconds)
{
    return 1635188455 * second + milliseconds * 1000000;
}

class Recordings : public testing::Test
{
protected:
    QString path(const QString& name) const { return directory.filePath(name); }

    QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return path(name);
    }

    /// A recording of frames with the ids \a firstId, \a firstId + 1, ... at \a milliseconds after
    /// october(0).
    QString writeFrames(const QString& name, quint32 firstId,
                        const QVector<qint64>& milliseconds) const
    {
        QByteArray lines;
        for (const qint64 time : milliseconds)
            lines += line(october(time), firstId++);
        return write(name, lines);
    }

    QTemporaryDir directory;
};

/// The ids of the frames that \a recordings still has, in hexadecimal.
QString idsIn(Reader& recordings)
{
    QStringList ids;
    for (Frame frame; recordings.next(frame);)
        ids += QString::number(frame.id, 16);
    return ids.join(' ');
}

QVector<std::optional<qint64>> timesIn(Reader& recordings)
{
    QVector<std::optional<qint64>> times;
    for (Frame frame; recordings.next(frame);)
        times.append(frame.nanoseconds);
    return times;
}

struct LogFrame {
    qint64 time;
    int bus;
    quint32 id;
};

/// "time bus id" for each of \a frames.
QStringList textsOf(const std::vector<LogFrame>& frames)
{
    QStringList texts;
    for (const LogFrame& frame : frames)
        texts += QString("%1 can%2 %3").arg(frame.time).arg(frame.bus).arg(frame.id, 0, 16);
    return texts;
}

QStringList textsIn(Reader& recordings, int batchSize = 1)
{
    QStringList texts;
    std::vector<Frame> frames(static_cast<size_t>(batchSize));
    while (const int count = recordings.read(frames.data(), batchSize)) {
        for (int i = 0; i < count; ++i) {
            const Frame& frame = frames[static_cast<size_t>(i)];
            texts += QString("%1 %2 %3")
                         .arg(frame.nanoseconds.value_or(-1))
                         .arg(recordings.buses().at(frame.bus))
                         .arg(frame.id, 0, 16);
        }
    }
    return texts;
}

QByteArray logOf(const std::vector<LogFrame>& frames)
{
    QByteArray lines;
    for (const LogFrame& frame : frames)
        lines += line(frame.time, frame.id, "can" + QByteArray::number(frame.bus));
    return lines;
}

int randomUpTo(std::mt19937& random, int last)
{
    return std::uniform_int_distribution<int>(0, last)(random);
}

} // namespace

TEST_F(Recordings, ConsecutiveFilesAreReadInTheOrderOfTheirTimes)
{
    const QString early = writeFrames("z.log", 0x10, {0, 1, 2});
    const QString late = writeFrames("a.log", 0x20, {3, 4});
    for (const QStringList& files : {QStringList{early, late}, QStringList{late, early}}) {
        Reader recordings(files);
        EXPECT_EQ(idsIn(recordings), QString("10 11 12 20 21"));
        EXPECT_EQ(recordings.error(), QString());
        EXPECT_EQ(recordings.notes(), QStringList());
    }
}

TEST_F(Recordings, OverlappingFilesAreInterleaved)
{
    const QStringList files{writeFrames("a", 0x10, {0, 10, 20, 30}),
                            writeFrames("b", 0x20, {5, 15, 40}), writeFrames("c", 0x30, {17, 18})};
    Reader recordings(files);
    EXPECT_EQ(idsIn(recordings), QString("10 20 11 21 30 31 12 13 22"));
}

TEST_F(Recordings, FramesWithEqualTimesAreInTheGivenOrder)
{
    const QString a = writeFrames("a", 0x10, {1, 1, 2});
    const QString b = writeFrames("b", 0x20, {1, 1, 2});
    Reader forwards({a, b});
    EXPECT_EQ(idsIn(forwards), QString("10 11 20 21 12 22"));
    Reader backwards({b, a});
    EXPECT_EQ(idsIn(backwards), QString("20 21 10 11 22 12"));
}

TEST_F(Recordings, OrderWithinAFileDoesNotChange)
{
    Reader recordings({writeFrames("a", 0x10, {5, 3, 9, 1, 7}), writeFrames("b", 0x20, {4, 8, 2})});
    const QStringList ids = idsIn(recordings).split(' ');
    ASSERT_EQ(ids.size(), 8);
    EXPECT_EQ(ids.filter(QRegularExpression("^1")).join(' '), QString("10 11 12 13 14"));
    EXPECT_EQ(ids.filter(QRegularExpression("^2")).join(' '), QString("20 21 22"));
}

TEST_F(Recordings, SameFileTwiceIsReadTwice)
{
    const QString a = writeFrames("a", 0x10, {1, 2});
    Reader recordings({a, a});
    EXPECT_EQ(idsIn(recordings), QString("10 10 11 11"));
}

TEST_F(Recordings, EmptyFileHasNoFrames)
{
    Reader recordings({write("empty", ""), writeFrames("a", 0x10, {1}), write("blank", "\n")});
    EXPECT_EQ(idsIn(recordings), QString("10"));
    EXPECT_EQ(recordings.error(), QString());
}

TEST_F(Recordings, HundredsOfFilesNeedOnlyAFewDescriptors)
{
    constexpr quint32 files = 400;
    QStringList names;
    QStringList expected;
    for (quint32 i = 0; i < files; ++i) {
        names.prepend(writeFrames(QString::number(i), i, {i * 10, i * 10 + 4}));
        expected << QString::number(i, 16) << QString::number(i + 1, 16);
    }
    const OpenFileLimit limit(8);
    Reader recordings(names);
    EXPECT_EQ(idsIn(recordings), expected.join(' '));
    EXPECT_EQ(recordings.error(), QString());
}

TEST_F(Recordings, FileWithoutAbsoluteTimesIsAppendedWithANote)
{
    const QString dateless =
        write("dateless", line(10 * second, 0x20) + line(11500 * second / 1000, 0x21));
    const QString dated = writeFrames("dated", 0x10, {0, 2000});
    for (const QStringList& files : {QStringList{dated, dateless}, QStringList{dateless, dated}}) {
        Reader recordings(files);
        EXPECT_EQ(textsIn(recordings), textsOf({{october(0), 0, 0x10},
                                                {october(2000), 0, 0x11},
                                                {october(2000), 0, 0x20},
                                                {october(3500), 0, 0x21}}));
        ASSERT_EQ(recordings.notes().size(), 1);
        EXPECT_TRUE(recordings.notes().at(0).startsWith(dateless + ": "));
    }
}

// A pipe is not opened again when its turn comes.
TEST_F(Recordings, PipeWithoutAbsoluteTimesIsAppended)
{
    const QString pipe = path("pipe");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const int writer = ::open(QFile::encodeName(pipe).constData(), O_RDWR | O_CLOEXEC);
    const QByteArray lines = line(10 * second, 0x20) + line(11 * second, 0x21);
    ASSERT_EQ(::write(writer, lines.constData(), static_cast<size_t>(lines.size())), lines.size());
    Reader recordings({pipe, writeFrames("dated", 0x10, {0, 2000})});
    ::close(writer);
    EXPECT_EQ(textsIn(recordings), textsOf({{october(0), 0, 0x10},
                                            {october(2000), 0, 0x11},
                                            {october(2000), 0, 0x20},
                                            {october(3000), 0, 0x21}}));
}

TEST_F(Recordings, FilesWithoutAbsoluteTimesFollowEachOtherInTheGivenOrder)
{
    const QString a = write("a", line(1 * second, 0x10) + line(2 * second, 0x11));
    const QString b = write("b", line(5 * second, 0x20) + line(9 * second, 0x21));
    const QString c = write("c", line(0, 0x30) + line(1 * second, 0x31));
    Reader recordings({b, a, c});
    EXPECT_EQ(textsIn(recordings), textsOf({{5 * second, 0, 0x20},
                                            {9 * second, 0, 0x21},
                                            {9 * second, 0, 0x10},
                                            {10 * second, 0, 0x11},
                                            {10 * second, 0, 0x30},
                                            {11 * second, 0, 0x31}}));
    EXPECT_EQ(recordings.notes().size(), 2);
    EXPECT_TRUE(recordings.notes().value(0).startsWith(a + ": "));
    EXPECT_TRUE(recordings.notes().value(1).startsWith(c + ": "));
}

TEST_F(Recordings, SingleFileKeepsItsTimes)
{
    Reader recordings({write("a", line(3 * second, 0x10) + line(4 * second, 0x11))});
    EXPECT_EQ(timesIn(recordings), (QVector<std::optional<qint64>>{3 * second, 4 * second}));
    EXPECT_EQ(recordings.notes(), QStringList());
}

// Each of these files ends more than a century after it began.
TEST_F(Recordings, ShiftedTimesAreInRangeOrUnknown)
{
    const QByteArray century = line(0, 0x10) + line(monitor::latestTime, 0x11);
    Reader recordings({write("a", century), write("b", century), write("c", century)});
    const auto times = timesIn(recordings);
    EXPECT_EQ(times.size(), 6);
    for (const auto& time : times)
        EXPECT_TRUE(!time || (*time >= 0 && *time <= monitor::latestTime)) << *time;
}

TEST_F(Recordings, ManyNotesAreSummarised)
{
    QStringList files;
    for (int i = 0; i < 30; ++i)
        files += write(QString::number(i), line(second, 0x10));
    Reader recordings(files);
    idsIn(recordings);
    ASSERT_EQ(recordings.notes().size(), 11);
    EXPECT_TRUE(recordings.notes().last().contains("19 more"))
        << recordings.notes().last().toStdString();
}

TEST_F(Recordings, MissingFileIsAnErrorAndTheOthersAreRead)
{
    Reader recordings(
        {writeFrames("a", 0x10, {1}), path("missing"), path("gone"), writeFrames("b", 0x20, {2})});
    EXPECT_EQ(idsIn(recordings), QString("10 20"));
    const QStringList errors = recordings.error().split('\n');
    ASSERT_EQ(errors.size(), 2);
    EXPECT_TRUE(errors.at(0).startsWith(path("missing") + ": cannot be read: "));
    EXPECT_TRUE(errors.at(1).startsWith(path("gone") + ": cannot be read: "));
}

TEST_F(Recordings, DirectoryIsAnErrorAndTheOthersAreRead)
{
    Reader recordings({directory.path(), writeFrames("a", 0x10, {1})});
    EXPECT_EQ(idsIn(recordings), QString("10"));
    EXPECT_TRUE(recordings.error().startsWith(directory.path() + ": "));
}

// The memory of the process is a file whose first bytes cannot be read.
TEST_F(Recordings, FileThatCannotBeReadIsAnErrorAndTheOthersAreRead)
{
    Reader recordings({writeFrames("a", 0x10, {1}), "/proc/self/mem", writeFrames("b", 0x20, {2})});
    EXPECT_EQ(idsIn(recordings), QString("10 20"));
    EXPECT_TRUE(recordings.error().startsWith("/proc/self/mem: "))
        << recordings.error().toStdString();
}

TEST_F(Recordings, FileThatIsDeletedDuringTheRunIsAnErrorAndTheOthersAreRead)
{
    const QString deleted = writeFrames("b", 0x20, {2, 3});
    Reader recordings({writeFrames("a", 0x10, {1}), deleted, writeFrames("c", 0x30, {4})});
    QFile::remove(deleted);
    EXPECT_EQ(idsIn(recordings), QString("10 30"));
    EXPECT_TRUE(recordings.error().startsWith(deleted + ": cannot be read: "));
}

TEST_F(Recordings, DamagedLinesAreCountedAndLocatedInTheirFiles)
{
    const QString a = write("a", line(october(0), 0x10) + "(damaged\n" + line(october(1), 0x11));
    const QString b = write("b", "(also damaged\n(again\n" + line(october(2), 0x20));
    Reader recordings({a, b});
    EXPECT_EQ(idsIn(recordings), QString("10 11 20"));
    EXPECT_EQ(recordings.counts().unreadable, 3);
    QStringList problems;
    for (const monitor::Problems& all : recordings.problems())
        problems += all.lines();
    ASSERT_EQ(problems.size(), 3);
    EXPECT_TRUE(problems.at(0).startsWith(a + ":2: "));
    EXPECT_TRUE(problems.at(1).startsWith(b + ":1: "));
    EXPECT_TRUE(problems.at(2).startsWith(b + ":2: "));
}

TEST_F(Recordings, FileWithoutAnyFrameIsCountedToo)
{
    Reader recordings({write("a", "(1.0) can0 20000088#0000000000000000\n(damaged\n"),
                       writeFrames("b", 0x10, {1})});
    EXPECT_EQ(idsIn(recordings), QString("10"));
    EXPECT_EQ(recordings.counts().unreadable, 1);
}

TEST_F(Recordings, ErrorFramesOfAllFilesAreCountedOnce)
{
    const auto errorFrame = [](qint64 milliseconds) {
        return line(october(milliseconds), 0x20000004).replace("#11", "#0000000000000000");
    };
    Reader recordings({write("a", errorFrame(0) + line(october(1), 0x10) + errorFrame(20)),
                       write("b", errorFrame(10) + line(october(11), 0x20) + errorFrame(12))});
    EXPECT_EQ(idsIn(recordings), QString("10 20"));
    EXPECT_EQ(recordings.counts().errorFrames, 4);
}

TEST_F(Recordings, BusesOfTheSameNameAreOneBus)
{
    const QString a = write("a", line(october(0), 0x10, "can0") + line(october(2), 0x11, "can1"));
    const QString b = write("b", line(october(1), 0x20, "can1") + line(october(3), 0x21, "can2") +
                                     line(october(4), 0x22, "can0"));
    Reader recordings({a, b});
    EXPECT_EQ(textsIn(recordings), textsOf({{october(0), 0, 0x10},
                                            {october(1), 1, 0x20},
                                            {october(2), 1, 0x11},
                                            {october(3), 2, 0x21},
                                            {october(4), 0, 0x22}}));
    QStringList buses = recordings.buses();
    buses.sort();
    EXPECT_EQ(buses, (QStringList{"can0", "can1", "can2"}));
}

TEST_F(Recordings, ProgressReachesTheSumOfTheSizes)
{
    const QByteArray lines = line(october(0), 0x10) + line(october(1), 0x11);
    Reader recordings({write("a", lines), write("b", lines), path("missing")});
    EXPECT_EQ(recordings.progress().total, 2 * lines.size());
    qint64 before = recordings.progress().done;
    for (Frame frame; recordings.next(frame);) {
        EXPECT_GE(recordings.progress().done, before);
        before = recordings.progress().done;
    }
    EXPECT_EQ(recordings.progress().done, 2 * lines.size());
}

TEST_F(Recordings, StopRequestEndsReadingBeforeTheEnd)
{
    std::vector<LogFrame> frames;
    for (int i = 0; i < 30000; ++i)
        frames.push_back({october(i), 0, 0x10});
    const QString file = write("a", logOf(frames));
    int calls = 0;
    Reader stopped({file}, [&calls] { return ++calls == 3; });
    const auto read = timesIn(stopped).size();
    EXPECT_GT(read, 0);
    EXPECT_LT(read, 20000);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(stopped.error(), QString());

    calls = 0;
    Reader whole({file}, [&calls] { return ++calls < 0; });
    EXPECT_EQ(timesIn(whole).size(), 30000);
    EXPECT_GE(calls, 3);
    EXPECT_LE(calls, 30);
}

TEST_F(Recordings, StopRequestEndsBatchesAtTheSameFrame)
{
    std::vector<LogFrame> frames;
    for (int i = 0; i < 20000; ++i)
        frames.push_back({october(i), i % 17, 0x10}); // lines of different lengths
    const QString file = write("a", logOf(frames));
    const auto countUntilStop = [&file](int batchSize) {
        int calls = 0;
        Reader stopped({file}, [&calls] { return ++calls == 3; });
        return textsIn(stopped, batchSize).size();
    };
    const auto expected = countUntilStop(1);
    EXPECT_LT(expected, 20000);
    for (const int batchSize : {2, 1000, 20000})
        EXPECT_EQ(countUntilStop(batchSize), expected) << batchSize;
}

// All files are read ahead in the given order, which must not show.
TEST_F(Recordings, BusesAreInTheOrderOfTheirFirstFrames)
{
    const QString late = write("late.log", line(october(30), 1, "d") + line(october(40), 2, "a"));
    const QString early = write("early.log", line(october(0), 3, "b") + line(october(35), 4, "c"));
    const QString middle = write("middle.log", line(october(10), 5, "c") + line(october(50), 6));
    const QStringList files{late, early, middle};
    const QStringList expected{"b", "c", "d", "a", "can0"};
    for (const int size : {1, 2, 100}) {
        Reader source(files);
        QStringList busOfFrames;
        std::vector<Frame> frames(static_cast<size_t>(size));
        while (const int count = source.read(frames.data(), size)) {
            for (int i = 0; i < count; ++i)
                busOfFrames += source.buses().value(frames[static_cast<size_t>(i)].bus);
        }
        EXPECT_EQ(source.buses(), expected);
        EXPECT_EQ(busOfFrames, (QStringList{"b", "c", "d", "c", "a", "can0"}));
    }
}

TEST_F(Recordings, BusesAreRenumberedAndTimesShiftedInBatches)
{
    std::vector<LogFrame> dated;
    std::vector<LogFrame> dateless;
    std::vector<LogFrame> all;
    for (int i = 0; i < 500; ++i) {
        dated.push_back({october(i), i % 3, 0x10});
        dateless.push_back({i * 1000000, 2 - i % 3, 0x20});
    }
    all = dated;
    for (const LogFrame& frame : dateless)
        all.push_back({frame.time + october(499), frame.bus, frame.id});
    const QStringList files{write("dated", logOf(dated)), write("dateless", logOf(dateless))};
    for (const int batchSize : {1, 64, 300}) {
        Reader recordings(files);
        EXPECT_EQ(textsIn(recordings, batchSize), textsOf(all)) << batchSize;
    }
}

TEST_F(Recordings, StopRequestBeforeTheFirstFrameReadsNothing)
{
    Reader stopped({writeFrames("a", 0x10, {1})}, [] { return true; });
    EXPECT_EQ(idsIn(stopped), QString());
    EXPECT_EQ(idsIn(stopped), QString());
}

TEST_F(Recordings, FrameIsUnchangedAtTheEnd)
{
    Reader recordings({writeFrames("a", 0x10, {1})});
    Frame frame;
    ASSERT_TRUE(recordings.next(frame));
    EXPECT_FALSE(recordings.next(frame));
    EXPECT_EQ(frame.id, 0x10U);
    EXPECT_FALSE(recordings.next(frame));
}

TEST_F(Recordings, LogCutIntoFilesInAnyOrderReadsAsTheWhole)
{
    std::mt19937 random(2021);
    for (int round = 0; round < repetitions(50); ++round) {
        SCOPED_TRACE(round);
        std::vector<LogFrame> frames;
        qint64 time = october(0);
        const int count = 1 + randomUpTo(random, 300);
        for (int i = 0; i < count; ++i) {
            time += 1000 * (1 + randomUpTo(random, 100000));
            frames.push_back({time, randomUpTo(random, 3), static_cast<quint32>(i)});
        }
        QStringList files;
        for (auto begin = frames.cbegin(); begin != frames.cend();) {
            const auto left = static_cast<int>(frames.cend() - begin);
            const auto end = begin + 1 + randomUpTo(random, std::min(left - 1, 80));
            files += write(QString::number(files.size()), logOf({begin, end}));
            begin = end;
        }
        std::shuffle(files.begin(), files.end(), random);
        for (const int batchSize : {1, 7, 1000}) {
            Reader recordings(files);
            ASSERT_EQ(textsIn(recordings, batchSize), textsOf(frames));
            ASSERT_EQ(recordings.error(), QString());
        }
    }
}

TEST_F(Recordings, FramesDealtToFilesReadAsTheSortedWhole)
{
    std::mt19937 random(1986);
    for (int round = 0; round < repetitions(50); ++round) {
        SCOPED_TRACE(round);
        const int fileCount = 1 + randomUpTo(random, 9);
        std::vector<std::vector<LogFrame>> parts(static_cast<size_t>(fileCount));
        qint64 time = october(0);
        for (int i = 0; i < 300; ++i) {
            time += 1000 * randomUpTo(random, 2); // many times are equal
            parts[static_cast<size_t>(randomUpTo(random, fileCount - 1))].push_back(
                {time, randomUpTo(random, 1), static_cast<quint32>(i)});
        }
        QStringList files;
        std::vector<LogFrame> sorted;
        for (const auto& part : parts) {
            files += write(QString::number(files.size()), logOf(part));
            sorted.insert(sorted.end(), part.begin(), part.end());
        }
        std::stable_sort(
            sorted.begin(), sorted.end(),
            [](const LogFrame& left, const LogFrame& right) { return left.time < right.time; });
        for (const int batchSize : {1, 7, 1000}) {
            Reader recordings(files);
            ASSERT_EQ(textsIn(recordings, batchSize), textsOf(sorted));
        }
    }
}
