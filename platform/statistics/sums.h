#pragma once

#include "FloatingSums.h"
#include "LargeIntegerSums.h"
#include "SmallIntegerSums.h"

#include <cmath>
#include <type_traits>

/// The sums of values of type \a N, for both calculators.
template <typename N>
using SumsOf = std::conditional_t<
    std::is_floating_point_v<N>, FloatingSums,
    std::conditional_t<sizeof(N) == sizeof(quint64), LargeIntegerSums<N>, SmallIntegerSums>>;

/// The part of the sums that ordinary series need: for floating-point types, the one without a
/// tail.
template <typename N>
using OrdinarySumsOf =
    std::conditional_t<std::is_floating_point_v<N>, OrdinaryFloatingSums, SumsOf<N>>;

/// Whether \a value counts: NaN and infinities are ignored.
template <typename N>
inline bool isMeasurement(N value)
{
    if constexpr (std::is_floating_point_v<N>)
        return std::isfinite(value);
    else
        return true;
}
