#pragma once

#include "FloatingSums.h"
#include "LargeIntegerSums.h"
#include "SmallIntegerSums.h"

#include <cmath>
#include <type_traits>

/// The sums that both calculators keep over values of type \a N.
template <typename N>
using SumsOf = std::conditional_t<
    std::is_floating_point_v<N>, FloatingSums,
    std::conditional_t<sizeof(N) == sizeof(quint64), LargeIntegerSums<N>, SmallIntegerSums>>;

/// The part of them that ordinary series need: of floating-point sums the one without a tail.
template <typename N>
using OrdinarySumsOf =
    std::conditional_t<std::is_floating_point_v<N>, OrdinaryFloatingSums, SumsOf<N>>;

/// Whether \a value counts: not a number and the infinities are no measurement.
template <typename N>
inline bool isMeasurement(N value)
{
    if constexpr (std::is_floating_point_v<N>)
        return std::isfinite(value);
    else
        return true;
}
