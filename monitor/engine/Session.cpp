#include "Session.h"

#include <utility>

namespace monitor
{

Session::Session(QVector<CatalogueMessage> descriptions, double k)
    : bandK(k), decoder(std::move(descriptions)), signalRegistry(decoder.messages())
{
}

void Session::take(const Frame& frame)
{
    ++counted.total;
    noteBus(frame.bus);
    const bool isDecoded = record(decoder.decode(frame));
    if (isDecoded)
        ++counted.decoded;
    else
        undecoded.add(busIdOf(frame), 1);
    if (ids)
        ids->take(frame, decoder.messageOf(payloadOf(frame)));
    if (!decoder.mayTransport(frame))
        return;
    if (const auto message = transports[frame.bus].take(frame, isDecoded))
        takeTransported(frame.bus, *message);
}

/// Takes a reassembled message, whose frames are decoded now.
void Session::takeTransported(quint16 bus, const TransportedMessage& message)
{
    if (ids)
        ids->take(message.payload, decoder.messageOf(message.payload));
    if (!record(decoder.decode(message.payload)))
        return;
    counted.decoded += message.frames;
    for (const FrameCount& ofId : message.framesById)
        undecoded.add({bus, ofId.id, true}, -ofId.frames);
}

void Session::setBuses(const QStringList& names)
{
    busNames = names;
    decoder.setBuses(names);
    signalRegistry.setBuses(names, hasSeveralBuses);
}

void Session::noteBus(quint16 bus)
{
    if (!firstBus)
        firstBus = bus;
    if (hasSeveralBuses || bus == *firstBus)
        return;
    hasSeveralBuses = true;
    signalRegistry.setBuses(busNames, true);
}

void Session::takeAll(FrameSource& source, const std::function<void()>& progress)
{
    constexpr qint64 framesPerUpdate = 4096; // so that the cost of updating is negligible
    qint64 frames = 0;
    for (Frame frame; source.next(frame);) {
        if (frame.bus >= busNames.size())
            setBuses(source.buses());
        take(frame);
        if (progress && ++frames % framesPerUpdate == 0)
            progress();
    }
    const SourceCounts counts = source.counts();
    counted.errors += counts.errorFrames - taken.errorFrames;
    counted.dropped += counts.lost - taken.lost;
    counted.unreadable += counts.unreadable - taken.unreadable;
    taken = counts;
}

void Session::clear()
{
    signalRegistry.clear();
    for (auto& transport : transports)
        transport.second.clearCounts();
    counted = FrameCounts();
    undecoded.clear();
    savedUndecoded.clear();
    if (ids)
        ids->clear();
}

QStringList Session::guesses() const
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
    return texts;
}

void Session::setCounts(const FrameCounts& counts, const QVector<UndecodedId>& undecodedIds)
{
    counted = counts;
    savedUndecoded = undecodedIds;
}

QVector<UndecodedId> Session::undecodedIds() const
{
    return savedUndecoded + undecoded.sorted(shownBuses());
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
    Snapshot snapshot = emptySnapshot();
    for (const int signal : signalRegistry.sorted()) {
        MonitoredSignal& monitored = signalRegistry.at(signal);
        snapshot.rows.append(
            {signal, monitored.getRunningStatistics(bandK), monitored.rhythm().isSilent(now)});
    }
    return snapshot;
}

Snapshot Session::calcSnapshot()
{
    Snapshot snapshot = emptySnapshot();
    snapshot.undecoded = undecodedIds();
    snapshot.isComplete = complete;
    for (const int signal : signalRegistry.sorted())
        snapshot.rows.append(
            {signal,
             std::make_shared<SignalStatistics>(signalRegistry.at(signal).calcStatistics(bandK)),
             false});
    return snapshot;
}

Snapshot Session::emptySnapshot() const
{
    return {bandK, counts(), signalRegistry.firstTime(), {}, {}, true};
}

/// Returns whether there are any signals.
bool Session::record(const QVector<DecodedSignal>& decodedSignals)
{
    for (const DecodedSignal& decoded : decodedSignals)
        signalRegistry.record(decoded);
    return !decodedSignals.isEmpty();
}

} // namespace monitor
