#include "Recordings.h"

#include "formats.h"
#include "sources/FrameFilter.h"
#include "text/LineCursor.h"

#include <QtCore/QFileInfo>

#include <algorithm>
#include <utility>

namespace monitor
{

namespace
{

/// \a time + \a shift; unknown if that is out of range.
std::optional<qint64> shifted(qint64 time, qint64 shift)
{
    const qint64 sum = time + shift; // neither is greater than latestTime
    return sum >= 0 && sum <= latestTime ? std::optional<qint64>(sum) : std::nullopt;
}

void shiftTimes(qint64 shift, Frame* frames, size_t count)
{
    for (size_t i = 0; i < count && shift != 0; ++i) {
        if (frames[i].nanoseconds)
            frames[i].nanoseconds = shifted(*frames[i].nanoseconds, shift);
    }
}

constexpr int maxNotes = 10; // a thousand files would have a thousand similar ones
constexpr int framesAhead = 64;

} // namespace

/// One recording, and frames that have been read from it in advance.
struct Recordings::Part {
    QString fileName;
    int number = 0; // in the given order
    qint64 bytes = 0;
    std::unique_ptr<FrameSource> source;
    std::vector<Frame> ahead;
    size_t next = 0; // position of the head, the next frame, in ahead
    size_t aheadEnd = 0;
    std::optional<qint64> first; // the time of the first frame, if known
    qint64 time = 0;             // of the head, or of the newest frame before it that has one
    qint64 shift = 0;            // added to its times
    QVector<int> busOf;          // numbers of its buses here; -1: no frame was delivered so far
    bool keepsBuses = true;      // whether these are its own numbers

    bool isAbsolute() const { return first && *first >= firstAbsoluteTime; }
    bool hasHead() const { return next < aheadEnd; }
    void noteTimeOfHead() { time = ahead[next].nanoseconds.value_or(time); }

    void close()
    {
        source.reset();
        ahead = {};
        next = aheadEnd = 0;
    }

