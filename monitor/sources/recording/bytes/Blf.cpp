#include "Blf.h"

#include "ByteReader.h"
#include "sources/BusNames.h"
#include "text/LineCursor.h"

#include <QtCore/QDate>
#include <QtCore/QTime>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#define ZLIB_CONST // the input is constant
#include <zlib.h>

namespace monitor
{

namespace
{

constexpr qint64 usualFileHeader = 144;
constexpr qint64 leastFileHeader = 56; // contains the start time
constexpr qint64 longestFileHeader = 65536;
constexpr qint64 baseHeader = 16;
constexpr qint64 containerHeader = 32;
constexpr qint64 timedHeader = 32;
constexpr qint64 longestPadding = 8;
constexpr qint64 largestContainer = 64 << 20; // unpacked
constexpr qint64 largestObject = 2 * largestContainer;
constexpr qint64 largestReadObject = 4096; // of the types that are read
constexpr qint64 nanosecondsPerMillisecond = 1000000;

constexpr std::string_view objectMark = "LOBJ";

enum ObjectType : quint32 {
    canMessage = 1,
    canError = 2,
    logContainer = 10,
    canErrorExt = 73,
    canMessage2 = 86,
    canFdMessage = 100,
    canFdMessage64 = 101,
    canFdError64 = 104,
    dataLostEnd = 126
};

bool isRead(quint32 type)
{
    switch (type) {
    case canMessage:
    case canError:
    case canErrorExt:
    case canMessage2:
    case canFdMessage:
    case canFdMessage64:
    case canFdError64:
    case dataLostEnd:
        return true;
    default:
        return false;
    }
}

/// The common part of the headers of all objects.
struct Object {
    qint64 headerSize;
    quint16 version; // of the header
    qint64 size;     // with the header, without the padding that may follow
    quint32 type;
};

Object objectAt(const char* bytes)
{
    return {littleEndian<quint16>(bytes + 4), littleEndian<quint16>(bytes + 6),
            littleEndian<quint32>(bytes + 8), littleEndian<quint32>(bytes + 12)};
}

/// Whether the sizes are possible. If they are not, the object is damaged, or a mark that is part
/// of some data was taken for an object.
bool isPlausible(const Object& object)
{
    const qint64 least = object.type == logContainer ? containerHeader : baseHeader;
    const qint64 most = isRead(object.type) ? largestReadObject : largestObject;
    return object.headerSize >= baseHeader && object.size >= std::max(least, object.headerSize) &&
           object.size <= most;
}

/// The number of bytes before the next mark of an object. Without a mark, the number of bytes that
/// cannot be part of one.
qint64 distanceToMark(const char* bytes, qint64 size)
{
    const std::string_view view(bytes, static_cast<size_t>(size));
    if (view.substr(0, objectMark.size()) == objectMark)
        return 0;
    const size_t mark = view.find(objectMark);
    return static_cast<qint64>(mark != view.npos ? mark : view.size() - (objectMark.size() - 1));
}

/// How far one of the two sequences of objects has been read.
struct Walk {
    qint64 rest = 0;       // bytes of the last object that are still to be skipped
    qint64 unreadable = 0; // bytes since the last object, if they are more than padding
    qint64 unreadableAt = 0;
    bool isResuming = false; // unreadable bytes are expected, and have been reported
};

/// The contents of the containers of a file, unpacked in pieces. It has the functions of
/// ByteReader that are needed to walk over objects; the bytes that are left of a container are
/// continued by the next one.
class ContainerReader
{
public:
    enum class End { Open, Whole, FileEnds, Damaged, TooShort, TooLong };

    explicit ContainerReader(ByteReader& reader)
        : file(reader), buffer(static_cast<size_t>(pieceSize + largestReadObject))
    {
    }
    ~ContainerReader() { inflateEnd(&inflater); }

    ContainerReader(const ContainerReader&) = delete;
    ContainerReader& operator=(const ContainerReader&) = delete;

    /// Continues with the next \a size bytes of the file. If they are compressed with zlib, no more
    /// than \a unpackedSize bytes are unpacked.
    void open(qint64 size, qint64 unpackedSize, bool isPackedByZlib)
    {
        isPacked = isPackedByZlib;
        packedLeft = size;
        unpackedLeft = unpackedSize;
        const bool isReady =
            !isPacked || inflateReset(&inflater) == Z_OK || inflateInit(&inflater) == Z_OK;
        state = isReady ? End::Open : End::Damaged;
    }

