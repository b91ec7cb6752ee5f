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

constexpr int maxNotes = 10; // a thousand files would have a thousand similar ones

} // namespace

/// One recording and its next frame.
struct Recordings::Part {
    QString fileName;
    int number = 0; // in the given order
    qint64 bytes = 0;
    std::unique_ptr<FrameSource> source;
    Frame head;
    std::optional<qint64> first; // the time of the first frame, if known
    qint64 time = 0;             // of the head, or of the newest frame before it that has one
    qint64 shift = 0;            // added to its times
    QVector<quint16> busOf;      // numbers of its buses here
    QStringList openingNotes;

    bool isAbsolute() const { return first && *first >= firstAbsoluteTime; }

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
        part->first = part->head.nanoseconds;
        // A file is opened again when its turn comes, so that any number of files can be read.
        if (fileNames.size() > 1 && fileName != QLatin1String("-") && QFileInfo(fileName).isFile())
            part->source.reset();
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

bool Recordings::next(Frame& frame)
{
    if (isStopRequested())
        return false;
    startDue();
    if (started.empty())
        return false;
    Part& part = *started.front();
    frame = part.head;
    isAnyDelivered = true;
    newest = std::max(newest, part.time);
    if (started.size() > 1)
        std::pop_heap(started.begin(), started.end(), Part::isLater);
    if (readHead(part)) {
        if (started.size() > 1)
            std::push_heap(started.begin(), started.end(), Part::isLater);
        return true;
    }
    finish(part);
    started.erase(std::find(started.begin(), started.end(), &part));
    std::make_heap(started.begin(), started.end(), Part::isLater);
    owned.erase(std::find_if(owned.begin(), owned.end(),
                             [&part](const auto& other) { return other.get() == &part; }));
    return true;
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
            if (!isReopened && part.head.nanoseconds)
                part.head.nanoseconds = shifted(*part.head.nanoseconds, part.shift);
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

/// Reads the next frame of \a part. Returns false at its end.
bool Recordings::readHead(Part& part)
{
    if (!part.source->next(part.head))
        return false;
    if (part.head.bus >= part.busOf.size()) {
        const QStringList busNames = part.source->buses();
        for (auto i = part.busOf.size(); i < busNames.size(); ++i)
            part.busOf.append(names.indexOf(busNames.at(i).toUtf8()));
    }
    part.head.bus = part.busOf.value(part.head.bus);
    if (part.head.nanoseconds) {
        part.head.nanoseconds = shifted(*part.head.nanoseconds, part.shift);
        part.time = part.head.nanoseconds.value_or(part.time);
    }
    return true;
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
    part.source.reset();
}

bool Recordings::isStopRequested()
{
    constexpr quint32 framesPerCheck = 4096;
    if (!stop || untilStopCheck-- > 0)
        return false;
    untilStopCheck = framesPerCheck;
    if (!stop())
        return false;
    untilStopCheck = 0;
    return true;
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
