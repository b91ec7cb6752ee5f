#include <sources/recording/formats.h>
#include <sources/recording/mf4/Mf4.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QtEndian>

#include <zlib.h>

#include <cstring>
#include <functional>
#include <random>

using monitor::Frame;

namespace
{

constexpr qint64 start = 1700000000000000000;

template <typename T>
QByteArray le(T value)
{
    QByteArray bytes(sizeof(T), Qt::Uninitialized);
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray le(double value)
{
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return le(bits);
}

template <typename T>
QByteArray be(T value)
{
    QByteArray bytes(sizeof(T), Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// The lowest \a count bytes of \a value.
QByteArray lowest(quint64 value, int count)
{
    return le(value).left(count);
}

enum ChannelType : quint8 { Fixed, Variable, Master, VirtualMaster, Virtual = 6 };
enum DataType : quint8 { Unsigned, UnsignedBe, Signed, SignedBe, Real, RealBe, Bytes = 10 };

struct Channel {
    const char* name;
    ChannelType type;
    DataType dataType;
    quint32 byte;
    quint8 bit;
    quint32 bits;
    quint64 conversion = 0;
    quint64 data = 0;
    quint32 flags = 0;
    quint32 invalidBit = 0;
};

/// Writes an MDF 4 file block by block.
class Writer
{
public:
    explicit Writer(int unfinished = -1, quint8 timeFlags = 0)
    {
        content = unfinished < 0 ? "MDF     " : "UnFinMF ";
        content += "4.11    program \0\0\0\0";
        content += QByteArray(28 - content.size(), '\0') + le<quint16>(411) + QByteArray(30, '\0');
        content += le<quint16>(static_cast<quint16>(std::max(unfinished, 0))) + le<quint16>(0);
        add("HD", QVector<quint64>(6),
            le(start) + QByteArray(4, '\0') + static_cast<char>(timeFlags) + QByteArray(19, '\0'));
    }

    quint64 add(const char* kind, const QVector<quint64>& links, const QByteArray& body = {},
                qint64 length = -1)
    {
        content += QByteArray((8 - content.size() % 8) % 8, '\0');
        const auto offset = static_cast<quint64>(content.size());
        const qint64 size = 24 + 8 * links.size() + body.size();
        content +=
            QByteArray("##") + kind + le<quint32>(0) + le<qint64>(length < 0 ? size : length);
        content += le<quint64>(static_cast<quint64>(links.size()));
        for (const quint64 link : links)
            content += le(link);
        content += body;
        return offset;
    }

    void setLink(quint64 block, int number, quint64 target)
    {
        content.replace(static_cast<int>(block) + 24 + 8 * number, 8, le(target));
    }

    quint64 text(const char* text) { return add("TX", {}, QByteArray(text) + '\0'); }

    quint64 conversion(quint8 kind, const QVector<double>& values)
    {
        QByteArray body(1, static_cast<char>(kind));
        body += QByteArray(5, '\0') + le<quint16>(static_cast<quint16>(values.size()));
        body += QByteArray(16, '\0');
        for (const double value : values)
            body += le(value);
        return add("CC", {0, 0, 0, 0}, body);
    }

    /// The first of a chain of channels.
    quint64 channels(const QVector<Channel>& list)
    {
        quint64 next = 0;
        for (auto i = list.size() - 1; i >= 0; --i) {
            const Channel& channel = list[i];
            const bool isMaster = channel.type == Master || channel.type == VirtualMaster;
            QByteArray body;
            body += static_cast<char>(channel.type);
            body += static_cast<char>(isMaster ? 1 : 0);
            body += static_cast<char>(channel.dataType);
            body += static_cast<char>(channel.bit);
            body +=
                le(channel.byte) + le(channel.bits) + le(channel.flags) + le(channel.invalidBit);
            body += QByteArray(52, '\0');
            next =
                add("CN", {next, 0, text(channel.name), 0, channel.conversion, channel.data, 0, 0},
                    body);
        }
        return next;
    }

    quint64 group(quint64 next, quint64 channel, quint64 id, quint32 size, quint16 flags = 6,
                  quint64 records = 0, quint32 invalidBytes = 0, quint64 name = 0)
    {
        return add("CG", {next, channel, name, 0, 0, 0},
                   le(id) + le(records) + le(flags) + le<quint16>('.') + le<quint32>(0) + le(size) +
                       le(invalidBytes));
    }

    /// Adds a data group at the end of the chain.
    quint64 dataGroup(quint64 group, char idSize, quint64 data)
    {
        const quint64 added = add("DG", {0, group, data, 0}, idSize + QByteArray(7, '\0'));
        setLink(lastDataGroup, 0, added);
        lastDataGroup = added;
        return added;
    }

    /// A list of the data blocks \a blocks, two in each DL.
    quint64 list(const QVector<quint64>& blocks)
    {
        quint64 next = 0;
        for (auto i = (blocks.size() - 1) / 2 * 2; i >= 0; i -= 2)
            next = add("DL", QVector<quint64>{next} + blocks.mid(i, 2), QByteArray(16, '\0'));
        return add("HL", {next}, QByteArray(8, '\0'));
    }

    quint64 packed(const QByteArray& data, const char* kind, int width)
    {
        QByteArray columns;
        const auto rows = width > 0 ? data.size() / width : 0;
        for (int column = 0; column < width; ++column)
            for (int row = 0; row < rows; ++row)
                columns += data.at(row * width + column);
        columns += data.mid(rows * width);
        uLongf size = compressBound(static_cast<uLong>(columns.size()));
        QByteArray bytes(static_cast<int>(size), '\0');
        compress(reinterpret_cast<Bytef*>(bytes.data()), &size,
                 reinterpret_cast<const Bytef*>(columns.constData()),
                 static_cast<uLong>(columns.size()));
        bytes.truncate(static_cast<int>(size));
        return add("DZ", {},
                   QByteArray(kind) + static_cast<char>(width > 0) + '\0' +
                       le(static_cast<quint32>(width)) + le<qint64>(data.size()) +
                       le<qint64>(bytes.size()) + bytes);
    }

    QByteArray content;

private:
    quint64 lastDataGroup = 64;
};

/// The result of reading a recording.
struct Read {
    QStringList frames;
    QStringList notes;
    QStringList problems;
    QString error;
    monitor::SourceCounts counts;

    bool isSilent() const { return notes.isEmpty() && problems.isEmpty() && error.isEmpty(); }
};

QString describe(const Frame& frame, const QStringList& buses)
{
    const QByteArray data(reinterpret_cast<const char*>(frame.data.data()), frame.length);
    return QString("%1 %2 %3#%4")
        .arg(frame.nanoseconds ? QString::number(*frame.nanoseconds - start) : "?")
        .arg(buses.value(frame.bus))
        .arg(frame.id, frame.extended ? 8 : 3, 16, QChar('0'))
        .arg(QString(frame.remote ? "R" : "") + (frame.fd ? "#" : "") +
             (frame.bitRateSwitch ? "B" : "") + data.toHex());
}

Read read(std::unique_ptr<QIODevice> device)
{
    const std::unique_ptr<monitor::FrameSource> source =
        monitor::openMf4(std::move(device), "x.mf4");
    Read read;
    for (Frame frame; source->next(frame);)
        read.frames += describe(frame, source->buses());
    read.notes = source->notes();
    for (const monitor::Problems& problems : source->problems())
        read.problems += problems.lines();
    read.error = source->error();
    read.counts = source->counts();
    EXPECT_EQ(source->progress().done, source->progress().total);
    return read;
}

Read read(const QByteArray& content)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    return read(std::move(buffer));
}

/// A simple sorted record: 8 bytes of nanoseconds, 4 of id, 8 of data.
QVector<Channel> simpleChannels(Writer& writer)
{
    return {{"t", Master, Unsigned, 0, 0, 64, writer.conversion(1, {0, 1e-9})},
            {"CAN_DataFrame.ID", Fixed, Unsigned, 8, 0, 32},
            {"CAN_DataFrame.DataBytes", Fixed, Bytes, 12, 0, 64}};
}
constexpr quint32 simpleSize = 20;

QByteArray simpleRecord(quint64 time, quint32 id, quint64 data = 0x1122334455667788)
{
    return le(time) + le(id) + be(data);
}

/// A file with one sorted group of \a channels and the records \a data.
QByteArray sortedFile(const std::function<QVector<Channel>(Writer&)>& channels, quint32 size,
                      const QByteArray& data, quint64 records = 1)
{
    Writer writer;
    const quint64 group = writer.group(0, writer.channels(channels(writer)), 0, size, 6, records);
    writer.dataGroup(group, 0, writer.add("DT", {}, data));
    return writer.content;
}

QByteArray simpleFile(const QByteArray& data, quint64 records)
{
    return sortedFile(simpleChannels, simpleSize, data, records);
}

/// A file with one frame of id 123, time \a time, whose other members are \a members.
Read readTime(const Channel& master, const QByteArray& time)
{
    const auto channels = [=](Writer&) {
        return QVector<Channel>{master, {"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 32}};
    };
    const QByteArray record = le<quint32>(0x123) + time;
    return read(sortedFile(channels, static_cast<quint32>(record.size()), record));
}

/// A file as a logger leaves it: unsorted, not finalised, a double of nanoseconds, data bytes in a
/// group of their own. \a data has the records.
QByteArray loggerFile(const QByteArray& data, int unfinished = 0x25)
{
    Writer writer(unfinished);
    const Channel master{"Timestamp", Master, Real, 0, 0, 64, writer.conversion(1, {0, 1e-9})};
    const quint64 bytes = writer.group(0, 0, 2, 0, 1);
    const quint64 errors = writer.group(
        bytes, writer.channels({master, {"CAN_ErrorFrame.BusChannel", Fixed, Unsigned, 8, 0, 2}}),
        3, 9);
    const quint64 lin = writer.group(
        errors, writer.channels({master, {"LIN_Frame.ID", Fixed, Unsigned, 8, 0, 6}}), 5, 9);
    const quint64 remote =
        writer.group(lin,
                     writer.channels({master,
                                      {"CAN_RemoteFrame.BusChannel", Fixed, Unsigned, 8, 1, 2},
                                      {"CAN_RemoteFrame.ID", Fixed, Unsigned, 8, 3, 29},
                                      {"CAN_RemoteFrame.DLC", Fixed, Unsigned, 13, 4, 4}}),
                     4, 14);
    const quint64 frames = writer.group(
        remote,
        writer.channels({master,
                         {"CAN_DataFrame.BusChannel", Fixed, Unsigned, 8, 1, 2},
                         {"CAN_DataFrame.ID", Fixed, Unsigned, 8, 3, 29},
                         {"CAN_DataFrame.IDE", Fixed, Unsigned, 8, 0, 1},
                         {"CAN_DataFrame.DLC", Fixed, Unsigned, 13, 4, 4},
                         {"CAN_DataFrame.DataLength", Fixed, Unsigned, 12, 1, 7},
                         {"CAN_DataFrame.DataBytes", Variable, Bytes, 14, 0, 64, 0, bytes},
                         {"CAN_DataFrame.EDL", Fixed, Unsigned, 13, 0, 1},
                         {"CAN_DataFrame.BRS", Fixed, Unsigned, 13, 1, 1}}),
        1, 22);
    const quint64 group = writer.dataGroup(frames, 1, 0);
    writer.setLink(group, 2, writer.add("DT", {}, {}, 24));
    return writer.content + data;
}

QByteArray loggerFrame(double time, quint32 id, bool isExtended, int length, quint64 position,
                       int flags = 0)
{
    const quint32 word = id << 3 | 1U << 1 | static_cast<quint32>(isExtended);
    return '\1' + le(time) + le(word) + static_cast<char>(length << 1) + static_cast<char>(flags) +
           le(position);
}

QByteArray loggerBytes(const QByteArray& bytes)
{
    return '\2' + le(static_cast<quint32>(bytes.size())) + bytes;
}

const char* const unfinalisedNote = "x.mf4: was not finalised by its recorder; its data is read as "
                                    "far as it goes";

} // namespace

TEST(Mf4, FixedRecordsOfASortedFileAreRead)
{
    const Read recording =
        read(simpleFile(simpleRecord(0, 0x123) + simpleRecord(1000000001, 0x80000123), 2));
    EXPECT_EQ(recording.frames,
              QStringList({"0  123#1122334455667788", "1000000001  00000123#1122334455667788"}));
    EXPECT_TRUE(recording.isSilent());
}

TEST(Mf4, UnfinalisedFileOfALoggerIsReadToItsEnd)
{
    const QByteArray fd(20, '\x5a');
    const Read recording = read(loggerFile(
        loggerFrame(0, 0x123, false, 2, 0, 2) + loggerBytes("\x11\x22") + '\3' + le(5e5) + '\1' +
        '\5' + le(6e5) + '\1' + loggerFrame(1e6, 0x123, true, 20, 6, 3) + loggerBytes(fd) + '\4' +
        le(2e6) + le<quint32>(0x7FF << 3 | 2) + QByteArray(2, '\x20') +
        loggerFrame(3e6, 0x18FEF100, true, 0, 30) + loggerBytes("")));
    EXPECT_EQ(recording.frames, QStringList({"0 1 123#1122", "1000000 1 00000123##B" + fd.toHex(),
                                             "2000000 1 7ff#R", "3000000 1 18fef100#"}));
    EXPECT_EQ(recording.counts.errorFrames, 1);
    EXPECT_EQ(recording.notes, QStringList(unfinalisedNote));
    EXPECT_EQ(recording.problems, QStringList());
}

TEST(Mf4, RecordsMayCrossTheBordersOfBlocks)
{
    QByteArray records;
    QStringList expected;
    for (int i = 0; i < 40; ++i) {
        records += simpleRecord(static_cast<quint64>(i), 0x100U + static_cast<quint32>(i));
        expected += QString("%1  %2#1122334455667788").arg(i).arg(0x100 + i, 3, 16);
    }
    for (const int size : {1, 2, 7, 19, 20, 21, 45}) {
        for (const int width : {-1, 0, 2, 20}) {
            Writer writer;
            QVector<quint64> blocks;
            for (int at = 0; at < records.size(); at += size)
                blocks += width < 0 ? writer.add("DT", {}, records.mid(at, size))
                                    : writer.packed(records.mid(at, size), "DT", width);
            const quint64 group =
                writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 40);
            writer.dataGroup(group, 0, writer.list(blocks));
            const Read recording = read(writer.content);
            EXPECT_EQ(recording.frames, expected) << size << ' ' << width;
            EXPECT_TRUE(recording.isSilent()) << size << ' ' << width;
        }
    }
}

TEST(Mf4, LargeTransposedBlockIsUnpacked)
{
    std::mt19937 random(1);
    QByteArray records;
    QStringList expected;
    for (int i = 0; i < 30000; ++i) {
        const auto data = static_cast<quint64>(random()) << 32 | random();
        records += simpleRecord(static_cast<quint64>(i), 0x123, data);
        expected += QString("%1  123#%2").arg(i).arg(data, 16, 16, QChar('0'));
    }
    Writer writer;
    const quint64 group =
        writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 30000);
    writer.dataGroup(group, 0, writer.packed(records, "DT", simpleSize));
    EXPECT_EQ(read(writer.content).frames, expected);
}

TEST(Mf4, DataBytesAreFoundInAStreamOfTheirOwn)
{
    const QByteArray stream =
        le<quint32>(2) + "\x11\x22" + le<quint32>(0) + le<quint32>(3) + "\x33\x44\x55";
    for (int size = 1; size <= stream.size(); ++size) {
        for (const bool isPacked : {false, true}) {
            Writer writer;
            QVector<quint64> blocks;
            for (int at = 0; at < stream.size(); at += size)
                blocks += isPacked ? writer.packed(stream.mid(at, size), "SD", 0)
                                   : writer.add("SD", {}, stream.mid(at, size));
            const QVector<Channel> channels{
                {"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16},
                {"CAN_DataFrame.DataBytes", Variable, Bytes, 2, 0, 32, 0, writer.list(blocks)}};
            QByteArray records;
            for (const quint32 position : {10U, 0U, 6U, 10U, 0U, 13U, 4000U})
                records += le<quint16>(0x123) + le(position);
            const quint64 group = writer.group(0, writer.channels(channels), 0, 6, 6, 7);
            writer.dataGroup(group, 0, writer.add("DT", {}, records));
            const Read recording = read(writer.content);
            EXPECT_EQ(recording.frames, QStringList({"?  123#334455", "?  123#1122", "?  123#",
                                                     "?  123#334455", "?  123#1122"}));
            EXPECT_EQ(recording.counts.unreadable, 2);
            EXPECT_EQ(recording.notes, QStringList("x.mf4: 7 frame(s) have no usable time"));
        }
    }
}

TEST(Mf4, DataBytesMayPrecedeOrFollowTheirFrames)
{
    const QByteArray a = loggerFrame(0, 1, false, 1, 0);
    const QByteArray b = loggerFrame(1, 2, false, 1, 5);
    const QByteArray c = loggerFrame(2, 3, false, 1, 10);
    const QByteArray dataA = loggerBytes("\xaa");
    const QByteArray dataB = loggerBytes("\xbb");
    const QByteArray dataC = loggerBytes("\xcc");
    for (const QByteArray& records :
         {a + dataA + b + dataB + c + dataC, dataA + a + dataB + b + dataC + c,
          a + b + c + dataA + dataB + dataC, dataA + dataB + dataC + a + b + c,
          a + c + dataA + dataB + b + dataC, dataA + c + b + dataB + a + dataC}) {
        const Read recording = read(loggerFile(records));
        EXPECT_EQ(recording.frames, QStringList({"0 1 001#aa", "1 1 002#bb", "2 1 003#cc"}));
        EXPECT_EQ(recording.notes, QStringList(unfinalisedNote));
        EXPECT_EQ(recording.problems, QStringList());
    }
}

TEST(Mf4, DataBytesArePairedInOrderIfThePositionsAreWrong)
{
    const QByteArray records = loggerFrame(0, 1, false, 1, 70) + loggerBytes("\xaa") +
                               loggerFrame(1, 2, false, 1, 70) + loggerBytes("\xbb") +
                               loggerFrame(2, 3, false, 1, 70);
    const QStringList expected{"0 1 001#aa", "1 1 002#bb"};
    const Read guessed = read(loggerFile(records));
    EXPECT_EQ(guessed.frames, expected);
    EXPECT_EQ(
        guessed.notes.mid(1),
        QStringList("x.mf4: 2 frame(s) have no data bytes where the file says; the next unused "
                    "ones are taken"));
    EXPECT_EQ(guessed.counts.unreadable, 1);
    const Read announced = read(loggerFile(records, 0x65));
    EXPECT_EQ(announced.frames, expected);
    EXPECT_EQ(announced.notes, QStringList(unfinalisedNote));
}

TEST(Mf4, GroupsOfOneStreamAreMergedByTime)
{
    Writer writer(0x25);
    const auto channels = [&](double bus) {
        return writer.channels(
            {{"t", Master, Unsigned, 0, 0, 48, writer.conversion(1, {0, 1e-6})},
             {"CAN_DataFrame.BusChannel", Virtual, Unsigned, 0, 0, 0,
              writer.conversion(1, {bus, 0})},
             {"CAN_DataFrame.IDE", Virtual, Unsigned, 0, 0, 0, writer.conversion(1, {1, 0})},
             {"CAN_DataFrame.ID", Fixed, Unsigned, 6, 0, 32},
             {"CAN_DataFrame.DataBytes", Fixed, Bytes, 10, 0, 8}});
    };
    const quint64 second = writer.group(0, channels(9), 0x202, 11);
    const quint64 first = writer.group(second, channels(1), 0x201, 11);
    const quint64 group = writer.dataGroup(first, 2, 0);
    QByteArray records;
    QStringList expected;
    const auto add = [&](quint16 id, int milliseconds, quint32 canId) {
        const auto time = static_cast<quint64>(milliseconds) * 1000;
        records += le(id) + lowest(time, 6) + le(canId) + '\7';
    };
    // Each group is ahead of the other by up to a second.
    for (int batch = 0; batch < 100; ++batch) {
        for (int i = 0; i < 100; ++i)
            add(0x201, batch * 1000 + 10 * i, 1);
        for (int i = 0; i < 100; ++i)
            add(0x202, batch * 1000 + 10 * i, 2);
        for (int i = 0; i < 100; ++i) {
            const qint64 time = (batch * 1000 + 10 * i) * qint64(1000000);
            expected += QString("%1 1 00000001#07").arg(time);
            expected += QString("%1 9 00000002#07").arg(time);
        }
    }
    writer.setLink(group, 2, writer.add("DT", {}, {}, 24));
    const Read recording = read(writer.content + records);
    EXPECT_EQ(recording.frames, expected);
    EXPECT_EQ(recording.notes, QStringList(unfinalisedNote));
}

TEST(Mf4, FramesThatRemainOutOfOrderAreReported)
{
    const QByteArray records = loggerFrame(1e10, 1, false, 0, 0) + loggerBytes("") +
                               loggerFrame(1.4e10, 2, false, 0, 4) + loggerBytes("") +
                               loggerFrame(0, 3, false, 0, 8) + loggerBytes("") +
                               loggerFrame(1.3e10, 4, false, 0, 12) + loggerBytes("");
    const Read recording = read(loggerFile(records));
    EXPECT_EQ(recording.frames, QStringList({"10000000000 1 001#", "0 1 003#", "13000000000 1 004#",
                                             "14000000000 1 002#"}));
    EXPECT_EQ(recording.notes.mid(1),
              QStringList("x.mf4: 1 frame(s) are earlier than the previous frame"));
}

TEST(Mf4, DataGroupsAreMergedByTime)
{
    Writer writer;
    for (const quint32 id : {1U, 2U, 3U}) {
        QByteArray records;
        for (quint64 i = 0; i < 3; ++i)
            records += simpleRecord(10 * i + (id == 2 ? 0 : 5), id, 0);
        const quint64 group =
            writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 3);
        writer.dataGroup(group, 0, writer.add("DT", {}, records));
    }
    QStringList ids;
    for (const QString& frame : read(writer.content).frames)
        ids += frame.section('#', 0, 0);
    EXPECT_EQ(ids, QStringList({"0  002", "5  001", "5  003", "10  002", "15  001", "15  003",
                                "20  002", "25  001", "25  003"}));
}

TEST(Mf4, TimesOfAllTypesAreExact)
{
    struct Case {
        Channel master;
        QByteArray bytes;
        QVector<double> linear;
        const char* nanoseconds;
    };
    const Case cases[] = {
        {{"", Master, Unsigned, 4, 0, 48},
         lowest(123456789012345, 6),
         {0, 1e-6},
         "123456789012345000"},
        {{"", Master, UnsignedBe, 4, 0, 32}, be<quint32>(4000000001), {0, 1e-7}, "400000000100"},
        {{"", Master, Unsigned, 4, 0, 64},
         le<quint64>(1234567890123456789),
         {0, 1e-9},
         "1234567890123456789"},
        {{"", Master, Signed, 4, 0, 16}, le<qint16>(-5), {1, 1e-3}, "995000000"},
        {{"", Master, SignedBe, 4, 0, 32}, be<qint32>(-5), {1, 1e-3}, "995000000"},
        {{"", Master, Unsigned, 4, 4, 12}, le<quint16>(0xABC0), {0, 1}, "2748000000000"},
        {{"", Master, Unsigned, 4, 3, 64}, le<quint64>(8) + '\0', {0, 1e-9}, "1"},
        {{"", Master, UnsignedBe, 4, 3, 64}, QByteArray(7, '\0') + "\1\x08", {0, 1e-9}, "33"},
        {{"", Master, Unsigned, 4, 0, 32}, le<quint32>(48000001), {0, 1 / 48e6}, "1000000021"},
        {{"", Master, Real, 4, 0, 64}, le(127.1234567894), {}, "127123456789"},
        {{"", Master, Real, 4, 0, 64}, le(1e15 + 3), {0, 1e-9}, "1000000000000003"},
        {{"", Master, Real, 4, 0, 64}, le(1.75), {0, 1e-9}, "2"},
        {{"", Master, Real, 4, 0, 32}, le<quint32>(0x3FC00000), {}, "1500000000"},
        {{"", Master, RealBe, 4, 0, 64}, be<quint64>(0x3FF8000000000000), {}, "1500000000"},
        {{"", Master, Real, 4, 0, 64}, le<quint64>(0x7FF8000000000000), {}, "?"},
        {{"", Master, Real, 4, 0, 64}, le(1e30), {}, "?"},
        {{"", Master, Real, 4, 0, 64}, le(-1e9), {0, 1e3}, "?"},
        {{"", Master, Unsigned, 4, 0, 64}, le<quint64>(0xFFFFFFFFFFFFFFFF), {0, 1}, "?"},
        {{"", VirtualMaster, Unsigned, 0, 0, 0}, {}, {2, 0.5}, "2000000000"},
    };
    for (const Case& one : cases) {
        const auto channels = [&](Writer& writer) {
            Channel master = one.master;
            if (!one.linear.isEmpty())
                master.conversion = writer.conversion(1, one.linear);
            return QVector<Channel>{master, {"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 32}};
        };
        const QByteArray record = le<quint32>(0x123) + one.bytes;
        const Read recording =
            read(sortedFile(channels, static_cast<quint32>(record.size()), record));
        EXPECT_EQ(recording.frames, QStringList(one.nanoseconds + QString("  123#")))
            << one.bytes.toHex().constData();
    }
}

TEST(Mf4, TimesThatCannotBeReadAreUnknown)
{
    const Read none = readTime({"x", Fixed, Unsigned, 4, 0, 32}, QByteArray(4, '\0'));
    EXPECT_EQ(none.frames, QStringList("?  123#"));
    EXPECT_EQ(none.notes, QStringList("x.mf4: 1 frame(s) have no usable time"));
    const Read outside = readTime({"x", Master, Unsigned, 4, 0, 64}, QByteArray(4, '\0'));
    EXPECT_EQ(outside.frames, QStringList("?  123#"));
    ASSERT_EQ(outside.problems.size(), 1);
    EXPECT_TRUE(
        outside.problems.first().endsWith("times cannot be read: it is outside of its record"));
}

TEST(Mf4, LocalTimesAreReported)
{
    Writer writer(-1, 1);
    const quint64 group =
        writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 1);
    writer.dataGroup(group, 0, writer.add("DT", {}, simpleRecord(7, 1, 0)));
    const Read recording = read(writer.content);
    EXPECT_EQ(recording.frames, QStringList("7  001#0000000000000000"));
    EXPECT_EQ(recording.notes,
              QStringList("x.mf4: times are local times of an unknown time zone; treated as UTC"));
}

TEST(Mf4, ExtendedIdsAreRecognised)
{
    struct Case {
        quint32 id;
        quint32 ide;
        const char* expected;
        bool isGuess;
    };
    for (const Case& one :
         {Case{0x123, 0, "123", false}, Case{0x123, 1, "00000123", false},
          Case{0x80000123, 0, "00000123", false}, Case{0x800, 0, "00000800", true},
          Case{0x1FFFFFFF, 1, "1fffffff", false}}) {
        const auto channels = [](Writer&) {
            return QVector<Channel>{{"CAN_DataFrame.IDE", Fixed, Unsigned, 4, 0, 1},
                                    {"CAN_DataFrame.ID", Fixed, UnsignedBe, 0, 0, 32}};
        };
        const Read recording =
            read(sortedFile(channels, 5, be(one.id) + static_cast<char>(one.ide)));
        EXPECT_EQ(recording.frames, QStringList(QString("?  %1#").arg(one.expected)));
        EXPECT_EQ(
            recording.notes.contains("x.mf4: 1 frame(s) with an id above 7FF are not marked as "
                                     "extended; treated as extended"),
            one.isGuess);
    }
    const auto channels = [](Writer&) {
        return QVector<Channel>{{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 32}};
    };
    const Read impossible = read(sortedFile(channels, 4, le<quint32>(0x20000000)));
    EXPECT_EQ(impossible.frames, QStringList());
    EXPECT_EQ(impossible.counts.unreadable, 1);
}

TEST(Mf4, LengthIsTheSmallestOfTheKnownLengths)
{
    struct Case {
        int dlc; // negative: the channel is missing
        int length;
        int edl;
        int stored;
        int expected;
        bool isFd;
    };
    for (const Case& one :
         {Case{5, 3, 0, 8, 3, false}, Case{5, -1, 0, 8, 5, false}, Case{15, -1, 0, 8, 8, false},
          Case{15, -1, 1, 64, 64, true}, Case{9, -1, 1, 64, 12, true}, Case{9, 12, 1, 8, 8, true},
          Case{-1, 12, -1, 64, 12, true}, Case{-1, 12, 0, 64, 8, false},
          Case{-1, -1, -1, 6, 6, false}, Case{15, -1, -1, 8, 8, false},
          Case{10, -1, -1, 64, 16, true}, Case{-1, 100, 1, 64, 64, true}}) {
        const auto channels = [&](Writer&) {
            QVector<Channel> list{{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16},
                                  {"CAN_DataFrame.DataBytes", Fixed, Bytes, 5, 0,
                                   static_cast<quint32>(8 * one.stored)}};
            if (one.dlc >= 0)
                list += Channel{"CAN_DataFrame.DLC", Fixed, Unsigned, 2, 0, 4};
            if (one.length >= 0)
                list += Channel{"CAN_DataFrame.DataLength", Fixed, Unsigned, 3, 0, 8};
            if (one.edl >= 0)
                list += Channel{"CAN_DataFrame.EDL", Fixed, Unsigned, 4, 7, 1};
            return list;
        };
        QByteArray data;
        for (int i = 0; i < one.stored; ++i)
            data += static_cast<char>(i);
        const QByteArray record = le<quint16>(1) + static_cast<char>(one.dlc) +
                                  static_cast<char>(one.length) + (one.edl > 0 ? '\x80' : '\0') +
                                  data;
        const Read recording =
            read(sortedFile(channels, static_cast<quint32>(record.size()), record));
        EXPECT_EQ(recording.frames, QStringList(QString("?  001#") + (one.isFd ? "#" : "") +
                                                data.left(one.expected).toHex()))
            << one.dlc << ' ' << one.length << ' ' << one.edl << ' ' << one.stored;
    }
}

TEST(Mf4, ConversionsAreApplied)
{
    struct Case {
        quint8 kind;
        QVector<double> values;
        quint8 raw;
        const char* bus;
    };
    for (const Case& one : {Case{1, {1, 2}, 3, "7"}, Case{2, {0, 3, 1, 0, 0, 2}, 5, "8"},
                            Case{4, {0, 10, 10, 30}, 5, "20"}, Case{4, {0, 10, 10, 30}, 200, "30"},
                            Case{5, {0, 10, 10, 30}, 4, "10"}, Case{5, {0, 10, 10, 30}, 6, "30"},
                            Case{6, {0, 3, 70, 4, 9, 80, 90}, 4, "80"},
                            Case{6, {0, 3, 70, 4, 9, 80, 90}, 10, "90"}, Case{7, {}, 6, "6"}}) {
        for (const quint32 bits : {8U, 16U}) {
            const auto channels = [&](Writer& writer) {
                return QVector<Channel>{{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16},
                                        {"CAN_DataFrame.BusChannel", Fixed, Unsigned, 2, 0, bits,
                                         writer.conversion(one.kind, one.values)}};
            };
            const Read recording =
                read(sortedFile(channels, 4, le<quint16>(1) + le<quint16>(one.raw)));
            EXPECT_EQ(recording.frames, QStringList(QString("? %1 001#").arg(one.bus)))
                << int(one.kind) << ' ' << bits;
        }
    }
}

TEST(Mf4, InvalidValuesAreNotUsed)
{
    Writer writer;
    const quint64 channels =
        writer.channels({{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16, 0, 0, 2, 0},
                         {"CAN_DataFrame.IDE", Fixed, Unsigned, 2, 0, 1, 0, 0, 2, 9},
                         {"CAN_DataFrame.BRS", Fixed, Unsigned, 2, 0, 1, 0, 0, 1, 0}});
    const quint64 group = writer.group(0, channels, 0, 3, 6, 3, 2);
    QByteArray records;
    for (const quint16 invalid : QVector<quint16>{0x000, 0x200, 0x001})
        records += le<quint16>(1) + '\1' + le(invalid);
    writer.dataGroup(group, 0, writer.add("DT", {}, records));
    const Read recording = read(writer.content);
    EXPECT_EQ(recording.frames, QStringList({"?  00000001#", "?  001#"}));
    EXPECT_EQ(recording.counts.unreadable, 1);
}

TEST(Mf4, BusIsTheNumberInTheNameOfTheGroupIfThereIsNoChannelForIt)
{
    Writer writer;
    const quint64 name = writer.text("CAN 12");
    const quint64 channels = writer.channels({{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16}});
    const quint64 group = writer.group(0, channels, 0, 2, 6, 1, 0, name);
    writer.dataGroup(group, 0, writer.add("DT", {}, le<quint16>(1)));
    EXPECT_EQ(read(writer.content).frames, QStringList("? 12 001#"));
}

TEST(Mf4, MembersAreFoundInsideAStructure)
{
    Writer writer;
    const quint64 outer = writer.channels({{"CAN_DataFrame", Fixed, Bytes, 0, 0, 24}});
    writer.setLink(outer, 1,
                   writer.channels({{"ID", Fixed, Unsigned, 0, 0, 16},
                                    {"CAN_DataFrame.BusChannel", Fixed, Unsigned, 2, 0, 8}}));
    const quint64 group = writer.group(0, outer, 0, 3, 6, 1);
    writer.dataGroup(group, 0, writer.add("DT", {}, le<quint16>(1) + '\4'));
    EXPECT_EQ(read(writer.content).frames, QStringList("? 4 001#"));
}

TEST(Mf4, WrongNumberOfRecordsIsReported)
{
    const Read recording = read(simpleFile(simpleRecord(0, 1), 5));
    EXPECT_EQ(recording.frames.size(), 1);
    EXPECT_EQ(recording.notes,
              QStringList("x.mf4: states that its groups have 5 records, but 1 were found"));
}

TEST(Mf4, ReasonIsReportedIfAFileIsNotSupported)
{
    struct Case {
        QByteArray content;
        const char* message;
    };
    Writer columns;
    columns.dataGroup(columns.group(0, columns.channels(simpleChannels(columns)), 0, simpleSize), 0,
                      columns.add("LD", {0}, QByteArray(8, '\0')));
    QByteArray methods[2];
    for (int i = 0; i < 2; ++i) {
        Writer writer;
        const quint64 data = writer.packed(simpleRecord(0, 1), "DT", 0);
        writer.content[static_cast<int>(data) + 26] = static_cast<char>(2 + 2 * i);
        writer.dataGroup(writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize), 0,
                         data);
        methods[i] = writer.content;
    }
    const auto formula = [](Writer& writer) {
        return QVector<Channel>{
            {"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16, writer.conversion(3, {})}};
    };
    const auto nameless = [](Writer&) {
        return QVector<Channel>{{"CAN_DataFrame.DLC", Fixed, Unsigned, 0, 0, 16}};
    };
    const auto outside = [](Writer&) {
        return QVector<Channel>{{"CAN_DataFrame.ID", Fixed, Unsigned, 1, 0, 16}};
    };
    const auto wide = [](Writer&) {
        return QVector<Channel>{{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 65}};
    };
    const QByteArray data(16, '\1');
    for (const Case& one :
         {Case{columns.content, "data stored in columns (MDF 4.2) is not supported"},
          Case{methods[0], "data packed with zstd (method 2) is not supported"},
          Case{methods[1], "data packed with LZ4 (method 4) is not supported"},
          Case{sortedFile(formula, 2, data), "a conversion of type 3 is not supported"},
          Case{sortedFile(nameless, 2, data), "it has no channel ID"},
          Case{sortedFile(outside, 2, data), "it is outside of its record"},
          Case{sortedFile(wide, 16, data), "a number of 65 bits is not supported"},
          Case{sortedFile(simpleChannels, 0, data), "it is outside of its record"}}) {
        const Read recording = read(one.content);
        EXPECT_EQ(recording.frames, QStringList());
        ASSERT_FALSE(recording.problems.isEmpty()) << one.message;
        EXPECT_TRUE(recording.problems.first().endsWith(one.message))
            << recording.problems.first().toStdString();
    }
}

TEST(Mf4, FirstPlaceOfTheDataBytesCounts)
{
    const auto channels = [](Writer&) {
        return QVector<Channel>{{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16},
                                {"CAN_DataFrame.DataBytes", Fixed, Bytes, 2, 0, 8},
                                {"CAN_DataFrame.DataBytes", Fixed, Bytes, 100000000, 0, 64},
                                {"CAN_DataFrame.DataBytes", Variable, Bytes, 0, 0, 16, 0, 64}};
    };
    EXPECT_EQ(read(sortedFile(channels, 3, le<quint16>(1) + '\x55')).frames,
              QStringList("?  001#55"));
}

TEST(Mf4, GroupThatCannotBeReadIsReportedOnce)
{
    const auto channels = [](Writer&) {
        return QVector<Channel>{{"CAN_DataFrame.ID", Fixed, Unsigned, 0, 0, 16},
                                {"CAN_DataFrame.DataBytes", Fixed, Bytes, 100000000, 0, 64},
                                {"CAN_DataFrame.DLC", Fixed, Unsigned, 300, 0, 4},
                                {"CAN_DataFrame.IDE", Fixed, Unsigned, 0, 0, 1}};
    };
    const Read recording = read(sortedFile(channels, 3, QByteArray(9, '\1')));
    EXPECT_EQ(recording.frames, QStringList());
    ASSERT_EQ(recording.problems.size(), 1);
    EXPECT_TRUE(recording.problems.first().contains(
        "a group of frames cannot be read: CAN_DataFrame.DataBytes: it is outside of its record"));
}

TEST(Mf4, DataOfAnotherDataGroupIsNotReadAgain)
{
    Writer writer;
    const quint64 data = writer.add("DT", {}, simpleRecord(0, 1));
    for (int i = 0; i < 2; ++i)
        writer.dataGroup(
            writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 1), 0, data);
    const Read recording = read(writer.content);
    EXPECT_EQ(recording.frames.size(), 1);
    ASSERT_EQ(recording.problems.size(), 1);
    EXPECT_TRUE(recording.problems.first().endsWith("two data groups share the same data"));
}

TEST(Mf4, UnknownRecordEndsItsStream)
{
    const Read recording = read(loggerFile(loggerFrame(0, 1, false, 1, 0) + loggerBytes("\xaa") +
                                           "\x63"
                                           "garbage"));
    EXPECT_EQ(recording.frames, QStringList("0 1 001#aa"));
    ASSERT_EQ(recording.problems.size(), 1);
    EXPECT_TRUE(recording.problems.first().endsWith(
        "a record has an unknown id, so the rest of its stream is not read"));
}

TEST(Mf4, FramesBeforeADamagedBlockAreRead)
{
    QByteArray records;
    for (quint64 i = 0; i < 100; ++i)
        records += simpleRecord(i, 1, i);
    Writer writer;
    const quint64 whole = writer.packed(records, "DT", 0);
    const quint64 broken = writer.packed(records, "DT", 20);
    writer.content[static_cast<int>(broken) + 60] = '\x55';
    writer.dataGroup(
        writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 100), 0,
        writer.list({whole, broken, whole}));
    const Read recording = read(writer.content);
    EXPECT_EQ(recording.frames.size(), 100);
    ASSERT_EQ(recording.problems.size(), 1);
    EXPECT_TRUE(recording.problems.first().endsWith("a packed block is damaged"));
}

TEST(Mf4, BlockThatUnpacksToAnotherSizeIsDamaged)
{
    for (const qint64 stated : {19, 21, 1 << 25}) {
        Writer writer;
        const quint64 data = writer.packed(simpleRecord(0, 1), "DT", 0);
        writer.content.replace(static_cast<int>(data) + 32, 8, le(stated));
        writer.dataGroup(writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize), 0,
                         data);
        const Read recording = read(writer.content);
        EXPECT_EQ(recording.frames.size(), stated < 20 ? 0 : 1);
        EXPECT_GE(recording.counts.unreadable, 1);
    }
}

TEST(Mf4, CircularLinksDoNotLoopForever)
{
    const auto damaged = [](int block, int link, int target) {
        Writer writer;
        const quint64 channel = writer.channels(simpleChannels(writer));
        const quint64 group = writer.group(0, channel, 0, simpleSize, 6, 1);
        const quint64 data = writer.add("DT", {}, simpleRecord(0, 1));
        const quint64 list = writer.add("DL", {0, data}, QByteArray(16, '\0'));
        const quint64 dataGroup = writer.dataGroup(group, 0, list);
        const quint64 blocks[] = {channel, group, dataGroup, list};
        writer.setLink(blocks[block], link, blocks[target]);
        return writer.content;
    };
    for (int block = 0; block < 4; ++block) {
        const Read recording = read(damaged(block, 0, block));
        EXPECT_LE(recording.frames.size(), 1) << block;
        ASSERT_EQ(recording.problems.size(), 1) << block;
        EXPECT_TRUE(recording.problems.first().contains("circular"))
            << recording.problems.first().toStdString();
    }
    EXPECT_EQ(read(damaged(3, 1, 3)).frames, QStringList()); // the list contains itself
    EXPECT_EQ(read(damaged(0, 1, 0)).frames.size(), 1);      // a channel contains itself
}

TEST(Mf4, EveryTruncatedFileIsReadUpToItsEnd)
{
    Writer writer;
    const quint64 group =
        writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize, 6, 5);
    QByteArray records;
    for (quint64 i = 0; i < 5; ++i)
        records += simpleRecord(i, 1);
    const quint64 dataGroup = writer.dataGroup(group, 0, 0);
    writer.setLink(dataGroup, 2, writer.add("DT", {}, records));
    const QStringList all = read(writer.content).frames;
    ASSERT_EQ(all.size(), 5);
    for (int size = 0; size < writer.content.size(); ++size) {
        const Read recording = read(writer.content.left(size));
        const auto missing = (writer.content.size() - size + 19) / 20;
        EXPECT_EQ(recording.frames, all.mid(0, std::max(5 - static_cast<int>(missing), 0))) << size;
        EXPECT_TRUE(!recording.problems.isEmpty() || !recording.error.isEmpty()) << size;
    }
    const QByteArray logger = loggerFile(loggerFrame(0, 1, false, 1, 0) + loggerBytes("\xaa") +
                                         loggerFrame(1, 2, false, 1, 5) + loggerBytes("\xbb"));
    const int frameSize = 23;
    const int bytesSize = 6;
    for (int missing = 1; missing < frameSize + 2 * bytesSize; ++missing) {
        const Read recording = read(logger.left(logger.size() - missing));
        EXPECT_EQ(recording.frames.size(), missing <= frameSize + bytesSize ? 1 : 0) << missing;
        EXPECT_EQ(recording.problems.isEmpty(), missing == frameSize + bytesSize) << missing;
    }
}

