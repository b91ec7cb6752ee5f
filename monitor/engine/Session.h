#pragma once

#include "FrameIds.h"
#include "SignalRegistry.h"
#include "Snapshot.h"
#include "can/TransportProtocol.h"
#include "sources/FrameSource.h"

#include <functional>
#include <map>

namespace monitor
{

/// A run of the program: frames in, statistics of their signals out, wherever the frames come from.
/// Only one thread may use it at a time.
class Session
{
public:
    /// Records the signals of \a descriptions. The band reaches \a k deviations to either side of
    /// the average.
    Session(QVector<CatalogueMessage> descriptions, double k);

    double k() const { return bandK; }

    /// Records the signals in \a frame, or in the multi-frame message that it completes. Frames
    /// with at least one signal count as decoded.
    void take(const Frame& frame);

    /// Takes all frames that \a source has now, and its counts. Calls \a progress, if given, every
    /// few thousand frames. All calls must have the same source.
    void takeAll(FrameSource& source, const std::function<void()>& progress = {});

    /// Passes each value to \a sink, which must outlive this object.
    void setValueSink(ValueSink* sink) { signalRegistry.setValueSink(sink); }

    /// Collects the statistics of each id too. Call it before the first frame.
    void collectIds() { ids = std::make_unique<FrameIds>(); }

    /// The statistics of each id, if they are collected.
    QVector<IdStatistics> calcIdStatistics() const;

    /// Deletes all values and counts. Multi-frame messages in progress are still completed.
    void clear();

    /// The signals seen so far.
    SignalRegistry& registry() { return signalRegistry; }

    /// Marks the run as ended before the end of its recording.
    void setIncomplete() { complete = false; }
    bool isComplete() const { return complete; }

    /// The ids of the frames that were not decoded, most frequent first.
    QVector<UndecodedId> undecodedIds() const;

    /// The counts so far.
    FrameCounts counts() const;

    /// Sets the counts to those of a saved run.
    void setCounts(const FrameCounts& counts, const QVector<UndecodedId>& undecodedIds);

    /// One line for each PGN whose frames could belong to several messages, and were decoded as the
    /// first of them.
    QStringList guesses() const;

    /// All signals as they are now, for a display that asks repeatedly. The cost depends on the
    /// number of signals and of values since the last call. Whether a signal is silent depends on
    /// the time \a now, in microseconds on the clock of the frames.
    Snapshot getSnapshot(qint64 now);

    /// The same for the end of a run, with MonitoredSignal::calcStatistics().
    Snapshot calcSnapshot();

private:
    Snapshot emptySnapshot() const;
    bool record(const QVector<DecodedSignal>& decodedSignals);
    void setBuses(const QStringList& names);
    void noteBus(quint16 bus);
    QStringList shownBuses() const { return hasSeveralBuses ? busNames : QStringList(); }
    void takeTransported(quint16 bus, const TransportedMessage& message);

    double bandK;
    Decoder decoder;
    SignalRegistry signalRegistry;
    std::map<quint16, TransportProtocol> transports; // by bus
    QStringList busNames;
    std::optional<quint16> firstBus;
    bool hasSeveralBuses = false;
    bool complete = true;
    QVector<UndecodedId> savedUndecoded; // of a saved run
    UndecodedFrames undecoded;
    std::unique_ptr<FrameIds> ids; // null: not collected
    FrameCounts counted;
    SourceCounts taken; // the counts of the source at the last call of takeAll()
};

} // namespace monitor
