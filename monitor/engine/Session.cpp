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
    const bool isDecoded = record(decoder.decode(frame));
    counted.decoded += isDecoded ? 1 : 0;
    if (!decoder.mayTransport(frame))
        return;
    const auto message = transport.take(frame, isDecoded);
    if (message && record(decoder.decode(message->payload)))
        counted.decoded += message->frames;
}

void Session::takeAll(FrameSource& source, const std::function<void()>& progress)
{
    constexpr qint64 framesPerUpdate = 4096; // so that the cost of updating is negligible
    qint64 frames = 0;
    for (Frame frame; source.next(frame);) {
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
    transport.clearCounts();
    counted = FrameCounts();
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

FrameCounts Session::counts() const
{
    FrameCounts counts = counted;
    const TransportCounts& messages = transport.counts();
    counts.transport.messages += messages.messages;
    counts.transport.lost += messages.lost;
    counts.transport.outOfOrder += messages.outOfOrder;
    counts.transport.interrupted += messages.interrupted;
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
    for (const int signal : signalRegistry.sorted())
        snapshot.rows.append(
            {signal,
             std::make_shared<SignalStatistics>(signalRegistry.at(signal).calcStatistics(bandK)),
             false});
    return snapshot;
}

Snapshot Session::emptySnapshot() const
{
    return {bandK, counts(), signalRegistry.firstTime(), {}};
}

/// Returns whether there are any signals.
bool Session::record(const QVector<DecodedSignal>& decodedSignals)
{
    for (const DecodedSignal& decoded : decodedSignals)
        signalRegistry.record(decoded);
    return !decodedSignals.isEmpty();
}

} // namespace monitor
