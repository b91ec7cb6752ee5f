#include <sources/recording/bytes/Blf.h>
#include <sources/recording/formats.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>

#include <numeric>
#include <random>

#include <sys/resource.h>

#include <zlib.h>

using monitor::Frame;
using monitor::FrameSource;

namespace
{

// The types of objects.
constexpr quint32 message = 1;
constexpr quint32 error = 2;
constexpr quint32 container = 10;
constexpr quint32 appText = 65;
constexpr quint32 errorExt = 73;
constexpr quint32 message2 = 86;
constexpr quint32 fdMessage = 100;
constexpr quint32 fdMessage64 = 101;
constexpr quint32 fdError64 = 104;
constexpr quint32 restorePoints = 115;
constexpr quint32 dataLostEnd = 126;

constexpr quint32 extendedBit = 0x80000000;

template <typename T>
QByteArray le(T value)
{
    QByteArray bytes(sizeof(T), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

template <typename... T>
QByteArray bytes(T... values)
{
    const char list[] = {static_cast<char>(values)...};
    return QByteArray(list, sizeof...(values));
}

QByteArray zeros(int count)
{
    return QByteArray(count, '\0');
}

/// 1, 2, 3, ...
QByteArray counting(int count)
{
    QByteArray data(count, '\0');
    std::iota(data.begin(), data.end(), '\1');
    return data;
}

QByteArray base(quint16 headerSize, quint16 version, quint32 size, quint32 type)
{
    return "LOBJ" + le(headerSize) + le(version) + le(size) + le(type);
}

/// Writers append as many bytes as the remainder of the division by four.
QByteArray padded(const QByteArray& object)
{
    return object + zeros(static_cast<int>(object.size() % 4));
}

QByteArray unpaddedObject(quint32 type, const QByteArray& body, quint64 time = 5000,
                          quint32 timeFlags = 2)
{
    const auto size = static_cast<quint32>(32 + body.size());
    return base(32, 1, size, type) + le(timeFlags) + zeros(4) + le(time) + body;
}

QByteArray object(quint32 type, const QByteArray& body, quint64 time = 5000, quint32 timeFlags = 2)
{
    return padded(unpaddedObject(type, body, time, timeFlags));
}

/// An object with the longer header.
QByteArray object2(quint32 type, const QByteArray& body, quint64 time)
{
    const auto size = static_cast<quint32>(40 + body.size());
    const quint64 originalTime = 77;
    return padded(base(40, 2, size, type) + le<quint32>(2) + zeros(4) + le(time) +
                  le(originalTime) + body);
}

QByteArray classic(quint32 id, const QByteArray& data = counting(8), quint16 channel = 1)
{
    return object(message,
                  le(channel) + bytes(0, data.size()) + le(id) + data.leftJustified(8, '\0', true));
}

/// qCompress() writes the unpacked size before the zlib stream, and nothing else without content.
QByteArray packed(const QByteArray& content)
{
    return content.isEmpty() ? QByteArray::fromHex("789c030000000001") : qCompress(content).mid(4);
}

QByteArray containerOf(const QByteArray& stored, quint16 method, quint32 unpackedSize)
{
    return padded(base(16, 1, static_cast<quint32>(32 + stored.size()), container) + le(method) +
                  zeros(6) + le(unpackedSize) + zeros(4) + stored);
}

QByteArray storedContainer(const QByteArray& content)
{
    return containerOf(content, 0, static_cast<quint32>(content.size()));
}

QByteArray packedContainer(const QByteArray& content)
{
    return containerOf(packed(content), 2, static_cast<quint32>(content.size()));
}

/// Year, month, day of the week, day, hour, minute, second, millisecond.
QByteArray systemTime(const QVector<quint16>& numbers)
{
    QByteArray result;
    for (const quint16 number : numbers)
        result += le(number);
    return result;
}

const QByteArray unknownTime = zeros(16);

QByteArray fileHeader(const QByteArray& start = unknownTime)
{
    return "LOGG" + le<quint32>(144) + zeros(32) + start + zeros(88);
}

struct Read {
    QVector<Frame> frames;
    monitor::SourceCounts counts;
    QStringList buses;
    QStringList problems;
    QStringList notes;
};

Read readWhole(FrameSource& source)
{
    Read read;
    for (Frame frame; source.next(frame);)
        read.frames.append(frame);
    Frame untouched;
    EXPECT_FALSE(source.next(untouched));
    EXPECT_FALSE(untouched.nanoseconds);
    EXPECT_EQ(source.error(), QString());
    EXPECT_EQ(source.progress().done, source.progress().total);
    read.counts = source.counts();
    read.buses = source.buses();
    read.notes = source.notes();
    for (const monitor::Problems& problems : source.problems())
        read.problems += problems.lines();
    return read;
}

Read readFile(const QByteArray& file)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(file);
    buffer->open(QIODevice::ReadOnly);
    return readWhole(*monitor::openBlf(std::move(buffer), "x.blf"));
}

Read readObjects(const QByteArray& objects)
{
    return readFile(fileHeader() + storedContainer(objects));
}

QByteArray dataOf(const Frame& frame)
{
    return QByteArray(reinterpret_cast<const char*>(frame.data.data()), frame.length);
}

std::string hexOf(const QByteArray& data)
{
    return data.toHex().toStdString();
}

/// The only frame in the objects, which have no problems.
Frame frameIn(const QByteArray& objects)
{
    const Read read = readObjects(objects);
    EXPECT_EQ(read.frames.size(), 1);
    EXPECT_EQ(read.problems, QStringList());
    return read.frames.value(0);
}

QVector<quint32> idsOf(const Read& read)
{
    QVector<quint32> ids;
    for (const Frame& frame : read.frames)
        ids.append(frame.id);
    return ids;
}

/// The only problem, without the file name.
std::string problemOf(const Read& read)
{
    EXPECT_EQ(read.problems.size(), 1) << read.problems.join('\n').toStdString();
    return read.problems.value(0).mid(static_cast<int>(qstrlen("x.blf: "))).toStdString();
}

std::string textOf(const Frame& frame)
{
    return QString("id %1%2 remote %3 fd %4 brs %5 data %6")
        .arg(frame.id, 0, 16)
        .arg(frame.extended ? "x" : "")
        .arg(frame.remote)
        .arg(frame.fd)
        .arg(frame.bitRateSwitch)
        .arg(QString::fromLatin1(dataOf(frame).toHex()))
        .toStdString();
}

/// A container with \a mebibytes of zeros, made in little memory.
QByteArray bomb(quint32 mebibytes)
{
    QByteArray zero = zeros(1 << 20);
    QByteArray content(1 << 20, '\0');
    z_stream deflater{};
    EXPECT_EQ(deflateInit(&deflater, Z_BEST_COMPRESSION), Z_OK);
    deflater.next_out = reinterpret_cast<Bytef*>(content.data());
    deflater.avail_out = static_cast<uInt>(content.size());
    for (quint32 i = 0; i < mebibytes; ++i) {
        deflater.next_in = reinterpret_cast<Bytef*>(zero.data());
        deflater.avail_in = static_cast<uInt>(zero.size());
        EXPECT_EQ(deflate(&deflater, i + 1 < mebibytes ? Z_NO_FLUSH : Z_FINISH),
                  i + 1 < mebibytes ? Z_OK : Z_STREAM_END);
    }
    content.truncate(static_cast<int>(deflater.total_out));
    deflateEnd(&deflater);
    return containerOf(content, 2, mebibytes << 20);
}

qint64 peakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * 1024LL;
}

/// A candump log, and what is in it. The bus of a frame is the number of its interface.
struct Log {
    QByteArray text;
    QVector<Frame> frames;
    int errorFrames = 0;
};

/// \a count lines with frames of every kind, about 0.1 ms apart.
Log randomLog(int count)
{
    std::mt19937 random(20211025);
    const auto below = [&random](quint32 end) { return static_cast<quint32>(random() % end); };
    const int lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    Log log;
    qint64 microseconds = 1635188455020000; // python-can rounds the start to milliseconds
    for (int i = 0; i < count; ++i, microseconds += 101 + below(10)) {
        Frame frame;
        frame.nanoseconds = microseconds * 1000;
        frame.bus = static_cast<quint16>(below(3));
        const QByteArray seconds = QByteArray::number(microseconds).insert(10, '.');
        log.text += '(' + seconds + ") can" + QByteArray::number(frame.bus) + ' ';
        const quint32 kind = below(20);
        if (kind == 0) {
            log.text += "20000080#0000000000000000\n";
            ++log.errorFrames;
            continue;
        }
        frame.extended = below(2) == 0;
        frame.id = below(frame.extended ? 0x20000000 : 0x800);
        frame.remote = kind == 1;
        frame.fd = kind > 14;
        frame.bitRateSwitch = frame.fd && below(2) == 0;
        frame.length = static_cast<quint8>(frame.remote ? 0 : lengths[below(frame.fd ? 16 : 9)]);
        std::generate_n(frame.data.begin(), frame.length, [&] { return below(256); });
        log.text +=
            QByteArray::number(frame.id, 16).rightJustified(frame.extended ? 8 : 3, '0') + '#';
        if (frame.fd)
            log.text += frame.bitRateSwitch ? "#1" : "#0";
        log.text += (frame.remote ? "R" : dataOf(frame).toHex()) + '\n';
        log.frames.append(frame);
    }
    return log;
}

/// Converts a candump log by python-can, with markers between the frames.
const char* const conversion = R"(
import sys, can
writer = can.BLFWriter(sys.argv[2], compression_level=int(sys.argv[3]))
for number, message in enumerate(can.CanutilsLogReader(sys.argv[1])):
    writer.on_message_received(message)
    if number % 1000 == 7:
        writer.log_event("event" + str(number))
writer.stop()
)";

} // namespace

