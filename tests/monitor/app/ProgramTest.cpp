#include "MonitorRun.h"

#include <waitUntil.h>

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <sys/syscall.h>

#include <csignal>

namespace
{

const QByteArray speedDbc = "BA_ \"ProtocolType\" \"J1939\"; BO_ 2364540158 EEC1: 8 Engine\n"
                            " SG_ EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] \"rpm\" X\n";

using Program = MonitorFiles;

} // namespace

// The raw values 800, 1600 and 2400 are 100, 200 and 300 rpm, with the mean 200 and the deviation
// 100 * sqrt(2 / 3).
TEST_F(Program, ReplayPrintsTheTableAndSucceeds)
{
    const MonitorRun run = replay("(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n"
                                  "(1.1) can0 0CF00400#FFFFFF4006FFFFFF\n"
                                  "(1.2) can0 0CF00400#FFFFFFFFFFFFFFFF\n"
                                  "(1.3) can0 0CF00400#FFFFFF00FEFFFFFF\n"
                                  "(1.4) can0 0CF00400#FFFFFF6009FFFFFF\n"
                                  "(1.5) can0 18FEEE00#FFFFFFFFFFFFFFFF\n",
                                  speedDbc, {"--k", "1"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_EQ(run.output.section('\n', 1, 1).simplified(),
              QString("EngineSpeed 0 3 300 200 81.6496581 100 300 200 0 "
                      "118.350342 .. 281.649658 2 rpm 1 1"));
    EXPECT_EQ(run.output.section('\n', 2).simplified(),
              QString("band average +/- 1 deviations frames 6 decoded 5 undecoded 1 dropped 0 "
                      "errors 0 unreadable 0 undecoded 18FEEE00: 1 frame(s)"));
}

TEST_F(Program, OnlyChosenSignalsAreShownAndLimitsRateThem)
{
    const QByteArray dbc = speedDbc + " SG_ Torque : 16|8@1+ (1,-125) [0|0] \"%\" X\n";
    const QByteArray log = "(1.0) can0 0CF00400#FFFF8C2003FFFFFF\n"
                           "(1.1) can0 0CF00400#FFFF964006FFFFFF\n";
    const MonitorRun run =
        replay(log, dbc, {"--signal", "Engine?peed", "--limits", "*=0:100", "--format", "csv"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output.count("\r\n"), 2);
    EXPECT_EQ(run.output.section("\r\n", 1, 1).section(',', 0, 7),
              QString("EngineSpeed,j1939,0,2,0,0,200,150"));
    EXPECT_EQ(run.output.section("\r\n", 1, 1).section(',', 12, 12), QString("0"));
    EXPECT_TRUE(replay(log, dbc, {"--limits", "Torque=0:100"})
                    .output.contains("limits      Torque: 0 .. 100\n"));
}

// Two signals with 64 bytes for each value: 1 GB for 7,812,500 values.
TEST_F(Program, MemoryOfManyKeptValuesIsReportedAtTheStart)
{
    const QByteArray dbc = speedDbc + " SG_ Torque : 16|8@1+ (1,-125) [0|0] \"%\" X\n";
    const QByteArray log = "(1.0) can0 0CF00400#FFFF8C2003FFFFFF\n";
    EXPECT_EQ(replay(log, dbc, {"--keep", "7812499"}).diagnostics, QString());
    EXPECT_EQ(
        replay(log, dbc, {"--keep", "7812500"}).diagnostics,
        QString("--keep 7812500: may take 500 MB of memory for each of 2 signal(s), and again "
                "for each further source; without --keep, memory does not "
                "depend on the number of values\n"));
    EXPECT_EQ(replay(log, dbc, {"--keep", "7812500", "--signal", "Torque"}).diagnostics, QString());
}

TEST_F(Program, PatternThatMatchesNoSignalIsReportedWithExitCode2)
{
    for (const char* option : {"--signal", "--limits"}) {
        const MonitorRun run = replay("", speedDbc, {option, "Nothing=1:2"});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.diagnostics.startsWith("no signal matches \"Nothing"));
    }
}

TEST_F(Program, ControlCharactersInErrorsDoNotReachTheTerminal)
{
    const MonitorRun run = replay("", speedDbc, {"--signal", "\x1b[2JNothing"});
    EXPECT_EQ(run.diagnostics, QString("no signal matches \" [2JNothing\"\n"));
}

TEST_F(Program, FramesDecodedAloneAndAsPartOfAMessageCountOnce)
{
    const MonitorRun run = replay("(1.0) can0 1CECFF05#200A0002FFE0FE00\n"
                                  "(1.1) can0 1CEBFF05#0101020304050607\n"
                                  "(1.2) can0 1CEBFF05#0208090AFFFFFFFF\n",
                                  "BA_ \"ProtocolType\" \"J1939\"; BO_ 2632711936 Packet: 8 X\n"
                                  " SG_ Number : 0|8@1+ (1,0) [0|255] \"\" X\n"
                                  "BO_ 2566840320 Long: 16 X\n"
                                  " SG_ Value : 64|8@1+ (1,0) [0|255] \"\" X\n",
                                  {});
    EXPECT_TRUE(run.output.contains("frames      3\ndecoded     3\nundecoded   0\n"))
        << run.output.toStdString();
}

TEST_F(Program, UnreadableLinesAreReportedByNumberAndTheRestIsUsed)
{
    const MonitorRun run = replay("# comment\n\nnonsense\n"
                                  "(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n"
                                  "(1.1) can0 0CF00400#FFFFFF200",
                                  speedDbc);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString("%1:3: unreadable line\n%1:5: unreadable line\n"
                                       "%1: 2 unreadable line(s) skipped\n")
                                   .arg(path("bus.log")));
    EXPECT_TRUE(run.output.contains("unreadable  2\n"));
    EXPECT_TRUE(run.output.contains("frames      1\n"));
}

TEST_F(Program, LostFramesAndErrorFramesAreCountedSeparately)
{
    const MonitorRun run =
        replay(" (0000000000.000000)  can0  0CF00400   [8]  FF FF FF 20 03 FF FF FF\n"
               " (0000000000.000100)  can0  20000088   [8]  00 00 00 00 00 00 00 00"
               "   ERRORFRAME\n"
               "DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total 12)\n"
               "DROPCOUNT: dropped 1 CAN frame on 'can0' socket (total 13)\n"
               " (0000000000.000050)  can0  0CF00400   [8]  remote request\n",
               speedDbc, {"--format", "json"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_TRUE(run.output.contains("\"frames\": {\"total\": 2, \"decoded\": 1, \"undecoded\": 1, "
                                    "\"dropped\": 13, \"errors\": 1}"))
        << run.output.toStdString();
}

// Two nodes of the same type. 300 and -300 have the mean 0 and the deviation 300.
TEST_F(Program, CanopenObjectsAreShownByNode)
{
    const QString eds = write("drive.eds", "[1800Sub1]\nDefaultValue=$NODEID+0x40000180\n"
                                           "[1a00sub0]\nDefaultValue=3\n"
                                           "[1A00SUB1]\nDefaultValue=0x60440010\n"
                                           "[1A00sub2]\nDefaultValue=0x20000030\n"
                                           "[6044]\nParameterName=Speed\nDataType=0x0003\n"
                                           "[2000]\nParameterName=Uptime\nDataType=0x0013\n");
    const QString log = write("bus.log", "(1.0) can0 185#2C01FFFFFFFFFFFF\n"
                                         "(1.1) can0 185#R8\n"
                                         "(1.2) can0 187#0100010000000000\n"
                                         "(1.3) can0 185#D4FE0000000000F0\n");
    const MonitorRun run = runMonitor({"replay", log, "--eds", eds, "--node", "5", "--eds", eds,
                                       "--node", "7", "--format", "csv"});
    EXPECT_EQ(run.diagnostics, QString("undecoded   185: 1 frame(s)\n"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output.section("\r\n", 1),
              QString("Speed,canopen,5,2,0,0,-300,0,300,-300,300,0,100,-900,900,0,,,\r\n"
                      "Speed,canopen,7,1,0,0,1,1,0,1,1,1,100,1,1,0,,,\r\n"
                      "Uptime,canopen,5,2,0,0,-17592186044416,,,,,,,,,,,,\r\n"
                      "Uptime,canopen,7,1,0,0,1,,,,,,,,,,,,\r\n"));
}

// A message of 20 bytes is announced. The signal is in bytes 15 and 16, in the third packet.
TEST_F(Program, MultiFrameMessageIsDecoded)
{
    const QByteArray dbc = "BO_ 2566849278 Long: 20 X\n"
                           " SG_ Mass : 120|16@1+ (2,0) [0|0] \"kg\" X\n";
    const QByteArray log = "(1.0) can0 1CECFF21#20140003FF02FF00\n"
                           "(1.1) can0 1CEBFF21#0100000000000000\n"
                           "(1.2) can0 1CEBFF21#0200000000000000\n"
                           "(1.3) can0 1CEBFF21#03003412FFFFFFFF\n";
    const MonitorRun run = replay(log, dbc);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.output.section('\n', 1, 1).simplified().startsWith("Mass 33 1 9320 "))
        << run.output.toStdString();
    EXPECT_TRUE(run.output.contains("decoded     4\nundecoded   0\n"));
    EXPECT_TRUE(run.output.endsWith(
        "transport   1 message(s), 0 interrupted; packets: 0 lost, 0 out of order\n"));
}

TEST_F(Program, ConfigurationScalesAndRatesButOptionsTakePrecedence)
{
    const QString eds = write("drive.eds", "[1800sub1]\nDefaultValue=0x185\n"
                                           "[1A00sub1]\nDefaultValue=0x60440010\n"
                                           "[6044]\nParameterName=Speed\nDataType=0x0003\n");
    const QString log = write("bus.log", "(1.0) can0 185#0100\n(1.0) can0 185#0300\n");
    const QString config = write("bus.json", R"({"k": 1, "signals": {"Speed": {"factor": 0.5,
        "offset": 1, "unit": "rpm", "limits": [0, 10]}}})");
    const QStringList arguments{"replay", log,        "--eds", eds,        "--node",
                                "5",      "--config", config,  "--format", "csv"};
    EXPECT_EQ(runMonitor(arguments).output.section("\r\n", 1, 1),
              QString("Speed,canopen,5,2,0,0,2.5,2,0.5,1.5,2.5,2,100,1.5,2.5,0,rpm,,"));
    EXPECT_EQ(runMonitor(arguments + QStringList{"--k", "0", "--limits", "Speed=0:2"})
                  .output.section("\r\n", 1, 1),
              QString("Speed,canopen,5,2,0,0,2.5,2,0.5,1.5,2.5,2,0,2,2,2,rpm,,"));
}

