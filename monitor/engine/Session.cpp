#include "Session.h"

#include <utility>

namespace monitor
{

Session::Session(QVector<CatalogueMessage> descriptions, double factor)
    : bandFactor(factor), decoder(std::move(descriptions)), signalTable(decoder.messages())
{
}

void Session::take(const Frame& frame)
{
    ++counted.total;
    const bool isDecoded = record(decoder.decode(frame));
    counted.decoded += isDecoded ? 1 : 0;
    const auto message = transport.take(frame, isDecoded);
    if (message && record(decoder.decode(message->payload)))
        counted.decoded += message->frames;
}

void Session::takeAll(FrameSource& source, const std::function<void()>& progress)
{
    constexpr qint64 framesPerUpdate = 4096; // so that updating costs nothing
    qint64 frames = 0;
    for (Frame frame; source.next(frame);) {
        take(frame);
        if (progress && ++frames % framesPerUpdate == 0)
            progress();
    }
    const SourceCounts counts = source.counts();
    counted.errors += counts.errorFrames - taken.errorFrames;
    counted.dropped += counts.lost - taken.lost;
    counted.noFrame += counts.unreadable - taken.unreadable;
    taken = counts;
}

void Session::clear()
{
    signalTable.clear();
    transport.clearCounts();
    counted = FrameCounts();
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
    for (const int signal : signalTable.inOrder()) {
        MonitoredSignal& monitored = signalTable.at(signal);
        snapshot.rows.append(
            {signal, monitored.getRunningStatistics(bandFactor), monitored.rhythm().isSilent(now)});
    }
    return snapshot;
}

Snapshot Session::calcSnapshot()
{
    Snapshot snapshot = emptySnapshot();
    for (const int signal : signalTable.inOrder())
        snapshot.rows.append(
            {signal,
             std::make_shared<SignalStatistics>(signalTable.at(signal).calcStatistics(bandFactor)),
             false});
    return snapshot;
}

Snapshot Session::emptySnapshot() const
{
    return {bandFactor, counts(), signalTable.firstTime(), {}};
}

/// Records what was found. Returns whether that is anything.
bool Session::record(const QVector<DecodedSignal>& found)
{
    for (const DecodedSignal& decoded : found)
        signalTable.record(decoded);
    return !found.isEmpty();
}

} // namespace monitor
