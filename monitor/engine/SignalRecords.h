#pragma once

#include "Snapshot.h"

#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <variant>

namespace monitor
{

/// Everything recorded of one signal, in the records of the library.
struct SignalRecords {
    std::variant<QVector<CANopenObjectValue>, QVector<J1939Value>> values;
    QVector<qint64> microseconds; ///< when each was seen, SignalSeries::noTime if unknown
    qint64 notAvailable = 0;      ///< how often the sender had no value
    qint64 errors = 0;            ///< how often it reported an error instead
};

} // namespace monitor
