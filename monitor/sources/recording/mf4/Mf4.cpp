#include "Mf4.h"

#include "Mf4Groups.h"
#include "sources/BusNames.h"
#include "sources/recording/bytes/ByteReader.h"
#include "text/LineCursor.h"

#include <algorithm>
#include <cstring>
#include <deque>

namespace monitor
{

namespace
{

constexpr qint64 reorderWindow = 3000000000; // nanoseconds
constexpr size_t maxWaitingFrames = 1000000;
constexpr size_t maxUnpaired = 65536; // frames without data bytes, or data bytes without a frame

/// The state that all data groups of a file share.
struct Recording {
    Recording(std::unique_ptr<QIODevice> device, const QString& name)
        : file(std::move(device), name),
          problems(name, QStringLiteral("unreadable part(s) skipped"), ProblemPosition::Byte),
          structure(readMf4Structure(file, problems))
    {
        cachedBuses.fill(-1);
    }

    quint16 busOf(qint64 channel);

    Mf4File file;
    Problems problems;
    Mf4Structure structure;
    BusNames buses;
    std::array<int, 256> cachedBuses{};
    qint64 errorFrames = 0;
    qint64 guessedExtended = 0; // frames with 29-bit ids that are not marked as such
    qint64 guessedBytes = 0;    // frames whose data bytes are not where the file says
    qint64 withoutTime = 0;
    qint64 statedRecords = 0; // of groups whose number of records is not as stated
    qint64 foundRecords = 0;
};

quint16 Recording::busOf(qint64 channel)
{
    const bool isCached = channel >= 0 && channel < static_cast<qint64>(cachedBuses.size());
    if (isCached && cachedBuses[static_cast<size_t>(channel)] >= 0)
        return static_cast<quint16>(cachedBuses[static_cast<size_t>(channel)]);
    const quint16 bus = buses.indexOf(QByteArray::number(channel));
    if (isCached)
        cachedBuses[static_cast<size_t>(channel)] = bus;
    return bus;
}

/// Data bytes of variable length.
struct VariableBytes {
    qint64 position = 0; // in all records of their group
    quint8 size = 0;
    std::array<char, 64> bytes{};
};

/// Gives \a frame the \a size bytes at \a bytes, or as many as it can have.
void setBytes(Frame& frame, bool isFdKnown, const char* bytes, qint64 size)
{
    frame.length = static_cast<quint8>(std::min<qint64>(frame.length, size));
    frame.fd = isFdKnown ? frame.fd : frame.length > longestClassicFrame;
    std::memcpy(frame.data.data(), bytes, frame.length);
}

/// The frames of one data group. They are put in order of time if it has several groups of frames.
class DataGroupReader
{
public:
    DataGroupReader(Recording& owner, const Mf4DataGroup& group);

    /// Reads until the earliest frame is known. Returns false if there are no more frames.
    [[nodiscard]] bool prepare();

    /// The time of the earliest frame, or an estimate.
    qint64 time() const { return waiting[static_cast<size_t>(earliest())].time; }

    /// Takes the earliest frame.
    void take(Frame& frame);

    qint64 bytesRead() const { return data.bytesRead(); }

private:
    static constexpr int nowhere = -1;

    /// A frame that waits for its turn.
    struct Waiting {
        Frame frame;
        qint64 time = 0;
        quint64 number = 0; // frames of the same time stay in the order of the file
        int next = nowhere; // the next frame of the same group, or the next free place
        bool isFdKnown = true;
        bool isComplete = false;
        bool isDropped = false;
    };

    /// A frame in a heap, which has copies of the order so that comparisons are fast.
    struct Turn {
        qint64 time;
        quint64 number;
        int index; // of a group, or the place of a frame
    };

    struct IsLater {
        bool operator()(const Turn& a, const Turn& b) const
        {
            return a.time != b.time ? a.time > b.time : a.number > b.number;
        }
    };

    /// A frame that waits for its data bytes.
    struct Unpaired {
        qint64 position;
        int place;
    };

    struct Group {
        const Mf4Group* description;
        qint64 records = 0;
        int head = nowhere; // waiting frames, in order of time
        int tail = nowhere;
        std::unique_ptr<Mf4Data> variableData;
        // Only used if the records of the group are data bytes:
        bool isUsed = false;
        qint64 position = 0;
        std::deque<VariableBytes> unused; // in order of position
        std::deque<Unpaired> unpaired;    // in order of position, if positions can be trusted
    };

