#include "describe.h"

#include <app/arguments/CommandLine.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

using monitor::CommandRow;
using monitor::Help;
using monitor::HelpEntry;

namespace
{

/// \a text as roff input. Hyphens can be copied as minus signs, and no line is taken for a request.
QString roff(QString text)
{
    text.replace('\\', QLatin1String("\\e")).replace('-', QLatin1String("\\-"));
    text.replace('\'', QLatin1String("\\(aq")).replace('`', QLatin1String("\\(ga"));
    text.replace('^', QLatin1String("\\(ha")).replace('~', QLatin1String("\\(ti"));
    return text.startsWith('.') ? QStringLiteral("\\&") + text : text;
}

/// \a text as roff input. Options are bold, and words in capitals that \a variable matches italic.
QString paragraph(const QString& text, const QString& variable = QString())
{
    static const QRegularExpression option(
        QStringLiteral("(?<![\\w\\\\-])((?:\\\\-){1,2}[a-z]\\w*)"));
    QString marked = roff(text).replace(option, QStringLiteral("\\fB\\1\\fR"));
    if (!variable.isEmpty()) {
        const QRegularExpression word(QStringLiteral("(?<!\\w)(%1)(?!\\w)").arg(variable));
        marked.replace(word, QStringLiteral("\\fI\\1\\fR"));
    }
    return marked + '\n';
}

/// Text to be typed, such as "--dbc FILE.dbc": words in capitals are italic, all others bold.
QString typed(const QString& text)
{
    static const QRegularExpression variable(
        QStringLiteral("^(\\[?)([A-Z]+(?:[.:=][A-Za-z]+)*)(.*)$"));
    QStringList words;
    for (const QString& word : text.split(' ')) {
        const QRegularExpressionMatch match = variable.match(word);
        if (match.hasMatch())
            words += roff(match.captured(1)) + QStringLiteral("\\fI") + roff(match.captured(2)) +
                     QStringLiteral("\\fR") + roff(match.captured(3));
        else
            words += QStringLiteral("\\fB") + roff(word) + QStringLiteral("\\fR");
    }
    return words.join(' ');
}

QString section(const QString& title)
{
    return QStringLiteral(".SH ") + title + '\n';
}

/// Terms with their meanings. The value in a term is marked in the meaning too.
QString entries(const QVector<HelpEntry>& list)
{
    static const QRegularExpression values(QStringLiteral("[^A-Z]+"));
    QString text;
    for (const HelpEntry& entry : list) {
        const QStringList words = entry.term.section(' ', 1).split(values, Qt::SkipEmptyParts);
        text += QStringLiteral(".TP\n") + typed(entry.term) + '\n' +
                paragraph(entry.meaning, words.join('|'));
    }
    return text;
}

QString exampleSection(const QVector<HelpEntry>& examples, const QString& program)
{
    QString text = section(QStringLiteral("EXAMPLES")) +
                   paragraph(QStringLiteral("The files are in monitor/sample of the source tree."));
    for (const HelpEntry& example : examples) {
        text += QStringLiteral(".PP\n") + paragraph(example.meaning) +
                QStringLiteral(".PP\n.RS 4\n.nf\n");
        for (const QString& line : monitor::commandLines(program + ' ' + example.term))
            text += roff(line) + '\n';
        text += QStringLiteral(".fi\n.RE\n");
    }
    return text;
}

QString exitStatusSection()
{
    QString text = section(QStringLiteral("EXIT STATUS"));
    for (const HelpEntry& status : monitor::exitStatuses())
        text += QStringLiteral(".TP\n\\fB%1\\fR\n").arg(status.term) +
                paragraph(status.meaning.left(1).toUpper() + status.meaning.mid(1) + '.');
    return text;
}

/// The first clause of \a sentence, as the description of a name: "replay recordings and ..."
QString brief(const QString& sentence)
{
    static const QRegularExpression end(QStringLiteral("[.:;] |\\.$"));
    const QString clause = sentence.left(sentence.indexOf(end));
    return clause.left(1).toLower() + clause.mid(1);
}

} // namespace

QString manualPage(const QString& command, const Release& release)
{
    const QVector<CommandRow>& rows = monitor::commandRows();
    const bool isGeneral = command.isEmpty();
    QStringList pages{release.program};
    Help help = monitor::programHelp();
    for (const CommandRow& row : rows) {
        pages += release.program + '-' + QLatin1String(row.name);
        if (command == QLatin1String(row.name))
            help = monitor::commandHelp(row);
        else if (isGeneral)
            help.examples += row.examples.mid(0, 1);
    }
    const QString page = isGeneral ? release.program : release.program + '-' + command;
    QString text = QStringLiteral(".TH \"%1\" 1 \"%2\" \"%3\" \"User Commands\"\n")
                       .arg(roff(page.toUpper()), roff(release.date),
                            roff(release.program + ' ' + release.version));
    // No hyphenation or justification, so that options stay whole and lines have no gaps.
    text += QStringLiteral(".nh\n.ad l\n");
    text += section(QStringLiteral("NAME")) + roff(page) + QStringLiteral(" \\- ") +
            roff(brief(help.description)) + '\n';
    text += section(QStringLiteral("SYNOPSIS")) + typed(release.program + ' ' + help.usage) + '\n';
    text += section(QStringLiteral("DESCRIPTION")) + paragraph(help.description);
    if (isGeneral) {
        text += QStringLiteral(".PP\n") + paragraph(help.formats);
        text += section(QStringLiteral("COMMANDS")) + entries(help.commands) +
                QStringLiteral(".PP\nEach command has a manual page of its own.\n");
    }
    text += section(QStringLiteral("OPTIONS")) + entries(help.options) + exitStatusSection() +
            exampleSection(help.examples, release.program);
    pages.removeAll(page);
    QStringList others;
    for (const QString& other : pages)
        others += QStringLiteral("\\fB%1\\fR(1)").arg(roff(other));
    return named(text, {roff(release.program), {}, {}}) + section(QStringLiteral("SEE ALSO")) +
           others.join(QStringLiteral(",\n")) + '\n';
}
