#pragma once

#include "MonitorOptions.h"
#include "signals/SignalMonitor.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// Prints what \a signalMonitor has found to \a output, with a band of \a k deviations, and writes
/// the files that \a options ask for. That nothing was decoded is told to \a messages, naming
/// \a origin, where the frames came from, and so is a file that cannot be written.
ExitCode printReport(const MonitorOptions& options, double k, const QString& origin,
                     SignalMonitor& signalMonitor, QTextStream& output, QTextStream& messages);

} // namespace monitor
