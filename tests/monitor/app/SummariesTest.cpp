#include "MonitorRun.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtGui/QImage>

#include <algorithm>

#include <sys/stat.h>

namespace
{

QString sample(const QString& name)
{
    return QStringLiteral(SAMPLE_DIRECTORY "/") + name;
}

class Summaries : public MonitorFiles
{
protected:
    MonitorRun summarize(const QString& name, const QStringList& options = {}) const
    {
        return runMonitor(QStringList{"replay", sample("drive.log"), "--dbc", sample("engine.dbc"),
                                      "--eds", sample("drive.eds"), "--node", "5", "--summary",
                                      path(name)} +
                          options);
    }

    QByteArray contentOf(const QString& name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// The result of an SQL query, as Python's own SQLite module sees it: a line for each row.
    QString query(const QString& name, const QString& sql) const
    {
        QProcess process;
        process.start(PYTHON_PROGRAM,
                      {"-c",
                       "import sqlite3, sys\n"
                       "for row in sqlite3.connect(sys.argv[1]).execute(sys.argv[2]):\n"
                       "    print(*map(repr, row))\n",
                       path(name), sql});
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.readAllStandardError(), "");
        return QString::fromUtf8(process.readAllStandardOutput());
    }
};

} // namespace

TEST_F(Summaries, AreShownWithTheStatisticsOfTheReplay)
{
    for (const char* format : {"table", "json", "csv"}) {
        const MonitorRun replayed =
            summarize("a", {"--limits", "Engine*=0:1000", "--k", "2", "--format", format});
        EXPECT_EQ(replayed.exitCode, 0);
        const MonitorRun shown = runMonitor({"show", path("a"), "--format", format});
        EXPECT_EQ(shown.exitCode, 0);
        EXPECT_EQ(shown.diagnostics, replayed.diagnostics);
        EXPECT_EQ(shown.output, replayed.output);
        EXPECT_TRUE(shown.output.contains("EngineSpeed"));
    }
}

TEST_F(Summaries, MergedPartsEqualTheReplayOfTheWhole)
{
    const MonitorRun whole = summarize("whole");
    EXPECT_EQ(summarize("a", {"--to", "4"}).exitCode, 0);
    EXPECT_EQ(summarize("b", {"--from", "4.000001", "--to", "7"}).exitCode, 0);
    EXPECT_EQ(summarize("c", {"--from", "7.000001"}).exitCode, 0);
    EXPECT_EQ(runMonitor({"merge", path("c"), path("a"), "--summary", path("ca")}).exitCode, 0);
    const MonitorRun merged =
        runMonitor({"merge", path("b"), path("ca"), "--summary", path("merged")});
    EXPECT_EQ(merged.exitCode, 0);
    EXPECT_EQ(merged.output, whole.output);
    EXPECT_EQ(merged.diagnostics, whole.diagnostics);
    EXPECT_TRUE(contentOf("merged") == contentOf("whole"));
}

TEST_F(Summaries, AreDatabasesWithTheStatisticsOfTheReplay)
{
    const MonitorRun replayed = summarize("a", {"--format", "csv"});
    const QStringList lines = replayed.output.split("\r\n", Qt::SkipEmptyParts);
    const QStringList names = lines.at(0).split(',');
    const auto column = [&](const char* name) { return names.indexOf(QString(name)); };
    const QStringList rows =
        query("a", "SELECT name, count, average, deviation, median, rating FROM signal")
            .split('\n');
    int compared = 0;
    for (int i = 1; i < lines.size(); ++i) {
        const QStringList cells = lines.at(i).split(',');
        const QStringList row = rows.at(i - 1).split(' ');
        if (cells.size() != names.size() || row.size() != 6 ||
            cells.at(column("average")).isEmpty())
            continue; // a name with a comma or a blank, or without values
        EXPECT_EQ(row.at(0), '\'' + cells.at(0) + '\'');
        EXPECT_EQ(row.at(1), cells.at(column("count")));
        EXPECT_EQ(row.at(2).toDouble(), cells.at(column("average")).toDouble());
        EXPECT_EQ(row.at(3).toDouble(), cells.at(column("deviation")).toDouble());
        EXPECT_EQ(row.at(4).toDouble(), cells.at(column("median")).toDouble());
        EXPECT_EQ(row.at(5), cells.at(column("rating")));
        ++compared;
    }
    EXPECT_GT(compared, 5);
    EXPECT_EQ(query("a", "SELECT DISTINCT bus FROM signal"), QString("'can0'\n"));
    EXPECT_EQ(query("a", "PRAGMA application_id"), QString("%1\n").arg(0x5654524C));
    EXPECT_EQ(query("a", "PRAGMA user_version"), QString("1\n"));
    EXPECT_EQ(query("a", "SELECT group_concat(name) FROM run_description"),
              QString("'drive.eds,engine.dbc'\n"));
}

