#pragma once

#include "can/TransportProtocol.h"
#include "FrameCounts.h"
#include "SignalTable.h"

namespace monitor
{

/// Takes the frames of a bus to its signals, wherever the frames come from. One thread uses it at
/// a time.
class SignalMonitor
{
public:
    explicit SignalMonitor(QVector<MessageDescription> descriptions);

    /// Feeds the signals in \a frame, or in the message that it helps to bring. It counts as
    /// decoded if there are any.
    void take(const Frame& frame);

    /// What else became of frames and of lines that might have been some.
    void countErrorFrames(qint64 frames) { counted.errors += frames; }
    void countDropped(qint64 frames) { counted.dropped += frames; }
    void countNoFrame(qint64 lines) { counted.noFrame += lines; }

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
