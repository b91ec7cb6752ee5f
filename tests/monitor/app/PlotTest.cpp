#include "MonitorRun.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtGui/QImage>

namespace
{

/// The colours of the plots, without the shades at the edges of lines.
const QColor deviatorColor(0xd0, 0x10, 0x30);
const QColor bandColor(0xd9, 0xee, 0xd9);

/// EngineSpeed once a second for 100 s: 150 rpm, with a peak of 1000 rpm at 50 s, no frames between
/// 75 s and 100 s, and 400 rpm at the end.
QByteArray speedLog()
{
    QByteArray log;
    for (int second = 0; second <= 100; ++second) {
        if (second > 75 && second < 100)
            continue;
        const QByteArray raw = second == 50 ? "401F" : second == 100 ? "800C" : "B004";
        log += '(' + QByteArray::number(second) + ".0) can0 0CF00400#FFFFFF" + raw + "FFFFFF\n";
    }
    return log;
}

/// EngineSpeed 200 times a second for 100 s: 100 and 200 rpm in turn, with one peak of 1000 rpm at
/// 50 s, and no frames between 75 s and 99 s. That is more values than are kept one by one.
QByteArray longSpeedLog()
{
    constexpr int rate = 200;
    QByteArray log;
    for (int i = 0; i <= 100 * rate; ++i) {
        if (i > 75 * rate && i < 99 * rate)
            continue;
        const QByteArray raw = i == 50 * rate + 3 ? "401F" : i % 2 == 0 ? "2003" : "4006";
        log += '(' + QByteArray::number(double(i) / rate, 'f', 6) + ") can0 0CF00400#FFFFFF" + raw +
               "FFFFFF\n";
    }
    return log;
}

class Plots : public MonitorFiles
{
protected:
    MonitorRun plot(const QByteArray& log, const QString& plots) const
    {
        return replay(log,
                      "BA_ \"ProtocolType\" \"J1939\"; BO_ 2364540158 EEC1: 8 X\n"
                      " SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|0] \"rpm\" X\n",
                      {"--plot", plots});
    }

    /// The first row below the title and the legend, which are missing in the overview.
    static int firstRowOf(const QImage& image) { return image.height() < 300 ? 0 : 100; }

    /// The leftmost and rightmost column with a pixel of \a color.
    static std::pair<int, int> columnsOf(const QImage& image, const QColor& color)
    {
        std::pair<int, int> columns(image.width(), -1);
        for (int x = 0; x < image.width(); ++x) {
            for (int y = firstRowOf(image); y < image.height(); ++y) {
                if (image.pixelColor(x, y) == color)
                    columns = {std::min(columns.first, x), x};
            }
        }
        return columns;
    }
    /// The first row of the line of values in a column; -1 if the line does not cross the column.
    static int blueRowOf(const QImage& image, double x)
    {
        for (int y = firstRowOf(image); y < image.height(); ++y) {
            const QColor color = image.pixelColor(static_cast<int>(x), y);
            if (color.blue() > color.green() + 40 && color.blue() > color.red() + 40)
                return y;
        }
        return -1;
    }
};

} // namespace

