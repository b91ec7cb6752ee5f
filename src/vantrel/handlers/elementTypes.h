#pragma once

/// \file
/// The element types of signals.

#include <type_traits>

/// The list of the ten element types: applies the macro \a EXPAND to each of them. Declarations,
/// instantiations and tests of the library expand it. The alternatives of a signal's calculator
/// have the same order.
#define VANTREL_ELEMENT_TYPES(EXPAND)                                                              \
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

#define VANTREL_OR_IS_SAME(type) || std::is_same_v<N, type>
/// Whether \a N is one of the ten element types.
///
/// \hideinitializer
/// \ingroup handlers
template <typename N>
inline constexpr bool isElementType = false VANTREL_ELEMENT_TYPES(VANTREL_OR_IS_SAME);
#undef VANTREL_OR_IS_SAME

template <template <typename...> class List, typename /*none*/, typename... N>
struct ListOfElementTypes {
    using type = List<N...>;
};

#define VANTREL_ONE_MORE(type) , type
/// The ten element types as the arguments of \a List, in order.
///
/// \ingroup handlers
template <template <typename...> class List>
using ElementTypesIn =
    typename ListOfElementTypes<List, void VANTREL_ELEMENT_TYPES(VANTREL_ONE_MORE)>::type;
#undef VANTREL_ONE_MORE
