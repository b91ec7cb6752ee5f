#include "Help.h"

#include "CommandLine.h"
#include "sources/recording/formats.h"
#include "text/suggestions.h"

namespace monitor
{

namespace
{

/// Breaks \a text into lines of at most 79 characters, indented by \a indent blanks.
QString wrapped(const QString& text, int indent)
{
    constexpr int width = 79;
    const QString margin(indent, ' ');
    QString lines;
    QString line = margin;
    for (const QString& word : text.split(' ')) {
        if (line.size() > indent && line.size() + 1 + word.size() > width) {
            lines += line + '\n';
            line = margin;
        }
        line += (line.size() > indent ? QStringLiteral(" ") : QString()) + word;
    }
    return lines + line + '\n';
}

/// A term, followed by its meaning on the next lines.
QString printedEntry(const HelpEntry& entry)
{
    return QStringLiteral("  ") + entry.term + '\n' + wrapped(entry.meaning, 6);
}

HelpEntry helpOption()
{
    return {QStringLiteral("-h, --help"), QStringLiteral("Print this help.")};
}

/// "0 on success, 1 if nothing could be ..."
QString printedExitStatuses()
{
    QStringList statuses;
    for (const HelpEntry& status : exitStatuses())
        statuses += status.term + ' ' + status.meaning;
    return wrapped(QStringLiteral("Exit status: %1.").arg(statuses.join(QStringLiteral(", "))), 0);
}

} // namespace

Help programHelp()
{
    Help help;
    help.usage = QStringLiteral("COMMAND [OPTION]...");
    help.description = QStringLiteral("Show the signals in CAN traffic and their statistics.");
    for (const CommandRow& row : commandRows())
        help.commands.append({usageOf(row), QLatin1String(row.help)});
    help.options = {helpOption(),
                    {QStringLiteral("--version"), QStringLiteral("Print the version.")}};
    QStringList formats;
    for (const RecordingFormat& format : recordingFormats())
        formats += format.name;
    help.formats =
        QStringLiteral("Recording formats: %1. Recordings may be compressed with gzip or zstd.")
            .arg(joinWords(formats, "and"));
    return help;
}

Help commandHelp(const CommandRow& command)
{
    Help help;
    help.usage = usageOf(command) + QStringLiteral(" [OPTION]...");
    help.description = QLatin1String(command.help);
    for (const OptionRow& row : optionRows()) {
        QString meaning = row.help;
        if (row.occurrence == Occurrence::AnyNumber)
            meaning += QStringLiteral(" May be repeated.");
        if (row.occurrence == Occurrence::ExactlyOnce)
            meaning += QStringLiteral(" Required.");
        if (row.commands.testFlag(command.id))
            help.options.append({row.usage(), meaning});
    }
    help.options.append(helpOption());
    help.examples = command.examples;
    return help;
}

const QVector<HelpEntry>& exitStatuses()
{
    static const QVector<HelpEntry> statuses{
        {QStringLiteral("0"), QStringLiteral("on success")},
        {QStringLiteral("1"), QStringLiteral("if nothing could be decoded, listed or sent")},
        {QStringLiteral("2"),
         QStringLiteral("for a usage error, a file that cannot be read, reading that was "
                        "interrupted, a bus connection that fails or is lost, or output that "
                        "cannot be written")},
    };
    return statuses;
}

QString printed(const Help& help)
{
    QString text = QStringLiteral("Usage: vantrel ") + help.usage + QStringLiteral("\n\n") +
                   wrapped(help.description, 0);
    const bool isGeneral = !help.commands.isEmpty();
    if (isGeneral)
        text += QStringLiteral("\nCommands:\n");
    for (const HelpEntry& command : help.commands)
        text += printedEntry(command);
    text += QStringLiteral("\nOptions:\n");
    for (const HelpEntry& option : help.options)
        text += printedEntry(option);
    if (!help.examples.isEmpty())
        text += QStringLiteral("\nExamples, with files from monitor/sample in the source tree:\n");
    for (const HelpEntry& example : help.examples) {
        const QStringList lines = commandLines(QStringLiteral("vantrel ") + example.term);
        text += printedEntry({lines.join(QStringLiteral("\n  ")), example.meaning});
    }
    if (!isGeneral)
        return text;
    return text +
           QStringLiteral("\n\"vantrel COMMAND --help\" lists the options of a command.\n\n") +
           wrapped(help.formats, 0) + '\n' + printedExitStatuses();
}

QStringList commandLines(const QString& command)
{
    constexpr int width = 75;
    const QString option = QStringLiteral(" --");
    const QStringList parts = command.split(option);
    QStringList lines{parts.constFirst()};
    for (const QString& part : parts.mid(1)) {
        const QString continued = lines.constLast() + option + part;
        if (continued.size() <= width - 2) {
            lines.last() = continued;
        } else {
            lines.last() += QStringLiteral(" \\");
            lines += QStringLiteral("   ") + option + part;
        }
    }
    return lines;
}

QString usageOf(const CommandRow& command)
{
    return QString::fromLatin1(command.name) + (*command.argument ? " " : "") +
           QLatin1String(command.argument);
}

} // namespace monitor