    /// Skips what is left of the container in the file.
    void close()
    {
        file.skip(packedLeft);
        packedLeft = 0;
        state = End::Whole;
    }

    /// Drops the unread bytes of the containers so far.
    void clear() { begin = filled = 0; }

    End end() const { return state; }
    const char* data() const { return buffer.data() + begin; }
    qint64 available() const { return filled - begin; }

    /// \a size must not be greater than largestReadObject.
    [[nodiscard]] bool require(qint64 size)
    {
        if (available() >= size)
            return true;
        std::memmove(buffer.data(), data(), static_cast<size_t>(available()));
        filled -= begin;
        begin = 0;
        while (filled < size && state == End::Open)
            isPacked ? inflateMore() : copyMore();
        return filled >= size;
    }

    qint64 skip(qint64 size)
    {
        qint64 left = size;
        while (left > available()) {
            left -= available();
            begin = filled;
            if (!require(1))
                return size - left;
        }
        begin += left;
        return size;
    }

private:
    static constexpr qint64 pieceSize = 1 << 18;

    void copyMore()
    {
        if (packedLeft == 0) {
            state = End::Whole;
        } else if (!file.require(1)) {
            state = End::FileEnds;
        } else {
            const qint64 size = std::min({packedLeft, file.available(), space()});
            std::memcpy(buffer.data() + filled, file.data(), static_cast<size_t>(size));
            packedLeft -= file.skip(size);
            filled += size;
        }
    }

    void inflateMore()
    {
        if (packedLeft > 0 && !file.require(1)) {
            state = End::FileEnds;
            return;
        }
        // One byte of space more than there should be data, to notice both the end and an excess.
        const qint64 packed = std::min(packedLeft, file.available());
        const qint64 wanted = std::min(space(), unpackedLeft + 1);
        inflater.next_in = reinterpret_cast<const Bytef*>(file.data());
        inflater.avail_in = static_cast<uInt>(packed);
        inflater.next_out = reinterpret_cast<Bytef*>(buffer.data() + filled);
        inflater.avail_out = static_cast<uInt>(wanted);
        const int status = inflate(&inflater, Z_NO_FLUSH);
        packedLeft -= file.skip(packed - inflater.avail_in);
        const qint64 unpacked = wanted - inflater.avail_out;
        filled += std::min(unpacked, unpackedLeft);
        state = stateAfter(status, packed, unpacked);
        unpackedLeft -= std::min(unpacked, unpackedLeft);
    }

    End stateAfter(int status, qint64 packed, qint64 unpacked) const
    {
        if (unpacked > unpackedLeft)
            return End::TooLong;
        if (status == Z_STREAM_END)
            return unpacked == unpackedLeft ? End::Whole : End::TooShort;
        const bool isStuck = packed == 0 && unpacked == 0;
        return status == Z_OK && !isStuck ? End::Open : End::Damaged;
    }

    qint64 space() const { return static_cast<qint64>(buffer.size()) - filled; }

    ByteReader& file;
    std::vector<char> buffer;
    qint64 begin = 0; // of the unread bytes in the buffer
    qint64 filled = 0;
    qint64 packedLeft = 0; // bytes of the container that are still in the file
    qint64 unpackedLeft = 0;
    bool isPacked = false;
    z_stream inflater{};
    End state = End::Whole;
};

/// The problem with a container that ended in this way, in which %1 objects were read.
QString textOf(ContainerReader::End end)
{
    switch (end) {
    case ContainerReader::End::Open:
    case ContainerReader::End::Whole:
        return QString();
    case ContainerReader::End::FileEnds:
        return QStringLiteral("the file ends within a container: %1 object(s) were read from it");
    case ContainerReader::End::Damaged:
        return QStringLiteral(
            "the container is damaged: %1 object(s) were read from it and may be wrong");
    case ContainerReader::End::TooShort:
        return QStringLiteral("the container has fewer bytes than it states: %1 object(s) were "
                              "read from it");
    case ContainerReader::End::TooLong:
        return QStringLiteral("the container has more bytes than it states: %1 object(s) were "
                              "read from it");
    }
    return QString();
}

/// The part of an object after its header.
struct Body {
    const char* bytes;
    qint64 size;

