#pragma once

#include "SavedRun.h"
#include "SignalTable.h"

namespace monitor
{

/// What there is to save of \a table.
SavedRun runOf(const SignalTable& table, double k, const FrameCounts& counts);

/// Records the signals of \a run anew in \a table, whose figures are then those of before.
void restoreSignals(const SavedRun& run, SignalTable& table);

} // namespace monitor
