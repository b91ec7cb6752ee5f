#pragma once

#include "LiveCommand.h"
#include "ReplayCommand.h"
#include "SendCommand.h"
#include "ShowCommand.h"

#include <QtCore/QStringList>

#include <optional>

namespace monitor
{

/// What the arguments of the program ask for.
struct CommandLine {
    std::optional<ReplayOptions> replay;
    std::optional<LiveOptions> live;
    std::optional<SendOptions> send;
    std::optional<ShowOptions> show;
    QString help;  ///< to be printed if that is asked for, else empty
    QString error; ///< what is wrong with the arguments, else empty
};

/// Reads \a arguments, the name of the program first. One of the parts is filled. There must
/// be a QCoreApplication for the help, which names the program.
CommandLine readCommandLine(const QStringList& arguments);

} // namespace monitor