    quint32 byte(qint64 at) const { return static_cast<quint8>(bytes[at]); }
    quint32 word(qint64 at) const { return littleEndian<quint16>(bytes + at); }
    quint32 number(qint64 at) const { return littleEndian<quint32>(bytes + at); }
};

/// The fields of a frame in an object.
struct FrameFields {
    quint32 channel = 0;
    quint32 id = 0;
    bool remote = false;
    bool fd = false;
    bool bitRateSwitch = false;
    bool isRequest = false; // to send a frame, which is recorded again when it has been sent
    quint32 length = 0;     // as stated
    qint64 dataAt = 0;      // in the body
    qint64 storedBytes = 0;
    bool omitsZeros = false; // bytes that are not stored are 0
};

// The layouts of the objects with frames. Each function returns nothing if the body is too short.

std::optional<FrameFields> readClassic(const Object& object, const Body& body)
{
    // In the newer object, the duration of the frame follows the data.
    const qint64 trailer = object.type == canMessage2 ? 8 : 0;
    if (body.size < 8 + trailer)
        return std::nullopt;
    FrameFields fields;
    fields.channel = body.word(0);
    fields.remote = (body.byte(2) & 0x80) != 0;
    fields.length = body.byte(3);
    fields.id = body.number(4);
    fields.dataAt = 8;
    fields.storedBytes = body.size - 8 - trailer;
    return fields;
}

std::optional<FrameFields> readFd(const Body& body)
{
    if (body.size < 20)
        return std::nullopt;
    FrameFields fields;
    fields.channel = body.word(0);
    fields.fd = (body.byte(13) & 0x1) != 0;
    fields.bitRateSwitch = fields.fd && (body.byte(13) & 0x2) != 0;
    fields.remote = !fields.fd && (body.byte(2) & 0x80) != 0;
    fields.id = body.number(4);
    fields.length = body.byte(14);
    fields.dataAt = 20;
    fields.storedBytes = body.size - 20;
    return fields;
}

std::optional<FrameFields> readFd64(const Object& object, const Body& body)
{
    if (body.size < 40)
        return std::nullopt;
    FrameFields fields;
    fields.channel = body.byte(0);
    fields.length = body.byte(2);
    fields.id = body.number(4);
    const quint32 flags = body.number(12);
    fields.fd = (flags & 0x1000) != 0;
    fields.bitRateSwitch = fields.fd && (flags & 0x2000) != 0;
    fields.remote = !fields.fd && (flags & 0x0010) != 0;
    fields.isRequest = body.byte(34) == 2;
    fields.dataAt = 40;
    fields.storedBytes = body.size - 40;
    fields.omitsZeros = true;
    // Further fields may follow the data.
    const qint64 dataEnd = static_cast<qint64>(body.byte(35)) - object.headerSize - 40;
    if (dataEnd >= 0)
        fields.storedBytes = std::min(fields.storedBytes, dataEnd);
    return fields;
}

std::optional<FrameFields> readFields(const Object& object, const Body& body)
{
    switch (object.type) {
    case canFdMessage:
        return readFd(body);
    case canFdMessage64:
        return readFd64(object, body);
    default:
        return readClassic(object, body);
    }
}

/// The start of a recording, from eight numbers of 16 bits: year, month, day of the week, day,
/// hour, minute, second and millisecond. Nothing if they are not a time.
std::optional<qint64> startTime(const char* bytes)
{
    const auto number = [bytes](qint64 i) -> int { return littleEndian<quint16>(bytes + 2 * i); };
    const QDate date(number(0), number(1), number(3));
    const QTime time(number(4), number(5), number(6), number(7));
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    constexpr qint64 millisecondsPerDay = 86400000;
    const qint64 milliseconds =
        QDate(1970, 1, 1).daysTo(date) * millisecondsPerDay + time.msecsSinceStartOfDay();
    if (milliseconds < 0 || milliseconds > latestTime / nanosecondsPerMillisecond)
        return std::nullopt;
    return milliseconds * nanosecondsPerMillisecond;
}

class BlfRecording : public FrameSource
{
public:
    BlfRecording(std::unique_ptr<QIODevice> device, const QString& name)
        : file(std::move(device), name),
          container(file),
          fileName(name),
          unreadable(name, QStringLiteral("unreadable part(s) skipped"), ProblemPosition::Byte)
    {
    }

