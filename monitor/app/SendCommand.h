#pragma once

#include "MonitorOptions.h"
#include "sources/bus/BusAddress.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// What to send, and where to.
struct SendOptions {
    QString recording; ///< file name of a log of candump or of a Vector tool
    BusAddress bus;
    double speed = 1; ///< times as fast as recorded; infinite: as fast as possible
};

/// Plays a recording onto a bus. What came of it is told to \a output, messages for the user go to
/// \a messages.
ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& messages);

} // namespace monitor