// Each value is 100, which lies in the inner half of 0 to 200 and at the end of 0 to 100.
TEST_F(Program, DescribedRangesRateSignalsWithoutOtherLimits)
{
    const QString dbc = write("bus.dbc", "BO_ 291 M: 4 X\n"
                                         " SG_ A : 0|8@1+ (1,0) [0|200] \"\" X\n"
                                         " SG_ B : 8|8@1+ (1,0) [0|200] \"\" X\n"
                                         " SG_ C : 16|8@1+ (1,0) [0|200] \"\" X\n"
                                         " SG_ D : 24|8@1+ (1,0) [0|0] \"\" X\n");
    const QString log = write("bus.log", "(1.0) can0 123#64646464\n");
    const QString config = write("bus.json", R"({"signals": {"B": {"limits": [0, 100]}}})");
    QStringList arguments{"replay", log,        "--dbc",   dbc,        "--config",
                          config,   "--limits", "C=0:100", "--limits", "described"};
    const MonitorRun run = runMonitor(arguments);
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_TRUE(run.output.contains("limits      A: 0 .. 200\n"
                                    "limits      B: 0 .. 100\n"
                                    "limits      C: 0 .. 100\n"
                                    "band"))
        << run.output.toStdString();
    const QString csv = runMonitor(arguments + QStringList{"--format", "csv"}).output;
    QStringList ratings;
    for (int row = 1; row <= 3; ++row)
        ratings += csv.section("\r\n", row, row).section(',', 12, 12);
    EXPECT_EQ(ratings, (QStringList{"100", "0", "0"}));
    EXPECT_EQ(runMonitor({"replay", log, "--dbc", dbc, "--signal", "D", "--limits", "from-dbc"})
                  .diagnostics,
              QString("--limits described: has no effect: all chosen signals already have limits "
                      "or lack a range in their descriptions\n"));
}

