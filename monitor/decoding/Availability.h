#pragma once

#include <QtCore/qglobal.h>

namespace monitor
{

/// What the raw value of a J1939 parameter says about the measurement.
enum class Availability {
    Measured,
    NotAvailable, ///< the sender does not have the parameter
    Error         ///< the sender has it, but in error
};

/// What \a value of a floating-point signal says, whose bits reserve nothing: that it is not
/// available if it is not a number, and an error if it is infinite.
Availability availabilityOf(double value);

/// What \a raw, of \a length bits, says: from 8 bits on its most significant byte is FF for "not
/// available" and FE for "error"; 4 bits have 15 and 14 for these, 2 bits 3 and 2. Other lengths
/// below 8 reserve nothing. It is the bits that count, also those of a signed signal.
Availability availabilityOf(quint64 raw, int length);

} // namespace monitor
