#pragma once

#include <statistics/elementTypes.h>

#include <gtest/gtest.h>

namespace detail
{

template <typename Ignored, typename... N>
struct AllButFirst {
    using Types = testing::Types<N...>;
};

} // namespace detail

#define COMMA_AND_TYPE(N) , N
/// The ten element types, for typed tests.
using ElementTypes = detail::AllButFirst<void STATISTICS_ELEMENT_TYPES(COMMA_AND_TYPE)>::Types;
#undef COMMA_AND_TYPE

#define TYPE_NAME_IF_SAME(type)                                                                    \
    if (std::is_same_v<N, type>)                                                                   \
        return #type;
/// The name of an element type, as in the list and in the reference file.
struct ElementTypeName {
    template <typename N>
    static const char* GetName(int = 0)
    {
        STATISTICS_ELEMENT_TYPES(TYPE_NAME_IF_SAME)
        return "";
    }
};
#undef TYPE_NAME_IF_SAME
