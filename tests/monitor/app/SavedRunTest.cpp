#include "MonitorRun.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace
{

QString sample(const QString& name)
{
    return QStringLiteral(SAMPLE_DIRECTORY "/") + name;
}

class SavedRuns : public MonitorFiles
{
protected:
    MonitorRun save(const QStringList& options) const
    {
        return runMonitor(QStringList{"replay", sample("drive.log"), "--dbc", sample("engine.dbc"),
                                      "--eds", sample("drive.eds"), "--node", "5", "--save",
                                      path("run")} +
                          options);
    }
};

} // namespace

TEST_F(SavedRuns, AreShownWithTheStatisticsOfTheReplay)
{
    for (const char* format : {"table", "json", "csv"}) {
        const MonitorRun saved =
            save({"--limits", "Engine*=0:1000", "--k", "2", "--format", format});
        EXPECT_EQ(saved.exitCode, 0);
        const MonitorRun shown = runMonitor({"show", path("run"), "--format", format});
        EXPECT_EQ(shown.exitCode, 0);
        EXPECT_EQ(shown.diagnostics, saved.diagnostics);
        EXPECT_EQ(shown.output, saved.output);
        EXPECT_TRUE(shown.output.contains("EngineSpeed"));
    }
}

TEST_F(SavedRuns, CanBeShownWithAnotherBand)
{
    save({});
    EXPECT_EQ(runMonitor({"show", path("run"), "--k", "1.5"}).output, save({"--k", "1.5"}).output);
}

TEST_F(SavedRuns, PassThroughValuesAreSaved)
{
    const QString eds = write("bus.eds", "[1800sub1]\nDefaultValue=0x185\n"
                                         "[1A00sub1]\nDefaultValue=0x20000020\n"
                                         "[2000]\nParameterName=Text\nDataType=9\n");
    const MonitorRun saved = runMonitor({"replay", write("bus.log", "(1.0) can0 185#4F6B0000\n"),
                                         "--eds", eds, "--node", "5", "--save", path("run")});
    EXPECT_TRUE(saved.output.contains("Ok"));
    EXPECT_EQ(runMonitor({"show", path("run")}).output, saved.output);
}

// Raw values 0 to 3 of a signed signal of 2 bits are 0, 1, -2 and -1.
TEST_F(SavedRuns, ContainTheValueTexts)
{
    const QString dbc = write("bus.dbc", "BO_ 291 Brake: 1 X\n"
                                         " SG_ State : 0|2@1- (0.5,1) [0|0] \"\" X\n"
                                         "VAL_ 291 State -1 \"worn\" 1 \"set\" ;\n");
    for (const auto& [data, meaning] : {std::pair("03", "worn"), std::pair("01", "set")}) {
        const QString log = write("bus.log", QByteArray("(1.0) can0 123#") + data + "\n");
        const MonitorRun saved = runMonitor({"replay", log, "--dbc", dbc, "--save", path("run")});
        EXPECT_TRUE(saved.output.contains(QString(" (%1)").arg(meaning)));
        EXPECT_EQ(runMonitor({"show", path("run")}).output, saved.output);
        EXPECT_EQ(runMonitor({"show", path("run"), "--save", path("again")}).exitCode, 0);
        EXPECT_EQ(runMonitor({"show", path("again")}).output, saved.output);
    }
}

TEST_F(SavedRuns, ContainTheKeptRecords)
{
    const auto countOf = [](const MonitorRun& run) {
        return run.output.section("EngineSpeed", 1, 1)
            .section(' ', 1, 20, QString::SectionSkipEmpty)
            .section(' ', 0, 0, QString::SectionSkipEmpty);
    };
    EXPECT_EQ(countOf(save({"--keep", "20"})), QString("500"));
    EXPECT_EQ(countOf(runMonitor({"show", path("run")})), QString("20"));
}

