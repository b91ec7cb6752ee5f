#include "Rhythm.h"

#include <algorithm>

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

bool Rhythm::isSilent(qint64 now) const
{
    return usualPeriod && static_cast<double>(now - *newest) >
                              std::max(silentPeriods * *usualPeriod, shortestSilence);
}

} // namespace monitor
