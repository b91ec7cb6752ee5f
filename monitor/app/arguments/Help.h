#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

struct CommandRow;

/// A term, such as an option, and its meaning.
struct HelpEntry {
    QString term;
    QString meaning;
};

/// The help on the program or on one of its commands. `--help` prints it, and the manual pages are
/// made from it.
struct Help {
    QString usage; ///< without the name of the program
    QString description;
    QVector<HelpEntry> commands; ///< empty in the help on a command
    QVector<HelpEntry> options;
    QString formats;             ///< of recordings; empty in the help on a command
    QVector<HelpEntry> examples; ///< commands without the name of the program; may be empty
};

/// The help on the program.
Help programHelp();

/// The help on \a command.
Help commandHelp(const CommandRow& command);

/// The exit statuses of all commands, and when they occur.
const QVector<HelpEntry>& exitStatuses();

/// The text that `--help` prints. Lines have at most 79 characters.
QString printed(const Help& help);

/// Breaks a shell command into lines of at most 75 characters, before options. All lines but the
/// last end in a backslash.
QStringList commandLines(const QString& command);

/// The command as it is typed after the name of the program, such as "replay FILE...".
QString usageOf(const CommandRow& command);

} // namespace monitor
