#pragma once

#include "engine/FrameCounts.h"

#include <QtCore/QString>

namespace monitor
{

/// What stands above a live table.
struct LiveHeader {
    QString bus;
    double seconds = 0; ///< since the beginning
    FrameCounts counts;
    double load = 0; ///< of the bus, in percent
    double bitRate = 0;
};

/// The header as one line of text.
QString formatHeader(const LiveHeader& header);

} // namespace monitor
