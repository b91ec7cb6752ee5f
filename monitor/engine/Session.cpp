#include "Session.h"

#include "pipeline/BlockPipeline.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>

namespace monitor
{

Session::Session(QVector<CatalogueMessage> descriptions, double k)
    : bandK(k), decoder(std::move(descriptions)), signalRegistry(decoder.messages())
{
    signalRegistry.keep({&spill});
}

void Session::take(const Frame& frame)
{
    pass(frame, [this](const Payload& payload, FrameRoute& route) {
        noteTime(payload, route);
        return record(payload, route, counted.decoded);
    });
}

/// Passes \a frame, and a multi-frame message that it completes, to \a record if their messages
/// are described. It returns whether there are signals.
template <typename Record>
void Session::pass(const Frame& frame, Record record)
{
    ++counted.total;
    noteBus(frame.bus);
    FrameRoute& route = routeOf(busIdOf(frame), false);
    bool isDecoded = false;
    if (route.found != nullptr && !frame.remote) {
        noteChange(*route.found);
        isDecoded = record(payloadOf(frame), route);
    } else {
        ++route.undecoded;
    }
    if (ids)
        ids->take(frame, route.message);
    if (!route.mayTransport)
        return;
    if (const auto message = transports[frame.bus].take(frame, isDecoded))
        pass(frame.bus, *message, record);
}

/// The same for a reassembled message, whose frames are decoded now.
template <typename Record>
void Session::pass(quint16 bus, const TransportedMessage& message, Record record)
{
    FrameRoute& route = routeOf({bus, message.payload.id, message.payload.extended}, true);
    if (ids)
        ids->take(message.payload, route.message);
    if (route.found == nullptr)
        return;
    noteChange(*route.found);
    if (!record(message.payload, route))
        return;
    counted.decoded += message.frames;
    for (const FrameCount& ofId : message.framesById)
        undecoded.add({bus, ofId.id, true}, -ofId.frames);
}

/// Notes that the rows of \a message are out of date. This needs no lock, because only one thread
/// at a time reads frames.
void Session::noteChange(MessageSignals& message)
{
    if (message.isChanged)
        return;
    message.isChanged = true;
    changed.push_back(&message);
}

/// Records the signals in \a payload. Returns whether there are any. If there are, a single frame
/// is added to \a decoded.
bool Session::record(const Payload& payload, FrameRoute& route, qint64& decoded)
{
    const bool isAny = decoder.forEachSignal(
        payload, route.message, [&](int signal, quint64 bits, Availability availability) {
            signalRegistry.record(*route.found, signal, bits, availability, payload.nanoseconds);
        });
    if (!payload.transported)
        ++(isAny ? decoded : route.withoutSignals);
    return isAny;
}

bool Session::hasSignals(const Payload& payload, const FrameRoute& route) const
{
    return decoder.forEachSignal(payload, route.message, [](int, quint64, Availability) {});
}

void Session::noteTime(const Payload& payload, const FrameRoute& route)
{
    if (!signalRegistry.firstTime() && payload.nanoseconds && hasSignals(payload, route))
        signalRegistry.noteTime(payload.nanoseconds);
}

FrameRoute& Session::routeOf(const BusId& id, bool isTransported)
{
    return routes.of(id, isTransported, [&](FrameRoute& route) {
        Payload payload;
        payload.id = id.id;
        payload.extended = id.extended;
        payload.bus = id.bus;
        payload.transported = isTransported;
        route.message = decoder.messageOf(payload);
        route.mayTransport =
            !isTransported && isTransportId(id.id) && decoder.mayTransport(payload);
        if (route.message >= 0)
            route.found = &signalRegistry.signalsOf(route.message, id.bus,
                                                    decoder.sourceOf(route.message, id.id));
    });
}

void Session::setBuses(const QStringList& names)
{
    busNames = names;
    decoder.setBuses(names);
    routes.addUndecodedTo(undecoded);
    routes.clear(); // messages may be described for the new buses
    signalRegistry.setBuses(names, hasSeveralBuses);
    areRowsValid = false;
}

void Session::noteBus(quint16 bus)
{
    if (!firstBus)
        firstBus = bus;
    if (hasSeveralBuses || bus == *firstBus)
        return;
    hasSeveralBuses = true;
    signalRegistry.setBuses(busNames, true);
    areRowsValid = false;
}

/// Whether a frame on \a bus changes what is known about the buses.
bool Session::isNewBus(quint16 bus) const
{
    return bus >= busNames.size() || (!hasSeveralBuses && firstBus && bus != *firstBus);
}

void Session::takeAll(FrameSource& source, int threads, const ProgressCall& progress)
{
    takeFrames(source, threads, progress);
    const SourceCounts counts = source.counts();
    counted.errors += counts.errorFrames - taken.errorFrames;
    counted.dropped += counts.lost - taken.lost;
    counted.unreadable += counts.unreadable - taken.unreadable;
    taken = counts;
}

namespace
{

/// A frame, or a multi-frame message, to be recorded.
struct RecordingTask {
    Payload payload;
    FrameRoute* route;
};

/// Fetches the signals of some of \a tasks after the one with this \a number into the cache, step
/// by step. With many signals, waiting for memory would take longer than recording.
void prefetchFor(const std::vector<RecordingTask>& tasks, size_t number)
{
    constexpr size_t farAhead = 8;
    constexpr size_t nearAhead = 2;
    if (number + farAhead < tasks.size())
        tasks[number + farAhead].route->found->prefetch();
    if (number + nearAhead >= tasks.size())
        return;
    for (const SignalValues* const values : tasks[number + nearAhead].route->found->values) {
        if (values != nullptr)
            values->prefetch();
    }
}

/// The number of decoded frames of a lane, in a cache line of its own.
struct alignas(64) DecodedFrames {
    qint64 count = 0;
};

/// Some successive frames of a recording.
struct FrameBlock {
    std::vector<Frame> frames = std::vector<Frame>(1024);
    std::vector<std::vector<RecordingTask>> tasks; // by lane
    std::deque<QByteArray> transported;            // the data of multi-frame messages
};

} // namespace

/// Reads the frames of a source, and distributes the described ones to lanes.
class Session::BlockReader
{
public:
    BlockReader(Session& readingSession, FrameSource& frameSource)
        : session(readingSession), source(frameSource)
    {
    }

