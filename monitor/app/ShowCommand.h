#pragma once

#include "MonitorOptions.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// What to show, and how. Of the descriptions and signals nothing is looked at.
struct ShowOptions : MonitorOptions {
    QString file; ///< name of a file of saved series
};

/// Prints the reports of the signals of a saved run to \a output, with the factor of its band if
/// \a options give none. Messages for the user go to \a messages.
ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& messages);

} // namespace monitor
