#pragma once

#include "Help.h"
#include "options.h"

#include <QtCore/QStringList>

#include <variant>

namespace monitor
{

/// A request for help.
struct HelpRequest {
    QString text; ///< the help text to print
};

/// A request for the version of the program.
struct VersionRequest {
};

/// Invalid arguments.
struct UsageError {
    QString text;    ///< a message about the error and how to correct it
    QString command; ///< the command whose help to refer to; empty: the general help
};

/// The action that the command line requests.
using Command = std::variant<ReplayOptions, LiveOptions, SendOptions, ShowOptions, HelpRequest,
                             VersionRequest, UsageError>;

/// A command: parsing and help follow from its row and from the rows of its options.
struct CommandRow {
    const char* name;
    CommandId id;
    const char* argument; ///< required, as in help texts: "FILE", "FILE FILE", "FILE..." for
                          ///< several, or empty
    const char* help;
    QVector<HelpEntry> examples; ///< without the name of the program; see Help
    Command (*make)(const Options& options);
    ValueHints hints{}; ///< for the argument
};

/// The table of commands. A new command needs a row here.
const QVector<CommandRow>& commandRows();

/// Reads \a arguments, of which the first is the name of the program. The result is a UsageError if
/// any of them is invalid.
[[nodiscard]] Command readCommandLine(const QStringList& arguments);

} // namespace monitor