TEST_F(Summaries, KeepLabelsThatAllFilesShare)
{
    EXPECT_EQ(summarize("a", {"--label", "vehicle=17", "--label", "day=2026-11-22"}).exitCode, 0);
    EXPECT_EQ(summarize("b", {"--label", "vehicle=17", "--label", "day=2026-11-23"}).exitCode, 0);
    const QString labels = "SELECT key, value FROM run_label";
    EXPECT_EQ(query("a", labels), QString("'day' '2026-11-22'\n'vehicle' '17'\n"));
    runMonitor({"merge", path("a"), path("b"), "--summary", path("ab")});
    EXPECT_EQ(query("ab", labels), QString("'vehicle' '17'\n"));
}

TEST_F(Summaries, AreMergedByLabels)
{
    const QStringList first{"--label", "vehicle=17", "--label", "day=1"};
    const QStringList second{"--label", "vehicle=18", "--label", "day=1"};
    EXPECT_EQ(summarize("a", first + QStringList{"--to", "4"}).exitCode, 0);
    EXPECT_EQ(summarize("b", second + QStringList{"--from", "2"}).exitCode, 0);
    EXPECT_EQ(summarize("c", first + QStringList{"--from", "4.000001"}).exitCode, 0);
    const MonitorRun merged =
        runMonitor({"merge", path("c"), path("b"), path("a"), "--by", "vehicle", "--summary",
                    path("groups"), "--format", "csv"});
    EXPECT_EQ(merged.exitCode, 0);

    // Each group has the statistics of its replay.
    const auto linesOf = [](const MonitorRun& run) {
        return run.output.split("\r\n", Qt::SkipEmptyParts);
    };
    QStringList expected;
    for (const QString& line : linesOf(summarize("whole", {"--format", "csv"})))
        expected += line + (expected.isEmpty() ? ",labels" : ",\"day=1, vehicle=17\"");
    for (const QString& line :
         linesOf(summarize("b", second + QStringList{"--from", "2", "--format", "csv"})).mid(1))
        expected += line + ",\"day=1, vehicle=18\"";
    QStringList found = linesOf(merged);
    found.sort();
    expected.sort();
    EXPECT_EQ(found, expected);

    EXPECT_EQ(runMonitor({"show", path("groups"), "--format", "csv"}).output, merged.output);
    EXPECT_EQ(query("groups", "SELECT run, group_concat(value) FROM run_label GROUP BY run"),
              QString("1 '1,17'\n2 '1,18'\n"));
    EXPECT_TRUE(runMonitor({"show", path("groups"), "--format", "json"})
                    .output.contains("\"labels\": {\"day\":\"1\",\"vehicle\":\"17\"}"));
    EXPECT_TRUE(
        runMonitor({"show", path("groups"), "--counts"}).output.contains("day=1, vehicle=18\n"));

    // Groups can be merged again: by other labels, or all together.
    EXPECT_EQ(runMonitor({"merge", path("groups"), "--summary", path("all")}).exitCode, 0);
    EXPECT_EQ(
        runMonitor({"merge", path("a"), path("b"), path("c"), "--summary", path("abc")}).exitCode,
        0);
    EXPECT_TRUE(contentOf("all") == contentOf("abc"));
    EXPECT_EQ(runMonitor({"merge", path("groups"), "--by", "fleet"}).diagnostics,
              path("groups") + ": has no label fleet, so --by cannot assign it to a group; write "
                               "this summary again with --label fleet=VALUE, or leave it out\n");
}