TEST_F(SavedRuns, YieldTheSamePlotsAsTheRecording)
{
    save({"--plot", path("first")});
    EXPECT_EQ(runMonitor({"show", path("run"), "--plot", path("second")}).exitCode, 0);
    for (const char* name : {"/overview.png", "/EngineSpeed-0.png"}) {
        QFile first(path("first") + name);
        QFile second(path("second") + name);
        ASSERT_TRUE(first.open(QIODevice::ReadOnly));
        ASSERT_TRUE(second.open(QIODevice::ReadOnly));
        EXPECT_TRUE(first.readAll() == second.readAll()) << name;
    }
}

TEST_F(SavedRuns, InvalidOrDamagedFileIsReportedWithExitCode2)
{
    save({});
    ASSERT_TRUE(QFile::resize(path("run"), 1000));
    for (const QString& file :
         {path("run"), path("missing"), path(""), sample("drive.log"), QString("/dev/zero")}) {
        const MonitorRun run = runMonitor({"show", file});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.diagnostics.startsWith(file + ": ")) << run.diagnostics.toStdString();
        EXPECT_EQ(run.output, QString());
    }
}

TEST_F(SavedRuns, RunWithoutADecodedFrameReturnsExitCode1)
{
    const QString log = write("bus.log", "(1.0) can0 7FF#00\n");
    EXPECT_EQ(
        runMonitor({"replay", log, "--dbc", sample("engine.dbc"), "--save", path("run")}).exitCode,
        1);
    const MonitorRun run = runMonitor({"show", path("run")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.diagnostics, path("run") + ": contains no decoded frames\n");
}

TEST_F(SavedRuns, UnwritableTargetIsReportedFirst)
{
    save({});
    const QString dbc = sample("engine.dbc");
    for (const char* option : {"--save", "--plot"}) {
        for (const QStringList& command :
             {QStringList{"replay", path("missing.log"), "--dbc", dbc},
              QStringList{"live", "--plugin", "none", "--interface", "none", "--dbc", dbc},
              QStringList{"show", path("run")}}) {
            const QString target = path("run/target"); // a file is not a directory
            const MonitorRun run = runMonitor(command + QStringList{option, target});
            EXPECT_EQ(run.exitCode, 2);
            EXPECT_TRUE(run.diagnostics.startsWith(target + ": ")) << run.diagnostics.toStdString();
            EXPECT_EQ(run.diagnostics.count('\n'), 1);
            EXPECT_EQ(run.output, QString());
        }
    }
}

TEST_F(SavedRuns, AreWrittenEvenIfTheOutputPipeIsClosed)
{
    QString log; // with enough sources that the output exceeds the buffer
    for (int source = 0; source < 256; ++source)
        log += QString("(1.0) can0 0CF004%1#FFFFFF2003FFFFFF\n").arg(source, 2, 16, QChar('0'));
    QProcess process; // its output is a pipe whose reader is gone
    process.start("sh", {"-c", "mkfifo $0 && exec 3<>$0 4>$0 3>&- && exec \"$@\" >&4", path("pipe"),
                         MONITOR_PROGRAM, "replay", write("bus.log", log.toLatin1()), "--dbc",
                         sample("engine.dbc"), "--format", "json", "--save", path("run")});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(runMonitor({"show", path("run")}).output.count("EngineSpeed"), 256);
}

TEST_F(SavedRuns, OverwriteOnlySavedRuns)
{
    const QByteArray text = "VANTREL is not all\n";
    QFile file(write("run", text));
    EXPECT_EQ(save({}).exitCode, 2);
    EXPECT_EQ(save({}).diagnostics,
              path("run") + ": cannot be written: the file exists and is not a saved run\n");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), text);
    file.close();
    ASSERT_TRUE(file.resize(0));
    EXPECT_EQ(save({}).exitCode, 0);
    EXPECT_EQ(save({}).exitCode, 0);
    ASSERT_EQ(mkfifo(qPrintable(path("pipe")), 0600), 0);
    for (const QString& other : {directory.path(), path("pipe")}) {
        const MonitorRun run = runMonitor({"show", path("run"), "--save", other});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.diagnostics, other + ": cannot be written: not a regular file\n");
    }
}
