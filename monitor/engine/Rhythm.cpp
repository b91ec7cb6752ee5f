#include "Rhythm.h"

#include <algorithm>
#include <limits>

namespace monitor
{

void Rhythm::add(qint64 microseconds)
{
    constexpr double weight = 1.0 / 8;
    if (newest && microseconds > *newest) {
        const auto period = static_cast<double>(microseconds - *newest);
        const double usual = usualPeriod.value_or(period);
        usualPeriod = usual + (std::min(period, silentPeriods * usual) - usual) * weight;
    }
    newest = microseconds;
}

qint64 Rhythm::notSilentUntil() const
{
    constexpr qint64 never = std::numeric_limits<qint64>::max();
    constexpr double farthest = 4e18; // the sum does not overflow
    if (!usualPeriod)
        return never;
    const double silence = std::max(silentPeriods * *usualPeriod, shortestSilence);
    return silence < farthest && *newest < never / 2 ? *newest + static_cast<qint64>(silence)
                                                     : never;
}

} // namespace monitor
