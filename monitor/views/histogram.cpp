#include "histogram.h"

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

constexpr int mostValues = 1000;

/// The width of at most \a most bars. \a step is the distance between neighbouring integers, or 0.
double widthOf(const SignalStatistics& statistics, double step, int most)
{
    // The difference of extreme values would overflow.
    const double share = statistics.maximum / most - statistics.minimum / most;
    const double width =
        step > 0 ? step * std::max(1.0, std::ceil(share / step + 1.0 / most)) : share;
    return width > 0 && std::isfinite(width) ? width : 1;
}

} // namespace

Histogram histogramOf(const SignalValues& values, const SignalStatistics& statistics, int most)
{
    const double step = statistics.isFloat ? 0 : std::fabs(statistics.factor);
    Histogram histogram;
    histogram.width = widthOf(statistics, step, most);
    // Integers are in the middle of their bars, so that rounding cannot move them to another one.
    histogram.start = statistics.minimum - step / 2;
    if (step == 0 && !(statistics.minimum < statistics.maximum))
        histogram.start -= histogram.width / 2;
    histogram.bars.resize(most);
    int last = 0;
    values.forEachCount([&](quint64 bits, quint64 times) {
        const double value = values.scaled(bits);
        if (!std::isfinite(value))
            return;
        const double place = std::floor((value - histogram.start) / histogram.width);
        const int index = static_cast<int>(std::clamp(place, 0.0, most - 1.0));
        last = std::max(last, index);
        Histogram::Bar& bar = histogram.bars[index];
        bar.count += static_cast<qint64>(times);
        if (value < statistics.lowerThreshold || value > statistics.upperThreshold)
            bar.deviator = value;
        if (histogram.values.size() < mostValues)
            histogram.values.append(value);
    });
    histogram.bars.resize(last + 1);
    std::sort(histogram.values.begin(), histogram.values.end());
    return histogram;
}

} // namespace monitor
