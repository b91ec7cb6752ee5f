#include <app/FinalReport.h>

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

using monitor::CatalogueMessage;
using monitor::MonitorOptions;
using monitor::SignalTable;

TEST(FinalReport, PlotsAndFiguresDoNotHangOnTheSavedSeries)
{
    const QTemporaryDir directory;
    MonitorOptions options;
    options.saveFile = directory.filePath("missing/run");
    options.plotDirectory = directory.filePath("plots");
    const QVector<CatalogueMessage> noDescriptions;
    SignalTable table(noDescriptions);
    QString figures;
    QString text;
    QTextStream output(&figures);
    QTextStream messages(&text);
    EXPECT_FALSE(monitor::printFigures(options, 3, {}, table, output, messages));
    EXPECT_TRUE(text.contains(options.saveFile + ": cannot be written: ")) << text.toStdString();
    EXPECT_TRUE(text.contains(options.plotDirectory + ": there are no values to plot\n"));
    EXPECT_TRUE(figures.contains("frames      0\n"));
}
