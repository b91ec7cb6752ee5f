#pragma once

#include "engine/Session.h"

#include <vector>

namespace monitor
{

/// Computes the statistics of all \a groups, the sessions of a merge by labels, as one snapshot. If
/// there are several, each row states its group and the labels of that. There must be a group.
Snapshot calcSnapshot(const std::vector<Session*>& groups);

} // namespace monitor
