#pragma once

#include "engine/SignalReport.h"

namespace monitor
{

/// One signal of a live table.
struct LiveRow {
    SignalReport report;
    bool silent = false; ///< true: its values stay away
};

/// Why a row is to be noticed.
enum class Highlight { None, LowRating, Silence };

/// The highlight of \a row, where ratings under \a leastRating are low. Silence counts more.
Highlight highlightOf(const LiveRow& row, int leastRating);

/// The character that stands before a row, for those who see no colours; a blank for None.
QString markOf(Highlight highlight);

} // namespace monitor
