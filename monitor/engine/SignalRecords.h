#pragma once

#include "Snapshot.h"

namespace monitor
{

/// Everything recorded of one signal.
struct SignalRecords {
    QVector<quint64> bits;        ///< the raw values, see extractBits()
    QVector<qint64> microseconds; ///< when each was seen, SignalSeries::noTime if unknown
    qint64 notAvailable = 0;      ///< how often the sender had no value
    qint64 errors = 0;            ///< how often it reported an error instead
};

} // namespace monitor
