#include <app/CommandLine.h>

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>

#include <cmath>

using monitor::CommandLine;

namespace
{

CommandLine read(const QStringList& arguments)
{
    return monitor::readCommandLine(QStringList("monitor") + arguments);
}

} // namespace

TEST(CommandLine, ReplayTakesARecordingADescriptionAndAFactor)
{
    const CommandLine line = read({"replay", "bus.log", "--dbc", "bus.dbc", "--k", "1.5"});
    ASSERT_TRUE(line.replay.has_value());
    EXPECT_EQ(line.replay->recording, QString("bus.log"));
    EXPECT_EQ(line.replay->dbc, QString("bus.dbc"));
    EXPECT_EQ(line.replay->k, 1.5);
}

TEST(CommandLine, FactorMayBeLeftToTheConfiguration)
{
    const CommandLine line = read({"--dbc=bus.dbc", "replay", "bus.log", "--config", "bus.json"});
    ASSERT_TRUE(line.replay.has_value());
    EXPECT_EQ(line.replay->k, std::nullopt);
    EXPECT_EQ(line.replay->config, QString("bus.json"));
    EXPECT_EQ(line.replay->plotDirectory, QString());
    EXPECT_EQ(line.replay->keptRecords, 0);
    EXPECT_EQ(read({"replay", "a", "--dbc", "b", "--keep", "50"}).replay->keptRecords, 50);
}

TEST(CommandLine, NodesAreDescribedInPairs)
{
    const CommandLine line =
        read({"replay", "bus.log", "--eds", "a.eds", "--node", "5", "--node=0x7F", "--eds=b.dcf"});
    ASSERT_TRUE(line.replay.has_value()) << line.error.toStdString();
    EXPECT_EQ(line.replay->dbc, QString());
    ASSERT_EQ(line.replay->nodes.size(), 2);
    EXPECT_EQ(line.replay->nodes.at(0).fileName, QString("a.eds"));
    EXPECT_EQ(line.replay->nodes.at(0).node, 5);
    EXPECT_EQ(line.replay->nodes.at(1).fileName, QString("b.dcf"));
    EXPECT_EQ(line.replay->nodes.at(1).node, 127);
}

TEST(CommandLine, FormatIsATableIfNotGiven)
{
    const QStringList replay{"replay", "bus.log", "--dbc", "bus.dbc"};
    EXPECT_EQ(read(replay).replay->format, QString("table"));
    EXPECT_EQ(read(replay + QStringList{"--format", "table"}).replay->format, QString("table"));
    EXPECT_EQ(read(replay + QStringList{"--format", "json"}).replay->format, QString("json"));
    EXPECT_EQ(read(replay + QStringList{"--format=csv"}).replay->format, QString("csv"));
}

TEST(CommandLine, SignalsAndLimitsMayBeRepeated)
{
    const CommandLine line =
        read({"replay", "bus.log", "--dbc", "bus.dbc", "--signal", "Engine*", "--signal", "Speed",
              "--limits", "EngineSpeed=600:2200", "--limits", "a=b=-1.5:-1e-3"});
    ASSERT_TRUE(line.replay.has_value()) << line.error.toStdString();
    EXPECT_EQ(line.replay->patterns, (QStringList{"Engine*", "Speed"}));
    ASSERT_EQ(line.replay->limits.size(), 2);
    EXPECT_EQ(line.replay->limits.at(0).pattern, QString("EngineSpeed"));
    EXPECT_EQ(line.replay->limits.at(0).limits->lowest, 600);
    EXPECT_EQ(line.replay->limits.at(0).limits->highest, 2200);
    EXPECT_EQ(line.replay->limits.at(1).pattern, QString("a=b"));
    EXPECT_EQ(line.replay->limits.at(1).limits->lowest, -1.5);
    EXPECT_EQ(line.replay->limits.at(1).limits->highest, -0.001);
}

TEST(CommandLine, ShowTakesAFileAndAFactor)
{
    const CommandLine line = read({"show", "a.series", "--k", "2", "--plot", "plots"});
    ASSERT_TRUE(line.show.has_value()) << line.error.toStdString();
    EXPECT_EQ(line.show->file, QString("a.series"));
    EXPECT_EQ(line.show->k, 2);
    EXPECT_EQ(line.show->plotDirectory, QString("plots"));
    EXPECT_FALSE(line.replay.has_value());
}

TEST(CommandLine, LimitsThatAreNoneAreAComplaint)
{
    for (const char* limits : {"", "Speed", "Speed=", "=1:2", "Speed=1", "Speed=1:", "Speed=:1",
                               "Speed=1:2:3", "Speed=nan:1", "Speed=0:inf"}) {
        const CommandLine line =
            read({"replay", "bus.log", "--dbc", "bus.dbc", "--limits", limits});
        EXPECT_TRUE(line.error.startsWith("--limits needs")) << limits;
    }
    EXPECT_EQ(read({"replay", "bus.log", "--dbc", "bus.dbc", "--limits", "Speed=2:1"}).error,
              QString("--limits \"Speed=2:1\": the lower limit is above the upper one"));
}

