#include "options.h"

#include "text/LineCursor.h"
#include "text/suggestions.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QPair>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace monitor
{

namespace
{

using ReadValue = decltype(OptionRow::read);

constexpr CommandSet watchingCommands = CommandSet(CommandId::Live) | CommandId::Window;
constexpr CommandSet liveCommands = watchingCommands | CommandId::Ids;
constexpr CommandSet busCommands = liveCommands | CommandId::Send;
constexpr CommandSet describedCommands = decodingCommands | CommandId::Ids;
constexpr CommandSet showingCommands = CommandSet(CommandId::Show) | CommandId::Merge;
constexpr CommandSet signalCommands = decodingCommands | showingCommands;
constexpr CommandSet bandCommands = signalCommands | CommandId::Compare;
constexpr CommandSet printingCommands = bandCommands | CommandId::Ids;

QString readPositive(const QString& text, double& number)
{
    bool isNumber = false;
    number = text.toDouble(&isNumber);
    return isNumber && std::isfinite(number) && number > 0
               ? QString()
               : QStringLiteral("needs a number above 0");
}

/// A reader of numbers above 0 for \a member.
ReadValue positive(double Options::*member)
{
    return [member](const QString& value, Options& options) {
        return readPositive(value, options.*member);
    };
}

/// A reader of any text for \a member.
ReadValue anyText(QString Options::*member)
{
    return [member](const QString& value, Options& options) {
        options.*member = value;
        return QString();
    };
}

/// A reader of any text for \a member of the address of the bus.
ReadValue anyText(QString BusAddress::*member)
{
    return [member](const QString& value, Options& options) {
        options.bus.*member = value;
        return QString();
    };
}

/// The same for \a member of the settings of publishers.
ReadValue anyText(QString PublisherSettings::*member)
{
    return [member](const QString& value, Options& options) {
        options.publishing.*member = value;
        return QString();
    };
}

QString readNode(const QString& text, Options& options)
{
    const std::optional<quint8> node = readNodeId(text);
    if (!node)
        return QStringLiteral("needs a number from 1 to 127");
    options.nodes.append(*node);
    return QString();
}

QString readK(const QString& text, Options& options)
{
    bool isNumber = false;
    const double k = text.toDouble(&isNumber);
    options.k = k;
    return isNumber && std::isfinite(k) && k >= 0 ? QString()
                                                  : QStringLiteral("needs a number of at least 0");
}

/// Reads limits such as "EngineSpeed=600:2200". The last equals sign is the separator, since names
/// may contain equals signs. Without one, the text says where the limits come from.
QString readLimits(const QString& text, Options& options)
{
    if (text == QLatin1String("described") || text == QLatin1String("from-dbc")) {
        options.usesDescribedLimits = true;
        return QString();
    }
    const auto equals = text.lastIndexOf('=');
    const QStringList numbers = text.mid(equals + 1).split(':');
    bool isLower = false;
    bool isUpper = false;
    const double lower = numbers.value(0).toDouble(&isLower);
    const double upper = numbers.value(1).toDouble(&isUpper);
    if (equals < 1 || numbers.size() != 2 || !isLower || !isUpper || !std::isfinite(lower) ||
        !std::isfinite(upper))
        return QStringLiteral("needs SIGNAL=LOWER:UPPER, such as EngineSpeed=600:2200, or "
                              "described, not \"%1\"")
            .arg(text);
    if (lower > upper)
        return QStringLiteral("needs a lower limit at or below the upper limit, not \"%1\"")
            .arg(text);
    options.limits.append({text.left(equals), std::nullopt, ValueRange{lower, upper}});
    return QString();
}

/// Reads a label such as "vehicle=17".
QString readLabel(const QString& text, Options& options)
{
    const auto equals = text.indexOf('=');
    const QString key = text.left(equals);
    if (equals < 1 || equals == text.size() - 1)
        return QStringLiteral("needs KEY=VALUE, such as vehicle=17, not \"%1\"").arg(text);
    const QString value = text.mid(equals + 1);
    const bool isNew = options.labels.emplace(key, value).second;
    return isNew || options.labels[key] == value
               ? QString()
               : QStringLiteral("needs one value for each key, but %1 has two").arg(key);
}

/// At least two values are needed for a band and a rating.
QString readKept(const QString& text, Options& options)
{
    constexpr int minRecords = 2;
    constexpr int maxRecords = std::numeric_limits<int>::max() / 2; // twice as many may be stored
    bool isNumber = false;
    const qlonglong records = text.toLongLong(&isNumber);
    if (!isNumber || records < minRecords)
        return QStringLiteral("needs a whole number of at least 2");
    if (records > maxRecords)
        return QStringLiteral("needs a number of at most %1").arg(maxRecords);
    options.keptRecords = static_cast<int>(records);
    return QString();
}

QString readThreads(const QString& text, Options& options)
{
    constexpr int maxThreads = 64;
    bool isNumber = false;
    options.threads = text.toInt(&isNumber);
    return isNumber && options.threads >= 1 && options.threads <= maxThreads
               ? QString()
               : QStringLiteral("needs a whole number from 1 to %1").arg(maxThreads);
}

QStringList printedNames()
{
    QStringList names;
    for (const OutputKind& kind : outputKinds()) {
        if (kind.isPrinted())
            names += QLatin1String(kind.name);
    }
    return names;
}

QString readFormat(const QString& name, Options& options)
{
    for (const OutputKind& kind : outputKinds()) {
        if (kind.isPrinted() && name == QLatin1String(kind.name)) {
            options.printed = &kind;
            return QString();
        }
    }
    return QStringLiteral("needs ") + joinWords(printedNames(), "or");
}

QStringList displayNames()
{
    QStringList names;
    for (const DisplayKind& kind : displayKinds())
        names += QLatin1String(kind.name);
    return names;
}

QString readDisplay(const QString& name, Options& options)
{
    options.display = findDisplay(name);
    return options.display != nullptr ? QString()
                                      : QStringLiteral("needs ") + joinWords(displayNames(), "or");
}

QString readRating(const QString& text, Options& options)
{
    bool isNumber = false;
    options.leastRating = text.toInt(&isNumber);
    return isNumber && options.leastRating >= 0 && options.leastRating <= 100
               ? QString()
               : QStringLiteral("needs a whole number from 0 to 100");
}

QString readSpeed(const QString& text, Options& options)
{
    if (text != QLatin1String("max"))
        return readPositive(text, options.speed).isEmpty()
                   ? QString()
                   : QStringLiteral("needs a number above 0, or max");
    options.speed = std::numeric_limits<double>::infinity();
    return QString();
}

/// Splits "can0=engine.dbc" into a bus and a file. A file whose whole name is \a text, and a path
/// with an equals sign in one of its folders, have no bus.
GivenDescription describedFile(const DescriptionReader& reader, const QString& text)
{
    const auto equals = text.indexOf('=');
    const bool hasBus = equals > 0 && !text.left(equals).contains('/') && !QFileInfo::exists(text);
    return {&reader,
            {hasBus ? text.mid(equals + 1) : text, std::nullopt},
            hasBus ? text.left(equals) : QString()};
}

/// Reads the digits of a fraction of a second. Returns -1 unless there are 1 to 9 digits.
qint64 nanosecondsIn(const QString& digits)
{
    constexpr int mostDigits = 9;
    const bool areDigits = !digits.isEmpty() && digits.size() <= mostDigits &&
                           std::all_of(digits.cbegin(), digits.cend(),
                                       [](QChar c) { return c >= QChar('0') && c <= QChar('9'); });
    return areDigits ? digits.leftJustified(mostDigits, '0').toLongLong() : -1;
}

/// Reads a number of seconds, such as "12.5". A number of absolute times, such as 1700000000,
/// counts from 1970-01-01 UTC.
std::optional<Moment> momentInSeconds(const QString& text)
{
    constexpr qlonglong latest = 4000000000;
    const auto point = text.indexOf('.');
    bool isNumber = false;
    const qlonglong seconds = text.left(point).toLongLong(&isNumber);
    const qint64 fraction = point < 0 ? 0 : nanosecondsIn(text.mid(point + 1));
    if (!isNumber || seconds < 0 || seconds > latest || fraction < 0)
        return std::nullopt;
    const qint64 time = seconds * nanosecondsPerSecond + fraction;
    return Moment{time, time >= firstAbsoluteTime};
}

/// Reads a date, or a date and time in ISO 8601. Without a time zone it is UTC.
std::optional<Moment> absoluteMoment(const QString& text)
{
    static const QRegularExpression form(QStringLiteral(
        "\\A(\\d{4}-\\d\\d-\\d\\d)(?:[T ](\\d\\d:\\d\\d(?::\\d\\d)?)(?:\\.(\\d{1,9}))?"
        "(Z|[+-]\\d\\d:\\d\\d)?)?\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const QString time = match.captured(2).isEmpty() ? QStringLiteral("00:00") : match.captured(2);
    const QString zone = match.captured(4).isEmpty() ? QStringLiteral("Z") : match.captured(4);
    const QDateTime moment = QDateTime::fromString(
        match.captured(1) + 'T' + (time.size() == 5 ? time + QStringLiteral(":00") : time) + zone,
        Qt::ISODate);
    const qint64 fraction = match.captured(3).isEmpty() ? 0 : nanosecondsIn(match.captured(3));
    const qint64 seconds = moment.toSecsSinceEpoch();
    constexpr qint64 latest = 4000000000;
    if (!moment.isValid() || seconds < 0 || seconds > latest)
        return std::nullopt;
    return Moment{seconds * nanosecondsPerSecond + fraction, true};
}

/// A reader of moments for \a member of the chosen frames.
ReadValue moment(std::optional<Moment> FrameChoice::*member)
{
    return [member](const QString& text, Options& options) {
        std::optional<Moment> read = momentInSeconds(text);
        if (!read)
            read = absoluteMoment(text);
        options.choice.*member = read;
        return read ? QString()
                    : QStringLiteral("needs seconds since the first frame, such as 12.5, or a date "
                                     "and time, such as 2021-10-25T19:00:55.5Z");
    };
}

ValueHints words(const QStringList& values)
{
    ValueHints hints;
    hints.words = values;
    return hints;
}

QVector<OptionRow> descriptionRows()
{
    QVector<OptionRow> rows;
    for (const DescriptionReader& reader : descriptionReaders()) {
        rows.append({reader.name,
                     reader.fileHint,
                     QString::fromLatin1(reader.help),
                     describedCommands,
                     reader.isRepeatable ? Occurrence::AnyNumber : Occurrence::AtMostOnce,
                     [&reader](const QString& text, Options& options) {
                         options.descriptions.append(describedFile(reader, text));
                         return options.descriptions.constLast().file.fileName.isEmpty()
                                    ? QStringLiteral("needs a file after the bus")
                                    : QString();
                     },
                     {ValueHints::Paths::Files, reader.endings, true}});
    }
    return rows;
}

/// The hints for a value that help texts call \a valueName, such as "FILE.csv" or "DIRECTORY".
ValueHints pathHints(const QString& valueName)
{
    using Paths = ValueHints::Paths;
    if (valueName == QLatin1String("DIRECTORY"))
        return {Paths::Folders};
    const QString ending = valueName.section('.', 1);
    return {Paths::Files, ending.isEmpty() ? QStringList() : QStringList(ending)};
}

/// The commands that can have an output of this \a kind.
CommandSet commandsWith(const OutputKind& kind)
{
    switch (kind.needs) {
    case OutputNeeds::Counts:
        return signalCommands;
    case OutputNeeds::Values:
        return decodingCommands | CommandId::Show;
    case OutputNeeds::Run:
        break;
    }
    return decodingCommands;
}

QVector<OptionRow> outputRows()
{
    const QString help =
        QStringLiteral("Print the statistics as %1 (default: %2).")
            .arg(joinWords(printedNames(), "or"), QLatin1String(defaultOutputKind().name));
    QVector<OptionRow> rows{{"format", "FORMAT", help, printingCommands, Occurrence::AtMostOnce,
                             readFormat, words(printedNames())}};
    for (const OutputKind& kind : outputKinds()) {
        if (kind.isPrinted())
            continue;
        rows.append({kind.name, kind.valueName, QString::fromLatin1(kind.help), commandsWith(kind),
                     Occurrence::AtMostOnce,
                     [&kind](const QString& path, Options& options) {
                         options.files.append({&kind, path});
                         return QString();
                     },
                     pathHints(QLatin1String(kind.valueName))});
    }
    rows.append({"label", "KEY=VALUE",
                 "Store a label in the summary, such as vehicle=17 or day=2026-11-22.",
                 decodingCommands, Occurrence::AnyNumber, readLabel});
    rows.append({"by", "KEY",
                 "Merge only summaries with the same value of the label KEY, and print the "
                 "statistics of each group.",
                 CommandId::Merge, Occurrence::AnyNumber, [](const QString& key, Options& options) {
                     if (options.groupedBy.contains(key))
                         return QStringLiteral("is given twice for %1").arg(key);
                     options.groupedBy += key;
                     return key.isEmpty() ? QStringLiteral("needs the key of a label") : QString();
                 }});
    return rows;
}

QVector<OptionRow> frameRows()
{
    constexpr CommandSet timedCommands =
        CommandSet(CommandId::Replay) | CommandId::Ids | CommandId::Send | CommandId::Show;
    const QString forms = QStringLiteral(
        " TIME is a number of seconds since the first frame, or a date and time such as "
        "2021-10-25T19:00:55.5Z (UTC unless it has a time zone), or seconds since 1970 as in "
        "exported values.");
    return {
        {"bus", "NAME",
         "Use only the frames of this bus: an interface such as can0, or the number of a channel "
         "(default: all buses).",
         CommandSet(CommandId::Replay) | CommandId::Ids | CommandId::Send, Occurrence::AnyNumber,
         [](const QString& name, Options& options) {
             options.choice.buses.append(name);
             return QString();
         }},
        {"from", "TIME", "Leave out frames before TIME." + forms, timedCommands,
         Occurrence::AtMostOnce, moment(&FrameChoice::from)},
        {"to", "TIME", "Leave out frames after TIME, given as for --from.", timedCommands,
         Occurrence::AtMostOnce, moment(&FrameChoice::to)},
    };
}

QVector<OptionRow> signalRows()
{
    return {
        {"node", "N",
         "CANopen node for a description that needs one, such as --eds: 1 to 127, in decimal or in "
         "hexadecimal with 0x. The first --node is for the first such description, and so on.",
         describedCommands, Occurrence::AnyNumber, readNode},
        {"config", "FILE.json",
         "Read scalings, limits and k from a file. Command-line options take precedence.",
         decodingCommands, Occurrence::AtMostOnce, anyText(&Options::config),
         pathHints(QStringLiteral("FILE.json"))},
        {"signal", "PATTERN",
         "Report only the signals whose names match PATTERN (default: all signals). * matches any "
         "text, ? matches any character, and SPN190 matches the signal with SPN 190.",
         decodingCommands, Occurrence::AnyNumber,
         [](const QString& value, Options& options) {
             options.patterns.append(value);
             return QString();
         }},
        {"limits", "SIGNAL=LOWER:UPPER",
         "Rate the signals whose names match the pattern SIGNAL by these limits instead of their "
         "band. \"--limits described\" (or from-dbc) rates all signals without such limits by the "
         "ranges in their descriptions.",
         decodingCommands, Occurrence::AnyNumber, readLimits, words({QStringLiteral("described")})},
        {"k", "K",
         "Extend the band K deviations to either side of the average (default: the value from the "
         "configuration, the saved run or the summary, otherwise 3).",
         bandCommands, Occurrence::AtMostOnce, readK},
        {"periods", "",
         "Print the average period of each described message, the deviation (jitter), minimum and "
         "maximum, and the described cycle time, instead of the statistics of signals.",
         CommandSet(CommandId::Replay) | CommandId::Live | CommandId::Window,
         Occurrence::AtMostOnce,
         [](const QString&, Options& options) {
             options.subject = MonitorOptions::Subject::Messages;
             return QString();
         }},
        {"counts", "",
         "Print how often each value of each signal occurred, instead of the statistics.",
         showingCommands, Occurrence::AtMostOnce,
         [](const QString&, Options& options) {
             options.subject = MonitorOptions::Subject::Counts;
             return QString();
         }},
        {"threads", "N",
         "Read and record on N threads, 1 to 64 (default: as many as there are processors, at most "
         "4). The results do not depend on N.",
         CommandId::Replay, Occurrence::AtMostOnce, readThreads},
        {"keep", "N",
         "Limit the median, the deviators, charts and saved runs to the newest N values of each "
         "signal, at least 2 (default: all).",
         decodingCommands, Occurrence::AtMostOnce, readKept},
    };
}

/// "terminal (a table on the terminal) or window (a window with charts)"
QString displayHelp()
{
    QStringList displays;
    for (const DisplayKind& kind : displayKinds())
        displays +=
            QStringLiteral("%1 (%2)").arg(QLatin1String(kind.name), QLatin1String(kind.help));
    return QStringLiteral(
               "Show the signals during the run: %1. Default: %2, if standard output is a terminal "
               "and the format is table; otherwise no display.")
        .arg(joinWords(displays, "or"), displayNames().constFirst());
}

QVector<OptionRow> busRows()
{
    return {
        {"plugin", "PLUGIN", "The Qt Serial Bus plugin for the bus, such as socketcan.",
         busCommands, Occurrence::ExactlyOnce, anyText(&BusAddress::plugin),
         words({QStringLiteral("socketcan"), QStringLiteral("virtualcan")})},
        {"interface", "NAME", "The interface, such as can0.", busCommands, Occurrence::ExactlyOnce,
         anyText(&BusAddress::device)},
        {"choose", "",
         "Choose the bus and the description of its messages in a dialog, which also shows errors. "
         "The options for them are then not required.",
         CommandId::Window, Occurrence::AtMostOnce,
         [](const QString&, Options& options) {
             options.choosesBus = true;
             return QString();
         }},
        {"fd", "", "Enable CAN FD frames, if the interface supports them.", busCommands,
         Occurrence::AtMostOnce,
         [](const QString&, Options& options) {
             options.bus.fd = true;
             return QString();
         }},
        {"bitrate", "RATE",
         "Bit rate used to calculate the load of the bus (default: 250000). This does not "
         "set the bit rate of the interface.",
         watchingCommands, Occurrence::AtMostOnce, positive(&Options::bitRate)},
        {"duration", "SECONDS", "Stop after SECONDS seconds (default: run until stopped).",
         liveCommands, Occurrence::AtMostOnce, positive(&Options::duration)},
        {"frames", "COUNT",
         "Stop after receiving at least COUNT frames (default: run until stopped).", liveCommands,
         Occurrence::AtMostOnce, positive(&Options::frames)},
        {"display", "NAME", displayHelp(), CommandId::Live, Occurrence::AtMostOnce, readDisplay,
         words(displayNames())},
        {"highlight", "RATING",
         "Highlight signals with a rating below RATING, 0 to 100 (default: 50).", watchingCommands,
         Occurrence::AtMostOnce, readRating},
        {"speed", "FACTOR",
         "Send FACTOR times as fast as recorded, or as fast as possible if FACTOR is max "
         "(default: 1).",
         CommandId::Send, Occurrence::AtMostOnce, readSpeed, words({QStringLiteral("max")})},
    };
}

QVector<OptionRow> publisherRows()
{
    QVector<OptionRow> rows;
    for (const PublisherKind& kind : publisherKinds()) {
        rows.append({kind.name, kind.valueName, QString::fromLatin1(kind.help), watchingCommands,
                     Occurrence::AtMostOnce, [&kind](const QString& value, Options& options) {
                         options.publishers.append({&kind, value});
                         return kind.check(value);
                     }});
    }
    rows.append({"publish-every",
                 "SECONDS",
                 "Publish changed signals every SECONDS seconds (default: 1).",
                 watchingCommands,
                 Occurrence::AtMostOnce,
                 [](const QString& value, Options& options) {
                     return readPositive(value, options.publishing.period);
                 },
                 {},
                 "mqtt"});
    const struct {
        const char* name;
        const char* help;
        QString PublisherSettings::*member;
    } files[] = {
        {"mqtt-ca",
         "The certificate of the authority that must have signed the broker's certificate "
         "(default: the authorities that the system trusts).",
         &PublisherSettings::caFile},
        {"mqtt-certificate", "The certificate of this client, if the broker requires one.",
         &PublisherSettings::certificateFile},
        {"mqtt-key", "The private key of that certificate, which must not be encrypted.",
         &PublisherSettings::keyFile},
        {"mqtt-login",
         "Log in to the broker with the user in the first line of FILE and the password in the "
         "second (default: the environment variables VANTREL_MQTT_USER and "
         "VANTREL_MQTT_PASSWORD).",
         &PublisherSettings::loginFile},
    };
    for (const auto& file : files)
        rows.append({file.name, "FILE", QString::fromLatin1(file.help), watchingCommands,
                     Occurrence::AtMostOnce, anyText(file.member),
                     pathHints(QStringLiteral("FILE")), "mqtt"});
    return rows;
}

/// The options for descriptions as they are typed, such as "--eds FILE.eds --node N", either for
/// all formats or only for those that need a node.
QString descriptionUsages(bool onlyWithNode)
{
    QStringList usages;
    for (const DescriptionReader& reader : descriptionReaders()) {
        const QString usage = QStringLiteral("--%1 %2").arg(reader.name, reader.fileHint);
        if (reader.needsNode)
            usages += usage + QStringLiteral(" --node N");
        else if (!onlyWithNode)
            usages += usage;
    }
    return usages.join(QStringLiteral(" or "));
}

} // namespace

QString OptionRow::usage() const
{
    const QString option = QStringLiteral("--") + QLatin1String(name);
    return isFlag() ? option : option + ' ' + QLatin1String(valueName);
}

const QVector<OptionRow>& optionRows()
{
    static const QVector<OptionRow> rows =
        descriptionRows() + frameRows() + signalRows() + outputRows() + busRows() + publisherRows();
    return rows;
}

void sortByTables(Options& options)
{
    std::stable_sort(options.descriptions.begin(), options.descriptions.end(),
                     [](const GivenDescription& left, const GivenDescription& right) {
                         return left.reader < right.reader; // elements of one table
                     });
    std::stable_sort(
        options.files.begin(), options.files.end(),
        [](const GivenOutput& left, const GivenOutput& right) { return left.kind < right.kind; });
}

QString completeDescriptions(Options& options)
{
    if (options.descriptions.isEmpty() && options.subject != MonitorOptions::Subject::Ids &&
        !options.choosesBus)
        return QStringLiteral("needs a description of the messages: ") + descriptionUsages(false);
    int needed = 0;
    for (GivenDescription& description : options.descriptions) {
        if (description.reader->needsNode)
            description.file.node = options.nodes.value(needed++);
    }
    if (needed != options.nodes.size())
        return QStringLiteral("needs one node for each file: %1 (files: %2, nodes: %3)")
            .arg(descriptionUsages(true))
            .arg(needed)
            .arg(options.nodes.size());
    QVector<QPair<QString, quint8>> described; // node ids are unique on each bus only
    for (const GivenDescription& description : qAsConst(options.descriptions)) {
        if (!description.file.node)
            continue;
        const QPair<QString, quint8> node{description.bus, *description.file.node};
        if (described.contains(node))
            return QStringLiteral("needs a different node for each file, but --node %1 is repeated")
                .arg(node.second);
        described.append(node);
    }
    return QString();
}

} // namespace monitor
