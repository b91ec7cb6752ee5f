#include <cansupport/GenericValue.h>

#include <recording/calls.h>

GenericValue::GenericValue() : valueTag(-1), isInvalid(false) {}

/// Neither field's own number, to see that it is this function that the library asks.
float GenericValue::valueToFloat(bool scaled) const
{
    record(scaled ? "scaled to float" : "raw to float");
    return scaled ? 200.0F : 100.0F;
}
