#include "SignalMonitor.h"

#include <utility>

namespace monitor
{

SignalMonitor::SignalMonitor(QVector<CatalogueMessage> descriptions)
    : decoder(std::move(descriptions)), signalTable(decoder.messages())
{
}

void SignalMonitor::take(const Frame& frame)
{
    ++counted.total;
    const bool isDecoded = feed(decoder.decode(frame));
    counted.decoded += isDecoded ? 1 : 0;
    const auto message = transport.take(frame, isDecoded);
    if (message && feed(decoder.decode(message->payload)))
        counted.decoded += message->frames;
}

void SignalMonitor::count(const SourceCounts& counts)
{
    counted.errors += counts.errorFrames;
    counted.dropped += counts.lost;
    counted.noFrame += counts.unreadable;
}

void SignalMonitor::clear()
{
    signalTable.clear();
    transport.clearCounts();
    counted = FrameCounts();
}

FrameCounts SignalMonitor::counts() const
{
    FrameCounts counts = counted;
    counts.transport = transport.counts();
    return counts;
}

/// Records what is found. Returns whether that is anything.
bool SignalMonitor::feed(const QVector<DecodedSignal>& found)
{
    for (const DecodedSignal& decoded : found)
        signalTable.feed(decoded);
    return !found.isEmpty();
}

} // namespace monitor
