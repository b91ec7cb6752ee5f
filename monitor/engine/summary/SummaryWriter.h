#pragma once

#include "engine/Session.h"

#include <vector>

namespace monitor
{

/// Writes a summary of finished runs to \a fileName, an empty file. Memory does not depend on the
/// number of distinct values. The same runs yield the same bytes with the same version of SQLite.
/// From now on, the statistics of the runs ignore the order of values, see Session::ignoreOrder().
/// Returns an error message without the name of the file, or an empty string on success.
[[nodiscard]] QString writeSummary(const QString& fileName, const std::vector<Session*>& runs);

} // namespace monitor
