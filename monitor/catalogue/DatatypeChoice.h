#pragma once

#include "Description.h"

#include <cansupport/CANopenDataType.h>

namespace monitor
{

/// The data type in which the values of \a signal are scaled and summed without loss: the smallest
/// integer type that holds its raw values if every scaled value is an integer in the range of that
/// type, otherwise REAL64. A CANopen object keeps its own data type if that is exact too, and
/// always if it is passed through.
CAN::CANopenDataType datatypeOf(const SignalDescription& signal);

} // namespace monitor
