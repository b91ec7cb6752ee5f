#include "CanopenType.h"

#include <algorithm>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

enum class Numbers { Unsigned, Signed, Float };

struct CanopenType {
    CANopenDataType code;
    int bits;
    Numbers numbers;
    bool carried;
};

// The types of fixed length. What is not in this list, such as a text, is carried as well.
constexpr CanopenType types[] = {
    {CANopenDataType::BOOLEAN, 1, Numbers::Unsigned, true},
    {CANopenDataType::INTEGER8, 8, Numbers::Signed, false},
    {CANopenDataType::INTEGER16, 16, Numbers::Signed, false},
    {CANopenDataType::INTEGER24, 24, Numbers::Signed, false},
    {CANopenDataType::INTEGER32, 32, Numbers::Signed, false},
    {CANopenDataType::INTEGER40, 40, Numbers::Signed, false},
    {CANopenDataType::INTEGER48, 48, Numbers::Signed, true},
    {CANopenDataType::INTEGER56, 56, Numbers::Signed, true},
    {CANopenDataType::INTEGER64, 64, Numbers::Signed, false},
    {CANopenDataType::UNSIGNED8, 8, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED16, 16, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED24, 24, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED32, 32, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED40, 40, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED48, 48, Numbers::Unsigned, false},
    {CANopenDataType::UNSIGNED56, 56, Numbers::Unsigned, true},
    {CANopenDataType::UNSIGNED64, 64, Numbers::Unsigned, false},
    {CANopenDataType::REAL32, 32, Numbers::Float, false},
    {CANopenDataType::REAL64, 64, Numbers::Float, false},
};

} // namespace

// Of a whole number a PDO may hold fewer bits than the type has, of an IEEE number it may not.
bool setCanopenType(quint32 code, SignalDescription& signal)
{
    const auto type = std::find_if(std::begin(types), std::end(types), [code](const auto& known) {
        return known.code == static_cast<CANopenDataType>(code);
    });
    signal.layout.datatype = static_cast<CANopenDataType>(code);
    signal.layout.passThrough = type == std::end(types) || type->carried;
    if (type == std::end(types))
        return true;
    signal.layout.isSigned = type->numbers == Numbers::Signed;
    signal.layout.isFloat = type->numbers == Numbers::Float;
    return signal.layout.isFloat ? signal.layout.length == type->bits
                                 : signal.layout.length <= type->bits;
}

} // namespace monitor
