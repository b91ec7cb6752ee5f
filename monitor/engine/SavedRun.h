#pragma once

#include "FrameCounts.h"
#include "SignalRecords.h"
#include "catalogue/Catalogue.h"

namespace monitor
{

/// A signal with everything that was recorded of it.
struct SavedSignal {
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> source; ///< J1939 source address or CANopen node
    CatalogueSignal description;
    SignalRecords records;
};

/// What a file of saved series holds.
struct SavedRun {
    double k = 3; ///< half the width of the band, in deviations
    FrameCounts counts;
    std::optional<qint64> firstTime; ///< when the first signal was seen, in microseconds
    QVector<SavedSignal> recordedSignals;
};

} // namespace monitor
