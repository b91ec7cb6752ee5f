#pragma once

#include "../signals/SignalReport.h"

namespace monitor
{

/// One signal of a live table.
struct LiveRow {
    SignalReport report;
    bool silent = false; ///< true: its values stay away
};

} // namespace monitor
