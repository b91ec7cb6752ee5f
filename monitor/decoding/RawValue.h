#pragma once

#include "catalogue/Description.h"

#include <QtCore/QVariant>

namespace monitor
{

/// Whether the raw value of a J1939 parameter is a measurement.
enum class Availability {
    Measured,
    NotAvailable, ///< the sender does not have the parameter
    Error         ///< the sender has it, but in error
};

/// The bits of that \a layout in \a data as an unsigned number. They must fit into the data (see
/// fitsInto()).
quint64 extractBits(const quint8* data, const SignalLayout& layout);

/// \a bits as an IEEE number of \a length 32 or 64.
double floatIn(quint64 bits, int length);

/// \a bits, the lowest \a length of which are a two's complement, as a number.
qint64 signExtended(quint64 bits, int length);

/// The availability of a floating-point signal with that \a value, since its bits reserve nothing:
/// NaN is not available, and infinities are errors.
Availability availabilityOf(double value);

/// The availability of \a raw, of \a length bits: from 8 bits on, a most significant byte of FF is
/// "not available" and FE is "error"; of 4 bits 15 and 14, of 2 bits 3 and 2. Other lengths below 8
/// reserve nothing. Signed signals are judged by their bits too.
Availability availabilityOf(quint64 raw, int length);

/// Whether the bits of a pass-through signal are a number. Times count as numbers, texts do not.
bool holdsNumber(const SignalLayout& layout);

/// The raw value in \a bits (see extractBits()) as a number of the smallest kind that QVariant has
/// for it. For a pass-through signal that is not a number: the text up to its end, or the bytes as
/// they are in the PDO.
QVariant rawValueOf(quint64 bits, const SignalLayout& layout);

} // namespace monitor