TEST_F(Program, LastMatchingPatternDecidesWhetherValuesAreReserved)
{
    const auto countsWith = [this](const char* config) {
        const MonitorRun run = replay("(1.0) can0 0CF00400#FFFFFFFFFFFFFFFF\n", speedDbc,
                                      {"--format", "csv", "--config", write("bus.json", config)});
        return run.output.section("\r\n", 1, 1).section(',', 3, 4);
    };
    EXPECT_EQ(countsWith(R"({"signals": {"E*": {"reserved": false}, "En*": {"reserved": true}}})"),
              QString("0,1"));
    EXPECT_EQ(countsWith(R"({"signals": {"E*": {"reserved": true}, "En*": {"reserved": false}}})"),
              QString("1,0"));
}

TEST_F(Program, InvalidConfigurationIsReportedWithExitCode2)
{
    for (const char* text :
         {"", "{\"k\": \"many\"}", "{\"signals\": {\"Nothing\": {\"limits\": [0, 1]}}}",
          "{\"signals\": {\"EngineSpeed\": {\"factor\": 2}}}", "{\"signals\": {\"Nothing\": {}}}",
          "{\"signals\": {\"Nothing\": {\"reserved\": true}}}"}) {
        const QString config = write("bus.json", text);
        const MonitorRun run = replay("", speedDbc, {"--config", config});
        EXPECT_EQ(run.exitCode, 2) << text;
        EXPECT_TRUE(run.diagnostics.startsWith(config + ": ")) << run.diagnostics.toStdString();
    }
    const MonitorRun run = replay("", speedDbc, {"--config", path("missing")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.startsWith(path("missing") + ": cannot be read: "));
}

TEST_F(Program, FileFullOfNonsenseDoesNotFloodTheTerminal)
{
    const MonitorRun run =
        replay("(1.0) can0 123#11\n" + QByteArray("nonsense\n").repeated(5000), speedDbc);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_LT(run.diagnostics.count('\n'), 20);
    EXPECT_TRUE(run.diagnostics.contains("5000 unreadable line(s)"));
}

TEST_F(Program, UnknownRecordingIsReportedWithExitCode2)
{
    const MonitorRun run = replay("nonsense\n", speedDbc);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.startsWith(
        path("bus.log") + ": unknown recording format (begins with \"nonsense\"); supported: "))
        << run.diagnostics.toStdString();
}