TEST(Mf4, StatedSizesOf4GiBNeedNoMemory)
{
    const quint64 huge = 0xFFFFFFFF;
    Writer writer;
    const quint64 group = writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize);
    const quint64 dataGroup = writer.dataGroup(group, 0, 0);
    writer.setLink(dataGroup, 2,
                   writer.add("DT", {}, simpleRecord(0, 1), static_cast<qint64>(huge)));
    EXPECT_EQ(read(writer.content).frames.size(), 1);
    EXPECT_EQ(read(writer.content).counts.unreadable, 1);
    const Read bytes =
        read(loggerFile(loggerFrame(0, 1, false, 1, 0) + '\2' + le<quint32>(0xFFFFFFFF) + "abc"));
    EXPECT_EQ(bytes.frames, QStringList());
    EXPECT_EQ(bytes.counts.unreadable, 2);
    EXPECT_EQ(read(sortedFile(simpleChannels, 0xFFFFFFFF, "abc")).frames, QStringList());
}

TEST(Mf4, DamagedFilesNeverCrash)
{
    QByteArray records;
    for (quint64 i = 0; i < 20; ++i)
        records += loggerFrame(static_cast<double>(i), 1, false, 1, 5 * i) + loggerBytes("\xaa");
    const QByteArray logger = loggerFile(records);
    Writer writer;
    const quint64 group = writer.group(0, writer.channels(simpleChannels(writer)), 0, simpleSize);
    const QByteArray two = simpleRecord(0, 1) + simpleRecord(1, 2);
    writer.dataGroup(group, 0,
                     writer.list({writer.packed(two, "DT", 20), writer.add("DT", {}, two)}));
    for (const QByteArray& original : {logger, writer.content}) {
        std::mt19937 random(16);
        for (int round = 0; round < 1000; ++round) {
            QByteArray content = original;
            for (int i = 0; i < 3; ++i)
                content[static_cast<int>(random() % static_cast<unsigned>(content.size()))] =
                    static_cast<char>(random() % 4 == 0 ? random() : random() % 3);
            read(content);
        }
    }
}

