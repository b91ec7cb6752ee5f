#pragma once

#include <QtCore/QVector>

#include <limits>

namespace monitor
{

/// The recorded values of one signal in the order in which they came.
struct SignalSeries {
    static constexpr qint64 noTime = std::numeric_limits<qint64>::min();

    QVector<double> values;       ///< in the unit of the signal
    QVector<qint64> microseconds; ///< when each was seen, noTime if that is not known
};

} // namespace monitor
