#pragma once

#include "engine/FrameCounts.h"
#include "engine/SignalReport.h"

#include <QtCore/QVector>

namespace monitor
{

/// The counts and \a reports as one JSON object, a line for each signal. The README describes it.
QString formatJson(const QVector<SignalReport>& reports, const FrameCounts& counts);

} // namespace monitor
