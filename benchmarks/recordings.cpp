// Measures how fast recordings are read. Writes the same frames in several formats to temporary
// files, reads each through openRecording() in one thread and compares the processor time with that
// of a plain loop: for packed recordings one that only unpacks the same bytes, for candump and ASC
// one that reads the digits of the mapped file one by one, for other text one that only reads the
// bytes and finds the line breaks, for other recordings one that only reads them. The argument is
// the number of frames, 4,000,000 by default. The exit code is 1 if the frames read differ from
// those written.

#include "measuring.h"
#include "textFloors.h"

#include <sources/recording/formats.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>

#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <vector>

using monitor::Frame;

namespace
{

constexpr int runs = 5;
constexpr int batchSize = 256;
constexpr int chunkSize = 1 << 16;
constexpr qint64 nanosecondsPerSecond = 1000000000;
constexpr qint64 startDay = 19431; ///< 2023-03-15, in days since 1970
constexpr qint64 start = startDay * 86400 * nanosecondsPerSecond;

[[noreturn]] void fail(const QString& message)
{
    throw std::runtime_error(message.toStdString());
}

/// Frames of 64 messages in turn, a quarter of them with ids of 11 bits. Their data consists of
/// counters, noise and constants. Always the same frames.
class Traffic
{
public:
    void next(Frame& frame)
    {
        const quint32 message = count % messages;
        const auto noise = static_cast<quint32>(random());
        time += (100 + noise % 300) * 1000;
        frame.nanoseconds = time;
        frame.extended = message % 4 != 0;
        frame.id = frame.extended ? 0x18FE0000 | message << 8 | message % 5 : 0x100 + message;
        frame.length = static_cast<quint8>(frame.extended ? 8 : 2 + message % 7);
        const quint32 sensor = 30000 + message * 100 + (noise >> 16 & 0xFF);
        const quint32 counter = count / messages;
        const quint32 bytes[] = {counter, sensor,       sensor >> 8, message,
                                 0xFF,    counter >> 6, 0xFF,        0};
        for (std::size_t i = 0; i < frame.length; ++i)
            frame.data[i] = static_cast<quint8>(bytes[i]);
        ++count;
    }

private:
    static constexpr quint32 messages = 64;
    std::mt19937 random{1};
    qint64 time = start;
    quint32 count = 0;
};

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

QByteArray zeros(int count)
{
    return QByteArray(count, '\0');
}

const char* dataOf(const Frame& frame)
{
    return reinterpret_cast<const char*>(frame.data.data());
}

/// A stream packed by zlib, in a file.
struct Packed {
    qint64 offset;
    qint64 size;
};

class Output
{
public:
    explicit Output(const QString& fileName) : file(fileName)
    {
        if (!file.open(QIODevice::WriteOnly))
            fail(fileName + QStringLiteral(": cannot be written"));
        pending.reserve(2 * chunkSize);
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void add(const QByteArray& bytes) { add(bytes.constData(), static_cast<int>(bytes.size())); }
    void add(const char* bytes, int size)
    {
        pending.append(bytes, size);
        if (pending.size() >= chunkSize)
            flush();
    }
    void finish()
    {
        flush();
        if (!file.flush())
            fail(file.fileName() + QStringLiteral(": cannot be written"));
    }

    QString fileName() const { return file.fileName(); }
    qint64 position() const { return file.pos() + pending.size(); }
    void replace(qint64 offset, const QByteArray& bytes)
    {
        flush();
        const qint64 end = file.pos();
        file.seek(offset);
        file.write(bytes);
        file.seek(end);
    }

private:
    void flush()
    {
        if (file.write(pending) != pending.size())
            fail(file.fileName() + QStringLiteral(": cannot be written"));
        pending.resize(0);
    }

    QFile file;
    QByteArray pending;
};

// Text

using Line = std::array<char, 256>;

/// Writes the data as hexadecimal digits, each byte followed by \a separator unless that is 0.
char* addHex(char* at, const quint8* data, std::size_t count, char separator)
{
    const char* const digits = "0123456789ABCDEF";
    for (std::size_t i = 0; i < count; ++i) {
        *at++ = digits[data[i] >> 4];
        *at++ = digits[data[i] & 0xF];
        if (separator != 0)
            *at++ = separator;
    }
    return at;
}

double secondsSinceStart(const Frame& frame)
{
    return static_cast<double>(*frame.nanoseconds - start) / 1e9;
}

long long microseconds(const Frame& frame, qint64 since)
{
    return (*frame.nanoseconds - since) / 1000;
}

/// Writes \a header, then a line for each frame, which \a begin starts and the data ends: all eight
/// bytes if \a isPadded, with \a separator as in addHex().
void writeLines(Output& output, qint64 frames, const char* header,
                int (*begin)(Line& line, const Frame& frame), bool isPadded, char separator)
{
    output.add(header, static_cast<int>(std::strlen(header)));
    Traffic traffic;
    Line line;
    for (qint64 i = 0; i < frames; ++i) {
        Frame frame;
        traffic.next(frame);
        char* end = line.data() + begin(line, frame);
        end = addHex(end, frame.data.data(), isPadded ? 8 : frame.length, separator);
        *end++ = '\n';
        output.add(line.data(), static_cast<int>(end - line.data()));
    }
}

QVector<Packed> writeCandump(Output& output, qint64 frames)
{
    const auto begin = [](Line& line, const Frame& frame) {
        const long long time = microseconds(frame, 0);
        return std::snprintf(line.data(), line.size(), "(%lld.%06lld) can0 %0*X#", time / 1000000,
                             time % 1000000, frame.extended ? 8 : 3, frame.id);
    };
    writeLines(output, frames, "", begin, false, '\0');
    return {};
}

QVector<Packed> writeTrc(Output& output, qint64 frames)
{
    const auto begin = [](Line& line, const Frame& frame) {
        const long long time = microseconds(frame, start);
        return std::snprintf(line.data(), line.size(), "%7d %9lld.%03lld DT 1 %0*X Rx - %d ", 1,
                             time / 1000, time % 1000, frame.extended ? 8 : 4, frame.id,
                             frame.length);
    };
    const QByteArray header =
        ";$FILEVERSION=2.1\n;$STARTTIME=" + QByteArray::number(startDay + 25569) +
        ".0\n;$COLUMNS=N,O,T,B,I,d,R,L,D\n";
    writeLines(output, frames, header.constData(), begin, false, ' ');
    return {};
}

QVector<Packed> writeAsc(Output& output, qint64 frames)
{
    const auto begin = [](Line& line, const Frame& frame) {
        return std::snprintf(line.data(), line.size(), "%11.6f 1  %-15s Rx   d %d ",
                             secondsSinceStart(frame),
                             QByteArray::number(frame.id, 16)
                                 .toUpper()
                                 .append(frame.extended ? "x" : "")
                                 .constData(),
                             frame.length);
    };
    writeLines(output, frames,
               "date Wed Mar 15 12:00:00.000 am 2023\nbase hex  timestamps absolute\n", begin,
               false, ' ');
    return {};
}

QVector<Packed> writeCsv(Output& output, qint64 frames)
{
    const auto begin = [](Line& line, const Frame& frame) {
        return std::snprintf(line.data(), line.size(), "%lld,%08X,%s,Rx,0,%d,",
                             microseconds(frame, 0), frame.id, frame.extended ? "true" : "false",
                             frame.length);
    };
    writeLines(output, frames, "Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8\n",
               begin, true, ',');
    return {};
}

// BLF and pcap

QByteArray zlibStream(const QByteArray& content)
{
    return qCompress(content).mid(4); // without the size that Qt writes first
}

/// Adds a container and returns where its content is.
Packed addContainer(Output& output, const QByteArray& content, bool isPacked)
{
    const QByteArray stored = isPacked ? zlibStream(content) : content;
    constexpr quint32 headerSize = 32;
    constexpr quint32 type = 10;
    const auto size = headerSize + static_cast<quint32>(stored.size());
    output.add("LOBJ" + le<quint16>(16) + le<quint16>(1) + le(size) + le(type) +
               le<quint16>(isPacked ? 2 : 0) + zeros(6) + le(static_cast<quint32>(content.size())) +
               zeros(4));
    const qint64 offset = output.position();
    output.add(stored);
    output.add(zeros(static_cast<int>(size % 4)));
    return {offset, stored.size()};
}

QVector<Packed> writeBlf(Output& output, qint64 frames, bool isPacked)
{
    constexpr int containerSize = 1 << 17;
    const quint16 date[] = {2023, 3, 3, 15, 0, 0, 0, 0}; // a Wednesday
    QByteArray startTime;
    for (const quint16 part : date)
        startTime += le(part);
    output.add("LOGG" + le<quint32>(144) + zeros(32) + startTime + zeros(88));
    QVector<Packed> packed;
    QByteArray content;
    Traffic traffic;
    for (qint64 i = 0; i < frames; ++i) {
        Frame frame;
        traffic.next(frame);
        content += "LOBJ" + le<quint16>(32) + le<quint16>(1) + le<quint32>(48) + le<quint32>(1) +
                   le<quint32>(2) + zeros(4) + le(*frame.nanoseconds - start) + le<quint16>(1) +
                   '\0' + static_cast<char>(frame.length) +
                   le(frame.id | (frame.extended ? 0x80000000 : 0));
        content.append(dataOf(frame), 8);
        if (content.size() >= containerSize) {
            packed += addContainer(output, content.left(containerSize), isPacked);
            content.remove(0, containerSize);
        }
    }
    packed += addContainer(output, content, isPacked);
    return packed;
}

QVector<Packed> writeStoredBlf(Output& output, qint64 frames)
{
    return writeBlf(output, frames, false);
}

QVector<Packed> writePackedBlf(Output& output, qint64 frames)
{
    return writeBlf(output, frames, true);
}

QVector<Packed> writePcap(Output& output, qint64 frames)
{
    constexpr quint32 socketCan = 227;
    output.add(le<quint32>(0xA1B2C3D4) + le<quint16>(2) + le<quint16>(4) + zeros(8) +
               le<quint32>(65535) + le(socketCan));
    Traffic traffic;
    for (qint64 i = 0; i < frames; ++i) {
        Frame frame;
        traffic.next(frame);
        const qint64 time = microseconds(frame, 0);
        const auto size = static_cast<quint32>(8 + frame.length);
        output.add(le(static_cast<quint32>(time / 1000000)) +
                   le(static_cast<quint32>(time % 1000000)) + le(size) + le(size) +
                   le(qToBigEndian(frame.id | (frame.extended ? 0x80000000 : 0))) +
                   static_cast<char>(frame.length) + zeros(3));
        output.add(dataOf(frame), frame.length);
    }
    return {};
}

// MF4

enum ChannelType : char { Fixed, Variable, Master };
enum DataType : char { Unsigned = 0, Bytes = 10 };

struct Channel {
    const char* name;
    ChannelType type;
    DataType dataType;
    quint32 byte;
    char bit;
    quint32 bits;
    quint64 conversion;
    quint64 data;
};

/// Writes the blocks of an MF4 file.
class Mf4Blocks
{
public:
    explicit Mf4Blocks(Output& target) : output(target)
    {
        output.add("MDF     4.11    vantrel \0\0\0\0" + zeros(4) + le<quint16>(411) + zeros(34));
        header = add("HD", QVector<quint64>(6), le(start) + zeros(24));
    }