TEST(CommandLine, OptionThatCountsOnceIsRefusedTwice)
{
    const QStringList bus{"--plugin", "socketcan", "--interface", "can0"};
    const QStringList replay{"replay", "bus.log", "--dbc", "bus.dbc"};
    for (const char* option : {"dbc", "k", "config", "format", "keep", "plot", "save"}) {
        const QString given = QString("--%1=2").arg(option);
        EXPECT_EQ(read(replay + QStringList{given, given}).error,
                  QString("--%1 can be given only once").arg(option));
    }
    EXPECT_EQ(read(QStringList{"live", "--dbc", "a.dbc", "--frames=1", "--frames=2"} + bus).error,
              QString("--frames can be given only once"));
    EXPECT_EQ(read(QStringList{"send", "a.log", "--speed=1", "--speed=2"} + bus).error,
              QString("--speed can be given only once"));
    EXPECT_EQ(read({"show", "a.series", "--k=1", "--k=2"}).error,
              QString("--k can be given only once"));
}

TEST(CommandLine, NodeIsDescribedOnlyOnce)
{
    EXPECT_EQ(read({"replay", "bus.log", "--eds", "a.eds", "--node", "5", "--eds", "b.eds",
                    "--node", "0x5"})
                  .error,
              QString("--node 5 is given twice"));
}

TEST(CommandLine, CommandThatIsNoneIsNamed)
{
    EXPECT_TRUE(read({"frob", "bus.log"}).error.startsWith("there is no command \"frob\": replay"));
    EXPECT_TRUE(read({}).error.startsWith("the command is missing: replay"));
}

TEST(CommandLine, LiveTakesABusAndTheOptionsOfAReplay)
{
    const CommandLine line = read({"live", "--plugin", "socketcan", "--interface", "can0", "--dbc",
                                   "bus.dbc", "--k", "2", "--format", "json", "--bitrate", "500000",
                                   "--duration", "1.5", "--frames", "7", "--highlight", "20"});
    ASSERT_TRUE(line.live.has_value()) << line.error.toStdString();
    EXPECT_EQ(line.live->bus.name(), QString("socketcan can0"));
    EXPECT_FALSE(line.live->bus.fd);
    EXPECT_EQ(line.live->dbc, QString("bus.dbc"));
    EXPECT_EQ(line.live->k, 2);
    EXPECT_EQ(line.live->format, QString("json"));
    EXPECT_EQ(line.live->bitRate, 500000);
    EXPECT_EQ(line.live->duration, 1.5);
    EXPECT_EQ(line.live->frames, 7);
    EXPECT_EQ(line.live->leastRating, 20);
}

TEST(CommandLine, LiveRunsForEverIfNothingElseIsSaid)
{
    const CommandLine line =
        read({"live", "--plugin", "socketcan", "--interface", "can0", "--dbc", "bus.dbc"});
    ASSERT_TRUE(line.live.has_value());
    EXPECT_EQ(line.live->duration, monitor::LiveOptions::forEver);
    EXPECT_EQ(line.live->frames, monitor::LiveOptions::forEver);
    EXPECT_EQ(line.live->bitRate, 250000);
}

TEST(CommandLine, WindowTakesTheOptionsOfLive)
{
    const QStringList options{"--plugin", "socketcan", "--interface", "can0",
                              "--dbc",    "bus.dbc",   "--duration",  "1.5"};
    const CommandLine line = read(QStringList("window") + options);
    ASSERT_TRUE(line.live.has_value()) << line.error.toStdString();
    EXPECT_TRUE(line.live->window);
    EXPECT_EQ(line.live->duration, 1.5);
    EXPECT_FALSE(read(QStringList("live") + options).live->window);
    EXPECT_EQ(read({"window", "bus.log"}).error, QString("window takes options only"));
    EXPECT_EQ(read(QStringList{"window", "--speed", "2"} + options).error,
              QString("window takes no --speed"));
}

TEST(CommandLine, SendTakesARecordingABusAndASpeed)
{
    const QStringList send{"send", "bus.log", "--plugin", "socketcan", "--interface", "can0"};
    ASSERT_TRUE(read(send).send.has_value());
    EXPECT_EQ(read(send).send->recording, QString("bus.log"));
    EXPECT_EQ(read(send).send->speed, 1);
    EXPECT_EQ(read(send + QStringList{"--speed", "2.5"}).send->speed, 2.5);
    EXPECT_TRUE(std::isinf(read(send + QStringList{"--speed", "max"}).send->speed));
    EXPECT_TRUE(read(send + QStringList{"--fd"}).send->bus.fd);
}