TEST_F(Summaries, HaveLabelsWithByEvenInASingleGroup)
{
    EXPECT_EQ(summarize("a", {"--label", "vehicle=17"}).exitCode, 0);
    const QStringList merge{"merge", path("a"), "--by", "vehicle", "--format"};
    const QString csv = runMonitor(merge + QStringList{"csv"}).output;
    EXPECT_TRUE(csv.section("\r\n", 0, 0).endsWith(",bus,labels"));
    EXPECT_TRUE(csv.section("\r\n", 1, 1).endsWith(",,vehicle=17"));
    EXPECT_TRUE(runMonitor(merge + QStringList{"json"})
                    .output.contains("\"labels\": {\"vehicle\":\"17\"}"));
    EXPECT_FALSE(runMonitor({"merge", path("a"), "--format", "csv"}).output.contains("labels"));
}

TEST_F(Summaries, SameContentsTwiceAreReported)
{
    summarize("a");
    summarize("b");
    summarize("c", {"--to", "4"});
    EXPECT_EQ(runMonitor({"merge", path("a"), path("c"), path("b")}).diagnostics,
              path("b") + ": has the same contents as " + path("a") + "; both are counted\n");
    EXPECT_EQ(runMonitor({"merge", path("a"), path("c")}).diagnostics, QString());

    // Drives without values often have the same contents.
    const QByteArray dbc = "BO_ 291 Brake: 3 X\n SG_ State : 0|8@1- (1,0) [0|0] \"\" X\n";
    replay("(1.0) can0 124#FF0000\n", dbc, {"--summary", path("d")});
    replay("(1.0) can0 124#FF0000\n", dbc, {"--summary", path("e")});
    EXPECT_EQ(contentOf("d"), contentOf("e"));
    EXPECT_EQ(runMonitor({"merge", path("a"), path("d"), path("e")}).diagnostics, QString());
}