TEST_F(Program, RecordingIsReadFromStandardInput)
{
    QProcess process;
    process.start(MONITOR_PROGRAM, {"replay", "-", "--dbc", write("bus.dbc", speedDbc)});
    process.write("(1.0) can0 0CF00400#FFFFFF2003FFFFFF\nnonsense\n");
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardOutput().contains("frames      1\n"));
    EXPECT_TRUE(process.readAllStandardError().startsWith("standard input:2: unreadable line\n"));
}

TEST_F(Program, MalformedDescriptionLinesAreReportedWithFileAndLine)
{
    const MonitorRun run =
        replay("(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n", speedDbc + " SG_ Broken : 0|8@1+\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.diagnostics.startsWith(path("bus.dbc") + ":3: "))
        << run.diagnostics.toStdString();
}

TEST_F(Program, AssumedFrameFormatIsReportedOnceAndCanBeSpecified)
{
    const QString log = write("bus.log", "(1.0) can0 18FEF107#FF00000000000000\n"
                                         "(1.1) can0 18FEF1FE#FE00000000000000\n");
    const QString dbc = write("bus.dbc", "BO_ 2566844926 Speed: 8 X\n"
                                         " SG_ Speed : 0|8@1+ (1,0) [0|250] \"\" X\n"
                                         "BO_ 2566844167 Other: 8 X\n");
    const auto rowsBy = [&](const QString& option) {
        const MonitorRun run = runMonitor({"replay", log, option, dbc, "--format", "csv"});
        EXPECT_EQ(run.diagnostics.count("does not declare"), option == "--dbc" ? 1 : 0);
        QStringList rows = run.output.split("\r\n");
        rows.removeFirst();
        return rows.join('\n');
    };
    EXPECT_EQ(rowsBy("--dbc"), rowsBy("--j1939"));
    EXPECT_TRUE(rowsBy("--j1939").startsWith("Speed,j1939,7,0,"));
    EXPECT_TRUE(rowsBy("--j1939").contains("\nSpeed,j1939,254,0,"));
    EXPECT_TRUE(rowsBy("--plain").startsWith("Speed,canopen,,1,"));
    EXPECT_EQ(runMonitor({"replay", log, "--dbc", dbc, "--plain", dbc, "--format", "csv"}).output,
              runMonitor({"replay", log, "--plain", dbc, "--format", "csv"}).output);
}

TEST_F(Program, SecondMessageWithTheSameIdInAnotherFileIsAWarning)
{
    const QString log = write("bus.log", "(1.0) can0 123#0102\n");
    const QString first = write("a.dbc", "BO_ 291 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n");
    const QString second = write("b.dbc", "\nBO_ 291 B: 8 X\n SG_ S : 8|8@1+ (1,0) [0|0] \"\" X\n");
    const MonitorRun run = runMonitor({"replay", log, "--dbc", first, "--dbc", second});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.diagnostics.startsWith(second +
                                           ":2: message \"B\" is not decoded: it has the same "
                                           "id as \"A\" of " +
                                           first + "\n"))
        << run.diagnostics.toStdString();
    EXPECT_EQ(run.output.count("\nS "), 1);
}