TEST(Mf4, SequentialDeviceIsRead)
{
    class Pipe : public QIODevice
    {
    public:
        bool isSequential() const override { return true; }
        qint64 readData(char* to, qint64 size) override
        {
            const QByteArray part = rest.left(static_cast<int>(std::min<qint64>(size, 100)));
            rest.remove(0, part.size());
            std::memcpy(to, part.constData(), static_cast<size_t>(part.size()));
            return part.size();
        }
        qint64 writeData(const char*, qint64) override { return -1; }

        QByteArray rest = simpleFile(simpleRecord(5, 1, 0), 1);
    };
    auto pipe = std::make_unique<Pipe>();
    pipe->open(QIODevice::ReadOnly);
    EXPECT_EQ(read(std::move(pipe)).frames, QStringList("5  001#0000000000000000"));
}

TEST(Mf4, FileIsRecognisedByItsVersion)
{
    const QByteArray file = simpleFile(simpleRecord(0, 1), 1);
    EXPECT_EQ(monitor::formatOf(file)->name, QString("ASAM MF4"));
    EXPECT_EQ(monitor::formatOf(loggerFile({}))->name, QString("ASAM MF4"));
    QByteArray old = file;
    old.replace(8, 4, "3.30").replace(28, 2, le<quint16>(330));
    EXPECT_EQ(monitor::findMf4(old), -1);
    EXPECT_EQ(monitor::findMf4(old.left(20)), -1);
    EXPECT_EQ(monitor::findMf4(file.left(20)), 0);
    EXPECT_EQ(monitor::findMf4("MDF"), -1);
    EXPECT_EQ(monitor::findMf4(""), -1);
}
