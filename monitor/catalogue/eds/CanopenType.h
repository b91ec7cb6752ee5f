#pragma once

#include "catalogue/Description.h"

namespace monitor
{

/// Makes \a signal one of the CANopen data type \a code (CiA 301), its length in the PDO being set
/// already. A type that the library has no element type for leads to a signal that is carried, not
/// scaled. False if the type is longer or shorter than what it cannot be.
bool setCanopenType(quint32 code, SignalDescription& signal);

} // namespace monitor