TEST_F(Program, NewestValueIsShownWithItsText)
{
    const QByteArray dbc = "BO_ 291 Gearbox: 1 X\n SG_ Gear : 0|4@1- (2,0) [0|0] \"\" X\n"
                           "VAL_ 291 Gear -1 \"Reverse\" 0 \"Neutral\" ;\n";
    MonitorRun run = replay("(1.0) can0 123#0F\n", dbc);
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_TRUE(run.output.contains(" -2 (Reverse) ")) << run.output.toStdString();
    run = replay("(1.0) can0 123#0F\n(2.0) can0 123#05\n", dbc, {"--format", "csv"});
    EXPECT_TRUE(run.output.endsWith(",,\r\n")) << run.output.toStdString();
}

TEST_F(Program, GuessBetweenMessagesWithTheSamePgnIsReportedOnce)
{
    const MonitorRun run =
        replay("(1.0) can0 0CF00431#FFFFFF2003FFFFFF\n(1.1) can0 0CF00431#FFFFFF2003FFFFFF\n",
               "BA_ \"ProtocolType\" \"J1939\";\n"
               "BO_ 2364539904 A: 8 X\n SG_ S : 24|16@1+ (0.125,0) [0|0] \"\" X\n"
               "BO_ 2364539905 B: 8 X\n SG_ S : 24|16@1+ (0.25,0) [0|0] \"\" X\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics,
              QString("PGN 61444 from source 49 was decoded as \"A\", the first of 2 messages with "
                      "this PGN, because none has a matching address\n"));
    EXPECT_TRUE(run.output.contains("A.S "));
}

TEST_F(Program, NothingDecodedIsReportedWithExitCode1AndBothFileNames)
{
    for (const QByteArray& log :
         {QByteArray(), QByteArray("(1.0) can0 18FEEE00#FFFFFFFFFFFFFFFF\n"),
          QByteArray("(1.0) can0 0CF00400#R8\n")}) {
        const MonitorRun run = replay(log, speedDbc);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.diagnostics.contains(path("bus.log"))) << run.diagnostics.toStdString();
        EXPECT_TRUE(
            run.diagnostics.contains(log.isEmpty() ? QString("no frames") : path("bus.dbc")));
        EXPECT_TRUE(run.output.contains("decoded     0\n"));
    }
}

TEST_F(Program, UnreadableFileIsReportedWithExitCode2)
{
    const QString log = write("bus.log", "");
    const QString dbc = write("bus.dbc", speedDbc);
    const QString missing = path("missing");
    for (const auto& run : {runMonitor({"replay", missing, "--dbc", dbc}),
                            runMonitor({"replay", log, "--dbc", missing})}) {
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.diagnostics.startsWith(missing + ": cannot be read: "));
        EXPECT_EQ(run.output, QString());
    }
    const MonitorRun run = runMonitor({"replay", directory.path(), "--dbc", dbc});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.startsWith(directory.path() + ": cannot be read: "));
}