    quint64 add(const char* kind, const QVector<quint64>& links, const QByteArray& body)
    {
        output.add(zeros(static_cast<int>((8 - output.position() % 8) % 8)));
        const auto offset = static_cast<quint64>(output.position());
        output.add(QByteArray("##") + kind + zeros(4) +
                   le<qint64>(headSize + 8 * links.size() + body.size()) +
                   le<qint64>(links.size()));
        for (const quint64 link : links)
            output.add(le(link));
        output.add(body);
        return offset;
    }

    /// The first of a chain of channels.
    quint64 addChannels(const QVector<Channel>& channels)
    {
        quint64 next = 0;
        for (auto i = channels.size() - 1; i >= 0; --i) {
            const Channel& channel = channels[i];
            const quint64 name = add("TX", {}, QByteArray(channel.name) + '\0');
            const char kinds[] = {channel.type, channel.type == Master ? '\1' : '\0',
                                  channel.dataType, channel.bit};
            next = add("CN", {next, 0, name, 0, channel.conversion, channel.data, 0, 0},
                       QByteArray(kinds, sizeof(kinds)) + le(channel.byte) + le(channel.bits) +
                           zeros(60));
        }
        return next;
    }

    /// The factor from nanoseconds to seconds.
    quint64 addConversion()
    {
        return add("CC", {0, 0, 0, 0},
                   '\1' + zeros(5) + le<quint16>(2) + zeros(16) + le(0.0) + le(1e-9));
    }

