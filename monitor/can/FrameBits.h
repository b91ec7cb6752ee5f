#pragma once

#include "Frame.h"

namespace monitor
{

/// How many bits \a frame takes on the bus (ISO 11898-1), from its start to the three bits between
/// frames, with the stuff bits that its content leads to. Exact for a classic frame without errors.
/// One of CAN FD is counted like a classic one of that length without stuff bits, since neither its
/// format nor its second bit rate is known.
int bitsOnBus(const Frame& frame);

} // namespace monitor
