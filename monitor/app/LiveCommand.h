#pragma once

#include "MonitorOptions.h"
#include "sources/bus/BusAddress.h"

#include <QtCore/QTextStream>

#include <limits>

namespace monitor
{

/// What to watch, and how.
struct LiveOptions : MonitorOptions {
    static constexpr double forEver = std::numeric_limits<double>::infinity();

    bool window = false; ///< true: shown in a window instead of the terminal
    BusAddress bus;
    double bitRate = 250000;   ///< of the bus, for its load
    int leastRating = 50;      ///< signals rated under it are highlighted
    double duration = forEver; ///< in seconds
    double frames = forEver;   ///< how many to take at least
};

/// Watches a bus until the time is over, the frames have come or somebody ends it, and prints the
/// reports of all signals to \a output. Meanwhile they stand in a window if one is asked for, which
/// takes a QApplication, or in a table on the terminal if that is where the output goes, and a
/// table is asked for. Messages for the user go to \a messages.
ExitCode live(const LiveOptions& options, QTextStream& output, QTextStream& messages);

} // namespace monitor