    static bool isLater(const Part* left, const Part* right)
    {
        return std::make_pair(left->time, left->number) >
               std::make_pair(right->time, right->number);
    }
};

Recordings::Recordings(const QStringList& fileNames, std::function<bool()> isStopped,
                       int interruptDescriptor)
    : stop(std::move(isStopped)), interrupt(interruptDescriptor)
{
    for (const QString& fileName : fileNames) {
        auto part = std::make_unique<Part>();
        part->fileName = fileName;
        part->number = static_cast<int>(waiting.size());
        part->bytes = fileName == QLatin1String("-") ? 0 : QFileInfo(fileName).size();
        totalBytes += part->bytes;
        open(*part);
        if (!part->source || !readHead(*part)) {
            finish(*part);
            continue;
        }
        part->first = part->ahead.front().nanoseconds;
        // A file is opened again when its turn comes, so that any number of files can be read.
        if (fileNames.size() > 1 && fileName != QLatin1String("-") && QFileInfo(fileName).isFile())
            part->close();
        waiting.push_back(std::move(part));
    }
    std::stable_sort(waiting.begin(), waiting.end(), [](const auto& left, const auto& right) {
        const auto keyOf = [](const Part& part) {
            return std::make_tuple(!part.isAbsolute(), part.isAbsolute() ? *part.first : 0,
                                   part.number);
        };
        return keyOf(*right) < keyOf(*left);
    });
}

Recordings::~Recordings() = default;

int Recordings::read(Frame* frames, int size)
{
    if (isStopRequested())
        return 0;
    const int wanted = stop ? std::min(size, untilStopCheck) : size;
    int count = 0;
    while (count < wanted) {
        if (started.size() == 1 && !started.front()->hasHead()) {
            if (count > 0)
                break; // the next frame may not have arrived yet
            Part& part = *started.front();
            if (waiting.empty()) {
                count = readFrames(part, frames, wanted);
                renumberBuses(part, frames, count);
            } else {
                readHead(part);
            }
            if (count == 0 && !part.hasHead())
                remove(part);
            continue;
        }
        startDue();
        if (started.empty())
            break;
        frames[count++] = takeHead();
    }
    untilStopCheck -= stop ? count : 0;
    return count;
}

/// Takes the next frame of the recordings that have been started. Afterwards all of them have a
/// head, unless there is only one.
Frame Recordings::takeHead()
{
    Part& part = *started.front();
    Frame frame = part.ahead[part.next++];
    renumberBuses(part, &frame, 1);
    isAnyDelivered = true;
    newest = std::max(newest, part.time);
    if (started.size() > 1)
        std::pop_heap(started.begin(), started.end(), Part::isLater);
    if (part.hasHead())
        part.noteTimeOfHead();
    else if (started.size() > 1 && !readHead(part))
        remove(part);
    std::push_heap(started.begin(), started.end(), Part::isLater);
    return frame;
}

/// Removes a part that has ended from the started ones.
void Recordings::remove(Part& part)
{
    finish(part);
    started.erase(std::find(started.begin(), started.end(), &part));
    std::make_heap(started.begin(), started.end(), Part::isLater);
    owned.erase(std::find_if(owned.begin(), owned.end(),
                             [&part](const auto& other) { return other.get() == &part; }));
}

/// Starts the waiting recordings that may have the next frame.
void Recordings::startDue()
{
    while (!waiting.empty()) {
        Part& part = *waiting.back();
        if (!started.empty() && (!part.isAbsolute() || *part.first > started.front()->time))
            return;
        const bool isReopened = part.source == nullptr;
        if (isReopened)
            open(part);
        if (!part.isAbsolute() && isAnyDelivered) {
            part.shift = newest - part.first.value_or(0);
            allNotes += QStringLiteral("%1: has no absolute times, so it is read as if it began "
                                       "when the previous recording ended")
                            .arg(part.fileName);
            if (!isReopened)
                shiftTimes(part.shift, part.ahead.data(), part.aheadEnd);
            part.time = newest;
        }
        owned.push_back(std::move(waiting.back()));
        waiting.pop_back();
        if (isReopened && (!part.source || !readHead(part))) {
            finish(part); // the file has changed
            owned.pop_back();
            continue;
        }
        started.push_back(&part);
        std::push_heap(started.begin(), started.end(), Part::isLater);
    }
}

void Recordings::open(Part& part)
{
    OpenedRecording opened = openRecording(part.fileName, interrupt);
    part.source = std::move(opened.source);
    if (!opened.error.isEmpty())
        errors += opened.error;
}

/// Reads frames of \a part in advance. Returns false at its end.
bool Recordings::readHead(Part& part)
{
    part.ahead.resize(framesAhead);
    part.next = 0;
    part.aheadEnd = static_cast<size_t>(readFrames(part, part.ahead.data(), framesAhead));
    if (part.hasHead())
        part.noteTimeOfHead();
    return part.hasHead();
}

/// Reads frames of \a part as FrameSource::read() does, with their times here.
int Recordings::readFrames(Part& part, Frame* frames, int size)
{
    const int count = part.source->read(frames, size);
    shiftTimes(part.shift, frames, static_cast<size_t>(count));
    return count;
}

/// Replaces the buses of frames of \a part by their numbers here. Frames are passed in the order in
/// which they are delivered, so buses are numbered in the order of their first frames, however far
/// recordings are read ahead.
void Recordings::renumberBuses(Part& part, Frame* frames, int count)
{
    quint16 highestBus = 0;
    for (int i = 0; i < count; ++i)
        highestBus = std::max(highestBus, frames[i].bus);
    if (part.keepsBuses && highestBus < part.busOf.size())
        return;
    for (int i = 0; i < count; ++i)
        frames[i].bus = busHere(part, frames[i].bus);
}

/// The number here of a bus of \a part.
quint16 Recordings::busHere(Part& part, quint16 bus)
{
    while (part.busOf.size() <= bus)
        part.busOf.append(-1);
    if (part.busOf.at(bus) < 0) {
        part.busOf[bus] = names.indexOf(part.source->buses().value(bus).toUtf8());
        part.keepsBuses = true;
        for (int i = 0; i < part.busOf.size(); ++i)
            part.keepsBuses = part.keepsBuses && part.busOf.at(i) == i;
    }
    return static_cast<quint16>(part.busOf.at(bus));
}

void Recordings::finish(Part& part)
{
    finishedBytes += part.bytes;
    if (!part.source)
        return;
    const SourceCounts counts = part.source->counts();
    finishedCounts.errorFrames += counts.errorFrames;
    finishedCounts.lost += counts.lost;
    finishedCounts.unreadable += counts.unreadable;
    finishedProblems += part.source->problems();
    allNotes += part.source->notes();
    if (!part.source->error().isEmpty())
        errors += part.source->error();
    part.close();
}

bool Recordings::isStopRequested()
{
    constexpr int framesPerCheck = 4096;
    if (!stop || untilStopCheck > 0)
        return false;
    if (stop())
        return true;
    untilStopCheck = framesPerCheck;
    return false;
}

SourceCounts Recordings::counts() const
{
    SourceCounts sum = finishedCounts;
    for (const Part* part : started) {
        const SourceCounts counts = part->source->counts();
        sum.errorFrames += counts.errorFrames;
        sum.lost += counts.lost;
        sum.unreadable += counts.unreadable;
    }
    return sum;
}

SourceProgress Recordings::progress() const
{
    SourceProgress sum{finishedBytes, totalBytes};
    for (const Part* part : started)
        sum.done += part->source->progress().done;
    return sum;
}

QVector<Problems> Recordings::problems() const
{
    QVector<Problems> all = finishedProblems;
    for (const Part* part : started)
        all += part->source->problems();
    return all;
}

QStringList Recordings::notes() const
{
    QStringList notes = allNotes;
    for (const Part* part : started)
        notes += part->source->notes();
    if (notes.size() <= maxNotes)
        return notes;
    const auto omitted = notes.size() - maxNotes;
    return notes.mid(0, maxNotes) +
           QStringList(QStringLiteral("... and %1 more remarks like these").arg(omitted));
}

QString Recordings::error() const
{
    QStringList all = errors;
    for (const Part* part : started) {
        if (!part->source->error().isEmpty())
            all += part->source->error();
    }
    return all.join('\n');
}

} // namespace monitor
