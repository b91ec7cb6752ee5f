#pragma once

#include "Session.h"

#include <QtCore/QDataStream>

namespace monitor
{

/// A signal with everything recorded of it.
struct SavedSignal {
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source; ///< J1939 source address or CANopen node
    CatalogueSignal description;
    SignalRecords records;
};

/// A session as it is saved: everything its statistics are computed from.
struct SavedRun {
    double k = 3; ///< half the width of the band, in deviations
    FrameCounts counts;
    std::optional<qint64> firstTime; ///< when the first signal was seen, in microseconds
    QVector<SavedSignal> recordedSignals;
};

/// Everything to save of \a session.
SavedRun runOf(Session& session);

/// Records the signals of \a run again in \a session, which must be new; its statistics are then
/// those of the run.
void restore(const SavedRun& run, Session& session);

/// Whether \a microseconds is a time that may have been recorded. Differences of such times do not
/// overflow.
constexpr bool isTime(qint64 microseconds)
{
    constexpr qint64 farthest = 2000000000000000000;
    return microseconds >= -farthest && microseconds <= farthest;
}

/// Writes \a signal: its description and its records, each with the record's own operator.
void writeSignal(QDataStream& stream, const SavedSignal& signal);

/// Reads a signal that writeSignal() has written; the source need not be trusted. Returns the
/// error; empty on success. Takes memory in proportion to the bytes in the stream.
[[nodiscard]] QString readSignal(QDataStream& stream, SavedSignal& signal);

} // namespace monitor
