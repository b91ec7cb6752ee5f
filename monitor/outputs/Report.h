#pragma once

#include "engine/FrameCounts.h"
#include "engine/SignalReport.h"

#include <QtCore/QVector>

namespace monitor
{

enum class OutputFormat { Table, Json, Csv };

/// All that is said at the end: the reports with a band of \a k deviations, and the counts of the
/// frames where the format has a place for them.
QString formatReport(OutputFormat format, double k, const FrameCounts& counts,
                     const QVector<SignalReport>& reports);

} // namespace monitor