    bool readRecord();
    void end();
    Group* groupOf(const char* id);
    bool readVariable(Group& group);
    bool readFixed(Group& group);
    bool readFrame(Group& group, const char* record, Frame& frame);
    bool readId(const Group& group, const char* record, Frame& frame);
    void readLength(const Group& group, const char* record, Frame& frame) const;
    void readTime(const Group& group, const char* record, Frame& frame);
    bool readStream(Group& group, const char* record, Frame& frame);
    void pairFrame(Group& group, qint64 position, int place);
    void pairBytes(Group& group, const VariableBytes& bytes);
    void giveUp(Group& group);
    void complete(int place, const VariableBytes& bytes);
    void reportProblem(const QString& text);
    bool reportEnd(qint64 wanted);

    int addPlace(const Frame& frame);
    void enqueue(Group& group, int place);
    int earliest() const;
    void removeEarliest();
    Waiting& at(int place) { return waiting[static_cast<size_t>(place)]; }
    Turn turnOf(int place, int index) const;
    bool isOtherFirst() const;

    Recording& recording;
    const Mf4DataGroup& description;
    Mf4Data data;
    bool arePositionsKnown;
    bool isEnded = false;
    std::vector<Group> groups;
    std::vector<int> sortedGroups; // by record id
    Group* lastGroup = nullptr;
    qint64 window = 0;