    /// Reads frames for the next blocks. Returns false if there are no more.
    bool readFrames()
    {
        position = 0;
        size = static_cast<size_t>(source.read(frames.data(), static_cast<int>(frames.size())));
        const SourceProgress read = source.progress();
        done = read.done;
        total = read.total;
        return size > 0;
    }

    /// Moves the next frames to \a block. Returns false if there are no more. Calls
    /// \a waitUntilRecorded before routes and buses of earlier blocks change.
    template <typename Wait>
    bool read(FrameBlock& block, Wait waitUntilRecorded)
    {
        for (auto& tasks : block.tasks)
            tasks.clear();
        block.transported.clear();
        if (position == size && !readFrames())
            return false;
        block.frames.swap(frames);
        for (bool isFirst = true; position < size; ++position) {
            const Frame& frame = block.frames[position];
            if (session.isNewBus(frame.bus)) {
                if (!isFirst)
                    break; // the next block begins with this frame
                waitUntilRecorded();
                if (frame.bus >= session.busNames.size())
                    session.setBuses(source.buses());
            }
            isFirst = false;
            session.pass(frame, [&](const Payload& payload, FrameRoute& route) {
                return add(payload, route, block);
            });
        }
        if (position < size)
            std::copy(block.frames.begin() + static_cast<std::ptrdiff_t>(position),
                      block.frames.begin() + static_cast<std::ptrdiff_t>(size),
                      frames.begin() + static_cast<std::ptrdiff_t>(position));
        return true;
    }

    SourceProgress progress() const { return {done, total}; }

private:
    /// Returns whether there are signals, if the caller needs to know that.
    bool add(const Payload& payload, FrameRoute& route, FrameBlock& block) const
    {
        session.noteTime(payload, route);
        const bool isDecoded =
            (route.mayTransport || payload.transported) && session.hasSignals(payload, route);
        auto& tasks = block.tasks[route.found->number % block.tasks.size()];
        tasks.push_back({payload, &route});
        if (payload.transported) {
            block.transported.emplace_back(reinterpret_cast<const char*>(payload.data),
                                           payload.length);
            tasks.back().payload.data =
                reinterpret_cast<const quint8*>(block.transported.back().constData());
        }
        return isDecoded;
    }