    [[nodiscard]] bool next(Frame& frame) override;
    SourceCounts counts() const override { return {errorFrames, lost, unreadable.count()}; }
    SourceProgress progress() const override { return file.progress(); }
    QStringList buses() const override { return busNames.names(); }
    QVector<Problems> problems() const override { return {unreadable}; }
    QStringList notes() const override;
    QString error() const override { return file.error(); }

private:
    enum class Step { Frame, Other, End };
    enum class State { FileHeader, InFile, InContainer, AtEnd };

    void readFileHeader();
    void openContainer(const Object& object);
    void closeContainer();
    void dropTail();
    void finish();

    template <typename Bytes>
    Step readObject(Bytes& bytes, Walk& walk, Frame& frame);
    template <typename Bytes>
    std::optional<Object> findObject(Bytes& bytes, Walk& walk);
    template <typename Bytes>
    void passOver(Bytes& bytes, Walk& walk, qint64 size, bool isPadding);
    template <typename Bytes>
    bool reportRest(const Bytes& bytes, const Walk& walk, qint64 at);
    void endGap(Walk& walk);

    Step decode(const char* bytes, const Object& object, Frame& frame);
    Step decodeFrame(const char* bytes, const Object& object, const Body& body, Frame& frame);
    void readData(const FrameFields& fields, const Body& body, Frame& frame);
    Step reject(const QString& text);
    std::optional<qint64> timeOf(const char* bytes) const;
    quint16 busOf(quint32 channel);

    /// The position in the file that problems refer to.
    qint64 position() const { return state == State::InContainer ? containerAt : file.position(); }

