#pragma once

#include "arguments/commandOptions.h"

#include <QtCore/QTextStream>

namespace monitor
{

// Each command writes its results to \a output, and errors and notes to \a diagnostics.

/// Replays a recording as fast as it can be read, and writes the outputs.
ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& diagnostics);

/// Watches a bus until the duration is over, the frames have been received or the user ends the
/// run, and then writes the outputs. A display shows the signals during the run. There must be a
/// QApplication if the display or an output needs widgets.
ExitCode live(const LiveOptions& options, QTextStream& output, QTextStream& diagnostics);

/// Sends the frames of a recording on a bus.
ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& diagnostics);

/// Writes the outputs of a saved run, or of summaries, which are merged. The band is that of the
/// files unless \a options change it.
ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& diagnostics);

/// The same if all files are summaries.
ExitCode showSummaries(const ShowOptions& options, QTextStream& output, QTextStream& diagnostics);

} // namespace monitor