TEST(Blf, FramesOfAFileByPythonCanAreThoseOfTheLog)
{
    const QTemporaryDir directory;
    const Log log = randomLog(8000);
    QFile file(directory.filePath("bus.log"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(log.text);
    file.close();
    for (const char* level : {"0", "6"}) {
        const QString blf = directory.filePath(QString("bus%1.blf").arg(level));
        // python-can writes the start in local time.
        const QStringList arguments{
            "TZ=UTC", PYTHON_WITH_CAN, "-c", conversion, file.fileName(), blf, level};
        ASSERT_EQ(QProcess::execute("env", arguments), 0);
        const monitor::OpenedRecording recording = monitor::openRecording(blf);
        ASSERT_TRUE(recording.source);
        EXPECT_EQ(recording.format->name, QString("Vector BLF"));
        const Read read = readWhole(*recording.source);
        ASSERT_EQ(read.frames.size(), log.frames.size());
        EXPECT_EQ(read.counts.errorFrames, log.errorFrames);
        EXPECT_EQ(read.problems, QStringList());
        for (int i = 0; i < read.frames.size(); ++i) {
            const Frame& frame = read.frames.at(i);
            const Frame& inLog = log.frames.at(i);
            ASSERT_EQ(textOf(frame), textOf(inLog)) << i;
            // python-can computes times with floating-point numbers.
            ASSERT_LT(std::abs(*frame.nanoseconds - *inLog.nanoseconds), 1000) << i;
            // It counts channels from 0.
            ASSERT_EQ(read.buses.at(frame.bus), QString::number(inLog.bus + 1)) << i;
        }
    }
}

TEST(Blf, ClassicFrameIsReadFromItsFields)
{
    const Frame extended = frameIn(object(
        message, le<quint16>(3) + bytes(0, 5) + le(extendedBit | 0x18FEF100U) + counting(8), 1234));
    EXPECT_EQ(textOf(extended), "id 18fef100x remote 0 fd 0 brs 0 data 0102030405");
    EXPECT_EQ(extended.nanoseconds, 1234);
    const Frame sent =
        frameIn(object(message, le<quint16>(1) + bytes(1, 0) + le<quint32>(0x7FF) + counting(8)));
    EXPECT_EQ(textOf(sent), "id 7ff remote 0 fd 0 brs 0 data ");
}

TEST(Blf, RemoteFrameHasNoData)
{
    EXPECT_EQ(textOf(frameIn(object(message, le<quint16>(1) + bytes(0x80, 8) + le<quint32>(0x181) +
                                                 counting(8)))),
              "id 181 remote 1 fd 0 brs 0 data ");
    EXPECT_EQ(
        textOf(frameIn(object(fdMessage64, bytes(1, 8, 8, 0) + le<quint32>(0x181) + le<quint32>(0) +
                                               le<quint32>(0x10) + zeros(24)))),
        "id 181 remote 1 fd 0 brs 0 data ");
}

TEST(Blf, NewerClassicFrameHasFieldsAfterItsData)
{
    const QByteArray fields = le<quint16>(2) + bytes(0, 8) + le<quint32>(0x123);
    const Frame frame = frameIn(object2(message2, fields + counting(8) + zeros(8), 4321));
    EXPECT_EQ(textOf(frame), "id 123 remote 0 fd 0 brs 0 data 0102030405060708");
    EXPECT_EQ(frame.nanoseconds, 4321);
    const Read shorter = readObjects(object2(message2, fields + counting(4) + zeros(8), 0));
    EXPECT_EQ(textOf(shorter.frames.value(0)), "id 123 remote 0 fd 0 brs 0 data 01020304");
    EXPECT_EQ(shorter.notes,
              QStringList("x.blf: 1 frame(s) are stored with fewer data bytes than they had: only "
                          "these bytes are read"));
}

TEST(Blf, FdFrameIsReadFromItsFields)
{
    const auto body = [](int code, int fdFlags, int valid, quint32 id) {
        return le<quint16>(1) + bytes(0, code) + le(id) + le<quint32>(0) +
               bytes(0, fdFlags, valid) + zeros(5) + counting(64);
    };
    const Frame fast = frameIn(object(fdMessage, body(9, 3, 12, extendedBit | 0x123)));
    EXPECT_EQ(textOf(fast), "id 123x remote 0 fd 1 brs 1 data " + hexOf(counting(12)));
    const Frame longest = frameIn(object(fdMessage, body(15, 5, 64, 0x123) + zeros(4)));
    EXPECT_EQ(textOf(longest), "id 123 remote 0 fd 1 brs 0 data " + hexOf(counting(64)));
    // The number of valid bytes counts, not the length code.
    const Frame shorter = frameIn(object(fdMessage, body(9, 1, 10, 0x123)));
    EXPECT_EQ(dataOf(shorter), counting(10));
    const Frame notFd = frameIn(object(fdMessage, body(8, 2, 8, 0x123)));
    EXPECT_EQ(textOf(notFd), "id 123 remote 0 fd 0 brs 0 data 0102030405060708");
}

namespace
{

/// The body of the FD object of variable length.
QByteArray fd64(int valid, quint32 flags, int extension, const QByteArray& data, int direction = 0)
{
    return bytes(2, 15, valid, 0) + le<quint32>(0x123) + le<quint32>(0) + le(flags) + zeros(18) +
           bytes(direction, extension) + le<quint32>(0x0C0C0C0C) + data;
}

constexpr quint32 fd = 0x1000;
constexpr quint32 bitRateSwitch = 0x2000;

} // namespace

TEST(Blf, FdFrameOfVariableLengthIsReadFromItsFields)
{
    const Frame whole = frameIn(object(fdMessage64, fd64(48, fd | bitRateSwitch, 0, counting(48))));
    EXPECT_EQ(textOf(whole), "id 123 remote 0 fd 1 brs 1 data " + hexOf(counting(48)));
    const Frame notFd = frameIn(object(fdMessage64, fd64(8, 0, 0, counting(8))));
    EXPECT_EQ(textOf(notFd), "id 123 remote 0 fd 0 brs 0 data 0102030405060708");
}

TEST(Blf, BytesThatAnFdObjectOmitsAreZeroAndNoted)
{
    const Read read = readObjects(object(fdMessage64, fd64(64, fd, 0, counting(48))) +
                                  object(fdMessage64, fd64(64, fd, 0, QByteArray())) +
                                  object(fdMessage64, fd64(48, fd, 0, counting(48))));
    ASSERT_EQ(read.frames.size(), 3);
    EXPECT_EQ(dataOf(read.frames.at(0)), counting(48) + zeros(16));
    EXPECT_EQ(dataOf(read.frames.at(1)), zeros(64));
    EXPECT_EQ(dataOf(read.frames.at(2)), counting(48));
    EXPECT_EQ(read.notes,
              QStringList("x.blf: 2 frame(s) are stored with fewer data bytes than they had: the "
                          "missing bytes are taken as 0"));
}

// The offset counts from the start of the object, whose header has 32 bytes.
TEST(Blf, ExtensionOfAnFdObjectIsNotData)
{
    const QByteArray extension = "ABCDEFGH";
    const Read read =
        readObjects(object(fdMessage64, fd64(12, fd, 32 + 40 + 8, counting(8) + extension)) +
                    object(fdMessage64, fd64(12, fd, 32 + 40 - 1, counting(8) + extension)) +
                    object(fdMessage64, fd64(12, fd, 255, counting(8) + extension)));
    ASSERT_EQ(read.frames.size(), 3);
    EXPECT_EQ(dataOf(read.frames.at(0)), counting(8) + zeros(4));
    EXPECT_EQ(dataOf(read.frames.at(1)), counting(8) + extension.left(4));
    EXPECT_EQ(dataOf(read.frames.at(2)), counting(8) + extension.left(4));
}

TEST(Blf, TransmitRequestIsNotAFrame)
{
    const Read read = readObjects(object(fdMessage64, fd64(8, 0, 0, counting(8), 2)) +
                                  object(fdMessage64, fd64(8, 0, 0, counting(8), 1)));
    EXPECT_EQ(read.frames.size(), 1);
    EXPECT_EQ(read.problems, QStringList());
}

TEST(Blf, LengthsAreLimitedByTheKindOfFrame)
{
    const QByteArray body = le<quint16>(1) + bytes(0, 0x33) + le<quint32>(0x123) + counting(8);
    EXPECT_EQ(dataOf(frameIn(object(message, body))), counting(8));
    EXPECT_EQ(dataOf(frameIn(object(fdMessage64, fd64(255, fd, 0, counting(64))))), counting(64));
    EXPECT_EQ(dataOf(frameIn(object(fdMessage64, fd64(255, 0, 0, counting(64))))), counting(8));
}

TEST(Blf, BusesAreTheNumbersOfTheChannels)
{
    const Read read =
        readObjects(classic(1, "", 2) + classic(2, "", 0) + classic(3, "", 2) +
                    classic(4, "", 65535) + object(fdMessage64, fd64(0, fd, 0, QByteArray())));
    ASSERT_EQ(read.frames.size(), 5);
    QStringList buses;
    for (const Frame& frame : read.frames)
        buses += read.buses.at(frame.bus);
    EXPECT_EQ(buses, QStringList({"2", "", "2", "65535", "2"}));
    EXPECT_EQ(read.buses.size(), 3);
}

TEST(Blf, ErrorFramesAndLostObjectsAreCounted)
{
    const Read read = readObjects(object(error, zeros(4)) + object(error, zeros(8)) +
                                  object(errorExt, zeros(32)) + object(fdError64, zeros(44)) +
                                  object(dataLostEnd, zeros(12) + le<quint32>(12)) +
                                  object(dataLostEnd, zeros(12) + le<quint32>(1)));
    EXPECT_EQ(read.frames.size(), 0);
    EXPECT_EQ(read.counts.errorFrames, 4);
    EXPECT_EQ(read.counts.lost, 13);
    EXPECT_EQ(read.problems, QStringList());
}

// Python: datetime(2021, 10, 25, 19, 0, 55, 20000, timezone.utc).timestamp()
TEST(Blf, StartIsTakenAsUtcAndNoted)
{
    const QByteArray body = le<quint16>(1) + zeros(14);
    const Read read = readFile(fileHeader(systemTime({2021, 10, 1, 25, 19, 0, 55, 20})) +
                               object(message, body, 1) + object(message, body, 7, 1) +
                               object(message, body, 3, 0));
    ASSERT_EQ(read.frames.size(), 3);
    EXPECT_EQ(read.frames.at(0).nanoseconds, 1635188455020000001);
    EXPECT_EQ(read.frames.at(1).nanoseconds, 1635188455020070000);
    EXPECT_EQ(read.frames.at(2).nanoseconds, 1635188455020000003);
    EXPECT_EQ(read.notes, QStringList("x.blf: the file states no time zone: its start time is "
                                      "taken as UTC"));
}

TEST(Blf, TimesAreRelativeIfTheStartIsUnknown)
{
    const QVector<QVector<quint16>> invalid{
        {2021, 0, 1, 25, 19, 0, 55, 20},
        {2021, 2, 1, 29, 19, 0, 55, 20},
        {2021, 10, 1, 25, 99, 0, 55, 20},
        {2021, 10, 1, 25, 19, 0, 60, 20},
        {2021, 10, 1, 25, 19, 0, 5, 1000},
        {1969, 12, 1, 31, 23, 0, 0, 0},
        {9999, 10, 1, 25, 19, 0, 5, 10},
        {65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535}};
    for (const QVector<quint16>& numbers : invalid) {
        const Read read = readFile(fileHeader(systemTime(numbers)) + classic(1));
        ASSERT_EQ(read.frames.size(), 1);
        EXPECT_EQ(read.frames.at(0).nanoseconds, 5000);
        EXPECT_EQ(read.notes, QStringList("x.blf: the start time is invalid: times are relative "
                                          "to the start of the recording"));
    }
    const Read unknown = readFile(fileHeader() + classic(1));
    EXPECT_EQ(unknown.frames.value(0).nanoseconds, 5000);
    EXPECT_EQ(unknown.notes, QStringList());
}

TEST(Blf, TimeBeyondTheLatestIsUnknown)
{
    const QByteArray body = le<quint16>(1) + zeros(14);
    const quint64 latest = 4000000000000000000; // nanoseconds
    const Read read = readObjects(
        object(message, body, latest) + object(message, body, latest + 1) +
        object(message, body, latest / 10000, 1) + object(message, body, latest / 10000 + 1, 1) +
        object(message, body, ~quint64(0), 1));
    ASSERT_EQ(read.frames.size(), 5);
    EXPECT_EQ(read.frames.at(0).nanoseconds, static_cast<qint64>(latest));
    EXPECT_FALSE(read.frames.at(1).nanoseconds);
    EXPECT_EQ(read.frames.at(2).nanoseconds, static_cast<qint64>(latest));
    EXPECT_FALSE(read.frames.at(3).nanoseconds);
    EXPECT_FALSE(read.frames.at(4).nanoseconds);
}

TEST(Blf, ObjectsBeginWhereTheFileHeaderEnds)
{
    QByteArray header = fileHeader() + "LOBJ" + zeros(20);
    header.replace(4, 4, le(static_cast<quint32>(header.size())));
    EXPECT_EQ(idsOf(readFile(header + storedContainer(classic(5)))), QVector<quint32>({5}));
    for (const quint32 size : {0U, 55U, 65537U, 0xFFFFFFFFU}) {
        QByteArray impossible = fileHeader();
        impossible.replace(4, 4, le(size));
        const Read read = readFile(impossible + storedContainer(classic(5)));
        EXPECT_EQ(idsOf(read), QVector<quint32>({5}));
        EXPECT_EQ(problemOf(read),
                  "byte 4: the file header has an impossible size: " + std::to_string(size));
    }
}

TEST(Blf, OtherObjectsAreSkippedWhateverTheirPadding)
{
    for (int size = 0; size < 12; ++size) {
        const QByteArray other = unpaddedObject(appText, QByteArray(size, 'x'));
        for (int padding = 0; padding <= 8; ++padding) {
            const Read read =
                readObjects(classic(1) + other + zeros(padding) + classic(2) +
                            padded(unpaddedObject(restorePoints, zeros(43))) + classic(3));
            EXPECT_EQ(idsOf(read), QVector<quint32>({1, 2, 3})) << size << ' ' << padding;
            EXPECT_EQ(read.problems, QStringList());
        }
    }
}

TEST(Blf, LargeObjectIsSkippedAcrossContainers)
{
    const QByteArray objects = classic(1) + object(appText, QByteArray(900001, 'L')) + classic(2);
    const Read whole = readObjects(objects);
    EXPECT_EQ(idsOf(whole), QVector<quint32>({1, 2}));
    QByteArray file = fileHeader();
    for (int at = 0; at < objects.size(); at += 131072)
        file += packedContainer(objects.mid(at, 131072));
    const Read split = readFile(file);
    EXPECT_EQ(idsOf(split), QVector<quint32>({1, 2}));
    EXPECT_EQ(split.problems, QStringList());
}

TEST(Blf, ObjectCanBeSplitBetweenContainersAtEveryByte)
{
    const QByteArray objects = classic(1) + unpaddedObject(appText, QByteArray(11, 'x')) +
                               zeros(3) + object2(message2, zeros(24), 1) + classic(2);
    for (int at = 0; at <= objects.size(); ++at) {
        const QByteArray first = objects.left(at);
        const QByteArray second = objects.mid(at);
        for (const QByteArray& file :
             {storedContainer(first) + storedContainer(second),
              packedContainer(first) + storedContainer(second),
              storedContainer(first) + packedContainer(second),
              // An object outside of the containers does not belong to the split one.
              packedContainer(first) + classic(0x77) + packedContainer(second)}) {
            const Read read = readFile(fileHeader() + file);
            QVector<quint32> ids = idsOf(read);
            ids.removeAll(0x77);
            EXPECT_EQ(ids, QVector<quint32>({1, 0, 2})) << at;
            EXPECT_EQ(read.problems, QStringList()) << at;
        }
    }
}

TEST(Blf, ObjectCanBeSplitBetweenManyContainers)
{
    const QByteArray objects = classic(1) + classic(2);
    QByteArray file = fileHeader();
    for (int at = 0; at < objects.size(); ++at)
        file += at % 2 ? packedContainer(objects.mid(at, 1)) : storedContainer(objects.mid(at, 1));
    const Read read = readFile(file);
    EXPECT_EQ(idsOf(read), QVector<quint32>({1, 2}));
    EXPECT_EQ(read.problems, QStringList());
}

TEST(Blf, ObjectsCanBeOutsideOfContainers)
{
    const Read read = readFile(fileHeader() + classic(1) + object(appText, QByteArray(11, 'x')) +
                               classic(2) + storedContainer(classic(3)) + classic(4));
    EXPECT_EQ(idsOf(read), QVector<quint32>({1, 2, 3, 4}));
    EXPECT_EQ(read.problems, QStringList());
}

TEST(Blf, FileWithoutObjectsHasNoFrames)
{
    for (const QByteArray& file : {fileHeader(), fileHeader() + storedContainer(QByteArray()),
                                   fileHeader() + packedContainer(QByteArray())}) {
        const Read read = readFile(file);
        EXPECT_EQ(read.frames.size(), 0);
        EXPECT_EQ(read.problems, QStringList());
    }
}

TEST(Blf, TruncatedFileHasAllWholeFramesAndOneProblem)
{
    const QByteArray header = fileHeader();
    const QByteArray stored = storedContainer(classic(1) + object(appText, zeros(11)) + classic(2));
    const QByteArray direct = classic(3);
    const QByteArray file = header + stored + direct + storedContainer(classic(4));
    const QVector<int> ends{144 + 32 + 48, 144 + 32 + 48 + 46 + 48, 144 + 32 + 142 + 2 + 48,
                            144 + 32 + 142 + 2 + 48 + 32 + 48};
    ASSERT_EQ(stored.size(), 32 + 48 + 43 + 3 + 48 + 2);
    ASSERT_EQ(file.size(), ends.at(3));
    for (int size = 0; size <= file.size(); ++size) {
        const Read read = readFile(file.left(size));
        const auto whole =
            std::count_if(ends.cbegin(), ends.cend(), [size](int end) { return end <= size; });
        EXPECT_EQ(read.frames.size(), whole) << size;
        const bool isWhole = size == 144 || (size >= 144 + 174 && size <= 144 + 176) ||
                             size == 144 + 176 + 48 || size == file.size();
        EXPECT_EQ(read.counts.unreadable, isWhole ? 0 : 1) << size;
    }
    EXPECT_EQ(problemOf(readFile(file.left(100))), "byte 100: the file ends within its header");
    EXPECT_EQ(problemOf(readFile(file.left(260))),
              "byte 144: the file ends within a container: 1 object(s) were read from it");
    EXPECT_EQ(problemOf(readFile(file.left(330))), "byte 318: the file ends within an object");
}

TEST(Blf, TruncatedPackedFileHasTheFramesThatCanBeUnpacked)
{
    QByteArray objects;
    std::mt19937 random(1);
    for (quint32 id = 0; id < 200; ++id)
        objects += classic(id, le(random()) + le(random()));
    const QByteArray file =
        fileHeader() + packedContainer(objects.left(5003)) + packedContainer(objects.mid(5003));
    const auto second = 144 + packedContainer(objects.left(5003)).size();
    int before = 0;
    for (int size = 144; size <= file.size(); ++size) {
        const Read read = readFile(file.left(size));
        ASSERT_GE(read.frames.size(), before) << size;
        before = static_cast<int>(read.frames.size());
        for (int i = 0; i < before; ++i)
            ASSERT_EQ(read.frames.at(i).id, static_cast<quint32>(i));
        ASSERT_LE(read.counts.unreadable, 1);
    }
    EXPECT_EQ(before, 200);
    EXPECT_EQ(readFile(file.left(second)).frames.size(), 5003 / 48);
    EXPECT_EQ(problemOf(readFile(file.left(second))), "byte 144: the file ends within an object");
    const Read nearlyWhole = readFile(file.left(file.size() - 8));
    EXPECT_GT(nearlyWhole.frames.size(), 195);
    EXPECT_LE(nearlyWhole.frames.size(), 200);
}

TEST(Blf, ZerosAfterTheLastObjectAreReported)
{
    const Read read = readFile(fileHeader() + storedContainer(classic(1)) + zeros(1000000));
    EXPECT_EQ(idsOf(read), QVector<quint32>({1}));
    EXPECT_EQ(problemOf(read), "byte 224: no object in the last 1000000 byte(s): the recording "
                               "may be incomplete");
}

TEST(Blf, DamagedContainerEndsAtTheNextOne)
{
    const QByteArray first = classic(1) + classic(2) + classic(3);
    const QByteArray whole = packed(first);
    QByteArray wrongChecksum = whole;
    wrongChecksum[wrongChecksum.size() - 1] = static_cast<char>(~whole.at(whole.size() - 1));
    const struct {
        QByteArray damaged;
        int frames;
        std::string problem;
    } cases[] = {
        {containerOf(wrongChecksum, 2, 144), 3,
         "the container is damaged: 3 object(s) were read from it and may be wrong"},
        {containerOf(whole.left(2) + bytes(0xFF, 0xFF), 2, 144), 0,
         "the container is damaged: 0 object(s) were read from it and may be wrong"},
        {containerOf(whole.left(whole.size() - 5), 2, 144), 3,
         "the container is damaged: 3 object(s) were read from it and may be wrong"},
        {containerOf(QByteArray(), 2, 144), 0,
         "the container is damaged: 0 object(s) were read from it and may be wrong"},
        {containerOf(whole, 2, 100), 2,
         "the container has more bytes than it states: 2 object(s) were read from it"},
        {containerOf(whole, 2, 143), 2,
         "the container has more bytes than it states: 2 object(s) were read from it"},
        {containerOf(whole, 2, 145), 3,
         "the container has fewer bytes than it states: 3 object(s) were read from it"},
        {containerOf(whole, 1, 144), 0, "container skipped: unknown compression method 1"},
        {containerOf(whole, 99, 144), 0, "container skipped: unknown compression method 99"},
        {containerOf(whole, 2, (64 << 20) + 1), 0, "container of more than 64 MiB skipped"},
    };
    for (const auto& [damaged, frames, problem] : cases) {
        // The frame that begins before the damage is dropped, and so is the rest of another one
        // after it.
        const Read read = readFile(fileHeader() + storedContainer(classic(0x10) + classic(0x11)) +
                                   damaged + storedContainer(classic(0x12).mid(9) + classic(0x13)));
        QVector<quint32> ids{0x10, 0x11};
        for (int i = 0; i < frames; ++i)
            ids += static_cast<quint32>(i + 1);
        ids += 0x13;
        EXPECT_EQ(idsOf(read), ids) << problem;
        EXPECT_EQ(problemOf(read), "byte 272: " + problem);
    }
}

TEST(Blf, SplitObjectIsNotContinuedAfterASkippedContainer)
{
    const QByteArray split = classic(2, QByteArray(8, 'x'));
    const Read read =
        readFile(fileHeader() + storedContainer(classic(1) + split.left(40)) +
                 containerOf("ignored", 99, 8) + storedContainer(split.mid(40) + classic(3)));
    EXPECT_EQ(idsOf(read), QVector<quint32>({1, 3}));
    EXPECT_EQ(problemOf(read), "byte 264: container skipped: unknown compression method 99");
}

// The bytes may have been a container.
TEST(Blf, SplitObjectIsNotContinuedAfterUnreadableBytes)
{
    const QByteArray split = classic(2, QByteArray(8, 'x'));
    const Read read = readFile(fileHeader() + storedContainer(classic(1) + split.left(40)) +
                               QByteArray(9, '?') + storedContainer(split.mid(40) + classic(3)));
    EXPECT_EQ(idsOf(read), QVector<quint32>({1, 3}));
    EXPECT_EQ(problemOf(read), "byte 264: 9 byte(s) skipped that belong to no object");
}

TEST(Blf, UnpackedSizeOfAStoredContainerDoesNotMatter)
{
    for (const quint32 size : {0U, 1U, 5000U, 0xFFFFFFFFU}) {
        const Read read = readFile(fileHeader() + containerOf(classic(1), 0, size));
        EXPECT_EQ(idsOf(read), QVector<quint32>({1}));
        EXPECT_EQ(read.problems, QStringList());
    }
}

TEST(Blf, ObjectWithAnImpossibleSizeIsSkipped)
{
    const auto impossible = [](quint16 headerSize, quint32 size, quint32 type) {
        return base(headerSize, 1, size, type) + zeros(32);
    };
    for (const QByteArray& damaged :
         {impossible(32, 0, message), impossible(32, 15, message), impossible(0, 48, message),
          impossible(49, 48, message), impossible(65535, 48, message), impossible(32, 31, message),
          impossible(32, 4097, message), impossible(32, 0xFFFFFFFF, message),
          impossible(32, 0, appText), impossible(33, 32, appText),
          impossible(32, 0xFFFFFFFF, appText)}) {
        const QByteArray objects = classic(1) + damaged + classic(2);
        for (const QByteArray& file : {objects, storedContainer(objects)}) {
            const Read read = readFile(fileHeader() + file);
            EXPECT_EQ(idsOf(read), QVector<quint32>({1, 2})) << damaged.toHex().constData();
            EXPECT_EQ(problemOf(read),
                      file == objects ? "byte 192: 48 byte(s) skipped that belong to no object"
                                      : "byte 144: 48 byte(s) skipped that belong to no object");
        }
    }
}

TEST(Blf, ContainerWithAnImpossibleSizeIsSkipped)
{
    for (const quint32 size : {0U, 15U, 31U, 0xFFFFFFFFU}) {
        QByteArray damaged = storedContainer(classic(2));
        damaged.replace(8, 4, le(size));
        // The objects in it are still found, like objects outside of containers.
        const Read read =
            readFile(fileHeader() + storedContainer(classic(1)) + damaged + classic(3));
        EXPECT_EQ(idsOf(read), QVector<quint32>({1, 2, 3}));
        EXPECT_EQ(problemOf(read), "byte 224: 32 byte(s) skipped that belong to no object");
    }
}

TEST(Blf, ContainerInAContainerIsReported)
{
    const Read read = readObjects(classic(1) + storedContainer(classic(2)) + classic(3));
    EXPECT_EQ(idsOf(read), QVector<quint32>({1, 3}));
    EXPECT_EQ(problemOf(read), "byte 144: container in another container skipped");
}

TEST(Blf, GarbageBetweenObjectsIsOneProblem)
{
    QByteArray garbage(100000, '\0');
    std::mt19937 random(3);
    std::generate(garbage.begin(), garbage.end(), [&] { return static_cast<char>(random()); });
    const QByteArray objects = classic(1) + garbage + "LOB" + classic(2) + "LOBJECTS!" + classic(3);
    const Read direct = readFile(fileHeader() + objects);
    EXPECT_EQ(idsOf(direct), QVector<quint32>({1, 2, 3}));
    EXPECT_EQ(direct.problems,
              QStringList({"x.blf: byte 192: 100003 byte(s) skipped that belong to no object",
                           "x.blf: byte 100243: 9 byte(s) skipped that belong to no object"}));
    EXPECT_EQ(direct.counts.unreadable, 2);
    EXPECT_EQ(idsOf(readObjects(objects)), QVector<quint32>({1, 2, 3}));
}

TEST(Blf, UnusableObjectIsReportedAndSkipped)
{
    const QByteArray frame = classic(2);
    QByteArray otherVersion = frame;
    otherVersion.replace(6, 2, le<quint16>(3));
    const struct {
        QByteArray object;
        std::string problem;
    } cases[] = {
        {otherVersion, "object of type 1 skipped: unknown header version 3"},
        {classic(0x800), "object of type 1 skipped: 11-bit id out of range: 0x800"},
        {object(message, zeros(7)), "object of type 1 skipped: it is too short: 39 bytes"},
        {object(message2, zeros(15)), "object of type 86 skipped: it is too short: 47 bytes"},
        {object(fdMessage, zeros(19)), "object of type 100 skipped: it is too short: 51 bytes"},
        {object(fdMessage64, zeros(39)), "object of type 101 skipped: it is too short: 71 bytes"},
        {base(31, 1, 60, message) + zeros(44),
         "object of type 1 skipped: it is too short: 60 bytes"},
        {base(16, 1, 16, message), "object of type 1 skipped: it is too short: 16 bytes"},
    };
    for (const auto& [unusable, problem] : cases) {
        const Read read = readFile(fileHeader() + classic(1) + unusable + classic(3));
        EXPECT_EQ(idsOf(read), QVector<quint32>({1, 3})) << problem;
        EXPECT_EQ(problemOf(read), "byte 192: " + problem);
    }
    // Objects of other types are skipped without a message.
    QByteArray other = object(appText, zeros(8));
    other.replace(6, 2, le<quint16>(3));
    EXPECT_EQ(readObjects(other).problems, QStringList());
}

TEST(Blf, StatedSizesTakeNoMemory)
{
    QByteArray hugeObject = classic(1);
    hugeObject.replace(8, 4, le<quint32>(0xFFFFFFFF));
    QByteArray largeObject = object(appText, zeros(900));
    largeObject.replace(8, 4, le<quint32>(100 << 20));
    const QVector<QByteArray> files{hugeObject + zeros(1000), largeObject,
                                    containerOf(zeros(900), 0, 0xFFFFFFFF),
                                    containerOf(packed(zeros(900)), 2, 0xFFFFFFFF), bomb(64)};
    const qint64 before = peakMemory();
    for (const QByteArray& file : files)
        readFile(fileHeader() + file);
    EXPECT_LT(peakMemory() - before, 16 << 20);
    EXPECT_EQ(problemOf(readFile(fileHeader() + files.last())),
              "byte 144: no object in the last 67108864 byte(s): the recording may be incomplete");
}
