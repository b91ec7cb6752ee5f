#pragma once

#include "commandOptions.h"

#include <QtCore/QTextStream>

namespace monitor
{

// Each command writes its results to \a output and messages for the user to \a messages.

/// Replays a recording as fast as it can be read, and writes the outputs.
ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages);

/// Watches a bus until the time is over, the frames have been received or the user ends it, and
/// writes the outputs. A display shows the signals meanwhile; there must be a QApplication if it
/// needs widgets.
ExitCode live(const LiveOptions& options, QTextStream& output, QTextStream& messages);

/// Sends the frames of a recording on a bus.
ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& messages);

/// Writes the outputs of a saved run, with the band of that run unless \a options change it.
ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& messages);

} // namespace monitor
