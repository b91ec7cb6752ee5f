#pragma once

#include "Session.h"

namespace monitor
{

/// A signal with everything that was recorded of it.
struct SavedSignal {
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source; ///< J1939 source address or CANopen node
    CatalogueSignal description;
    SignalRecords records;
};

/// A session as it is saved: everything that its statistics are computed from.
struct SavedRun {
    double k = 3; ///< half the width of the band, in deviations
    FrameCounts counts;
    std::optional<qint64> firstTime; ///< when the first signal was seen, in microseconds
    QVector<SavedSignal> recordedSignals;
};

/// What is to be saved of \a session.
SavedRun runOf(Session& session);

/// Records the signals of \a run again in \a session, which is new; its statistics are then those
/// of the run.
void restore(const SavedRun& run, Session& session);

} // namespace monitor
