#pragma once

#include "engine/Snapshot.h"

namespace monitor
{

/// Why a row of a live table stands out.
enum class Highlight { None, LowRating, Silence };

/// The highlight of \a row, where ratings under \a leastRating are low. Silence takes precedence.
Highlight highlightOf(const SnapshotRow& row, int leastRating);

/// The character before a highlighted row, for readers who see no colours; a blank for None.
QString markOf(Highlight highlight);

/// The line above a live table: the bus and its frames.
QString formatHeader(const BusState& bus, const FrameCounts& counts);

} // namespace monitor