    std::vector<Waiting> waiting;
    int firstFree = nowhere;
    size_t count = 0; // of waiting frames
    quint64 nextNumber = 0;
    qint64 newest = 0;        // time of the last record
    std::vector<Turn> heads;  // a heap of groups with waiting frames, by their first frame
    std::vector<Turn> others; // a heap of frames earlier than the previous one of their group
};

DataGroupReader::DataGroupReader(Recording& owner, const Mf4DataGroup& group)
    : recording(owner),
      description(group),
      data(owner.file, group.data, (owner.structure.unfinished & 0x04) != 0),
      arePositionsKnown((owner.structure.unfinished & 0x40) == 0)
{
    int frameGroups = 0;
    for (const Mf4Group& channelGroup : group.groups) {
        Group state;
        state.description = &channelGroup;
        if (channelGroup.variableData != 0)
            state.variableData =
                std::make_unique<Mf4Data>(owner.file, channelGroup.variableData, false);
        frameGroups += channelGroup.kind == Mf4Group::Data || channelGroup.kind == Mf4Group::Remote;
        sortedGroups.push_back(static_cast<int>(groups.size()));
        groups.push_back(std::move(state));
    }
    for (const Mf4Group& channelGroup : group.groups)
        if (channelGroup.variableGroup >= 0)
            groups[static_cast<size_t>(channelGroup.variableGroup)].isUsed = true;
    std::stable_sort(sortedGroups.begin(), sortedGroups.end(), [&](int a, int b) {
        return group.groups[static_cast<size_t>(a)].recordId <
               group.groups[static_cast<size_t>(b)].recordId;
    });
    window = frameGroups > 1 ? reorderWindow : 0;
}

void DataGroupReader::reportProblem(const QString& text)
{
    recording.problems.add(data.filePosition(), text);
}

/// Reports why \a wanted bytes are not available, unless the data simply ends. Returns false.
bool DataGroupReader::reportEnd(qint64 wanted)
{
    if (!data.problem().isEmpty())
        reportProblem(data.problem());
    else if (data.available() > 0)
        reportProblem(QStringLiteral("the last record is incomplete: %1 of %2 bytes")
                          .arg(data.available())
                          .arg(wanted));
    return false;
}

bool DataGroupReader::prepare()
{
    for (;;) {
        if (count > 0) {
            const Waiting& first = at(earliest());
            const bool isKnown =
                isEnded || count >= maxWaitingFrames || newest - first.time >= window;
            if (first.isDropped) {
                removeEarliest();
                continue;
            }
            if (first.isComplete && isKnown)
                return true;
        } else if (isEnded) {
            return false;
        }
        if (!readRecord())
            end();
    }
}

void DataGroupReader::take(Frame& frame)
{
    frame = at(earliest()).frame;
    removeEarliest();
}

void DataGroupReader::end()
{
    isEnded = true;
    for (Group& group : groups) {
        while (!group.unpaired.empty())
            giveUp(group);
        const Mf4Group& channels = *group.description;
        if (channels.kind != Mf4Group::Skipped && channels.kind != Mf4Group::VariableLength &&
            channels.stated != static_cast<quint64>(group.records)) {
            recording.statedRecords += static_cast<qint64>(channels.stated & 0x7FFFFFFFFFFF);
            recording.foundRecords += group.records;
        }
    }
}

/// Reads the next record. Returns false at the end, and where the data is damaged.
bool DataGroupReader::readRecord()
{
    if (!data.require(std::max(description.idSize, 1)))
        return reportEnd(description.idSize);
    Group* const group = groupOf(data.data());
    if (group == nullptr) {
        reportProblem(QStringLiteral("a record has an unknown id, so the rest of its stream is not "
                                     "read"));
        return false;
    }
    if (group->description->kind == Mf4Group::VariableLength)
        return readVariable(*group);
    return readFixed(*group);
}

DataGroupReader::Group* DataGroupReader::groupOf(const char* bytes)
{
    if (description.idSize == 0)
        return groups.data();
    // The bytes beyond the id may be read but mean nothing.
    const int unused = 64 - 8 * description.idSize;
    const quint64 id = littleEndian<quint64>(bytes) << unused >> unused;
    if (lastGroup != nullptr && lastGroup->description->recordId == id)
        return lastGroup;
    const auto idOf = [this](int i) {
        return groups[static_cast<size_t>(i)].description->recordId;
    };
    const auto found = std::lower_bound(sortedGroups.cbegin(), sortedGroups.cend(), id,
                                        [=](int i, quint64 wanted) { return idOf(i) < wanted; });
    if (found == sortedGroups.cend() || idOf(*found) != id)
        return nullptr;
    lastGroup = &groups[static_cast<size_t>(*found)];
    return lastGroup;
}

bool DataGroupReader::readVariable(Group& group)
{
    const qint64 start = description.idSize + 4;
    if (!data.require(start))
        return reportEnd(start);
    const qint64 size = littleEndian<quint32>(data.data() + description.idSize);
    VariableBytes bytes;
    bytes.position = group.position;
    bytes.size = static_cast<quint8>(std::min<qint64>(size, 64));
    if (!data.require(start + bytes.size))
        return reportEnd(start + size);
    if (group.isUsed)
        std::memcpy(bytes.bytes.data(), data.data() + start, bytes.size);
    if (data.skip(start + size) < start + size)
        return reportEnd(start + size);
    group.position += 4 + size;
    if (group.isUsed)
        pairBytes(group, bytes);
    return true;
}

bool DataGroupReader::readFixed(Group& group)
{
    const Mf4Group& channels = *group.description;
    const qint64 size = description.idSize + channels.recordSize;
    const qint64 index = group.records;
    if (channels.kind == Mf4Group::Skipped) {
        const qint64 skipped = data.skip(size);
        return skipped == size || reportEnd(size);
    }
    if (!data.require(size))
        return reportEnd(size);
    const char* const record = data.data() + description.idSize;
    if (channels.kind == Mf4Group::Error) {
        ++recording.errorFrames;
    } else if (Frame frame; readFrame(group, record, frame)) {
        const int place = addPlace(frame);
        at(place).isFdKnown = channels.edl.isPresent;
        enqueue(group, place);
        if (channels.kind == Mf4Group::Data && channels.variableGroup >= 0)
            pairFrame(groups[static_cast<size_t>(channels.variableGroup)],
                      channels.bytes.value(record, index), place);
        else
            at(place).isComplete = true;
    }
    ++group.records;
    static_cast<void>(data.skip(size));
    return true;
}

bool DataGroupReader::readFrame(Group& group, const char* record, Frame& frame)
{
    const Mf4Group& channels = *group.description;
    if (!readId(group, record, frame))
        return false;
    frame.bus = channels.bus.isPresent && channels.bus.isValid(record)
                    ? recording.busOf(channels.bus.value(record, group.records))
                    : recording.buses.indexOf(channels.busName);
    readTime(group, record, frame);
    if (channels.kind == Mf4Group::Remote) {
        frame.remote = true;
        return true;
    }
    readLength(group, record, frame);
    if (channels.variableData != 0)
        return readStream(group, record, frame);
    if (channels.bytesSize > 0)
        std::memcpy(frame.data.data(), record + channels.bytesOffset, frame.length);
    return true;
}

bool DataGroupReader::readId(const Group& group, const char* record, Frame& frame)
{
    constexpr qint64 extendedBit = 0x80000000;
    const Mf4Group& channels = *group.description;
    qint64 id = channels.id.value(record, group.records);
    if (id >= extendedBit && id < 2 * extendedBit) {
        frame.extended = true;
        id -= extendedBit;
    }
    if (!channels.id.isValid(record) || id < 0 || id > lastExtendedId) {
        reportProblem(QStringLiteral("frame skipped: it has no valid id"));
        return false;
    }
    if (channels.ide.isPresent && channels.ide.isValid(record))
        frame.extended |= channels.ide.value(record, group.records) == 1;
    if (!frame.extended && id > lastStandardId) {
        frame.extended = true;
        ++recording.guessedExtended;
    }
    frame.id = static_cast<quint32>(id);
    return true;
}

/// The length without regard to the number of data bytes of variable length.
void DataGroupReader::readLength(const Group& group, const char* record, Frame& frame) const
{
    const Mf4Group& channels = *group.description;
    const auto has = [=](const Mf4Number& number) {
        return number.isPresent && number.isValid(record);
    };
    const auto valueOf = [&](const Mf4Number& number) {
        return has(number) ? number.value(record, group.records) : 0;
    };
    const bool isVariable = channels.bytes.isPresent;
    const qint64 stored = isVariable ? static_cast<qint64>(frame.data.size()) : channels.bytesSize;
    const qint64 code = valueOf(channels.dlc);
    frame.fd = valueOf(channels.edl) != 0;
    frame.bitRateSwitch = frame.fd && valueOf(channels.brs) != 0;
    qint64 length = stored;
    if (has(channels.length))
        length = valueOf(channels.length);
    else if (has(channels.dlc))
        length = code < 0 ? 0 : fdLengthOf(static_cast<quint32>(std::min<qint64>(code, 15)));
    // Only FD frames have more than 8 bytes.
    if (!has(channels.edl))
        frame.fd = std::min(length, stored) > longestClassicFrame;
    const qint64 most = frame.fd ? static_cast<qint64>(frame.data.size()) : longestClassicFrame;
    frame.length = static_cast<quint8>(std::clamp<qint64>(std::min(length, stored), 0, most));
}

void DataGroupReader::readTime(const Group& group, const char* record, Frame& frame)
{
    const std::optional<qint64> elapsed = group.description->time.read(record, group.records);
    qint64 time = 0;
    if (elapsed && !__builtin_add_overflow(*elapsed, recording.structure.start, &time) &&
        time >= 0 && time <= latestTime)
        frame.nanoseconds = time;
    else
        ++recording.withoutTime;
}

/// Reads the data bytes of variable length that are in a stream of their own.
bool DataGroupReader::readStream(Group& group, const char* record, Frame& frame)
{
    Mf4Data& stream = *group.variableData;
    const qint64 position = group.description->bytes.value(record, group.records);
    if (!stream.seek(position) || !stream.require(4)) {
        reportProblem(QStringLiteral("frame skipped: its data bytes are missing"));
        return false;
    }
    const qint64 size = littleEndian<quint32>(stream.data());
    const qint64 used = std::min<qint64>(size, frame.length);
    if (!stream.require(4 + used)) {
        reportProblem(QStringLiteral("frame skipped: its data bytes are missing"));
        return false;
    }
    setBytes(frame, group.description->edl.isPresent, stream.data() + 4, used);
    return true;
}

/// Finds the data bytes of the frame at \a place in a group of data bytes, or waits for them.
void DataGroupReader::pairFrame(Group& group, qint64 position, int place)
{
    const auto isBefore = [](const VariableBytes& bytes, qint64 wanted) {
        return bytes.position < wanted;
    };
    auto found = group.unused.begin();
    if (arePositionsKnown)
        found = std::lower_bound(group.unused.begin(), group.unused.end(), position, isBefore);
    if (found != group.unused.end() && (found->position == position || !arePositionsKnown)) {
        complete(place, *found);
        group.unused.erase(found);
        return;
    }
    auto where = group.unpaired.end();
    while (arePositionsKnown && where != group.unpaired.begin() && (where - 1)->position > position)
        --where;
    group.unpaired.insert(where, {position, place});
    if (group.unpaired.size() > maxUnpaired)
        giveUp(group);
}

/// Gives \a bytes to the frame that waits for them, or keeps them.
void DataGroupReader::pairBytes(Group& group, const VariableBytes& bytes)
{
    auto found = group.unpaired.begin();
    if (arePositionsKnown && found != group.unpaired.end() && found->position != bytes.position)
        found = std::lower_bound(
            group.unpaired.begin(), group.unpaired.end(), bytes.position,
            [](const Unpaired& frame, qint64 wanted) { return frame.position < wanted; });
    if (found != group.unpaired.end() &&
        (found->position == bytes.position || !arePositionsKnown)) {
        complete(found->place, bytes);
        group.unpaired.erase(found);
        return;
    }
    group.unused.push_back(bytes);
    if (group.unused.size() > maxUnpaired)
        group.unused.pop_front();
}

/// Gives the first frame without data bytes the next unused ones, or drops it.
void DataGroupReader::giveUp(Group& group)
{
    const int place = group.unpaired.front().place;
    group.unpaired.pop_front();
    if (group.unused.empty()) {
        at(place).isDropped = true;
        reportProblem(QStringLiteral("frame skipped: its data bytes are missing"));
        return;
    }
    complete(place, group.unused.front());
    group.unused.pop_front();
    ++recording.guessedBytes;
}

void DataGroupReader::complete(int place, const VariableBytes& bytes)
{
    setBytes(at(place).frame, at(place).isFdKnown, bytes.bytes.data(), bytes.size);
    at(place).isComplete = true;
}

DataGroupReader::Turn DataGroupReader::turnOf(int place, int index) const
{
    const Waiting& frame = waiting[static_cast<size_t>(place)];
    return {frame.time, frame.number, index};
}

int DataGroupReader::addPlace(const Frame& frame)
{
    int place = firstFree;
    if (place == nowhere) {
        place = static_cast<int>(waiting.size());
        waiting.emplace_back();
    } else {
        firstFree = at(place).next;
    }
    Waiting& added = at(place);
    added.frame = frame;
    added.time = frame.nanoseconds.value_or(newest);
    added.number = nextNumber++;
    added.next = nowhere;
    added.isComplete = false;
    added.isDropped = false;
    newest = added.time;
    return place;
}

void DataGroupReader::enqueue(Group& group, int place)
{
    ++count;
    if (group.tail != nowhere && at(place).time < at(group.tail).time) {
        others.push_back(turnOf(place, place));
        std::push_heap(others.begin(), others.end(), IsLater());
        return;
    }
    if (group.tail != nowhere) {
        at(group.tail).next = place;
        group.tail = place;
        return;
    }
    group.head = group.tail = place;
    heads.push_back(turnOf(place, static_cast<int>(&group - groups.data())));
    std::push_heap(heads.begin(), heads.end(), IsLater());
}

/// Whether the earliest frame is one of those out of order in their group.
bool DataGroupReader::isOtherFirst() const
{
    return heads.empty() || (!others.empty() && IsLater()(heads.front(), others.front()));
}

int DataGroupReader::earliest() const
{
    return isOtherFirst() ? others.front().index
                          : groups[static_cast<size_t>(heads.front().index)].head;
}

void DataGroupReader::removeEarliest()
{
    const int place = earliest();
    if (isOtherFirst()) {
        std::pop_heap(others.begin(), others.end(), IsLater());
        others.pop_back();
    } else {
        std::pop_heap(heads.begin(), heads.end(), IsLater());
        Group& group = groups[static_cast<size_t>(heads.back().index)];
        group.head = at(place).next;
        if (group.head == nowhere) {
            group.tail = nowhere;
            heads.pop_back();
        } else {
            heads.back() = turnOf(group.head, heads.back().index);
            std::push_heap(heads.begin(), heads.end(), IsLater());
        }
    }
    at(place).next = firstFree;
    firstFree = place;
    --count;
}

class Mf4Source : public FrameSource
{
public:
    Mf4Source(std::unique_ptr<QIODevice> device, const QString& name);

