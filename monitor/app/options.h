#pragma once

#include "commandOptions.h"

#include <QtCore/QFlags>

#include <functional>

namespace monitor
{

/// The commands of the program, as members of a set.
enum class CommandId { Replay = 0x01, Live = 0x02, Window = 0x04, Send = 0x08, Show = 0x10 };
Q_DECLARE_FLAGS(CommandSet, CommandId)
Q_DECLARE_OPERATORS_FOR_FLAGS(CommandSet)

/// The commands that decode frames, and so need descriptions of them.
constexpr CommandSet decodingCommands =
    CommandSet(CommandId::Replay) | CommandId::Live | CommandId::Window;

/// Everything that options can set. Each command takes its part.
struct Options : LiveOptions {
    QVector<quint8> nodes; ///< of the descriptions that need one, in their order
    double speed = 1;      ///< times as fast as recorded; infinite: as fast as possible
};

/// How often an option is given.
enum class Occurrence { AtMostOnce, ExactlyOnce, AnyNumber };

/// An option: parsing, help and the check of the manual all follow from its row.
struct OptionRow {
    const char* name;      ///< without dashes
    const char* valueName; ///< empty: the option is a flag
    QString help;          ///< sentences, which mention the default
    CommandSet commands;   ///< those that take it
    Occurrence occurrence;
    /// Reads a value, which is not empty unless the option is a flag. Returns the error as the rest
    /// of a sentence that begins with the option, such as "needs a number"; empty without an error.
    std::function<QString(const QString& value, Options& options)> read;

    bool isFlag() const { return *valueName == '\0'; }

    /// The option as it is typed, such as "--dbc FILE.dbc".
    QString usage() const;
};

/// All options in the order of the help: a new one is a row here.
const QVector<OptionRow>& optionRows();

/// Puts the descriptions and the outputs in the order of their tables, in which they are read and
/// written: a saved run comes before the plots, which take longer. What is of one kind stays in the
/// order in which it was given.
void sortByTables(Options& options);

/// Assigns the nodes in \a options to the descriptions that need one, the first to the first and so
/// on. Returns an error if there is no description, if there are more or fewer nodes than needed,
/// or if a node is described twice: as the rest of a sentence that begins with the command. Empty
/// without an error.
[[nodiscard]] QString completeDescriptions(Options& options);

} // namespace monitor
