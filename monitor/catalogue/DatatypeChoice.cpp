#include "DatatypeChoice.h"

#include "text/numbers.h"

#include <algorithm>
#include <cmath>
#include <iterator>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

struct IntegerType {
    int bits;
    CANopenDataType unsignedType;
    CANopenDataType signedType;
};

// INTEGER48, INTEGER56 and UNSIGNED56 are missing because the library has no element type for them,
// and INTEGER40 because it selects the element type of a single byte. Such values need 64 bits.
constexpr IntegerType integerTypes[] = {
    {8, CANopenDataType::UNSIGNED8, CANopenDataType::INTEGER8},
    {16, CANopenDataType::UNSIGNED16, CANopenDataType::INTEGER16},
    {24, CANopenDataType::UNSIGNED24, CANopenDataType::INTEGER24},
    {32, CANopenDataType::UNSIGNED32, CANopenDataType::INTEGER32},
    {40, CANopenDataType::UNSIGNED40, CANopenDataType::INTEGER64},
    {48, CANopenDataType::UNSIGNED48, CANopenDataType::INTEGER64},
    {exactBits, CANopenDataType::UNSIGNED64, CANopenDataType::INTEGER64},
};

bool isWhole(double number)
{
    return std::trunc(number) == number;
}

/// Whether all values of \a signal fit into an integer type of \a bits, both before and after the
/// offset is added: the library converts both to the type, where a value that does not fit wraps.
bool fitsType(const SignalDescription& signal, int bits)
{
    const double lowest = signal.layout.isSigned ? -std::ldexp(1.0, bits - 1) : 0;
    const double highest = std::ldexp(1.0, signal.layout.isSigned ? bits - 1 : bits) - 1;
    const Scaling product{signal.scaling.factor, 0, {}};
    for (const ValueRange& range :
         {scaledRange(signal.layout, product), scaledRange(signal.layout, signal.scaling)}) {
        if (range.lowest < lowest || range.highest > highest)
            return false;
    }
    return true;
}

/// Whether the data type of the CANopen object \a signal represents its values exactly. INTEGER40
/// does not: it selects the element type of a single byte.
bool canKeepItsType(const SignalDescription& signal)
{
    const CANopenDataType type = *signal.layout.datatype;
    if (signal.layout.passThrough)
        return true;
    if (signal.scaling.factor != 1 || signal.scaling.offset != 0)
        return false;
    if (signal.layout.isFloat)
        return type ==
               (signal.layout.length == 32 ? CANopenDataType::REAL32 : CANopenDataType::REAL64);
    return std::any_of(
        std::begin(integerTypes), std::end(integerTypes), [&](const IntegerType& row) {
            return signal.layout.length <= row.bits &&
                   type == (signal.layout.isSigned ? row.signedType : row.unsignedType);
        });
}

} // namespace

// Scaled IEEE numbers of 32 bits need REAL64, which does not round them to 32 bits again. In an
// integer type every product loses its fraction and wraps if it does not fit, so a speed of 0.125
// rpm per bit or a temperature from -40 degrees needs REAL64 too. So do integers longer than 53
// bits: the library scales in double, so an integer type would show a rounded value as if it were
// exact, and the greatest value, rounded up, as 0.
CANopenDataType datatypeOf(const SignalDescription& signal)
{
    if (signal.layout.datatype && canKeepItsType(signal))
        return *signal.layout.datatype;
    if (signal.layout.isFloat || !isWhole(signal.scaling.factor) || !isWhole(signal.scaling.offset))
        return CANopenDataType::REAL64;
    for (const IntegerType& type : integerTypes) {
        if (signal.layout.length > type.bits)
            continue;
        if (!fitsType(signal, type.bits))
            return CANopenDataType::REAL64;
        return signal.layout.isSigned ? type.signedType : type.unsignedType;
    }
    return CANopenDataType::REAL64;
}

} // namespace monitor