    bool next(Frame& frame) override;
    SourceCounts counts() const override;
    SourceProgress progress() const override;
    QStringList buses() const override;
    QVector<Problems> problems() const override { return {recording.problems}; }
    QStringList notes() const override;
    QString error() const override;

private:
    bool isLater(size_t a, size_t b) const;

    QString fileName;
    Recording recording;
    std::vector<std::unique_ptr<DataGroupReader>> readers;
    std::vector<size_t> order; // a heap of the readers with frames, by the time of the next one
    bool isStarted = false;
    qint64 previousTime = 0;
    qint64 outOfOrder = 0;
};

Mf4Source::Mf4Source(std::unique_ptr<QIODevice> device, const QString& name)
    : fileName(name), recording(std::move(device), name)
{
    for (const Mf4DataGroup& group : recording.structure.dataGroups)
        readers.push_back(std::make_unique<DataGroupReader>(recording, group));
}

bool Mf4Source::isLater(size_t a, size_t b) const
{
    const qint64 first = readers[a]->time();
    const qint64 second = readers[b]->time();
    return first != second ? first > second : a > b;
}

bool Mf4Source::next(Frame& frame)
{
    const auto later = [this](size_t a, size_t b) { return isLater(a, b); };
    if (!isStarted) {
        isStarted = true;
        for (size_t i = 0; i < readers.size(); ++i)
            if (readers[i]->prepare())
                order.push_back(i);
        std::make_heap(order.begin(), order.end(), later);
    }
    if (order.empty())
        return false;
    std::pop_heap(order.begin(), order.end(), later);
    DataGroupReader& reader = *readers[order.back()];
    reader.take(frame);
    if (reader.prepare())
        std::push_heap(order.begin(), order.end(), later);
    else
        order.pop_back();
    const qint64 time = frame.nanoseconds.value_or(previousTime);
    outOfOrder += time < previousTime;
    previousTime = time;
    return true;
}

SourceCounts Mf4Source::counts() const
{
    SourceCounts counts;
    counts.errorFrames = recording.errorFrames;
    counts.unreadable = recording.problems.count();
    return counts;
}

SourceProgress Mf4Source::progress() const
{
    const qint64 total = recording.file.size();
    if (isStarted && order.empty())
        return {total, total};
    qint64 done = 0;
    for (const auto& reader : readers)
        done += reader->bytesRead();
    return {std::min(done, total), total};
}

QStringList Mf4Source::buses() const
{
    const QStringList names = recording.buses.names();
    return names.isEmpty() ? QStringList(QString()) : names;
}

QStringList Mf4Source::notes() const
{
    const Mf4Structure& structure = recording.structure;
    QStringList notes = structure.notes;
    if (structure.isLocalTime)
        notes += QStringLiteral("times are local times of an unknown time zone; treated as UTC");
    if (structure.isUnfinished)
        notes += QStringLiteral("was not finalised by its recorder; its data is read as far as it "
                                "goes");
    if ((structure.unfinished & 0x10) != 0)
        notes += QStringLiteral("its recorder did not complete the lists of data blocks; blocks "
                                "that are not listed are not read");
    if (!structure.isUnfinished && recording.statedRecords != recording.foundRecords)
        notes += QStringLiteral("states that its groups have %1 records, but %2 were found")
                     .arg(recording.statedRecords)
                     .arg(recording.foundRecords);
    const std::pair<qint64, QString> counted[] = {
        {recording.guessedExtended,
         QStringLiteral("frame(s) with an id above 7FF are not marked as "
                        "extended; treated as extended")},
        {recording.guessedBytes, QStringLiteral("frame(s) have no data bytes where the file says; "
                                                "the next unused ones are taken")},
        {recording.withoutTime, QStringLiteral("frame(s) have no usable time")},
        {outOfOrder, QStringLiteral("frame(s) are earlier than the previous frame")}};
    for (const auto& [number, text] : counted)
        if (number > 0)
            notes += QString::number(number) + ' ' + text;
    for (QString& note : notes)
        note.prepend(fileName + ": ");
    return notes;
}

QString Mf4Source::error() const
{
    QString error = recording.file.error();
    if (error.isEmpty() && !recording.structure.error.isEmpty())
        error = fileName + ": " + recording.structure.error;
    return error;
}

} // namespace

qint64 findMf4(const QByteArray& start)
{
    constexpr int versionText = 8;
    constexpr int versionNumber = 28;
    if (!start.startsWith("MDF     ") && !start.startsWith("UnFinMF "))
        return -1;
    if (start.size() >= versionNumber + 2)
        return littleEndian<quint16>(start.constData() + versionNumber) >= 400 ? 0 : -1;
    return start.size() <= versionText || start.at(versionText) >= '4' ? 0 : -1;
}

std::unique_ptr<FrameSource> openMf4(std::unique_ptr<QIODevice> device, const QString& name)
{
    return std::make_unique<Mf4Source>(std::move(device), name);
}

} // namespace monitor
