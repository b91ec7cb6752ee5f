#pragma once

#include "can/TransportProtocol.h"

namespace monitor
{

/// What became of the frames that came, and of the lines of a recording.
struct FrameCounts {
    qint64 total = 0;   ///< frames, remote ones included, error frames not
    qint64 decoded = 0; ///< frames in which at least one signal was found
    qint64 dropped = 0; ///< frames that the recorder lost, or that a live run had no room for
    qint64 errors = 0;  ///< error frames
    qint64 noFrame = 0; ///< lines that were no frame
    TransportCounts transport{};
};

} // namespace monitor
