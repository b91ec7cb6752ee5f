#include "Availability.h"

#include <cmath>

namespace monitor
{

Availability availabilityOf(double value)
{
    if (std::isnan(value))
        return Availability::NotAvailable;
    return std::isinf(value) ? Availability::Error : Availability::Measured;
}

Availability availabilityOf(quint64 raw, int length)
{
    if (length < 8 && length != 4 && length != 2)
        return Availability::Measured;
    const int topBits = length < 8 ? length : 8;
    const quint64 top = raw >> (length - topBits);
    const quint64 highest = (quint64{1} << topBits) - 1;
    if (top == highest)
        return Availability::NotAvailable;
    return top == highest - 1 ? Availability::Error : Availability::Measured;
}

} // namespace monitor
