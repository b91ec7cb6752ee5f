#include <app/arguments/CommandLine.h>
#include <app/arguments/displays.h>
#include <outputs/outputs.h>
#include <sources/recording/formats.h>
#include <views/idTable.h>
#include <views/statisticsFields.h>
#include <views/statisticsTable.h>

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

using monitor::CommandRow;
using monitor::OptionRow;

namespace
{

/// The cells of each row in the table of the \a page whose header begins with \a title.
QVector<QStringList> tableOf(const QString& page, const QString& title)
{
    QFile file(QString(PAGES "/") + page);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QVector<QStringList> rows;
    bool isInside = false;
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
        if (line.startsWith("| " + title + " |"))
            isInside = true;
        else if (!line.startsWith('|'))
            isInside = false;
        else if (isInside && !line.startsWith("|---"))
            rows += line.mid(2, line.size() - 4).split(" | ");
    }
    return rows;
}

/// The words in backticks in \a text.
QStringList codeIn(const QString& text)
{
    QStringList words;
    const QStringList parts = text.split('`');
    for (int i = 1; i < parts.size(); i += 2)
        words += parts.at(i);
    return words;
}

/// The meaning of the option with that \a usage in the manual.
QString meaningOf(const QString& usage)
{
    for (const QStringList& row : tableOf("monitor.md", "option")) {
        if (row.value(0) == "`" + usage + "`")
            return row.value(2);
    }
    return QString();
}

} // namespace

TEST(Manual, ListsAllCommands)
{
    const QVector<QStringList> rows = tableOf("monitor.md", "command");
    ASSERT_EQ(rows.size(), monitor::commandRows().size());
    for (int i = 0; i < rows.size(); ++i) {
        const CommandRow& command = monitor::commandRows().at(i);
        const QString usage =
            QString("vantrel %1 %2").arg(command.name, command.argument).trimmed();
        EXPECT_EQ(rows.at(i).value(0), "`" + usage + "`");
    }
}

TEST(Manual, ListsAllOptionsWithTheirCommands)
{
    const QVector<QStringList> rows = tableOf("monitor.md", "option");
    ASSERT_EQ(rows.size(), monitor::optionRows().size());
    for (int i = 0; i < rows.size(); ++i) {
        const OptionRow& option = monitor::optionRows().at(i);
        QStringList commands;
        for (const CommandRow& command : monitor::commandRows()) {
            if (option.commands.testFlag(command.id))
                commands += command.name;
        }
        EXPECT_EQ(rows.at(i).value(0), "`" + option.usage() + "`");
        EXPECT_EQ(rows.at(i).value(1), commands.join(", ")) << option.name;
    }
}

TEST(Manual, ListsTheValuesOfFormat)
{
    QStringList names;
    for (const monitor::OutputKind& kind : monitor::outputKinds()) {
        if (kind.isPrinted())
            names += kind.name;
    }
    EXPECT_EQ(codeIn(meaningOf("--format FORMAT")), names);
}

TEST(Manual, ListsTheValuesOfDisplay)
{
    QStringList names;
    for (const monitor::DisplayKind& kind : monitor::displayKinds())
        names += kind.name;
    EXPECT_EQ(codeIn(meaningOf("--display NAME")), names);
}

TEST(Manual, ExplainsAllColumnsOfTheTable)
{
    QStringList explained;
    for (const QStringList& row : tableOf("monitor.md", "column"))
        explained += row.value(0).split(", ");
    QStringList columns;
    for (const monitor::Column& column : monitor::statisticsColumns())
        columns += column.title;
    EXPECT_EQ(explained, columns);
}

TEST(DescriptionsPage, ListsTheDescriptionFormats)
{
    const QVector<QStringList> rows = tableOf("descriptions.md", "description");
    ASSERT_EQ(rows.size(), monitor::descriptionReaders().size());
    for (int i = 0; i < rows.size(); ++i) {
        const monitor::DescriptionReader& reader = monitor::descriptionReaders().at(i);
        EXPECT_EQ(rows.at(i).value(0).toLower(), QString(reader.name));
        EXPECT_EQ(rows.at(i).value(1),
                  QString(reader.needsNode ? "`--%1 %2 --node N`" : "`--%1 %2`")
                      .arg(reader.name, reader.fileHint));
    }
}

TEST(FormatsPage, ListsTheRecordingFormats)
{
    const QVector<QStringList> rows = tableOf("formats.md", "recording");
    ASSERT_EQ(rows.size(), monitor::recordingFormats().size());
    for (int i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows.at(i).value(0), monitor::recordingFormats().at(i).name);
}

TEST(OutputPage, ListsTheMembersOfASignalInOrder)
{
    QStringList members;
    for (const QStringList& row : tableOf("output.md", "member"))
        members += codeIn(row.value(0));
    EXPECT_EQ(members, monitor::statisticsFieldNames());
}

TEST(OutputPage, ListsTheMembersOfAnIdInOrder)
{
    QStringList members;
    for (const QStringList& row : tableOf("output.md", "member of an id"))
        members += codeIn(row.value(0));
    EXPECT_EQ(members, monitor::idFieldNames());
}
