#include "CommandLine.h"

#include "BusArguments.h"
#include "FileArguments.h"
#include "catalogue/readers.h"
#include "outputs/outputs.h"

#include <QtCore/QCommandLineParser>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

const QString configOption = QStringLiteral("config");
const QString dbcOption = QStringLiteral("dbc");
const QString edsOption = QStringLiteral("eds");
const QString formatOption = QStringLiteral("format");
const QString helpOption = QStringLiteral("help");
const QString kOption = QStringLiteral("k");
const QString limitsOption = QStringLiteral("limits");
const QString nodeOption = QStringLiteral("node");
const QString signalOption = QStringLiteral("signal");

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Shows the signals of CAN traffic with their statistics.\n\n"
                       "Exit status: 0 done, 1 nothing could be decoded or sent, 2 wrong use, a "
                       "file that cannot be read, a bus that cannot be connected or is lost, or "
                       "output that cannot be written."));
    // Not addHelpOption(), which would offer help on options of Qt that there are none of.
    parser.addOption({{QStringLiteral("h"), helpOption}, QStringLiteral("Print this help.")});
    parser.addPositionalArgument(QStringLiteral("replay FILE"),
                                 QStringLiteral("Replay a recording, as candump or a Vector tool "
                                                "(ASC) writes it, and print its figures."));
    parser.addPositionalArgument(QStringLiteral("live"),
                                 QStringLiteral("Watch a bus, and print its figures at the end."),
                                 QStringLiteral("| live"));
    parser.addPositionalArgument(QStringLiteral("window"),
                                 QStringLiteral("The same in a window, with charts."),
                                 QStringLiteral("| window"));
    parser.addPositionalArgument(QStringLiteral("send FILE"),
                                 QStringLiteral("Play a recording onto a bus."),
                                 QStringLiteral("| send FILE"));
    parser.addPositionalArgument(QStringLiteral("show FILE"),
                                 QStringLiteral("Print the figures of saved series."),
                                 QStringLiteral("| show FILE"));
    parser.addOption({dbcOption, QStringLiteral("The description of the messages and signals."),
                      QStringLiteral("FILE.dbc")});
    parser.addOption({edsOption,
                      QStringLiteral("The EDS or DCF of a CANopen node, whose number --node gives. "
                                     "May be repeated, with a --node each."),
                      QStringLiteral("FILE.eds")});
    parser.addOption(
        {nodeOption, QStringLiteral("The node that --eds describes."), QStringLiteral("N")});
    parser.addOption({configOption,
                      QStringLiteral("Scalings, limits and k from a file; options count more."),
                      QStringLiteral("FILE.json")});
    parser.addOption({formatOption,
                      QStringLiteral("How to print the figures: table, json or csv (default: "
                                     "table)."),
                      QStringLiteral("FORMAT"), QStringLiteral("table")});
    parser.addOption({kOption,
                      QStringLiteral("The band reaches K deviations to either side of the "
                                     "average (default: 3)."),
                      QStringLiteral("K")});
    parser.addOption({signalOption,
                      QStringLiteral("Only the signals of that name; * and ? are wildcards. May "
                                     "be repeated."),
                      QStringLiteral("PATTERN")});
    parser.addOption({limitsOption,
                      QStringLiteral("Rate the signal by these limits instead of its band. May be "
                                     "repeated."),
                      QStringLiteral("SIGNAL=LOWER:UPPER")});
    describeFileOptions(parser);
    describeBusOptions(parser);
}

/// The names of the options about what to look for and how to print it.
QStringList monitorOptionNames()
{
    return QStringList{configOption, dbcOption,    edsOption,  formatOption,
                       kOption,      limitsOption, nodeOption, signalOption} +
           fileOptionNames();
}

bool readFormat(const QString& name, QString& format)
{
    format = name;
    const auto isMeant = [&](const OutputKind& kind) {
        return kind.isPrinted() && kind.name == name;
    };
    return std::any_of(outputKinds().begin(), outputKinds().end(), isMeant);
}

/// Reads "EngineSpeed=600:2200". The last equals sign counts, since a name may have one. Returns
/// the complaint about it.
QString readLimits(const QString& text, SignalSettings& given)
{
    QString complaint = QStringLiteral("--limits needs SIGNAL=LOWER:UPPER, not \"%1\"").arg(text);
    const int equals = text.lastIndexOf('=');
    const QStringList numbers = text.mid(equals + 1).split(':');
    if (equals < 1 || numbers.size() != 2)
        return complaint;
    bool isLower = false;
    bool isUpper = false;
    given.pattern = text.left(equals);
    given.limits = ValueRange{numbers.at(0).toDouble(&isLower), numbers.at(1).toDouble(&isUpper)};
    if (!isLower || !isUpper || !std::isfinite(given.limits->lowest) ||
        !std::isfinite(given.limits->highest))
        return complaint;
    if (given.limits->lowest > given.limits->highest)
        return QStringLiteral("--limits \"%1\": the lower limit is above the upper one").arg(text);
    return QString();
}

/// The complaint about the options that change what is shown of signals.
QString readSignalOptions(const QCommandLineParser& parser, MonitorOptions& options)
{
    bool understood = true;
    if (parser.isSet(kOption))
        options.k = parser.value(kOption).toDouble(&understood);
    if (!understood || !std::isfinite(options.k.value_or(0)) || options.k.value_or(0) < 0)
        return QStringLiteral("--k needs a number that is not negative");
    options.config = parser.value(configOption);
    options.patterns = parser.values(signalOption);
    for (const QString& text : parser.values(limitsOption)) {
        SignalSettings given;
        QString complaint = readLimits(text, given);
        if (!complaint.isEmpty())
            return complaint;
        options.limits.append(given);
    }
    return QString();
}