    Session& session;
    FrameSource& source;
    std::vector<Frame> frames = FrameBlock().frames; // of which those from position on are left
    size_t position = 0;
    size_t size = 0;
    std::atomic<qint64> done{0};
    std::atomic<qint64> total{0};
};

// The signals of a message are recorded in one lane, in the order of its frames.
void Session::takeFrames(FrameSource& source, int threads, const ProgressCall& progress)
{
    constexpr int lanesPerThread = 4; // so that all threads have work to do until the end
    constexpr int blocksPerThread = 4;
    BlockReader reader(*this, source);
    if (!reader.readFrames()) // as usual on a quiet bus
        return;
    BlockPipeline::Steps steps;
    steps.blocks = threads > 1 ? blocksPerThread * threads : 1;
    // A sink takes the values of all signals in the order of the frames, so one lane records them.
    const bool hasLanes = threads > 1 && signalRegistry.sinks().empty();
    steps.lanes = hasLanes ? lanesPerThread * threads : 1;
    std::vector<FrameBlock> blocks(static_cast<size_t>(steps.blocks));
    for (FrameBlock& block : blocks)
        block.tasks.resize(static_cast<size_t>(steps.lanes));
    std::vector<DecodedFrames> decoded(static_cast<size_t>(steps.lanes));
    std::optional<BlockPipeline> pipeline;
    steps.read = [&](int block) {
        return reader.read(blocks[static_cast<size_t>(block)],
                           [&] { pipeline->waitUntilProcessed(); });
    };
    steps.process = [&](int block, int lane) {
        const auto& tasks = blocks[static_cast<size_t>(block)].tasks[static_cast<size_t>(lane)];
        qint64 frames = 0;
        for (size_t i = 0; i < tasks.size(); ++i) {
            prefetchFor(tasks, i);
            record(tasks[i].payload, *tasks[i].route, frames);
        }
        decoded[static_cast<size_t>(lane)].count += frames;
    };
    if (progress)
        steps.update = [&] { progress(reader.progress()); };
    pipeline.emplace(steps);
    pipeline->run(threads);
    for (const DecodedFrames& ofLane : decoded)
        counted.decoded += ofLane.count;
}

void Session::clear()
{
    signalRegistry.clear();
    areRowsValid = false;
    for (auto& transport : transports)
        transport.second.clearCounts();
    counted = FrameCounts();
    undecoded.clear();
    routes.clear();
    savedUndecoded.clear();
    if (ids)
        ids->clear();
}

QStringList Session::remarks()
{
    QStringList texts;
    for (const GuessedMessage& guess : decoder.guesses()) {
        const CatalogueMessage& message = decoder.messages().at(guess.message);
        texts += QStringLiteral("PGN %1 from source %2 was decoded as \"%3\", the first of %4 "
                                "messages with this PGN, because none has a matching address")
                     .arg(pgnOf(message.id))
                     .arg(guess.source)
                     .arg(message.name)
                     .arg(guess.candidates);
    }
    for (const QString& text : {spillRemark(), spill.error()}) {
        if (!text.isEmpty())
            texts += text;
    }
    return texts;
}

QStringList Session::urgentRemarks() const
{
    QStringList texts;
    for (const ValueSink* const sink : signalRegistry.sinks())
        texts += sink->error();
    if (spill.size() > 0)
        texts += QStringLiteral("%1: a temporary file is used to count values exactly, because "
                                "there are too many distinct ones for memory")
                     .arg(spill.folder());
    texts += spill.error();
    texts.removeAll(QString());
    return texts;
}

QString Session::spillRemark()
{
    QStringList names;
    for (const int signal : signalRegistry.sorted()) {
        if (signalRegistry.at(signal).values().isSpilled())
            names += signalRegistry.at(signal).identity().name;
    }
    if (names.isEmpty())
        return QString();
    constexpr qint64 bytesPerMegabyte = 1000000;
    const QString others = names.size() == 1
                               ? QString()
                               : QStringLiteral(" and %1 other signal(s)").arg(names.size() - 1);
    return QStringLiteral(
               "%1%2: too many distinct values for memory; they are counted exactly in a "
               "temporary file in %3 (%4 MB)")
        .arg(names.constFirst(), others, spill.folder())
        .arg(spill.size() / bytesPerMegabyte + 1);
}

void Session::setCounts(const FrameCounts& counts, const QVector<UndecodedId>& undecodedIds)
{
    counted = counts;
    savedUndecoded = undecodedIds;
}

void Session::ignoreOrder()
{
    for (const int signal : signalRegistry.sorted())
        signalRegistry.at(signal).values().ignoreOrder();
}

void Session::addCounts(const FrameCounts& counts)
{
    const auto added = pointersTo(counts);
    const auto sums = pointersTo(counted);
    for (size_t i = 0; i < sums.size(); ++i)
        *sums[i] += *added[i];
}

quint16 Session::addBus(const QString& name)
{
    const auto known = busNames.indexOf(name);
    if (known >= 0)
        return static_cast<quint16>(known);
    busNames += name;
    hasSeveralBuses = busNames.size() > 1;
    signalRegistry.setBuses(busNames, hasSeveralBuses);
    return static_cast<quint16>(busNames.size() - 1);
}

/// The undecoded ids, with the \a names of their buses unless these are empty.
QVector<UndecodedId> Session::undecodedIds(const QStringList& names) const
{
    UndecodedFrames all = undecoded;
    routes.addUndecodedTo(all);
    return savedUndecoded + all.sorted(names);
}

QVector<IdStatistics> Session::calcIdStatistics() const
{
    return ids ? ids->calcStatistics(decoder.messages(), shownBuses()) : QVector<IdStatistics>();
}

FrameCounts Session::counts() const
{
    FrameCounts counts = counted;
    for (const auto& transport : transports) {
        const TransportCounts& messages = transport.second.counts();
        counts.transport.messages += messages.messages;
        counts.transport.lost += messages.lost;
        counts.transport.outOfOrder += messages.outOfOrder;
        counts.transport.interrupted += messages.interrupted;
    }
    return counts;
}

Snapshot Session::getSnapshot(qint64 now)
{
    updateRows(Moments::Running);
    return snapshotOf(now);
}

Snapshot Session::calcSnapshot()
{
    updateRows(Moments::Exact);
    Snapshot snapshot = snapshotOf(std::nullopt);
    snapshot.undecoded = undecodedIds();
    snapshot.isComplete = complete;
    return snapshot;
}

Snapshot Session::snapshotOf(std::optional<qint64> now)
{
    updateSilence(now.value_or(std::numeric_limits<qint64>::min()));
    return {bandK, counts(), signalRegistry.firstTime(), rows, {}, true};
}

/// Computes the statistics of signals with new values. On a quiet bus with thousands of signals,
/// even asking all of them would take noticeable time.
void Session::updateRows(Moments moments)
{
    const QVector<int>& sorted = signalRegistry.sorted();
    const bool areAllOld =
        !areRowsValid || moments == Moments::Exact || rows.size() != sorted.size();
    if (areAllOld) {
        rows.resize(sorted.size());
        notSilentUntil.resize(static_cast<size_t>(sorted.size()));
        rowOf.resize(signalRegistry.numberLimit());
        for (int row = 0; row < sorted.size(); ++row) {
            rows[row].signal = sorted.at(row);
            rowOf[static_cast<size_t>(sorted.at(row))] = row;
            updateRow(row, moments);
        }
    }
    for (MessageSignals* const message : changed) {
        message->isChanged = false;
        for (size_t i = 0; i < message->bySignal.size(); ++i) {
            if (!areAllOld && message->bySignal[i])
                updateRow(rowOf[static_cast<size_t>(message->firstNumber) + i], moments);
        }
    }
    if (areAllOld || !changed.empty())
        silenceKnownUntil = silenceKnownAfter;
    changed.clear();
    areRowsValid = true;
}

void Session::updateRow(int row, Moments moments)
{
    MonitoredSignal& signal = signalRegistry.at(rows.at(row).signal);
    rows[row].statistics = signal.getStatistics(bandK, moments);
    notSilentUntil[static_cast<size_t>(row)] = signal.values().rhythm().notSilentUntil();
}

/// Finds the rows that are silent at the time \a now.
void Session::updateSilence(qint64 now)
{
    if (now > silenceKnownAfter && now <= silenceKnownUntil)
        return;
    silenceKnownAfter = std::numeric_limits<qint64>::min();
    silenceKnownUntil = std::numeric_limits<qint64>::max();
    for (int row = 0; row < rows.size(); ++row) {
        const qint64 until = notSilentUntil[static_cast<size_t>(row)];
        if (rows.at(row).isSilent != (now > until))
            rows[row].isSilent = now > until;
        if (now > until)
            silenceKnownAfter = std::max(silenceKnownAfter, until);
        else
            silenceKnownUntil = std::min(silenceKnownUntil, until);
    }
}

void Session::keepOutlines(SeriesOutline::Detail detail)
{
    Keeping keeping = signalRegistry.keeping();
    keeping.outline = detail;
    signalRegistry.keep(keeping);
}

} // namespace monitor
