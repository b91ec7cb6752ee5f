#include <cansupport/GenericValue.h>

GenericValue::GenericValue() : valueTag(0), isInvalid(false) {}

float GenericValue::valueToFloat(bool scaled) const
{
    bool converted = false;
    const float number = (scaled ? scaledValue : rawValue).toFloat(&converted);
    return converted ? number : 0.0F;
}