TEST_F(Program, UsageErrorReturnsExitCode2AndPointsToTheHelp)
{
    EXPECT_EQ(runMonitor({}).exitCode, 2);
    EXPECT_EQ(runMonitor({"--colour"}).diagnostics,
              QString("vantrel: unknown option --colour\nSee vantrel --help.\n"));
    const MonitorRun run = runMonitor({"replay"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.diagnostics,
              QString("vantrel: replay needs at least one file: vantrel replay FILE...\n"
                      "See vantrel replay --help.\n"));
    EXPECT_EQ(run.output, QString());
}

TEST_F(Program, HelpReturnsExitCode0)
{
    const MonitorRun run = runMonitor({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.output.contains("replay FILE"));
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_TRUE(runMonitor({"send", "--help"}).output.contains("--speed FACTOR"));
}

TEST_F(Program, VersionMatchesThatOfTheProject)
{
    const MonitorRun run = runMonitor({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, QString("vantrel 1.0.0\n"));
}

// Stopped one after another, 512 signals would take up to 51 s.
TEST_F(Program, HundredsOfSignalsStopInParallel)
{
    QByteArray log;
    for (int source = 0; source < 256; ++source)
        log += QByteArray("(1.0) can0 18FF00") +
               QByteArray::number(source, 16).rightJustified(2, '0') + "#0102030405060708\n";
    QElapsedTimer timer;
    timer.start();
    const MonitorRun run = replay(log, "BO_ 2566848766 B: 8 X\n"
                                       " SG_ First : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                       " SG_ Second : 8|8@1+ (1,0) [0|0] \"\" X\n");
    EXPECT_LT(timer.elapsed(), 10000);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output.count("First"), 256);
    EXPECT_EQ(run.output.count("Second"), 256);
}

namespace
{

const QByteArray bodyDbc = "BO_ 291 Body: 1 X\n"
                           " SG_ Lamp : 0|8@1+ (1,0) [0|255] \"\" X\n"
                           "VAL_ 291 Lamp 2 \"Off, dark\" ;\n"
                           "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 65535;\n"
                           "BA_ \"GenMsgCycleTime\" BO_ 291 10;\n";
const QByteArray twoBuses = "(1700000000.000000) can0 0CF00400#FFFFFF2003FFFFFF\n"
                            "(1700000000.001000) can1 123#01\n"
                            "(1700000000.002000) can1 0CF00400#FFFFFF4006FFFFFF\n"
                            "(1700000000.013000) can1 123#02\n";

/// Whether the process sleeps in poll(), as it does once it has read all that is in a pipe.
bool isWaiting(qint64 process)
{
    const QDir threads(QString("/proc/%1/task").arg(process));
    const QStringList names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return std::any_of(names.begin(), names.end(), [&threads](const QString& name) {
        QFile file(threads.filePath(name + "/syscall"));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QByteArray number = file.readAll().split(' ').value(0);
        return number == QByteArray::number(SYS_poll) || number == QByteArray::number(SYS_ppoll);
    });
}

/// "bus name newest text" of each signal in the JSON of \a run.
QStringList signalsIn(const MonitorRun& run)
{
    QStringList rows;
    const QJsonObject json = QJsonDocument::fromJson(run.output.toUtf8()).object();
    for (const QJsonValue& value : json.value("signals").toArray()) {
        const QJsonObject signal = value.toObject();
        rows += QString("%1 %2 %3 %4")
                    .arg(signal.value("bus").toString("-"), signal.value("name").toString())
                    .arg(signal.value("newest").toDouble())
                    .arg(signal.value("newestText").toString("-"));
    }
    return rows;
}

} // namespace

TEST_F(Program, EachBusHasItsDescription)
{
    const QStringList arguments{"replay", write("bus.log", twoBuses), "--format", "json"};
    const QString engine = write("engine.dbc", speedDbc);
    const QString body = write("body.dbc", bodyDbc);
    EXPECT_EQ(signalsIn(runMonitor(
                  arguments + QStringList{"--dbc", "can0=" + engine, "--dbc", "can1=" + body})),
              (QStringList{"can0 EngineSpeed 100 -", "can1 Lamp 2 Off, dark"}));
    EXPECT_EQ(signalsIn(runMonitor(arguments + QStringList{"--dbc", engine})),
              (QStringList{"can0 EngineSpeed 100 -", "can1 EngineSpeed 200 -"}));
    EXPECT_EQ(signalsIn(runMonitor(arguments + QStringList{"--dbc", engine, "--bus", "can1"})),
              QStringList("- EngineSpeed 200 -"));
    const MonitorRun missing = runMonitor(arguments + QStringList{"--dbc", "can7=" + engine});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.diagnostics.startsWith(
        engine + ": bus \"can7\" has no frames (buses: can0, can1)\n"))
        << missing.diagnostics.toStdString();
}

TEST_F(Program, OtherRecordingsAreUsedIfOneCannotBeRead)
{
    const QString dbc = write("bus.dbc", speedDbc);
    const QString late = write("late.log", "(1700000002.0) can0 0CF00400#FFFFFF4006FFFFFF\n");
    const MonitorRun run =
        runMonitor({"replay", late, path("missing.log"), write("early.log", twoBuses), "--bus",
                    "can0", "--dbc", dbc, "--format", "json"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(signalsIn(run), QStringList("- EngineSpeed 200 -"));
    EXPECT_TRUE(run.output.contains("\"total\": 2,"));
    EXPECT_TRUE(run.diagnostics.contains(path("missing.log") + ": cannot be read: "));
}

TEST_F(Program, TimesSelectFramesOfARecordingAndValuesOfASavedRun)
{
    const QString log = write("bus.log", twoBuses);
    const QStringList replay{"replay",   log,   "--dbc", write("body.dbc", bodyDbc),
                             "--format", "json"};
    for (const QStringList& times : {QStringList{"--from", "0.001000001", "--to", "0.013"},
                                     QStringList{"--from", "2023-11-14T22:13:20.002Z"}}) {
        const MonitorRun run = runMonitor(replay + times);
        EXPECT_TRUE(run.output.contains("\"total\": 2,")) << times.join(' ').toStdString();
        EXPECT_EQ(signalsIn(run), QStringList("- Lamp 2 Off, dark"));
    }
    ASSERT_EQ(runMonitor(replay + QStringList{"--save", path("run")}).exitCode, 0);
    const MonitorRun shown = runMonitor({"show", path("run"), "--to", "0.005", "--format", "json"});
    EXPECT_EQ(signalsIn(shown), QStringList("can1 Lamp 1 -"));
    EXPECT_TRUE(shown.diagnostics.contains("are those of the whole run"));
}

TEST_F(Program, IdsAndPeriodsAreListed)
{
    const QString log = write("bus.log", twoBuses);
    const QString dbc = write("body.dbc", bodyDbc);
    const MonitorRun ids = runMonitor({"ids", log, "--format", "csv"});
    EXPECT_EQ(ids.exitCode, 0);
    EXPECT_EQ(ids.output.section("\r\n", 1),
              QString("can0,0CF00400,true,false,,1,0,8,8,,0,,,,,\r\n"
                      "can1,123,false,false,,2,0,1,1,0,1,12,0,12,12,\r\n"
                      "can1,0CF00400,true,false,,1,0,8,8,,0,,,,,\r\n"));
    const MonitorRun periods =
        runMonitor({"replay", log, "--dbc", dbc, "--periods", "--format", "csv"});
    EXPECT_EQ(periods.exitCode, 0);
    EXPECT_EQ(periods.output.section("\r\n", 1),
              QString("can1,123,false,false,Body,2,0,1,1,0,1,12,0,12,12,10\r\n"));
}

TEST_F(Program, ValuesAreExported)
{
    const MonitorRun run =
        runMonitor({"replay", write("bus.log", twoBuses), "--dbc", write("body.dbc", bodyDbc),
                    "--dbc", write("engine.dbc", speedDbc), "--export", path("values.csv")});
    EXPECT_EQ(run.exitCode, 0);
    QFile file(path("values.csv"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().toStdString(),
              "time,signal,source,raw,value,text,unit,bus\r\n"
              "1700000000.000000000,EngineSpeed,0,800,100,,rpm,can0\r\n"
              "1700000000.001000000,Lamp,,1,1,,,can1\r\n"
              "1700000000.002000000,EngineSpeed,0,1600,200,,rpm,can1\r\n"
              "1700000000.013000000,Lamp,,2,2,\"Off, dark\",,can1\r\n");
}

// The writer keeps the pipe open, so the program would wait forever.
TEST_F(Program, InterruptedReplayPrintsTheStatisticsSoFar)
{
    QProcess program;
    program.start(MONITOR_PROGRAM, {"replay", "-", "--dbc", write("bus.dbc", speedDbc), "--format",
                                    "json", "--export", path("values.csv")});
    ASSERT_TRUE(program.waitForStarted());
    program.write("(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n(1.1) can0 0CF00400#FFFFFF4006FFFFFF\n");
    ASSERT_TRUE(program.waitForBytesWritten());
    ASSERT_TRUE(waitUntil([&] { return isWaiting(program.processId()); }));
    ASSERT_EQ(kill(static_cast<pid_t>(program.processId()), SIGINT), 0);
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 2);
    const QByteArray output = program.readAllStandardOutput();
    EXPECT_TRUE(output.contains("\"complete\": false,")) << output.constData();
    EXPECT_TRUE(output.contains("\"total\": 2,")) << output.constData();
    EXPECT_TRUE(program.readAllStandardError().contains("interrupted"));
    EXPECT_TRUE(QFile::exists(path("values.csv")));
}

TEST_F(Program, LimitOfFileSizesIsReportedAndTheStatisticsArePrinted)
{
    const QByteArray frame = "(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n";
    const QString log = write("bus.log", frame.repeated(3000));
    const QString dbc = write("bus.dbc", speedDbc);
    for (const char* option : {"--save", "--export"}) {
        const MonitorRun run = runMonitorWithFileLimit(
            4, {"replay", log, "--dbc", dbc, option, path("values.csv"), "--format", "json"});
        EXPECT_EQ(run.exitCode, 2) << option;
        EXPECT_EQ(signalsIn(run), QStringList("- EngineSpeed 100 -"));
        EXPECT_TRUE(run.diagnostics.startsWith(path("values.csv") + ": cannot be written: "));
        EXPECT_TRUE(run.diagnostics.contains(" (after 4096 bytes); the statistics "))
            << run.diagnostics.toStdString();
        EXPECT_FALSE(QFile::exists(path("values.csv")));
    }
}

// The input is a pipe that stays open until the error has been printed.
TEST_F(Program, FailureToWriteIsReportedDuringTheRunAndOnlyOnce)
{
    const QByteArray frame = "(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n";
    const QString dbc = write("bus.dbc", speedDbc);
    for (const char* option : {"--save", "--export"}) {
        for (const char* threads : {"1", "2"}) {
            QProcess program;
            program.setReadChannel(QProcess::StandardError);
            program.start("/bin/sh", {"-c", "ulimit -f 8 && exec \"$0\" \"$@\"", MONITOR_PROGRAM,
                                      "replay", "-", "--dbc", dbc, option, path("values.csv"),
                                      "--threads", threads, "--format", "csv"});
            program.write(frame.repeated(40000));
            ASSERT_TRUE(program.waitForReadyRead());
            EXPECT_EQ(program.state(), QProcess::Running);
            program.write(frame);
            program.closeWriteChannel();
            ASSERT_TRUE(program.waitForFinished());
            EXPECT_EQ(program.exitCode(), 2);
            const QByteArray diagnostics = program.readAllStandardError();
            EXPECT_TRUE(diagnostics.contains("cannot be written: ")) << diagnostics.constData();
            EXPECT_EQ(diagnostics.count('\n'), 1) << diagnostics.constData();
            EXPECT_TRUE(program.readAllStandardOutput().contains(",0,40001,"));
        }
    }
}

// 64-bit values that never repeat exceed the memory for distinct values of a signal.
TEST_F(Program, UseOfTheTemporaryFileIsReportedDuringTheRun)
{
    const QString dbc = write("bus.dbc", "BO_ 291 M: 8 X\n"
                                         " SG_ Wide : 0|64@1+ (1,0) [0|0] \"\" X\n");
    QByteArray log;
    for (int i = 0; i < 100000; ++i)
        log += "(1.0) can0 123#" + QByteArray::number(i, 16).rightJustified(16, '0') + '\n';
    for (const QString& folder : {directory.path(), path("missing")}) {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TMPDIR", folder);
        program.setProcessEnvironment(environment);
        program.setReadChannel(QProcess::StandardError);
        program.start(MONITOR_PROGRAM, {"replay", "-", "--dbc", dbc, "--format", "csv"});
        program.write(log);
        ASSERT_TRUE(program.waitForReadyRead());
        EXPECT_EQ(program.state(), QProcess::Running);
        EXPECT_TRUE(program.readLine().startsWith(folder.toUtf8() + ": "));
        program.closeWriteChannel();
        ASSERT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitCode(), 0);
        EXPECT_TRUE(program.readAllStandardOutput().contains(",100000,"));
        EXPECT_EQ(program.readAllStandardError().count('\n'), folder == directory.path() ? 1 : 0);
    }
}
