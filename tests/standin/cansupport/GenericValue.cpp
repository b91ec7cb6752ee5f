#include <cansupport/GenericValue.h>

#include <recording/calls.h>

GenericValue::GenericValue() : valueTag(-1), isInvalid(false) {}

/// Returns a number that neither field holds, so that tests see whether the library calls this
/// function.
float GenericValue::valueToFloat(bool scaled) const
{
    record(scaled ? "scaled to float" : "raw to float");
    return scaled ? 200.0F : 100.0F;
}
