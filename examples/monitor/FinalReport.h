#pragma once

#include "MonitorOptions.h"
#include "signals/SignalMonitor.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// Prints what \a signalMonitor has found to \a output, with a band of \a k deviations. That
/// nothing was decoded is told to \a messages, naming \a origin, where the frames came from.
ExitCode printReport(const MonitorOptions& options, double k, const QString& origin,
                     SignalMonitor& signalMonitor, QTextStream& output, QTextStream& messages);

} // namespace monitor
