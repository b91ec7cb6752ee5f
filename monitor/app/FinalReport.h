#pragma once

#include "MonitorOptions.h"
#include "engine/SignalMonitor.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// Writes the files that \a options ask for and prints the figures of \a table to \a output, with a
/// band of \a k deviations. False if a file cannot be written, which is told to \a messages.
bool printFigures(const MonitorOptions& options, double k, const FrameCounts& counts,
                  SignalTable& table, QTextStream& output, QTextStream& messages);

/// Prints what \a signalMonitor has found to \a output, with a band of \a k deviations, and writes
/// the files that \a options ask for. That nothing was decoded is told to \a messages, naming
/// \a origin, where the frames came from, and so is a file that cannot be written.
ExitCode printReport(const MonitorOptions& options, double k, const QString& origin,
                     SignalMonitor& signalMonitor, QTextStream& output, QTextStream& messages);

} // namespace monitor
