#pragma once

#include "engine/SignalValues.h"

namespace monitor
{

/// How often the values of a signal occurred, in bars of equal width.
struct Histogram {
    /// A bar, which includes its lower end.
    struct Bar {
        qint64 count = 0;
        std::optional<double> deviator{}; ///< one of its values outside the band, if there is any
    };

    double start = 0; ///< the lower end of the first bar
    double width = 1;
    QVector<Bar> bars;
    QVector<double> values; ///< different values in ascending order, at most 1,000 of them

    double lowerEnd(int bar) const { return start + width * bar; }
};

/// The histogram of \a values with at most \a most bars from the minimum to the maximum of
/// \a statistics. If there are few enough integers, each has a bar of its own; otherwise all bars
/// represent the same number of integers. Infinite values are left out.
Histogram histogramOf(const SignalValues& values, const SignalStatistics& statistics, int most);

} // namespace monitor