TEST_F(Summaries, NeedOneBandForAMerge)
{
    EXPECT_EQ(summarize("a").exitCode, 0);
    EXPECT_EQ(summarize("b", {"--k", "2"}).exitCode, 0);
    const MonitorRun run = runMonitor({"merge", path("a"), path("b")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.diagnostics, path("b") + ": its band has k = 2, that of " + path("a") +
                                   " has k = 3; choose one with --k\n");
    EXPECT_EQ(runMonitor({"merge", path("a"), path("b"), "--k", "2.5"}).exitCode, 0);
    EXPECT_EQ(runMonitor({"show", path("a"), "--k", "2"}).output,
              runMonitor({"show", path("b")}).output);
}

// The expected numbers follow from the few values: A has the average 11 and the deviation 1, so
// with k = 1 its band reaches from 10 to 12.
TEST_F(Summaries, AreComparedLargestChangeFirst)
{
    const QByteArray dbc = "BO_ 291 Brake: 2 X\n"
                           " SG_ Small : 0|8@1+ (1,0) [0|0] \"bar\" X\n"
                           " SG_ Large : 8|8@1+ (1,0) [0|0] \"\" X\n"
                           "BO_ 292 Once: 1 X\n"
                           " SG_ Gone : 0|8@1+ (1,0) [0|0] \"\" X\n"
                           "BO_ 293 Fixed: 1 X\n"
                           " SG_ Fixed : 0|8@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(replay("(1.0) can0 123#0A0A\n(2.0) can0 123#0C0C\n(3.0) can0 124#05\n"
                     "(4.0) can0 125#07\n",
                     dbc, {"--summary", path("a"), "--k", "1"})
                  .exitCode,
              0);
    EXPECT_EQ(replay("(1.0) can0 123#0A11\n(2.0) can0 123#0D0B\n(3.0) can0 123#0D11\n"
                     "(4.0) can0 123#0A0B\n(5.0) can0 125#08\n",
                     dbc, {"--summary", path("b")})
                  .exitCode,
              0);
    const MonitorRun run = runMonitor({"compare", path("a"), path("b"), "--format", "csv"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output,
              QString("name,source,bus,countA,countB,averageA,averageB,deviationA,deviationB,"
                      "outsideA,outsideB,change,unit\r\n"
                      "Fixed,,,1,1,7,8,0,0,0,1,,\r\n"
                      "Large,,,2,4,11,14,1,3,0,0.5,5,\r\n"
                      "Small,,,2,4,11,11.5,1,1.5,0,0.5,1,bar\r\n"
                      "Gone,,,1,,5,,0,,0,,,\r\n"));
    EXPECT_TRUE(
        runMonitor({"compare", path("a"), path("b"), "--format", "json"})
            .output.startsWith("{\n  \"k\": 1,\n  \"signals\": [\n    {\"name\": \"Fixed\", "));
    EXPECT_TRUE(runMonitor({"compare", path("a"), path("b"), "--k", "4", "--format", "csv"})
                    .output.contains("Small,,,2,4,11,11.5,1,1.5,0,0,1,bar\r\n"));
    EXPECT_TRUE(runMonitor({"compare", path("a"), path("a"), "--format", "csv"})
                    .output.contains("Small,,,2,2,11,11,1,1,0,0,0,bar\r\n"));
    const QString table = runMonitor({"compare", path("a"), path("b")}).output;
    EXPECT_TRUE(table.startsWith("signal  source  bus  count A  count B  average A  average B  "
                                 "deviation A  deviation B  outside A  outside B  change  unit\n"
                                 "Fixed        -  -          1        1          7          8"));
    EXPECT_TRUE(table.endsWith("\nband        average of A +/- 1 deviations of A\n"));
}

TEST_F(Summaries, SignalWithAnotherDefinitionIsNotCompared)
{
    const QByteArray log = "(1.0) can0 123#0A\n";
    const QByteArray dbc = "BO_ 291 Brake: 1 X\n SG_ Force : 0|8@1+ (1,0) [0|0] \"N\" X\n";
    EXPECT_EQ(replay(log, dbc, {"--summary", path("a")}).exitCode, 0);
    EXPECT_EQ(
        replay(log, QByteArray(dbc).replace("(1,0)", "(2,0)"), {"--summary", path("b")}).exitCode,
        0);
    const MonitorRun run = runMonitor({"compare", path("a"), path("b"), "--format", "csv"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString("signal \"Force\" is not compared, because its definitions "
                                       "differ (factor: \"1\" and \"2\")\n"));
    EXPECT_EQ(run.output.count("Force,"), 2);
}

TEST_F(Summaries, CountsAreListed)
{
    const QByteArray dbc = "BO_ 291 Brake: 3 X\n"
                           " SG_ State : 0|8@1- (0.5,1) [0|0] \"bar\" X\n"
                           "VAL_ 291 State -1 \"worn, old\" ;\n";
    const QByteArray log = "(1.0) can0 123#FF0000\n(2.0) can0 123#020000\n(3.0) can0 123#FF0000\n";
    EXPECT_EQ(replay(log, dbc, {"--summary", path("a")}).exitCode, 0);
    EXPECT_EQ(runMonitor({"show", path("a"), "--counts"}).output,
              QString("name   source  bus  raw  value  text       count  unit\n"
                      "State       -  -     -1    0.5  worn, old      2  bar\n"
                      "State       -  -      2      2  -              1  bar\n"));
    EXPECT_EQ(runMonitor({"show", path("a"), "--counts", "--format", "csv"}).output,
              QString("name,source,bus,raw,value,text,count,unit\r\n"
                      "State,,,-1,0.5,\"worn, old\",2,bar\r\n"
                      "State,,,2,2,,1,bar\r\n"));
    EXPECT_EQ(runMonitor({"show", path("a"), "--counts", "--format", "json"}).output,
              QString("{\n  \"counts\": [\n"
                      "    {\"name\": \"State\", \"source\": null, \"bus\": null, \"raw\": -1, "
                      "\"value\": 0.5, \"text\": \"worn, old\", \"count\": 2, \"unit\": \"bar\"},\n"
                      "    {\"name\": \"State\", \"source\": null, \"bus\": null, \"raw\": 2, "
                      "\"value\": 2, \"text\": null, \"count\": 1, \"unit\": \"bar\"}\n"
                      "  ]\n}\n"));
}

TEST_F(Summaries, HaveTheHistogramsOfTheReplay)
{
    const MonitorRun replayed = summarize("a", {"--histogram", path("first")});
    EXPECT_EQ(replayed.exitCode, 0);
    EXPECT_EQ(runMonitor({"show", path("a"), "--histogram", path("second")}).exitCode, 0);
    const QStringList names = QDir(path("first")).entryList(QDir::Files);
    EXPECT_GT(names.size(), 10);
    EXPECT_TRUE(names.contains("EngineSpeed-0.png"));
    EXPECT_EQ(QDir(path("second")).entryList(QDir::Files), names);
    for (const QString& name : names)
        EXPECT_TRUE(contentOf("first/" + name) == contentOf("second/" + name))
            << name.toStdString();

    // The longest bar ends near the right edge, and single values outside the band are marked.
    const QImage image(path("first/EngineSpeed-0.png"));
    EXPECT_EQ(image.size(), QSize(1200, 500));
    int longest = 0;
    int marks = 0;
    for (int y = 100; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == QColor(0x1f, 0x4e, 0x9c))
                longest = std::max(longest, x);
            marks += image.pixelColor(x, y) == QColor(0xd0, 0x10, 0x30) ? 1 : 0;
        }
    }
    EXPECT_GT(longest, 1000);
    EXPECT_GT(marks, 20);
}

