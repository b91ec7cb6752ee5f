#include <app/RunOutputs.h>

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

using monitor::MonitorOptions;
using monitor::RunOutputs;

TEST(RunOutputs, OutputThatFailsDoesNotKeepTheOthersFromBeingWritten)
{
    const QTemporaryDir directory;
    MonitorOptions options;
    options.saveFile = directory.filePath("missing/run");
    options.plotDirectory = directory.filePath("plots");
    QString printed;
    QString text;
    QTextStream output(&printed);
    QTextStream messages(&text);
    monitor::Session session({}, 3);
    EXPECT_FALSE(RunOutputs(options, output).write(session, messages));
    EXPECT_TRUE(text.contains(options.saveFile + ": cannot be written: ")) << text.toStdString();
    EXPECT_TRUE(text.contains(options.plotDirectory + ": there are no values to plot\n"));
    EXPECT_TRUE(printed.contains("frames      0\n"));
}

TEST(RunOutputs, AreCheckedBeforeTheRun)
{
    const QTemporaryDir directory;
    MonitorOptions options;
    QString printed;
    QTextStream output(&printed);
    EXPECT_EQ(RunOutputs(options, output).check(), QString());
    options.saveFile = directory.filePath("missing/run");
    EXPECT_TRUE(RunOutputs(options, output).check().startsWith(options.saveFile + ": cannot be"));
}

TEST(RunOutputs, EveryPrintedKindPrintsSomething)
{
    for (const monitor::OutputKind& kind : monitor::outputKinds()) {
        if (!kind.isPrinted())
            continue;
        MonitorOptions options;
        options.format = kind.name;
        QString printed;
        QString text;
        QTextStream output(&printed);
        QTextStream messages(&text);
        monitor::Session session({}, 3);
        EXPECT_TRUE(RunOutputs(options, output).write(session, messages));
        EXPECT_FALSE(printed.isEmpty()) << kind.name.toStdString();
        EXPECT_EQ(text, QString());
    }
}