    quint64 addGroup(quint64 next, quint64 channel, quint64 id, quint32 size, qint64 records,
                     quint16 flags)
    {
        return add("CG", {next, channel, 0, 0, 0, 0},
                   le(id) + le(records) + le(flags) + le<quint16>('.') + zeros(4) + le(size) +
                       zeros(4));
    }

    void addDataGroup(quint64 group, char idSize)
    {
        dataGroup = add("DG", {0, group, 0, 0}, idSize + zeros(7));
        setLink(header, 0, dataGroup);
    }

    void setData(quint64 block) { setLink(dataGroup, 2, block); }

    /// The block that was added last ends here.
    void setEnd(quint64 block)
    {
        output.replace(static_cast<qint64>(block) + 8,
                       le(output.position() - static_cast<qint64>(block)));
    }

    static constexpr int headSize = 24;

private:
    void setLink(quint64 block, int number, quint64 target)
    {
        output.replace(static_cast<qint64>(block) + headSize + 8 * number, le(target));
    }

    Output& output;
    quint64 header = 0;
    quint64 dataGroup = 0;
};

/// Time, id and length: the beginning of a record.
QByteArray recordStart(const Frame& frame)
{
    return le(*frame.nanoseconds - start) + le(frame.id | (frame.extended ? 0x80000000 : 0)) +
           '\1' + static_cast<char>(frame.length);
}

QVector<Channel> channelsOf(quint64 conversion, const Channel& data)
{
    return {{"Timestamp", Master, Unsigned, 0, 0, 64, conversion, 0},
            {"CAN_DataFrame.ID", Fixed, Unsigned, 8, 0, 29, 0, 0},
            {"CAN_DataFrame.IDE", Fixed, Unsigned, 11, 7, 1, 0, 0},
            {"CAN_DataFrame.BusChannel", Fixed, Unsigned, 12, 0, 8, 0, 0},
            {"CAN_DataFrame.DataLength", Fixed, Unsigned, 13, 0, 8, 0, 0},
            data};
}

constexpr quint32 recordSize = 22;

/// Adds the groups of records that hold their data.
void addSortedGroups(Mf4Blocks& blocks, qint64 frames)
{
    const quint64 channels = blocks.addChannels(channelsOf(
        blocks.addConversion(), {"CAN_DataFrame.DataBytes", Fixed, Bytes, 14, 0, 64, 0, 0}));
    blocks.addDataGroup(blocks.addGroup(0, channels, 0, recordSize, frames, 6), 0);
}

QByteArray sortedRecord(Traffic& traffic)
{
    Frame frame;
    traffic.next(frame);
    return recordStart(frame).append(dataOf(frame), 8);
}

QVector<Packed> writeSortedMf4(Output& output, qint64 frames)
{
    Mf4Blocks blocks(output);
    addSortedGroups(blocks, frames);
    const quint64 data = blocks.add("DT", {}, {});
    Traffic traffic;
    for (qint64 i = 0; i < frames; ++i)
        output.add(sortedRecord(traffic));
    blocks.setEnd(data);
    blocks.setData(data);
    return {};
}

QVector<Packed> writePackedMf4(Output& output, qint64 frames)
{
    constexpr qint64 recordsInBlock = 1 << 16;
    Mf4Blocks blocks(output);
    addSortedGroups(blocks, frames);
    QVector<quint64> links{0};
    QVector<Packed> packed;
    Traffic traffic;
    for (qint64 i = 0; i < frames;) {
        QByteArray records;
        for (const qint64 end = std::min(frames, i + recordsInBlock); i < end; ++i)
            records += sortedRecord(traffic);
        const QByteArray stored = zlibStream(records);
        links += blocks.add("DZ", {},
                            "DT" + zeros(6) + le<qint64>(records.size()) +
                                le<qint64>(stored.size()) + stored);
        packed.append({output.position() - stored.size(), stored.size()});
    }
    const auto count = static_cast<quint32>(links.size() - 1);
    const quint64 list = blocks.add(
        "DL", links, '\1' + zeros(3) + le(count) + le<qint64>(recordsInBlock * recordSize));
    blocks.setData(blocks.add("HL", {list}, le<quint16>(1) + zeros(6)));
    return packed;
}

QVector<Packed> writeUnsortedMf4(Output& output, qint64 frames)
{
    Mf4Blocks blocks(output);
    const quint64 ofBytes = blocks.addGroup(0, 0, 2, 0, frames, 1);
    const quint64 channels =
        blocks.addChannels(channelsOf(blocks.addConversion(), {"CAN_DataFrame.DataBytes", Variable,
                                                               Bytes, 14, 0, 64, 0, ofBytes}));
    blocks.addDataGroup(blocks.addGroup(ofBytes, channels, 1, recordSize, frames, 6), 1);
    const quint64 data = blocks.add("DT", {}, {});
    Traffic traffic;
    quint64 position = 0;
    for (qint64 i = 0; i < frames; ++i) {
        Frame frame;
        traffic.next(frame);
        output.add('\1' + recordStart(frame) + le(position) + '\2' +
                   le(static_cast<quint32>(frame.length)));
        output.add(dataOf(frame), frame.length);
        position += 4U + frame.length;
    }
    blocks.setEnd(data);
    blocks.setData(data);
    return {};
}

// Packed text

/// Passes the text of a candump recording to \a pack in chunks, followed by an empty one.
template <typename Pack>
void packCandump(const QString& packedName, qint64 frames, Pack pack)
{
    const QString name = packedName + QStringLiteral(".unpacked");
    Output unpacked(name);
    writeCandump(unpacked, frames);
    unpacked.finish();
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        fail(name + QStringLiteral(": cannot be read"));
    while (!file.atEnd())
        pack(file.read(chunkSize));
    pack(QByteArray());
    file.remove();
}

QVector<Packed> writeGzip(Output& output, qint64 frames)
{
    z_stream stream{};
    constexpr int gzipWindow = 16 + MAX_WBITS;
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY);
    QByteArray packed(2 * chunkSize, '\0');
    packCandump(output.fileName(), frames, [&](QByteArray chunk) {
        stream.next_in = reinterpret_cast<Bytef*>(chunk.data());
        stream.avail_in = static_cast<uInt>(chunk.size());
        do {
            stream.next_out = reinterpret_cast<Bytef*>(packed.data());
            stream.avail_out = static_cast<uInt>(packed.size());
            deflate(&stream, chunk.isEmpty() ? Z_FINISH : Z_NO_FLUSH);
            output.add(packed.constData(),
                       static_cast<int>(packed.size()) - static_cast<int>(stream.avail_out));
        } while (stream.avail_out == 0);
    });
    deflateEnd(&stream);
    return {{0, output.position()}};
}

QVector<Packed> writeZstd(Output& output, qint64 frames)
{
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    QByteArray packed(static_cast<int>(ZSTD_CStreamOutSize()), '\0');
    packCandump(output.fileName(), frames, [&](const QByteArray& chunk) {
        ZSTD_inBuffer in{chunk.constData(), static_cast<std::size_t>(chunk.size()), 0};
        std::size_t rest = 0;
        do {
            ZSTD_outBuffer out{packed.data(), static_cast<std::size_t>(packed.size()), 0};
            rest = ZSTD_compressStream2(context, &out, &in,
                                        chunk.isEmpty() ? ZSTD_e_end : ZSTD_e_continue);
            output.add(packed.constData(), static_cast<int>(out.pos));
        } while (in.pos < in.size || (chunk.isEmpty() && rest > 0));
    });
    ZSTD_freeCCtx(context);
    return {};
}

// Plain loops

using Buffer = std::vector<char>;

void readBytes(QFile& file, const QVector<Packed>& /*packed*/)
{
    Buffer buffer(chunkSize);
    while (file.read(buffer.data(), chunkSize) > 0) {
    }
}

void readLines(QFile& file, const QVector<Packed>& /*packed*/)
{
    Buffer buffer(chunkSize);
    volatile qint64 lines = 0;
    for (qint64 size = 0; (size = file.read(buffer.data(), chunkSize)) > 0;) {
        const char* at = buffer.data();
        const char* const end = at + size;
        qint64 found = 0;
        for (; (at = static_cast<const char*>(
                    std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) != nullptr;
             ++at)
            ++found;
        lines = lines + found;
    }
}

quint64 digitSum = 0; ///< of the last call of readDigits()

template <void (TextFloor::*readText)(const char* text, const char* end)>
void readDigits(QFile& file, const QVector<Packed>& /*packed*/)
{
    const auto* const text = reinterpret_cast<const char*>(file.map(0, file.size()));
    if (text == nullptr)
        fail(file.fileName() + QStringLiteral(": cannot be mapped"));
    TextFloor floor;
    (floor.*readText)(text, text + file.size());
    digitSum = floor.sum();
}

void inflateAll(QFile& file, const QVector<Packed>& packed)
{
    constexpr int zlibOrGzip = 32 + MAX_WBITS;
    Buffer in(chunkSize), out(2 * chunkSize);
    z_stream stream{};
    inflateInit2(&stream, zlibOrGzip);
    for (const Packed& each : packed) {
        file.seek(each.offset);
        inflateReset(&stream);
        for (qint64 left = each.size; left > 0;) {
            const qint64 size = file.read(in.data(), std::min<qint64>(left, chunkSize));
            if (size <= 0)
                fail(QStringLiteral("cannot be read"));
            left -= size;
            stream.next_in = reinterpret_cast<Bytef*>(in.data());
            stream.avail_in = static_cast<uInt>(size);
            int result = Z_OK;
            do {
                stream.next_out = reinterpret_cast<Bytef*>(out.data());
                stream.avail_out = static_cast<uInt>(out.size());
                result = inflate(&stream, Z_NO_FLUSH);
            } while (result == Z_OK && (stream.avail_in > 0 || stream.avail_out == 0));
            if ((result != Z_STREAM_END) != (left > 0))
                fail(QStringLiteral("cannot be unpacked"));
        }
    }
    inflateEnd(&stream);
}

void unpackZstd(QFile& file, const QVector<Packed>& /*packed*/)
{
    Buffer in(ZSTD_DStreamInSize()), out(ZSTD_DStreamOutSize());
    ZSTD_DCtx* const context = ZSTD_createDCtx();
    for (qint64 size = 0; (size = file.read(in.data(), static_cast<qint64>(in.size()))) > 0;) {
        ZSTD_inBuffer input{in.data(), static_cast<std::size_t>(size), 0};
        while (input.pos < input.size) {
            ZSTD_outBuffer output{out.data(), out.size(), 0};
            if (ZSTD_isError(ZSTD_decompressStream(context, &output, &input)) != 0)
                fail(QStringLiteral("cannot be unpacked"));
        }
    }
    ZSTD_freeDCtx(context);
}

// Measuring

struct Measured {
    double seconds = 0;
    double plainSeconds = 0;
    double memoryMb = 0;
};

double peakMb()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

std::unique_ptr<monitor::FrameSource> open(const QString& name)
{
    monitor::OpenedRecording opened = monitor::openRecording(name);
    if (!opened.source)
        fail(opened.error);
    return std::move(opened.source);
}

/// Throws an exception unless the recording has exactly the frames of Traffic.
void check(const QString& name, qint64 frames)
{
    const std::unique_ptr<monitor::FrameSource> source = open(name);
    Traffic traffic;
    qint64 count = 0;
    for (Frame frame; source->next(frame); ++count) {
        Frame expected;
        traffic.next(expected);
        if (frame.nanoseconds != expected.nanoseconds || frame.id != expected.id ||
            frame.extended != expected.extended || frame.length != expected.length ||
            frame.remote || frame.fd ||
            !std::equal(dataOf(frame), dataOf(frame) + frame.length, dataOf(expected)))
            fail(QStringLiteral("%1: frame %2 is read wrongly").arg(name).arg(count));
    }
    if (count != frames || source->counts().unreadable != 0 || !source->error().isEmpty())
        fail(QStringLiteral("%1: %2 of %3 frames are read").arg(name).arg(count).arg(frames));
}

void readAll(const QString& name)
{
    const std::unique_ptr<monitor::FrameSource> source = open(name);
    std::array<Frame, batchSize> frames;
    while (source->read(frames.data(), static_cast<int>(frames.size())) > 0) {
    }
}

using PlainLoop = void (*)(QFile& file, const QVector<Packed>& packed);

Measured measure(const QString& name, PlainLoop plain, const QVector<Packed>& packed)
{
    Measured measured;
    const double peakBefore = peakMb();
    double before = processorSeconds();
    readAll(name);
    measured.seconds = processorSeconds() - before;
    measured.memoryMb = peakMb() - peakBefore;
    before = processorSeconds();
    QFile file(name);
    // Without a buffer of Qt, which would copy the bytes once more.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        fail(name + QStringLiteral(": cannot be read"));
    plain(file, packed);
    measured.plainSeconds = processorSeconds() - before;
    return measured;
}

/// What the time of a recording is compared with.
struct Comparison {
    const char* group;
    const char* unit;
    bool isRate; ///< MB/s of the file, not a ratio to the plain loop
};

constexpr Comparison withDigits{"read candump and ASC", "x loop over digits", false};
constexpr Comparison withUnpacking{"read packed recordings", "x unpacking", false};
constexpr Comparison rate{"read other recordings", "MB/s", true};

struct Recording {
    const char* name;
    QVector<Packed> (*write)(Output& output, qint64 frames);
    PlainLoop plain;
    Comparison comparison;
    double target;
    std::optional<qint64> origin = std::nullopt; ///< of times, if the plain loop reads digits
};

constexpr Recording recordings[] = {
    {"candump", writeCandump, readDigits<&TextFloor::readCandump>, withDigits, 1, 0},
    {"ASC", writeAsc, readDigits<&TextFloor::readAsc>, withDigits, 2, start},
    {"TRC", writeTrc, readLines, rate, 200},
    {"CSV", writeCsv, readLines, rate, 200},
    {"pcap", writePcap, readBytes, rate, 200},
    {"BLF, stored", writeStoredBlf, readBytes, rate, 200},
    {"MF4, sorted, fixed length", writeSortedMf4, readBytes, rate, 200},
    {"MF4, unsorted, variable length", writeUnsortedMf4, readBytes, rate, 200},
    {"BLF, zlib", writePackedBlf, inflateAll, withUnpacking, 2},
    {"MF4, sorted, zlib", writePackedMf4, inflateAll, withUnpacking, 2},
    {"candump, gzip", writeGzip, inflateAll, withUnpacking, 2},
    {"candump, zstd", writeZstd, unpackZstd, withUnpacking, 2},
};

/// Throws an exception unless the plain loop of \a recording reads all frames of Traffic.
void checkDigits(const QString& name, qint64 frames, const Recording& recording)
{
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    recording.plain(file, {});
    Traffic traffic;
    quint64 expected = 0;
    for (qint64 i = 0; i < frames; ++i) {
        Frame frame;
        traffic.next(frame);
        quint64 bytes = 0;
        for (std::size_t byte = 0; byte < frame.length; ++byte)
            bytes = bytes << 8 | frame.data[byte];
        expected += static_cast<quint64>(microseconds(frame, *recording.origin)) + frame.id + bytes;
    }
    if (digitSum != expected)
        fail(QStringLiteral("%1: the plain loop reads other frames").arg(name));
}

void reportRows(const Recording& recording, const Measured& best, double fileMb, double frames)
{
    const double mbPerSecond = fileMb / best.seconds;
    const double ratio = best.seconds / best.plainSeconds;
    const Comparison& comparison = recording.comparison;
    report({comparison.group,
            recording.name,
            comparison.isRate ? mbPerSecond : ratio,
            comparison.unit,
            recording.target,
            {{"file, MB", fileMb},
             {"time, s", best.seconds},
             {"MB/s", mbPerSecond},
             {"million frames/s", frames / 1e6 / best.seconds},
             {"plain loop, s", best.plainSeconds},
             {"ratio", ratio}},
            comparison.isRate});
    report({"memory for reading a recording", recording.name, best.memoryMb, "MB"});
}

void compare(const Recording& recording, const QString& name, qint64 frames)
{
    Output output(name);
    const QVector<Packed> packed = recording.write(output, frames);
    output.finish();
    runApart([&] {
        check(name, frames);
        if (recording.origin)
            checkDigits(name, frames, recording);
        return true;
    });
    Measured best;
    for (int run = 0; run < runs; ++run) {
        const Measured measured = runApart([&] { return measure(name, recording.plain, packed); });
        if (run == 0)
            best = measured;
        // The fastest run, because other load on the machine only ever adds time.
        best.seconds = std::min(best.seconds, measured.seconds);
        best.plainSeconds = std::min(best.plainSeconds, measured.plainSeconds);
        best.memoryMb = std::max(best.memoryMb, measured.memoryMb);
    }
    reportRows(recording, best, static_cast<double>(QFile(name).size()) / 1e6,
               static_cast<double>(frames));
    QFile::remove(name);
}

} // namespace

int main(int argc, char** argv)
{
    const qint64 frames = argc > 1 ? std::strtoll(argv[1], nullptr, 10) : 4000000;
    const QTemporaryDir directory;
    if (frames <= 0 || !directory.isValid()) {
        std::fputs("usage: recordings [FRAMES]\n", stderr);
        return 2;
    }
    try {
        for (const Recording& recording : recordings)
            compare(recording, directory.filePath(QStringLiteral("recording")), frames);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
