#pragma once

#include "FrameIds.h"
#include "FrameRoutes.h"
#include "SignalRegistry.h"
#include "Snapshot.h"
#include "can/TransportProtocol.h"
#include "catalogue/RunOrigin.h"
#include "counts/SpillFile.h"
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

    /// Called with the progress of a source.
    using ProgressCall = std::function<void(const SourceProgress&)>;

    /// Takes all frames that \a source has now, and its counts, on \a threads threads. Calls
    /// \a progress, if given, on the calling thread from time to time. All calls must have the same
    /// source. The results do not depend on the number of threads.
    void takeAll(FrameSource& source, int threads = 1, const ProgressCall& progress = {});

    /// Passes each value to \a sink too, which must outlive this object. Call it before the first
    /// frame.
    void addValueSink(ValueSink& sink) { signalRegistry.addValueSink(sink); }

    /// Keeps an outline of each signal, for charts. Call it before the first frame.
    void keepOutlines(SeriesOutline::Detail detail);
    const Keeping& keeping() const { return signalRegistry.keeping(); }

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
    QVector<UndecodedId> undecodedIds() const { return undecodedIds(shownBuses()); }

    /// The counts so far.
    FrameCounts counts() const;

    /// Sets the counts to those of a saved run.
    void setCounts(const FrameCounts& counts, const QVector<UndecodedId>& undecodedIds);

    /// Adds the counts of a run that is merged into this one.
    void addCounts(const FrameCounts& counts);
    void addUndecoded(const BusId& id, qint64 frames) { undecoded.add(id, frames); }

    /// The number of the bus \a name of such a run. A new bus is added. Signals and ids show their
    /// buses if there are several.
    quint16 addBus(const QString& name);

    /// The same as undecodedIds(), but the buses are always named, if their names are known.
    QVector<UndecodedId> undecodedIdsByBus() const { return undecodedIds(busNames); }

    /// Makes the statistics independent of the order of values, see SignalValues::ignoreOrder().
    void ignoreOrder();

    /// The origin of the run, which does not affect its statistics.
    RunOrigin& origin() { return runOrigin; }

    /// Lines for the user: one for each PGN whose frames could belong to several messages, and were
    /// decoded as the first of them; and about the temporary file, if it was used.
    QStringList remarks();

    /// Those lines that should not wait for the end of the run: errors of sinks, and use of the
    /// temporary file. May be called on any thread, also during takeAll().
    QStringList urgentRemarks() const;

    /// Whether the statistics are exact: false if the temporary file could not be read.
    bool isExact() const { return !spill.hasLostValues(); }

    /// All signals as they are now, for a display that asks repeatedly. The cost depends on the
    /// number of signals and of values since the last call. Whether a signal is silent depends on
    /// the time \a now, in microseconds on the clock of the frames.
    Snapshot getSnapshot(qint64 now);

    /// The same for the end of a run, with the undecoded ids and exact moments.
    Snapshot calcSnapshot();

private:
    class BlockReader;

    QVector<UndecodedId> undecodedIds(const QStringList& names) const;
    Snapshot snapshotOf(std::optional<qint64> now);
    void updateRows(Moments moments);
    void updateRow(int row, Moments moments);
    void updateSilence(qint64 now);
    QString spillRemark();
    void takeFrames(FrameSource& source, int threads, const ProgressCall& progress);
    void noteChange(MessageSignals& message);
    template <typename Record>
    void pass(const Frame& frame, Record record);
    template <typename Record>
    void pass(quint16 bus, const TransportedMessage& message, Record record);
    bool record(const Payload& payload, FrameRoute& route, qint64& decoded);
    bool hasSignals(const Payload& payload, const FrameRoute& route) const;
    void noteTime(const Payload& payload, const FrameRoute& route);
    FrameRoute& routeOf(const BusId& id, bool isTransported);
    void setBuses(const QStringList& names);
    void noteBus(quint16 bus);
    bool isNewBus(quint16 bus) const;
    QStringList shownBuses() const { return hasSeveralBuses ? busNames : QStringList(); }

    double bandK;
    Decoder decoder;
    SpillFile spill; // of the signals
    SignalRegistry signalRegistry;
    FrameRoutes routes;
    std::map<quint16, TransportProtocol> transports; // by bus
    QStringList busNames;
    std::optional<quint16> firstBus;
    bool hasSeveralBuses = false;
    bool complete = true;
    RunOrigin runOrigin;
    QVector<UndecodedId> savedUndecoded;  // of a saved run
    UndecodedFrames undecoded;            // corrections of the counts of the routes
    std::unique_ptr<FrameIds> ids;        // null: not collected
    QVector<SnapshotRow> rows;            // of the newest snapshot
    std::vector<qint64> notSilentUntil;   // for each of them
    std::vector<int> rowOf;               // by the number of the signal
    std::vector<MessageSignals*> changed; // messages with frames since these rows were computed
    bool areRowsValid = false;            // false: rows of other signals are out of date too
    // No row becomes silent, or ceases to be, at a time in this range.
    qint64 silenceKnownAfter = 0;
    qint64 silenceKnownUntil = -1;
    FrameCounts counted;
    SourceCounts taken; // the counts of the source at the last call of takeAll()
};

} // namespace monitor
