#pragma once

#include "SignalTable.h"
#include "Snapshot.h"
#include "can/TransportProtocol.h"
#include "sources/FrameSource.h"

#include <functional>

namespace monitor
{

/// A run of the program: frames in, statistics of their signals out, wherever the frames come from.
/// One thread uses it at a time.
class Session
{
public:
    /// Looks for the signals of \a descriptions; the band reaches \a factor deviations to either
    /// side of the average.
    Session(QVector<CatalogueMessage> descriptions, double factor);

    double k() const { return bandFactor; }

    /// Records the signals in \a frame, or in the message of several frames that it completes. A
    /// frame with any counts as decoded.
    void take(const Frame& frame);

    /// Takes all frames that \a source has now, and its counts. Calls \a progress, if there is one,
    /// after every few thousand frames. The session takes from one source only.
    void takeAll(FrameSource& source, const std::function<void()>& progress = {});

    /// Forgets all values and counts. Messages of several frames that have begun are completed.
    void clear();

    /// The signals that have been seen.
    SignalTable& table() { return signalTable; }

    /// The counts so far. Those of a saved run replace them.
    FrameCounts counts() const;
    void setCounts(const FrameCounts& counts) { counted = counts; }

    /// All signals as they are now, for a display that asks again and again: the cost depends on
    /// the number of signals and of values since the last call. A signal is silent by the time
    /// \a now, in microseconds on the clock of the frames.
    Snapshot getSnapshot(qint64 now);

    /// The same at the end of a run, from all values that are kept.
    Snapshot calcSnapshot();

private:
    Snapshot emptySnapshot() const;
    bool record(const QVector<DecodedSignal>& found);

    double bandFactor;
    Decoder decoder;
    SignalTable signalTable;
    TransportProtocol transport;
    FrameCounts counted;
    SourceCounts taken; // of the source, up to now
};

} // namespace monitor