/// The complaint about the options that name descriptions. Each --eds goes with the --node at the
/// same place.
QString readDescriptionOptions(const QCommandLineParser& parser, MonitorOptions& options)
{
    const QStringList files = parser.values(edsOption);
    const QStringList nodes = parser.values(nodeOption);
    if (parser.values(dbcOption).isEmpty() && files.isEmpty())
        return QStringLiteral("--dbc FILE.dbc is needed, or --eds FILE.eds --node N");
    if (files.size() != nodes.size())
        return QStringLiteral("every --eds FILE.eds needs a --node N, and the other way round");
    options.dbc = parser.value(dbcOption);
    for (int i = 0; i < files.size(); ++i) {
        const auto node = readNodeId(nodes.at(i));
        if (!node)
            return QStringLiteral("--node needs a number from 1 to 127");
        const NodeDescription description{files.at(i), *node};
        for (const NodeDescription& other : options.nodes) {
            if (other.node == description.node)
                return QStringLiteral("--node %1 is given twice").arg(other.node);
        }
        options.nodes.append(description);
    }
    return QString();
}

/// The complaint about the options on what is printed and written.
QString readOutputOptions(const QCommandLineParser& parser, MonitorOptions& options)
{
    if (!readFormat(parser.value(formatOption), options.format))
        return QStringLiteral("--format needs table, json or csv");
    return readFileOptions(parser, options);
}

/// The complaint about the options on what to look for and how to print it.
QString readMonitorOptions(const QCommandLineParser& parser, MonitorOptions& options)
{
    QString complaint = readOutputOptions(parser, options);
    if (complaint.isEmpty())
        complaint = readDescriptionOptions(parser, options);
    return complaint.isEmpty() ? readSignalOptions(parser, options) : complaint;
}

/// The complaint about options that \a command does not take, or that come twice but count once.
QString checkOptions(const QCommandLineParser& parser, const QString& command,
                     const QStringList& options)
{
    const QStringList repeatable{edsOption, nodeOption, signalOption, limitsOption};
    const QStringList given = parser.optionNames(); // each as often as it was given
    for (const QString& option : given) {
        if (!options.contains(option))
            return QStringLiteral("%1 takes no --%2").arg(command, option);
        if (given.count(option) > 1 && !repeatable.contains(option))
            return QStringLiteral("--%1 can be given only once").arg(option);
    }
    return QString();
}

QString readReplay(const QCommandLineParser& parser, std::optional<ReplayOptions>& replay)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return QStringLiteral("replay needs exactly one recording");
    ReplayOptions& options = replay.emplace();
    options.recording = arguments.at(1);
    const QString complaint = checkOptions(parser, QStringLiteral("replay"), monitorOptionNames());
    return complaint.isEmpty() ? readMonitorOptions(parser, options) : complaint;
}

/// Reads `live` or `window`, which take the same options.
QString readLive(const QCommandLineParser& parser, std::optional<LiveOptions>& live)
{
    const QString command = parser.positionalArguments().constFirst();
    if (parser.positionalArguments().size() != 1)
        return QStringLiteral("%1 takes options only").arg(command);
    LiveOptions& options = live.emplace();
    options.window = command == QLatin1String("window");
    QString complaint = checkOptions(parser, command, monitorOptionNames() + liveOptionNames());
    if (complaint.isEmpty())
        complaint = readLiveOptions(parser, options);
    return complaint.isEmpty() ? readMonitorOptions(parser, options) : complaint;
}

QString readSend(const QCommandLineParser& parser, std::optional<SendOptions>& send)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return QStringLiteral("send needs exactly one recording");
    SendOptions& options = send.emplace();
    options.recording = arguments.at(1);
    const QString complaint = checkOptions(parser, QStringLiteral("send"), sendOptionNames());
    return complaint.isEmpty() ? readSendOptions(parser, options) : complaint;
}

/// What signals there are and how they are described stands in the file.
QString readShow(const QCommandLineParser& parser, std::optional<ShowOptions>& show)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return QStringLiteral("show needs exactly one file of saved series");
    ShowOptions& options = show.emplace();
    options.file = arguments.at(1);
    QString complaint =
        checkOptions(parser, QStringLiteral("show"), showOptionNames() << formatOption << kOption);
    if (complaint.isEmpty())
        complaint = readOutputOptions(parser, options);
    return complaint.isEmpty() ? readSignalOptions(parser, options) : complaint;
}

/// Reads the command with its arguments and options into \a commandLine. Returns the complaint
/// about them, empty if there is none.
QString readCommand(const QCommandLineParser& parser, CommandLine& commandLine)
{
    const QString command = parser.positionalArguments().value(0);
    if (command == QLatin1String("replay"))
        return readReplay(parser, commandLine.replay);
    if (command == QLatin1String("live") || command == QLatin1String("window"))
        return readLive(parser, commandLine.live);
    if (command == QLatin1String("send"))
        return readSend(parser, commandLine.send);
    if (command == QLatin1String("show"))
        return readShow(parser, commandLine.show);
    const QString problem = command.isEmpty()
                                ? QStringLiteral("the command is missing")
                                : QStringLiteral("there is no command \"%1\"").arg(command);
    return problem + QStringLiteral(": replay FILE, live, window, send FILE or show FILE");
}

} // namespace

CommandLine readCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    describe(parser);
    CommandLine commandLine;
    QString complaint;
    if (!parser.parse(arguments))
        complaint = parser.errorText();
    else if (parser.isSet(helpOption))
        commandLine.help = parser.helpText();
    else
        complaint = readCommand(parser, commandLine);
    if (complaint.isEmpty())
        return commandLine;
    commandLine = CommandLine();
    commandLine.error = complaint;
    return commandLine;
}

} // namespace monitor
