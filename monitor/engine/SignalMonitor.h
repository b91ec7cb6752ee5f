#pragma once

#include "FrameCounts.h"
#include "SignalTable.h"
#include "can/TransportProtocol.h"
#include "sources/FrameSource.h"

namespace monitor
{

/// Takes the frames of a bus to its signals, wherever the frames come from. One thread uses it at
/// a time.
class SignalMonitor
{
public:
    explicit SignalMonitor(QVector<CatalogueMessage> descriptions);

    /// Feeds the signals in \a frame, or in the message that it helps to bring. It counts as
    /// decoded if there are any.
    void take(const Frame& frame);

    /// Adds what a source has brought beside frames.
    void count(const SourceCounts& counts);

    /// Forgets all values and counts. Messages of several frames that have begun stay so.
    void clear();

    SignalTable& table() { return signalTable; }

    /// The counts so far, those of messages of several frames included.
    FrameCounts counts() const;

private:
    bool feed(const QVector<DecodedSignal>& found);

    Decoder decoder;
    SignalTable signalTable;
    TransportProtocol transport;
    FrameCounts counted;
};

} // namespace monitor
