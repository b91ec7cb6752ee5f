#pragma once

#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QVector>

#include <limits>
#include <variant>

namespace monitor
{

/// The recorded values of one signal, oldest first.
struct SignalSeries {
    static constexpr qint64 noTime = std::numeric_limits<qint64>::min();

    QVector<double> values;       ///< in the unit of the signal
    QVector<qint64> microseconds; ///< when each was seen, noTime if unknown
};

/// Everything recorded of one signal, as the library keeps it.
struct SignalRecords {
    std::variant<QVector<CANopenObjectValue>, QVector<J1939Value>> values;
    QVector<qint64> microseconds; ///< as in SignalSeries
    qint64 notAvailable = 0;      ///< how often the sender had no value
    qint64 errors = 0;            ///< how often it reported an error instead
};

} // namespace monitor
