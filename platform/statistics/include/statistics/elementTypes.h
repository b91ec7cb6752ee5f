#pragma once

/// \file
/// The element types of the calculators.

#include <type_traits>

/// The list of the ten element types: applies the macro \a EXPAND to each of them. Declarations,
/// instantiations and tests of the statistics library expand it.
#define STATISTICS_ELEMENT_TYPES(EXPAND)                                                           \
    EXPAND(double)                                                                                 \
    EXPAND(unsigned char)                                                                          \
    EXPAND(unsigned short)                                                                         \
    EXPAND(unsigned int)                                                                           \
    EXPAND(unsigned long long)                                                                     \
    EXPAND(signed char)                                                                            \
    EXPAND(short)                                                                                  \
    EXPAND(int)                                                                                    \
    EXPAND(long long)                                                                              \
    EXPAND(float)

#define STATISTICS_OR_IS_SAME(type) || std::is_same_v<N, type>
/// Whether \a N is one of the ten element types.
///
/// \hideinitializer
/// \ingroup statistics-library
template <typename N>
inline constexpr bool
    isStatisticElementType = false STATISTICS_ELEMENT_TYPES(STATISTICS_OR_IS_SAME);
#undef STATISTICS_OR_IS_SAME
