#pragma once

#include "engine/Snapshot.h"

namespace monitor
{

/// Why a row of a live table stands out.
enum class Highlight { None, LowRating, Silence };

/// The highlight of \a row. Ratings below \a leastRating are low; silence takes precedence.
Highlight highlightOf(const SnapshotRow& row, int leastRating);

/// The character that marks a highlighted row even without colours; a blank for None.
QString markOf(Highlight highlight);

/// The line above a live table: the bus and its frames.
QString formatHeader(const BusState& bus, const FrameCounts& counts);

} // namespace monitor