TEST_F(Plots, EverySignalHasAPlotAndAllAreInTheOverview)
{
    const MonitorRun run = plot(speedLog(), path("new/plots"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_TRUE(run.output.startsWith("signal"));
    EXPECT_EQ(QDir(path("new/plots")).entryList(QDir::Files),
              (QStringList{"EngineSpeed-0.png", "overview.png"}));
}

// The band covers the whole time, so the peak must be in the middle of it.
TEST_F(Plots, PeakIsMarkedAtItsTime)
{
    plot(speedLog(), path("plots"));
    for (const char* file : {"plots/EngineSpeed-0.png", "plots/overview.png"}) {
        const QImage image(path(file));
        ASSERT_FALSE(image.isNull()) << file;
        const auto band = columnsOf(image, bandColor);
        const auto peak = columnsOf(image, deviatorColor);
        ASSERT_GT(band.second - band.first, image.width() / 2) << file;
        EXPECT_NEAR((peak.first + peak.second) / 2.0, (band.first + band.second) / 2.0, 3) << file;
        EXPECT_LT(peak.second - peak.first, 10) << file;
    }
}

TEST_F(Plots, GapIsNotJoined)
{
    plot(speedLog(), path("plots"));
    const QImage image(path("plots/EngineSpeed-0.png"));
    const auto band = columnsOf(image, bandColor);
    const auto isBlue = [&image](double x) { return blueRowOf(image, x) >= 0; };
    const double second = (band.second - band.first) / 100.0;
    EXPECT_TRUE(isBlue(band.first + 49.7 * second));
    EXPECT_TRUE(isBlue(band.first + 50.3 * second));
    for (double x = 77; x < 99; x += 0.5)
        EXPECT_FALSE(isBlue(band.first + x * second)) << x;
}

TEST_F(Plots, LongRecordingShowsItsOnlyPeakAndItsGap)
{
    plot(longSpeedLog(), path("plots"));
    const QImage image(path("plots/EngineSpeed-0.png"));
    const auto band = columnsOf(image, bandColor);
    const auto peak = columnsOf(image, deviatorColor);
    const double second = (band.second - band.first) / 100.0;
    EXPECT_NEAR((peak.first + peak.second) / 2.0, band.first + 50 * second, 3);
    EXPECT_LT(peak.second - peak.first, 10);
    for (double x = 1; x < 75; x += 0.5)
        EXPECT_GE(blueRowOf(image, band.first + x * second), 0) << x;
    for (double x = 76; x < 98; x += 0.5)
        EXPECT_LT(blueRowOf(image, band.first + x * second), 0) << x;
    EXPECT_GE(blueRowOf(image, band.first + 99.5 * second), 0);
}

// A straight line from 0 at 0 s to 1 at 10 s would rise.
TEST_F(Plots, ValueWithATextIsHeldUntilTheNextOne)
{
    const MonitorRun run = replay("(0.0) can0 123#00\n(10.0) can0 123#01\n(20.0) can0 123#01\n",
                                  "BO_ 291 Brake: 1 X\n"
                                  " SG_ State : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                  "VAL_ 291 State 0 \"released\" 1 \"set\" ;\n",
                                  {"--plot", path("plots"), "--save", path("run")});
    EXPECT_EQ(run.diagnostics, QString());
    const QImage image(path("plots/State.png"));
    const auto band = columnsOf(image, bandColor);
    const auto rowAt = [&](double second) {
        return blueRowOf(image, band.first + (band.second - band.first) * second / 20);
    };
    ASSERT_GT(rowAt(2), 0);
    EXPECT_EQ(rowAt(9), rowAt(2));
    EXPECT_LT(rowAt(11), rowAt(9) - 20);
    EXPECT_EQ(rowAt(19), rowAt(11));
    EXPECT_EQ(runMonitor({"show", path("run"), "--plot", path("again")}).exitCode, 0);
    EXPECT_TRUE(QImage(path("again/State.png")) == image);
}

TEST_F(Plots, NamesBecomeDistinctFileNames)
{
    const QString eds = write("bus.eds", "[1800sub1]\nDefaultValue=0x185\n"
                                         "[1A00sub1]\nDefaultValue=0x20000008\n"
                                         "[1A00sub2]\nDefaultValue=0x20010008\n"
                                         "[1A00sub3]\nDefaultValue=0x20020008\n"
                                         "[2000]\nParameterName=../Speed\nDataType=5\n"
                                         "[2001]\nParameterName=...speed\nDataType=5\n"
                                         "[2002]\nParameterName=overview\nDataType=5\n");
    const QString log = write("bus.log", "(1.0) can0 185#010203\n");
    const MonitorRun run =
        runMonitor({"replay", log, "--eds", eds, "--node", "5", "--plot", path("plots")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(
        QDir(path("plots")).entryList(QDir::Files),
        (QStringList{"___Speed-5-2.png", "___speed-5.png", "overview-5.png", "overview.png"}));
}

TEST_F(Plots, OverviewIsLimitedTo100SignalsAndTheLimitIsReported)
{
    QByteArray log;
    for (int source = 0; source <= 100; ++source)
        log += "(1.0) can0 0CF004" + QByteArray::number(source, 16).rightJustified(2, '0') +
               "#FFFFFF2003FFFFFF\n";
    const MonitorRun run = plot(log, path("plots"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics,
              path("plots/overview.png") + ": shows only the first 100 of 101 signals\n");
    EXPECT_EQ(QDir(path("plots")).entryList(QDir::Files).size(), 102);
    EXPECT_EQ(QImage(path("plots/overview.png")).height(), 100 * 220);
}

TEST_F(Plots, RecordingWithoutTimesIsPlotted)
{
    const MonitorRun run = plot("  can0  0CF00400   [8]  FF FF FF 20 03 FF FF FF\n"
                                "  can0  0CF00400   [8]  FF FF FF 40 06 FF FF FF\n",
                                path("plots"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_FALSE(QImage(path("plots/EngineSpeed-0.png")).isNull());
}

TEST_F(Plots, NothingIsPlottedWithoutValues)
{
    const MonitorRun run = plot("(1.0) can0 0CF00400#FFFFFFFFFFFFFFFF\n", path("plots"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, path("plots") + ": no values to plot\n");
    EXPECT_TRUE(QDir(path("plots")).entryList(QDir::Files).isEmpty());
}

TEST_F(Plots, UnwritableTargetIsReportedWithExitCode2)
{
    const QString file = write("file", "");
    MonitorRun run = plot(speedLog(), file);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.diagnostics, file + ": the directory cannot be created\n");
    EXPECT_EQ(run.output, QString());
    ASSERT_TRUE(QDir().mkpath(path("plots/overview.png")));
    run = plot(speedLog(), path("plots"));
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.startsWith(path("plots/overview.png") + ": cannot be written: "));
}
