#pragma once

#include "options.h"

#include <QtCore/QStringList>

#include <variant>

namespace monitor
{

/// The user asks for help.
struct HelpRequest {
    QString text; ///< to be printed
};

/// The user asks for the version of the program.
struct VersionRequest {
};

/// The arguments cannot be understood.
struct UsageError {
    QString text;    ///< what is wrong, and how to put it right
    QString command; ///< whose help helps; empty: the help on all commands
};

/// What the user asks the program to do.
using Command = std::variant<ReplayOptions, LiveOptions, SendOptions, ShowOptions, HelpRequest,
                             VersionRequest, UsageError>;

/// A command: parsing and help follow from its row and from the rows of its options.
struct CommandRow {
    const char* name;
    CommandId id;
    const char* argument; ///< the file that it needs, such as "FILE"; empty: it takes only options
    const char* help;
    Command (*make)(const Options& options, const QString& file);
};

/// All commands: a new one is a row here.
const QVector<CommandRow>& commandRows();

/// Reads \a arguments, the name of the program first. The result is a UsageError unless all of them
/// are understood.
[[nodiscard]] Command readCommandLine(const QStringList& arguments);

} // namespace monitor
