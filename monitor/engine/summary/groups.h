#pragma once

#include "engine/Session.h"

#include <vector>

namespace monitor
{

/// Computes the statistics of all \a groups, the sessions of a merge by labels, as one snapshot. If
/// there are several, or if a single one \a isLabelled, each row has the number and the labels of
/// its group. There must be at least one group.
Snapshot calcSnapshot(const std::vector<Session*>& groups, bool isLabelled = false);

} // namespace monitor
