#pragma once

#include "catalogue/Description.h"

namespace monitor
{

/// The bits of that \a layout in \a data as an unsigned number. They must fit into the data (see
/// fitsInto()).
quint64 extractBits(const quint8* data, const SignalLayout& layout);

/// \a bits as an IEEE number of \a length 32 or 64.
double floatIn(quint64 bits, int length);

/// \a bits, the lowest \a length of which are a two's complement, as a number.
qint64 signExtended(quint64 bits, int length);

} // namespace monitor
