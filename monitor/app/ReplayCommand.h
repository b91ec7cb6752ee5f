#pragma once

#include "MonitorOptions.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// What to replay, and how.
struct ReplayOptions : MonitorOptions {
    QString recording; ///< file name of a log of candump or of a Vector tool
};

/// Replays a recording as fast as it can be read and prints the reports of all signals to \a
/// output. Messages for the user go to \a messages.
ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages);

} // namespace monitor