    ByteReader file;
    ContainerReader container;
    QString fileName;
    Problems unreadable;
    BusNames busNames;
    State state = State::FileHeader;
    Walk inFile;
    Walk inContainers;
    qint64 containerAt = 0;      // position of the newest container
    qint64 containerObjects = 0; // read from it
    qint64 start = 0;            // nanoseconds
    bool hasStart = false;
    bool hasInvalidStart = false;
    qint64 errorFrames = 0;
    qint64 lost = 0;
    qint64 filledFrames = 0; // FD frames whose data is not stored completely
    qint64 shortFrames = 0;  // other such frames
};

bool BlfRecording::next(Frame& frame)
{
    if (state == State::FileHeader)
        readFileHeader();
    while (state != State::AtEnd) {
        const Step step = state == State::InContainer ? readObject(container, inContainers, frame)
                                                      : readObject(file, inFile, frame);
        if (step == Step::Frame)
            return true;
        if (step == Step::End && state == State::InContainer)
            closeContainer();
        else if (step == Step::End)
            finish();
    }
    return false;
}

void BlfRecording::readFileHeader()
{
    state = State::InFile;
    qint64 size = file.require(8) ? littleEndian<quint32>(file.data() + 4) : usualFileHeader;
    if (size < leastFileHeader || size > longestFileHeader) {
        unreadable.add(4, QStringLiteral("the file header has an impossible size: %1").arg(size));
        size = usualFileHeader;
    }
    if (file.require(size)) {
        const char* const fields = file.data() + 40;
        const std::optional<qint64> time = startTime(fields);
        hasStart = time.has_value();
        hasInvalidStart = !hasStart && std::any_of(fields, fields + 16, [](char c) { return c; });
        start = time.value_or(0);
    } else {
        unreadable.add(file.available(), QStringLiteral("the file ends within its header"));
    }
    file.skip(size);
}

void BlfRecording::openContainer(const Object& object)
{
    enum Method { Stored = 0, Zlib = 2 };
    const auto method = littleEndian<quint16>(file.data() + 16);
    const qint64 packedSize = object.size - containerHeader;
    const qint64 unpackedSize =
        method == Zlib ? littleEndian<quint32>(file.data() + 24) : packedSize;
    containerAt = file.position();
    containerObjects = 0;
    file.skip(containerHeader);
    if ((method == Stored || method == Zlib) && unpackedSize <= largestContainer) {
        container.open(packedSize, unpackedSize, method == Zlib);
        state = State::InContainer;
        return;
    }
    unreadable.add(
        containerAt,
        unpackedSize > largestContainer
            ? QStringLiteral("container of more than 64 MiB skipped")
            : QStringLiteral("container skipped: unknown compression method %1").arg(method));
    dropTail();
    inFile.rest = packedSize;
}

void BlfRecording::closeContainer()
{
    const ContainerReader::End end = container.end();
    container.close();
    state = State::InFile;
    if (end == ContainerReader::End::Whole)
        return;
    unreadable.add(containerAt, textOf(end).arg(containerObjects));
    dropTail();
}

/// The next container cannot continue the last object.
void BlfRecording::dropTail()
{
    container.clear();
    inContainers = Walk();
    inContainers.isResuming = true;
}

void BlfRecording::finish()
{
    // If the file ends within an object, it may also lack the end of one that is split between two
    // containers. That is a single problem.
    if (!reportRest(file, inFile, file.position()))
        reportRest(container, inContainers, containerAt);
    file.skip(file.available());
    state = State::AtEnd;
}

/// Reports what is left after the last object, unless it is padding. Returns whether it is not.
template <typename Bytes>
bool BlfRecording::reportRest(const Bytes& bytes, const Walk& walk, qint64 at)
{
    const qint64 left = bytes.available();
    const bool isPadding = left <= longestPadding && std::all_of(bytes.data(), bytes.data() + left,
                                                                 [](char c) { return c == 0; });
    if (walk.isResuming || (isPadding && walk.rest == 0 && walk.unreadable == 0))
        return false;
    if (walk.unreadable > 0)
        unreadable.add(walk.unreadableAt,
                       QStringLiteral("no object in the last %1 byte(s): the recording may be "
                                      "incomplete")
                           .arg(walk.unreadable + left));
    else
        unreadable.add(at, QStringLiteral("the file ends within an object"));
    return true;
}

/// Reads the next object. Step::End means that its end is not among the bytes, which are then left
/// as they are, so that the object can be read again when there are more.
template <typename Bytes>
BlfRecording::Step BlfRecording::readObject(Bytes& bytes, Walk& walk, Frame& frame)
{
    const std::optional<Object> object = findObject(bytes, walk);
    if (!object)
        return Step::End;
    if (object->type == logContainer && state == State::InFile) {
        if (!bytes.require(containerHeader))
            return Step::End;
        openContainer(*object);
        return Step::Other;
    }
    Step step = Step::Other;
    if (isRead(object->type)) {
        if (!bytes.require(object->size))
            return Step::End;
        step = decode(bytes.data(), *object, frame);
    } else if (object->type == logContainer) {
        reject(QStringLiteral("container in another container skipped"));
    }
    walk.rest = object->size - bytes.skip(object->size);
    containerObjects += walk.rest == 0 ? 1 : 0;
    return step;
}

/// Returns nothing if more bytes are needed.
template <typename Bytes>
std::optional<Object> BlfRecording::findObject(Bytes& bytes, Walk& walk)
{
    walk.rest -= bytes.skip(walk.rest);
    while (bytes.require(baseHeader)) {
        const qint64 distance = distanceToMark(bytes.data(), bytes.available());
        if (distance > 0) {
            const bool isPadding = walk.unreadable == 0 && distance <= longestPadding;
            passOver(bytes, walk, distance, isPadding);
            continue;
        }
        const Object object = objectAt(bytes.data());
        if (!isPlausible(object)) {
            passOver(bytes, walk, static_cast<qint64>(objectMark.size()), false);
            continue;
        }
        endGap(walk);
        return object;
    }
    return std::nullopt;
}

template <typename Bytes>
void BlfRecording::passOver(Bytes& bytes, Walk& walk, qint64 size, bool isPadding)
{
    if (walk.unreadable == 0)
        walk.unreadableAt = position();
    walk.unreadable += isPadding ? 0 : size;
    bytes.skip(size);
}

/// Reports the unreadable bytes before an object.
void BlfRecording::endGap(Walk& walk)
{
    if (walk.unreadable > 0 && !walk.isResuming) {
        unreadable.add(
            walk.unreadableAt,
            QStringLiteral("%1 byte(s) skipped that belong to no object").arg(walk.unreadable));
        if (state == State::InFile) // they may have been a container
            dropTail();
    }
    walk.unreadable = 0;
    walk.isResuming = false;
}

/// Reads an object of a type that is read. All of its bytes are there.
BlfRecording::Step BlfRecording::decode(const char* bytes, const Object& object, Frame& frame)
{
    if (object.version != 1 && object.version != 2)
        return reject(QStringLiteral("object of type %1 skipped: unknown header version %2")
                          .arg(object.type)
                          .arg(object.version));
    const Body body{bytes + object.headerSize, object.size - object.headerSize};
    switch (object.type) {
    case canError:
    case canErrorExt:
    case canFdError64:
        ++errorFrames;
        return Step::Other;
    case dataLostEnd:
        lost += body.size >= 16 ? body.number(12) : 0;
        return Step::Other;
    default:
        return decodeFrame(bytes, object, body, frame);
    }
}

BlfRecording::Step BlfRecording::decodeFrame(const char* bytes, const Object& object,
                                             const Body& body, Frame& frame)
{
    const std::optional<FrameFields> fields = readFields(object, body);
    if (!fields || object.headerSize < timedHeader)
        return reject(QStringLiteral("object of type %1 skipped: it is too short: %2 bytes")
                          .arg(object.type)
                          .arg(object.size));
    if (fields->isRequest)
        return Step::Other;
    Frame read;
    read.id = fields->id & lastExtendedId;
    read.extended = (fields->id & 0x80000000) != 0;
    if (!read.extended && read.id > lastStandardId)
        return reject(QStringLiteral("object of type %1 skipped: 11-bit id out of range: 0x%2")
                          .arg(object.type)
                          .arg(read.id, 0, 16));
    read.nanoseconds = timeOf(bytes);
    read.remote = fields->remote;
    read.fd = fields->fd;
    read.bitRateSwitch = fields->bitRateSwitch;
    read.bus = busOf(fields->channel);
    readData(*fields, body, read);
    frame = read;
    return Step::Frame;
}

void BlfRecording::readData(const FrameFields& fields, const Body& body, Frame& frame)
{
    if (fields.remote)
        return;
    const qint64 longest = fields.fd ? static_cast<qint64>(frame.data.size()) : longestClassicFrame;
    const qint64 length = std::min<qint64>(fields.length, longest);
    const qint64 stored = std::min(length, fields.storedBytes);
    if (stored < length)
        ++(fields.omitsZeros ? filledFrames : shortFrames);
    frame.length = static_cast<quint8>(fields.omitsZeros ? length : stored);
    std::memcpy(frame.data.data(), body.bytes + fields.dataAt, static_cast<size_t>(stored));
}

BlfRecording::Step BlfRecording::reject(const QString& text)
{
    unreadable.add(position(), text);
    return Step::Other;
}

/// The time of the object at \a bytes, which has a header with a time.
std::optional<qint64> BlfRecording::timeOf(const char* bytes) const
{
    constexpr quint32 tensOfMicroseconds = 1;
    const quint64 unit = littleEndian<quint32>(bytes + 16) == tensOfMicroseconds ? 10000 : 1;
    const auto count = littleEndian<quint64>(bytes + 24);
    if (count > static_cast<quint64>(latestTime - start) / unit)
        return std::nullopt;
    return start + static_cast<qint64>(count * unit);
}

quint16 BlfRecording::busOf(quint32 channel)
{
    char name[10];
    const char* const end = std::to_chars(std::begin(name), std::end(name), channel).ptr;
    return busNames.indexOf(name, channel == 0 ? 0 : static_cast<int>(end - name));
}

QStringList BlfRecording::notes() const
{
    QStringList notes;
    if (hasStart)
        notes += fileName + QStringLiteral(": the file states no time zone: its start time is "
                                           "taken as UTC");
    if (hasInvalidStart)
        notes += fileName + QStringLiteral(": the start time is invalid: times are relative to the "
                                           "start of the recording");
    if (filledFrames > 0)
        notes += fileName + QStringLiteral(": %1 frame(s) are stored with fewer data bytes than "
                                           "they had: the missing bytes are taken as 0")
                                .arg(filledFrames);
    if (shortFrames > 0)
        notes += fileName + QStringLiteral(": %1 frame(s) are stored with fewer data bytes than "
                                           "they had: only these bytes are read")
                                .arg(shortFrames);
    return notes;
}

} // namespace

qint64 findBlf(const QByteArray& start)
{
    return start.startsWith("LOGG") ? 0 : -1;
}

std::unique_ptr<FrameSource> openBlf(std::unique_ptr<QIODevice> device, const QString& name)
{
    return std::make_unique<BlfRecording>(std::move(device), name);
}

} // namespace monitor