TEST_F(Summaries, RefuseOptionsThatNeedIndividualValues)
{
    summarize("a");
    const QVector<QStringList> cases{
        {"--save", path("run")}, {"--plot", path("plots")}, {"--from", "1"}, {"--to", "1"}};
    for (const QStringList& options : cases) {
        const MonitorRun run = runMonitor(QStringList{"show", path("a")} + options);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.diagnostics,
                  path("a") + ": " + options.first() +
                      " needs individual values, which a summary does not contain; use the "
                      "recording or a saved run\n");
        EXPECT_FALSE(QFile::exists(path("run")) || QFile::exists(path("plots")));
    }
}

TEST_F(Summaries, AreNotMadeFromSavedRuns)
{
    summarize("a", {"--save", path("run")});
    const MonitorRun run = runMonitor({"show", path("run"), "--summary", path("b")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.diagnostics, path("run") + ": a summary cannot be made from a saved run; use "
                                             "--summary when you replay the recording\n");
    EXPECT_EQ(run.output, QString());
    EXPECT_FALSE(QFile::exists(path("b")));
    EXPECT_EQ(runMonitor({"show", path("a"), "--summary", path("b")}).exitCode, 0);
    EXPECT_TRUE(contentOf("b") == contentOf("a"));
}

TEST_F(Summaries, DamagedOrForeignFileIsReportedWithExitCode2)
{
    summarize("a");
    QByteArray damaged = contentOf("a");
    damaged[damaged.size() / 2] = static_cast<char>(damaged.at(damaged.size() / 2) ^ 1);
    write("damaged", damaged);
    write("short", contentOf("a").left(3000));
    query("foreign", "CREATE TABLE run(id)");
    for (const char* name : {"damaged", "short", "foreign", "missing"}) {
        const MonitorRun run = runMonitor({"merge", path("a"), path(name)});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.diagnostics.startsWith(path(name) + ": ")) << run.diagnostics.toStdString();
        EXPECT_EQ(run.diagnostics.count('\n'), 1);
        EXPECT_EQ(run.output, QString());
    }
    const MonitorRun run = runMonitor({"merge", sample("drive.log")});
    EXPECT_EQ(run.diagnostics, sample("drive.log") + ": not a summary\n");
}

