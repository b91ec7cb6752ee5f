#include <app/RunOutputs.h>

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <stdexcept>

using monitor::MonitorOptions;
using monitor::OutputKind;
using monitor::RunOutputs;

namespace
{

const OutputKind& kindCalled(const char* name)
{
    for (const OutputKind& kind : monitor::outputKinds()) {
        if (qstrcmp(kind.name, name) == 0)
            return kind;
    }
    throw std::invalid_argument(name);
}

} // namespace

TEST(RunOutputs, OutputThatFailsDoesNotKeepTheOthersFromBeingWritten)
{
    const QTemporaryDir directory;
    const QString save = directory.filePath("missing/run");
    const QString plots = directory.filePath("plots");
    MonitorOptions options;
    options.files = {{&kindCalled("save"), save}, {&kindCalled("plot"), plots}};
    QString printed;
    QString text;
    QTextStream output(&printed);
    QTextStream messages(&text);
    monitor::Session session({}, 3);
    EXPECT_FALSE(RunOutputs(options, output).write(session, messages));
    EXPECT_TRUE(text.contains(save + ": cannot be written: ")) << text.toStdString();
    EXPECT_TRUE(text.contains(plots + ": there are no values to plot\n"));
    EXPECT_TRUE(printed.contains("frames      0\n"));
}

TEST(RunOutputs, AreCheckedBeforeTheRun)
{
    const QTemporaryDir directory;
    MonitorOptions options;
    QString printed;
    QTextStream output(&printed);
    EXPECT_EQ(RunOutputs(options, output).check(), QString());
    const QString save = directory.filePath("missing/run");
    options.files = {{&kindCalled("save"), save}};
    EXPECT_TRUE(RunOutputs(options, output).check().startsWith(save + ": cannot be"));
}

TEST(RunOutputs, EveryPrintedKindPrintsSomething)
{
    for (const OutputKind& kind : monitor::outputKinds()) {
        if (!kind.isPrinted())
            continue;
        MonitorOptions options;
        options.printed = &kind;
        QString printed;
        QString text;
        QTextStream output(&printed);
        QTextStream messages(&text);
        monitor::Session session({}, 3);
        EXPECT_TRUE(RunOutputs(options, output).write(session, messages));
        EXPECT_FALSE(printed.isEmpty()) << kind.name;
        EXPECT_EQ(text, QString());
    }
}

TEST(RunOutputs, PlotsThatCannotBeWrittenAreAnError)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    monitor::Session session({}, 3);
    const monitor::Snapshot snapshot = session.calcSnapshot();
    const auto plots = kindCalled("plot").make({nullptr, file.fileName()});
    EXPECT_EQ(plots->write({session, snapshot}, {}).error,
              file.fileName() + ": the directory cannot be created");
}