TEST(CommandLine, OptionsOfAnotherCommandAreAComplaint)
{
    const QStringList bus{"--plugin", "socketcan", "--interface", "can0"};
    const QStringList dbc{"--dbc", "bus.dbc"};
    EXPECT_EQ(read(QStringList{"replay", "bus.log", "--fd"} + dbc).error,
              QString("replay takes no --fd"));
    EXPECT_EQ(read(QStringList{"live", "--speed", "2"} + bus + dbc).error,
              QString("live takes no --speed"));
    EXPECT_EQ(read(QStringList{"send", "bus.log"} + bus + dbc).error,
              QString("send takes no --dbc"));
}

TEST(CommandLine, WrongUseOfABusIsAComplaint)
{
    const QStringList bus{"--plugin", "socketcan", "--interface", "can0"};
    const QStringList live = QStringList{"live", "--dbc", "bus.dbc"} + bus;
    const QStringList send = QStringList{"send", "bus.log"} + bus;
    for (const QStringList& arguments : {
             QStringList{"live", "--dbc", "bus.dbc", "--plugin", "socketcan"},
             QStringList{"live", "--dbc", "bus.dbc", "--interface", "can0"},
             QStringList("live") + bus,
             live + QStringList{"bus.log"},
             live + QStringList{"--bitrate", "0"},
             live + QStringList{"--duration", "-1"},
             live + QStringList{"--duration", "soon"},
             live + QStringList{"--frames", "0"},
             live + QStringList{"--highlight", "101"},
             live + QStringList{"--highlight", "x"},
             QStringList("send") + bus,
             QStringList{"send", "bus.log"},
             send + QStringList{"--speed", "0"},
             send + QStringList{"--speed", "inf"},
             send + QStringList{"--speed", "fast"},
         }) {
        const CommandLine line = read(arguments);
        EXPECT_FALSE(line.error.isEmpty()) << arguments.join(' ').toStdString();
        EXPECT_FALSE(line.live || line.send) << arguments.join(' ').toStdString();
    }
}

TEST(CommandLine, HelpIsNoError)
{
    char name[] = "vantrel";
    char* argv[] = {name, nullptr};
    int argc = 1;
    const QCoreApplication application(argc, argv); // the help names the program
    for (const char* option : {"--help", "-h"}) {
        const CommandLine line = read({option});
        EXPECT_FALSE(line.help.isEmpty());
        EXPECT_TRUE(line.error.isEmpty());
        EXPECT_FALSE(line.replay.has_value());
    }
}

TEST(CommandLine, WrongUseIsAComplaint)
{
    for (const QStringList& arguments : {
             QStringList{},
             QStringList{"bus.log"},
             QStringList{"play", "bus.log", "--dbc", "bus.dbc"},
             QStringList{"replay", "--dbc", "bus.dbc"},
             QStringList{"replay", "bus.log"},
             QStringList{"replay", "bus.log", "--dbc"},
             QStringList{"replay", "a.log", "b.log", "--dbc", "bus.dbc"},
             QStringList{"replay", "bus.log", "--dbc", "a.dbc", "--dbc", "b.dbc"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--k", "many"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--k", "-1"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--k", "nan"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--colour"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--format", "xml"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--format"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--plot", ""},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--save", ""},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--keep", "1"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--keep", "many"},
             QStringList{"replay", "bus.log", "--dbc", "bus.dbc", "--keep", "2147483647"},
             QStringList{"show", "a.series", "--keep", "2"},
             QStringList{"show"},
             QStringList{"show", "a.series", "b.series"},
             QStringList{"show", "a.series", "--dbc", "bus.dbc"},
             QStringList{"show", "a.series", "--limits", "a=1:2"},
             QStringList{"show", "a.series", "--format", "xml"},
             QStringList{"replay", "bus.log", "--eds", "a.eds"},
             QStringList{"replay", "bus.log", "--node", "5"},
             QStringList{"replay", "bus.log", "--eds", "a.eds", "--node", "0"},
             QStringList{"replay", "bus.log", "--eds", "a.eds", "--node", "128"},
             QStringList{"replay", "bus.log", "--eds", "a.eds", "--node", "five"},
             QStringList{"replay", "bus.log", "--eds", "a.eds", "--node", "5", "--eds", "b.eds"},
         }) {
        const CommandLine line = read(arguments);
        EXPECT_FALSE(line.error.isEmpty()) << arguments.join(' ').toStdString();
        EXPECT_FALSE(line.replay.has_value()) << arguments.join(' ').toStdString();
    }
}
