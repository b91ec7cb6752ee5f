#pragma once

#include "commandOptions.h"

#include <QtCore/QFlags>

#include <functional>

namespace monitor
{

/// The commands of the program, as members of a set.
enum class CommandId {
    Replay = 0x01,
    Live = 0x02,
    Window = 0x04,
    Send = 0x08,
    Show = 0x10,
    Ids = 0x20,
    Merge = 0x40,
    Compare = 0x80
};
Q_DECLARE_FLAGS(CommandSet, CommandId)
Q_DECLARE_OPERATORS_FOR_FLAGS(CommandSet)

/// The commands that record signals, for which they need descriptions.
constexpr CommandSet decodingCommands =
    CommandSet(CommandId::Replay) | CommandId::Live | CommandId::Window;

/// The values of all options. Each command uses some of them.
struct Options : LiveOptions {
    QStringList recordings; ///< file names; "-" is standard input
    int threads = 0;        ///< how many read and record; 0: one per processor, at most 4
    QVector<quint8> nodes;  ///< of the descriptions that need one, in their order
    double speed = 1;       ///< times as fast as recorded; infinite: as fast as possible
};

/// How often an option may be given.
enum class Occurrence { AtMostOnce, ExactlyOnce, AnyNumber };

/// The values that a shell can propose for an option, or for the argument of a command.
struct ValueHints {
    enum class Paths { None, Files, Folders } paths = Paths::None;
    QStringList endings{};   ///< the usual file name extensions, such as "dbc"; empty: any
    bool mayHaveBus = false; ///< whether "BUS=" may precede the file
    QStringList words{};     ///< values with a special meaning
};

/// An option. Parsing, help, manual pages, completion and the check of the manual use this row.
struct OptionRow {
    const char* name;      ///< without dashes
    const char* valueName; ///< empty: the option is a flag
    QString help;          ///< the help text, which mentions the default
    CommandSet commands;   ///< the commands that take the option
    Occurrence occurrence;
    /// Reads a value, which is empty only if the option is a flag. Returns the error as the rest of
    /// a sentence that begins with the option, such as "needs a number", or an empty string.
    std::function<QString(const QString& value, Options& options)> read;
    ValueHints hints{};          ///< for completion; empty for many values
    const char* owner = nullptr; ///< another option, without which this one has no effect

    bool isFlag() const { return *valueName == '\0'; }

    /// The option as it is typed, such as "--dbc FILE.dbc".
    QString usage() const;
};

/// The table of options, in the order of the help. A new option needs a row here.
const QVector<OptionRow>& optionRows();

/// Sorts the descriptions and the outputs in the order of their tables, in which they are read and
/// written, so that a run is saved before the plots, which take longer. Items of one kind keep the
/// order in which they were given.
void sortByTables(Options& options);

/// Assigns the nodes in \a options to the descriptions that need one, in order. It is an error if
/// there is no description (unless only ids are listed or one is chosen later), if the number of
/// nodes is wrong, or if a node is given twice. Returns the error as the rest of a sentence that
/// begins with the command, or an empty string.
[[nodiscard]] QString completeDescriptions(Options& options);

} // namespace monitor
