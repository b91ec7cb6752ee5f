#include "CommandLine.h"

#include "sources/recording/formats.h"
#include "text/suggestions.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QHash>

#include <algorithm>

namespace monitor
{

namespace
{

constexpr char helpOption[] = "help";
constexpr char versionOption[] = "version";

/// Whether the ids of a bus are listed, not those of recordings.
bool isLive(const Options& options)
{
    return options.recordings == QStringList(QStringLiteral("live"));
}

const CommandRow* findCommand(const QString& name)
{
    for (const CommandRow& row : commandRows()) {
        if (name == QLatin1String(row.name))
            return &row;
    }
    return nullptr;
}

/// The option of that name; null for the options that every command has.
const OptionRow* findOption(const QString& name)
{
    for (const OptionRow& row : optionRows()) {
        if (name == QLatin1String(row.name))
            return &row;
    }
    return nullptr;
}

QStringList commandNames()
{
    QStringList names;
    for (const CommandRow& row : commandRows())
        names += QLatin1String(row.name);
    return names;
}

/// The hints for an argument that is a recording or one of \a words.
ValueHints recordingHints(const QStringList& words = {})
{
    return {ValueHints::Paths::Files, recordingEndings(), false, words};
}

/// The message about an unknown option. If \a command is not null, only its options are suggested.
QString unknownOption(const QString& name, const CommandRow* command)
{
    QStringList candidates{QStringLiteral("--help"), QStringLiteral("--version")};
    for (const OptionRow& row : optionRows()) {
        if (!command || row.commands.testFlag(command->id))
            candidates += QStringLiteral("--") + QLatin1String(row.name);
    }
    const QString option = (name.size() == 1 ? "-" : "--") + name;
    return QStringLiteral("unknown option ") + option + didYouMean(option, candidates);
}

QString unknownCommand(const QString& name)
{
    const QString suggestion = didYouMean(name, commandNames());
    return QStringLiteral("unknown command \"%1\"").arg(name) +
           (suggestion.isEmpty()
                ? QStringLiteral(" (available: %1)").arg(commandNames().join(QStringLiteral(", ")))
                : suggestion);
}

QString missingValue(const OptionRow& row)
{
    return QStringLiteral("option --%1 needs a value: %2").arg(row.name, row.usage());
}

/// The message about arguments that \a parser could not parse.
QString parseError(const QCommandLineParser& parser)
{
    for (const OptionRow& row : optionRows()) {
        const auto given = parser.optionNames().count(row.name);
        if (!row.isFlag() && parser.values(row.name).size() < given)
            return missingValue(row);
    }
    return parser.errorText();
}

/// Reads one occurrence of an option, after \a earlier ones. Returns an error message, or an empty
/// string on success.
QString readOption(const OptionRow& row, const CommandRow& command, qsizetype earlier,
                   const QString& value, Options& options)
{
    const QString option = QStringLiteral("option --") + QLatin1String(row.name);
    if (!row.commands.testFlag(command.id)) {
        QStringList owners;
        for (const CommandRow& other : commandRows()) {
            if (row.commands.testFlag(other.id))
                owners += QLatin1String(other.name);
        }
        return QStringLiteral("%1 is for %2, not for %3")
            .arg(option, joinWords(owners, "and"), QLatin1String(command.name));
    }
    if (earlier > 0 && row.occurrence != Occurrence::AnyNumber)
        return option + QStringLiteral(" can be given only once");
    if (value.isEmpty() && !row.isFlag())
        return missingValue(row);
    const QString error = row.read(value, options);
    return error.isEmpty() ? error : option + ' ' + error;
}

/// Reads the options given to \a command in order. Returns an error message, or an empty string.
QString readOptions(const QCommandLineParser& parser, const CommandRow& command, Options& options)
{
    const QStringList given = parser.optionNames(); // repeated options are repeated here too
    for (int i = 0; i < given.size(); ++i) {
        const auto earlier = given.mid(0, i).count(given.at(i));
        const QString value = parser.values(given.at(i)).value(earlier);
        const OptionRow* row = findOption(given.at(i));
        QString error = row ? readOption(*row, command, earlier, value, options) : QString();
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

/// Checks that the right number of files is given to \a command. Returns an error message, or an
/// empty string.
QString checkFiles(const QStringList& files, const CommandRow& command)
{
    const QString name = QLatin1String(command.name);
    const QString argument = QLatin1String(command.argument);
    if (argument.isEmpty())
        return files.isEmpty() ? QString()
                               : QStringLiteral("%1 takes no file, but \"%2\" was given")
                                     .arg(name, files.constFirst());
    const bool takesSeveral = argument.endsWith(QLatin1String("..."));
    const bool takesTwo = argument.contains(' ');
    if (takesSeveral ? !files.isEmpty() : files.size() == (takesTwo ? 2 : 1))
        return QString();
    return QStringLiteral("%1 needs %2: vantrel %3")
        .arg(name,
             takesSeveral ? QStringLiteral("at least one file")
             : takesTwo   ? QStringLiteral("exactly two files")
                          : QStringLiteral("exactly one file"),
             usageOf(command));
}

/// Whether \a command needs the options for a bus, given the files on the command line.
bool needsBus(const CommandRow& command, const Options& options)
{
    return !options.choosesBus && (command.id != CommandId::Ids || isLive(options));
}

/// `vantrel ids` reads either recordings or a bus, and some options are for one of them only.
/// Returns an error if one of these is given to the other, as the rest of a sentence that begins
/// with the command, or an empty string.
QString uselessOption(const QCommandLineParser& parser, const Options& options)
{
    const QStringList names =
        isLive(options)
            ? QStringList{QStringLiteral("bus"), QStringLiteral("from"), QStringLiteral("to")}
            : QStringList{QStringLiteral("plugin"), QStringLiteral("interface"),
                          QStringLiteral("fd"), QStringLiteral("duration"),
                          QStringLiteral("frames")};
    for (const QString& name : names) {
        if (parser.isSet(name))
            return isLive(options)
                       ? QStringLiteral("live takes no option --%1, which is for recordings")
                             .arg(name)
                       : QStringLiteral("takes the option --%1 only for a bus: vantrel ids live")
                             .arg(name);
    }
    return QString();
}

/// An error if two outputs have the same file, as the rest of a sentence that begins with the
/// command; otherwise an empty string.
QString repeatedFile(const Options& options)
{
    QHash<QString, QLatin1String> names; // of the options, by path
    for (const GivenOutput& given : options.files) {
        const QLatin1String name(given.kind->name);
        const QString path = QDir::cleanPath(QFileInfo(given.path).absoluteFilePath());
        if (names.contains(path))
            return QStringLiteral("needs different files for --%1 and --%2, but both are %3")
                .arg(names.value(path), name, given.path);
        names.insert(path, name);
    }
    return QString();
}

/// Checks that nothing is missing, and assigns the nodes to the descriptions. Returns an error
/// message, or an empty string on success.
QString complete(const QCommandLineParser& parser, const CommandRow& command, Options& options)
{
    QStringList missing;
    for (const OptionRow& row : optionRows()) {
        if (row.occurrence == Occurrence::ExactlyOnce && row.commands.testFlag(command.id) &&
            needsBus(command, options) && !parser.isSet(QLatin1String(row.name)))
            missing += row.usage();
        if (row.owner != nullptr && parser.isSet(QLatin1String(row.name)) &&
            !parser.isSet(QLatin1String(row.owner)))
            return QStringLiteral("option --%1 has no effect without --%2")
                .arg(QLatin1String(row.name), QLatin1String(row.owner));
    }
    QString error = command.id == CommandId::Ids ? uselessOption(parser, options) : QString();
    if (!error.isEmpty())
        return QLatin1String(command.name) + QStringLiteral(" ") + error;
    const auto& from = options.choice.from;
    const auto& to = options.choice.to;
    if (!missing.isEmpty())
        error = QStringLiteral("needs ") + joinWords(missing, "and");
    else if (from && to && from->isAbsolute == to->isAbsolute &&
             from->nanoseconds > to->nanoseconds)
        error = QStringLiteral("needs a time for --to that is not before that for --from");
    else if (!options.labels.empty() && !options.writes("summary"))
        error = QStringLiteral("takes the option --label only with --summary");
    else if ((decodingCommands | CommandId::Ids).testFlag(command.id))
        error = completeDescriptions(options);
    sortByTables(options);
    if (error.isEmpty())
        error = repeatedFile(options);
    return error.isEmpty() ? error : QLatin1String(command.name) + QStringLiteral(" ") + error;
}

/// Reads the options and files given to \a command.
Command readCommand(const QCommandLineParser& parser, const CommandRow& command)
{
    const QStringList files = parser.positionalArguments().mid(1);
    Options options;
    options.recordings = files;
    if (command.id == CommandId::Ids)
        options.subject = MonitorOptions::Subject::Ids;
    QString error = checkFiles(files, command);
    if (error.isEmpty())
        error = readOptions(parser, command, options);
    if (error.isEmpty())
        error = complete(parser, command, options);
    if (error.isEmpty())
        return command.make(options);
    return UsageError{error, QLatin1String(command.name)};
}

} // namespace

const QVector<CommandRow>& commandRows()
{
    static const QVector<CommandRow> rows{
        {"replay",
         CommandId::Replay,
         "FILE...",
         "Replay recordings and print the statistics of their signals. Several recordings are read "
         "as one, in the order of their times; - is standard input.",
         {{"replay engine.log --dbc engine.dbc",
           "Print the statistics of all signals in a recording."},
          {"replay drive.log --dbc engine.dbc --eds drive.eds --node 5 --format json",
           "Print the statistics of J1939 signals and of a CANopen node's signals as JSON."},
          {"replay engine.log --dbc engine.dbc --signal 'Engine*' --save engine.run --plot plots",
           "Save the values of some signals, and plot them."},
          {"replay engine.log --dbc engine.dbc --summary engine.summary",
           "Write a summary, which can be merged with others."},
          {"replay drive.log --dbc engine.dbc --summary drive.summary", "Write another one."}},
         [](const Options& options) -> Command {
             return ReplayOptions{MonitorOptions(options), options.recordings, options.threads};
         },
         recordingHints()},
        {"ids",
         CommandId::Ids,
         "FILE...",
         "List the ids in recordings, or on a bus if FILE is the word live: the period of each id, "
         "its length, and whether a description covers it.",
         {{"ids buses.mf4 --dbc 1=engine.dbc",
           "List the ids of two buses, the first of which has a description."},
          {"ids live --plugin virtualcan --interface tcp://127.0.0.1:35600/can0 --duration 10",
           "List the ids that occur on a simulated bus within ten seconds."}},
         [](const Options& options) -> Command {
             if (isLive(options))
                 return LiveOptions(options);
             return ReplayOptions{MonitorOptions(options), options.recordings, options.threads};
         },
         recordingHints({QStringLiteral("live")})},
        {"live",
         CommandId::Live,
         "",
         "Watch a bus on the terminal, and print the statistics at the end.",
         {{"live --plugin virtualcan --interface tcp://127.0.0.1:35600/can0 --dbc engine.dbc",
           "Watch a simulated bus, on which \"vantrel send\" can send a recording."}},
         [](const Options& options) -> Command { return LiveOptions(options); }},
        {"window",
         CommandId::Window,
         "",
         "Watch a bus in a window with charts, and print the statistics at the end.",
         {{"window --choose", "Choose a bus and its description in a dialog, and watch it."},
          {"window --plugin virtualcan --interface tcp://127.0.0.1:35600/can0 --dbc engine.dbc",
           "Watch a simulated bus, on which \"vantrel send\" can send a recording."}},
         [](const Options& options) -> Command {
             LiveOptions live = options;
             live.display = findDisplay(QStringLiteral("window"));
             return live;
         }},
        {"send",
         CommandId::Send,
         "FILE...",
         "Send the frames of recordings on a bus; - is standard input.",
         {{"send engine.log --plugin virtualcan --interface tcp://127.0.0.1:35600/can0 --speed 10",
           "Send a recording at ten times its speed to a running \"vantrel live\"."}},
         [](const Options& options) -> Command {
             return SendOptions{options.recordings, options.choice, options.bus, options.speed};
         },
         recordingHints()},
        {"show",
         CommandId::Show,
         "FILE",
         "Print the statistics of a run saved with --save, or of a summary.",
         {{"show engine.run --k 2",
           "Print the statistics of a saved run again, with a narrower band."}},
         [](const Options& options) -> Command {
             return ShowOptions{MonitorOptions(options), options.recordings};
         },
         {ValueHints::Paths::Files}},
        {"merge",
         CommandId::Merge,
         "FILE...",
         "Merge summaries, and print the statistics of all their values. The result does not "
         "depend on the order of the files, nor on how the recordings were divided.",
         {{"merge engine.summary drive.summary --summary both.summary",
           "Merge two summaries into one, and print the statistics of both recordings."}},
         [](const Options& options) -> Command {
             return ShowOptions{MonitorOptions(options), options.recordings,
                                ShowOptions::Action::Merge};
         },
         {ValueHints::Paths::Files}},
        {"compare",
         CommandId::Compare,
         "FILE FILE",
         "Compare the values of each signal in two summaries A and B: average, deviation, and the "
         "share of values outside the band of A. The largest change comes first.",
         {{"compare engine.summary drive.summary",
           "Print how the signals of one recording differ from those of another."}},
         [](const Options& options) -> Command {
             ShowOptions compared{MonitorOptions(options), options.recordings,
                                  ShowOptions::Action::Compare};
             compared.subject = MonitorOptions::Subject::Comparison;
             return compared;
         },
         {ValueHints::Paths::Files}},
    };
    return rows;
}

Command readCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOption({{QStringLiteral("h"), QLatin1String(helpOption)}, QString()});
    parser.addOption({QLatin1String(versionOption), QString()});
    for (const OptionRow& row : optionRows())
        parser.addOption({row.name, QString(), row.valueName});
    const bool isParsed = parser.parse(arguments);

    const QString name = parser.positionalArguments().value(0);
    const CommandRow* command = findCommand(name);
    const QString commandName = command ? name : QString();
    const QStringList unknown = parser.unknownOptionNames();
    if (!unknown.isEmpty())
        return UsageError{unknownOption(unknown.constFirst(), command), commandName};
    if (!isParsed)
        return UsageError{parseError(parser), commandName};
    if (parser.isSet(QLatin1String(versionOption)))
        return VersionRequest{};
    if (parser.isSet(QLatin1String(helpOption)) && (command || name.isEmpty()))
        return HelpRequest{printed(command ? commandHelp(*command) : programHelp())};
    if (command)
        return readCommand(parser, *command);
    return UsageError{name.isEmpty() ? QStringLiteral("no command given (available: %1)")
                                           .arg(commandNames().join(QStringLiteral(", ")))
                                     : unknownCommand(name),
                      QString()};
}

} // namespace monitor
