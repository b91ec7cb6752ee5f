#include "ExpectedStatistics.h"
#include "MonitorRun.h"

#include <gtest/gtest.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

#include <cmath>

namespace
{

/// Runs a script of the sample, and compares the \a files that it writes with those of the sample.
void expectReproduced(const QString& script, const QStringList& files)
{
    const QTemporaryDir directory;
    ASSERT_EQ(QProcess::execute(PYTHON_PROGRAM, {sampleFile(script), directory.path()}), 0);
    for (const QString& file : files)
        EXPECT_TRUE(contentOf(directory.filePath(file)) == contentOf(sampleFile(file)))
            << file.toStdString() << " differs from the output of " << script.toStdString();
}

/// The cells of each row of the table, with two cells for the band and without the unit.
QList<QStringList> shownRows(const QString& output)
{
    QList<QStringList> rows;
    for (const QString& line : output.section("\n\n", 0, 0).split('\n').mid(1)) {
        QStringList cells = line.split(QRegularExpression(QStringLiteral("  +| \\.\\. ")));
        EXPECT_EQ(cells.size(), 16) << line.toStdString();
        if (cells.size() == 16)
            cells.removeAt(13);
        rows += cells;
    }
    return rows;
}

MonitorRun replaySample()
{
    return runMonitor({"replay", sampleFile("engine.log"), "--dbc", sampleFile("engine.dbc")});
}

MonitorRun replayBoth(const QStringList& options = {})
{
    return runMonitor(QStringList{"replay", sampleFile("drive.log"), "--dbc",
                                  sampleFile("engine.dbc"), "--eds", sampleFile("drive.eds"),
                                  "--node", "5"} +
                      options);
}

void expectShown(const MonitorRun& run, const QString& expectedFile)
{
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString());
    const QList<QStringList> shown = shownRows(run.output);
    const QList<QStringList> expected = expectedRows(expectedFile);
    ASSERT_EQ(shown.size(), expected.size());
    for (int row = 0; row < expected.size(); ++row) {
        ASSERT_EQ(shown.at(row).size(), expected.at(row).size());
        for (int cell = 0; cell < expected.at(row).size(); ++cell)
            expectSame(shown.at(row).at(cell), expected.at(row).at(cell),
                       QString("%1, cell %2").arg(expected.at(row).at(0)).arg(cell));
    }
}

} // namespace

TEST(Sample, GeneratorReproducesRecordingsAndDescriptions)
{
    expectReproduced("generateSample.py", {"engine.log", "engine.dbc", "drive.log", "drive.eds"});
    expectReproduced("generateMf4.py", {"buses.mf4"});
}

TEST(Sample, ScriptReproducesTheExpectedStatistics)
{
    expectReproduced("expectedStatistics.py", {"engine.expected", "drive.expected"});
}

TEST(Sample, TableShowsIndependentlyComputedStatistics)
{
    expectShown(replaySample(), "engine.expected");
}

TEST(Sample, EngineAndDriveAreShownTogether)
{
    const MonitorRun run = replayBoth();
    expectShown(run, "drive.expected");
    EXPECT_TRUE(run.output.contains("Velocity actual value "));
    EXPECT_TRUE(run.output.contains("EngineSpeed "));
}

TEST(Sample, JsonContainsTheSameStatisticsMorePrecisely)
{
    const MonitorRun run = replayBoth({"--format", "json"});
    const QJsonArray found =
        QJsonDocument::fromJson(run.output.toUtf8()).object().value("signals").toArray();
    const QList<QStringList> expected = expectedRows("drive.expected");
    ASSERT_EQ(found.size(), expected.size());
    const char* const members[] = {"newest",  "average", "deviation",
                                   "minimum", "maximum", "median"};
    for (int row = 0; row < expected.size(); ++row) {
        const QJsonObject signal = found.at(row).toObject();
        EXPECT_EQ(signal.value("name").toString(), expected.at(row).at(0));
        EXPECT_EQ(signal.value("count").toInt(), expected.at(row).at(2).toInt());
        for (int i = 0; i < 6; ++i) {
            const double number = expected.at(row).at(3 + i).toDouble();
            EXPECT_NEAR(signal.value(QLatin1String(members[i])).toDouble(), number,
                        1e-12 * (1 + std::fabs(number)))
                << expected.at(row).at(0).toStdString() << ' ' << members[i];
        }
    }
}

TEST(Sample, ContainsTheCasesThatItDemonstrates)
{
    const MonitorRun run = replaySample();
    const auto rowOf = [&run](const QString& name) {
        const auto begin = run.output.indexOf('\n' + name + ' ') + 1;
        return run.output.mid(begin, run.output.indexOf('\n', begin) - begin);
    };
    EXPECT_TRUE(rowOf("EngineSpeed").simplified().endsWith(" 6 rpm 0 0"));
    EXPECT_TRUE(rowOf("EngineCoolantTemperature").contains(QString::fromUtf8("°C")));
    EXPECT_TRUE(rowOf("EngineOilTemperature1").simplified().endsWith(QString::fromUtf8("°C 5 0")));
    EXPECT_TRUE(rowOf("EngineOilPressure").simplified().endsWith(" kPa 0 6"));
    EXPECT_EQ(run.output.count("BatteryPotential"), 2);
    EXPECT_TRUE(run.output.contains("undecoded   31\n"));
}
