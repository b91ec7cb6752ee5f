#include "options.h"

#include "text/suggestions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace monitor
{

namespace
{

using ReadValue = decltype(OptionRow::read);

constexpr CommandSet liveCommands = CommandSet(CommandId::Live) | CommandId::Window;
constexpr CommandSet busCommands = liveCommands | CommandId::Send;
constexpr CommandSet printingCommands = decodingCommands | CommandId::Show;

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
    const int equals = text.lastIndexOf('=');
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

QVector<OptionRow> descriptionRows()
{
    QVector<OptionRow> rows;
    for (const DescriptionReader& reader : descriptionReaders()) {
        rows.append({reader.name, reader.fileHint, QString::fromLatin1(reader.help),
                     decodingCommands,
                     reader.isRepeatable ? Occurrence::AnyNumber : Occurrence::AtMostOnce,
                     [&reader](const QString& fileName, Options& options) {
                         options.descriptions.append({&reader, {fileName, std::nullopt}});
                         return QString();
                     }});
    }
    return rows;
}

QVector<OptionRow> outputRows()
{
    const QString help =
        QStringLiteral("Print the statistics as %1 (default: %2).")
            .arg(joinWords(printedNames(), "or"), QLatin1String(defaultOutputKind().name));
    QVector<OptionRow> rows{
        {"format", "FORMAT", help, printingCommands, Occurrence::AtMostOnce, readFormat}};
    for (const OutputKind& kind : outputKinds()) {
        if (kind.isPrinted())
            continue;
        rows.append({kind.name, kind.valueName, QString::fromLatin1(kind.help), printingCommands,
                     Occurrence::AtMostOnce, [&kind](const QString& path, Options& options) {
                         options.files.append({&kind, path});
                         return QString();
                     }});
    }
    return rows;
}

QVector<OptionRow> signalRows()
{
    return {
        {"node", "N",
         "CANopen node for a description that needs one, such as --eds: 1 to 127, in decimal or in "
         "hexadecimal with 0x. The first --node is for the first such description, and so on.",
         decodingCommands, Occurrence::AnyNumber, readNode},
        {"config", "FILE.json",
         "Read scalings, limits and k from a file. Command-line options take precedence.",
         decodingCommands, Occurrence::AtMostOnce, anyText(&Options::config)},
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
         decodingCommands, Occurrence::AnyNumber, readLimits},
        {"k", "K",
         "Extend the band K deviations to either side of the average (default: the value from the "
         "configuration or the saved run, otherwise 3).",
         printingCommands, Occurrence::AtMostOnce, readK},
        {"keep", "N", "Keep only the newest N records of each signal, at least 2 (default: all).",
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
         busCommands, Occurrence::ExactlyOnce, anyText(&BusAddress::plugin)},
        {"interface", "NAME", "The interface, such as can0.", busCommands, Occurrence::ExactlyOnce,
         anyText(&BusAddress::device)},
        {"fd", "", "Enable CAN FD frames, if the interface supports them.", busCommands,
         Occurrence::AtMostOnce,
         [](const QString&, Options& options) {
             options.bus.fd = true;
             return QString();
         }},
        {"bitrate", "RATE",
         "Bit rate used to calculate the load of the bus (default: 250000). This does not "
         "set the bit rate of the interface.",
         liveCommands, Occurrence::AtMostOnce, positive(&Options::bitRate)},
        {"duration", "SECONDS", "Stop after SECONDS seconds (default: run until stopped).",
         liveCommands, Occurrence::AtMostOnce, positive(&Options::duration)},
        {"frames", "COUNT",
         "Stop after receiving at least COUNT frames (default: run until stopped).", liveCommands,
         Occurrence::AtMostOnce, positive(&Options::frames)},
        {"display", "NAME", displayHelp(), CommandId::Live, Occurrence::AtMostOnce, readDisplay},
        {"highlight", "RATING",
         "Highlight signals with a rating below RATING, 0 to 100 (default: 50).", liveCommands,
         Occurrence::AtMostOnce, readRating},
        {"speed", "FACTOR",
         "Send FACTOR times as fast as recorded, or as fast as possible if FACTOR is max "
         "(default: 1).",
         CommandId::Send, Occurrence::AtMostOnce, readSpeed},
    };
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
        descriptionRows() + signalRows() + outputRows() + busRows();
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
    if (options.descriptions.isEmpty())
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
    for (const quint8 node : qAsConst(options.nodes)) {
        if (options.nodes.count(node) > 1)
            return QStringLiteral("needs a different node for each file, but --node %1 is repeated")
                .arg(node);
    }
    return QString();
}

} // namespace monitor