// With SQLite's defaults, a journal next to a summary would change it or make it unreadable.
TEST_F(Summaries, AreReadWithoutTheFilesNextToThem)
{
    const MonitorRun replayed = summarize("a?b#%20.summary");
    write("a?b#%20.summary-journal", "not a journal");
    const MonitorRun shown = runMonitor({"show", path("a?b#%20.summary")});
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_EQ(shown.diagnostics, QString());
    EXPECT_EQ(shown.output, replayed.output);
    EXPECT_EQ(contentOf("a?b#%20.summary-journal"), "not a journal");

    summarize("wal");
    query("wal", "PRAGMA journal_mode=wal");
    const QStringList before = QDir(path(".")).entryList();
    const MonitorRun refused = runMonitor({"show", path("wal")});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.diagnostics,
              path("wal") + ": cannot be read: the database is in WAL mode; run \"PRAGMA "
                            "journal_mode=delete\" on it\n");
    EXPECT_EQ(QDir(path(".")).entryList(), before);
    query("wal", "PRAGMA journal_mode=delete");
    EXPECT_EQ(runMonitor({"show", path("wal")}).output, replayed.output);
}

TEST_F(Summaries, ReplaceOnlySummaries)
{
    query("foreign", "CREATE TABLE run(id)");
    const QByteArray foreign = contentOf("foreign");
    write("text", "text");
    for (const char* name : {"foreign", "text"}) {
        const MonitorRun run = summarize(name);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.diagnostics,
                  path(name) + ": cannot be written: the file exists and is not a summary\n");
    }
    EXPECT_EQ(contentOf("foreign"), foreign);
    write("empty", "");
    EXPECT_EQ(summarize("empty").exitCode, 0);
    const QByteArray first = contentOf("empty");
    EXPECT_EQ(summarize("empty").exitCode, 0);
    EXPECT_EQ(contentOf("empty"), first);
    ASSERT_EQ(mkfifo(qPrintable(path("pipe")), 0600), 0);
    EXPECT_EQ(summarize("pipe").diagnostics,
              path("pipe") + ": cannot be written: not a regular file\n");
    EXPECT_TRUE(
        summarize("missing/a").diagnostics.startsWith(path("missing/a") + ": cannot be written: "));
}

TEST_F(Summaries, LackOfSpaceIsNamedAsAPossibleReason)
{
    QByteArray log;
    for (int i = 0; i < 30000; ++i)
        log += "(1.0) can0 123#" + QByteArray::number(0x10000000 + i * 7919, 16) + '\n';
    write("bus.log", log);
    write("bus.dbc", "BO_ 291 Brake: 4 X\n SG_ State : 0|32@1+ (1,0) [0|0] \"\" X\n");
    const MonitorRun run = runMonitorWithFileLimit(
        20, {"replay", path("bus.log"), "--dbc", path("bus.dbc"), "--summary", path("a")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.startsWith(path("a") + ": cannot be written: "))
        << run.diagnostics.toStdString();
    EXPECT_TRUE(run.diagnostics.contains("(the disk may be full, or a quota exceeded)"));
}

TEST_F(Summaries, NeedFilesInsteadOfStandardStreams)
{
    EXPECT_EQ(runMonitor({"merge", "-"}).diagnostics,
              QString("-: a summary cannot be read from standard input; write it to a file\n"));
    summarize("a");
    EXPECT_EQ(
        runMonitor({"merge", path("a"), "--summary", "-"}).diagnostics,
        QString("-: cannot be written: standard output is for the statistics; name a file\n"));
}

TEST_F(Summaries, LabelWithoutASummaryIsAnError)
{
    const MonitorRun run = runMonitor(
        {"replay", sample("drive.log"), "--dbc", sample("engine.dbc"), "--label", "vehicle=17"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.contains("takes the option --label only with --summary"));
}
