#pragma once

#include <statistics/FloatingSums.h>
#include <statistics/LargeIntegerSums.h>
#include <statistics/SmallIntegerSums.h>

#include <cmath>
#include <type_traits>

/// The sums that both calculators keep over values of type \a N.
template <typename N>
using SumsOf = std::conditional_t<
    std::is_floating_point_v<N>, FloatingSums,
    std::conditional_t<sizeof(N) == sizeof(quint64), LargeIntegerSums<N>, SmallIntegerSums>>;

/// Whether \a value counts: not a number and the infinities are no measurement.
template <typename N>
inline bool isMeasurement(N value)
{
    if constexpr (std::is_floating_point_v<N>)
        return std::isfinite(value);
    else
        return true;
}
