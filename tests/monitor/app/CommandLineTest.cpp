#include <app/arguments/CommandLine.h>
#include <sources/recording/formats.h>
#include <text/suggestions.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <cmath>

using monitor::Command;
using monitor::CommandRow;
using monitor::LiveOptions;
using monitor::OptionRow;
using monitor::ReplayOptions;
using monitor::SendOptions;
using monitor::ShowOptions;

namespace
{

const QStringList replay{"replay", "bus.log", "--dbc", "bus.dbc"};
const QStringList live{"live", "--dbc", "bus.dbc", "--plugin", "socketcan", "--interface", "can0"};
const QStringList send{"send", "bus.log", "--plugin", "socketcan", "--interface", "can0"};

Command read(const QStringList& arguments)
{
    return monitor::readCommandLine(QStringList("vantrel") + arguments);
}

/// The error in the arguments; empty if they are accepted.
QString errorOf(const QStringList& arguments)
{
    const Command command = read(arguments);
    const auto* error = std::get_if<monitor::UsageError>(&command);
    return error ? error->text : QString();
}

/// The options of an accepted command; default ones if it is rejected or not the expected command.
template <typename CommandOptions>
CommandOptions accepted(const QStringList& arguments)
{
    const Command command = read(arguments);
    const auto* options = std::get_if<CommandOptions>(&command);
    EXPECT_TRUE(options) << arguments.join(' ').toStdString() << ": "
                         << errorOf(arguments).toStdString();
    return options ? *options : CommandOptions();
}

/// The help that the arguments ask for; empty if they ask for something else.
QString helpOf(const QStringList& arguments)
{
    const Command command = read(arguments);
    const auto* help = std::get_if<monitor::HelpRequest>(&command);
    return help ? help->text : QString();
}

/// The commands that an option belongs to, and valid and invalid values of it.
struct OptionCase {
    QString name;
    QStringList commands;
    QStringList valid;   ///< values; empty: a flag
    QStringList invalid; ///< values
    bool isRepeatable = false;
};

QVector<OptionCase> optionCases()
{
    const QStringList decoding{"replay", "live", "window"};
    const QStringList described{"replay", "ids", "live", "window"};
    const QStringList showing{"show", "merge"};
    const QStringList reporting = decoding + showing;
    const QStringList banding = reporting + QStringList{"compare"};
    const QStringList printing{"replay", "ids", "live", "window", "show", "merge", "compare"};
    const QStringList reading{"replay", "ids", "send"};
    const QStringList onBus{"ids", "live", "window", "send"};
    const QStringList ending{"ids", "live", "window"};
    const QStringList watching{"live", "window"};
    const QStringList moments{"0",
                              "12.5",
                              "1.000000001",
                              "2021-10-25",
                              "2021-10-25T19:00",
                              "2021-10-25 19:00:55",
                              "2021-10-25T19:00:55.020850Z",
                              "2021-10-25T19:00:55.5+02:00"};
    const QStringList notMoments{"",          "soon", "-1",    "1.",         "1.0000000001",
                                 "1e3",       "nan",  "19:00", "2021-13-01", "2021-10-25T25:00",
                                 "1969-12-31"};
    QVector<OptionCase> cases{
        {"node", described, {"1", "127", "0x7F"}, {"", "0", "128", "five", "-1", "0x80"}, true},
        {"config", decoding, {"bus.json"}, {""}},
        {"signal", decoding, {"Engine*", "SPN190", "-"}, {""}, true},
        {"limits",
         decoding,
         {"Speed=1:2", "a=b=-1.5:-1e-3", "*=0:0", "described", "from-dbc"},
         {"", "Speed", "Speed=", "=1:2", "Speed=1", "Speed=1:", "Speed=:1", "Speed=1:2:3",
          "Speed=nan:1", "Speed=0:inf", "Speed=2:1", "Described", "from-eds", "described=1"},
         true},
        {"k", banding, {"0", "1.5", "1e3"}, {"", "many", "-1", "nan", "inf"}},
        {"threads", {"replay"}, {"1", "64"}, {"", "0", "-1", "65", "many", "2.5"}},
        {"keep", decoding, {"2", "1073741823"}, {"", "1", "-5", "many", "2.5", "1073741824"}},
        {"format", printing, {"table", "json", "csv"}, {"", "xml", "JSON"}},
        {"plugin", onBus, {"virtualcan"}, {""}},
        {"interface", onBus, {"can0"}, {""}},
        {"choose", {"window"}, {}, {}},
        {"fd", onBus, {}, {}},
        {"bitrate", watching, {"500000", "83333.3"}, {"", "0", "-1", "fast", "nan", "inf"}},
        {"duration", ending, {"1.5"}, {"", "0", "-1", "soon", "nan", "inf"}},
        {"frames", ending, {"7"}, {"", "0", "-1", "few"}},
        {"bus", reading, {"can0", "1"}, {""}, true},
        {"counts", showing, {}, {}},
        {"by", {"merge"}, {"vehicle"}, {""}, true},
        {"label", decoding, {"vehicle=17", "day=a=b"}, {"", "vehicle", "=17", "vehicle="}, true},
        {"from", reading + QStringList{"show"}, moments, notMoments},
        {"to", reading + QStringList{"show"}, moments, notMoments},
        {"periods", decoding, {}, {}},
        {"display", {"live"}, {"terminal", "window"}, {"", "printer"}},
        {"metrics", watching, {"127.0.0.1:9464", "9464"}, {"", "127.0.0.1", "host:http"}},
        {"mqtt",
         watching,
         {"mqtt://broker/vantrel", "mqtts://[::1]:8884/fleet/17/"},
         {"", "broker", "mqtt://broker", "mqtt:///vantrel", "http://broker/vantrel",
          "mqtt://broker:0/vantrel", "mqtt://broker/a+b", "mqtt://broker/a#b", "mqtt://broker/a?b",
          "mqtt://user@broker/vantrel"}},
        {"publish-every", watching, {"0.5"}, {"", "0", "-1", "often"}},
        {"mqtt-ca", watching, {"ca.pem"}, {""}},
        {"mqtt-certificate", watching, {"client.pem"}, {""}},
        {"mqtt-key", watching, {"client.key"}, {""}},
        {"mqtt-login", watching, {"login.txt"}, {""}},
        {"highlight", watching, {"0", "100"}, {"", "-1", "101", "x", "1.5"}},
        {"speed", {"send"}, {"2.5", "max"}, {"", "0", "-1", "inf", "nan", "fast"}},
    };
    for (const monitor::DescriptionReader& reader : monitor::descriptionReaders())
        cases.append(
            {reader.name, described, {"some.file", "can0=some.file"}, {""}, reader.isRepeatable});
    for (const monitor::OutputKind& kind : monitor::outputKinds()) {
        if (!kind.isPrinted())
            cases.append({kind.name,
                          kind.needs == monitor::OutputNeeds::Run ? decoding
                          : kind.needs == monitor::OutputNeeds::Values
                              ? decoding + QStringList{"show"}
                              : reporting,
                          {"some.path"},
                          {""}});
    }
    return cases;
}

/// Arguments that \a command accepts once \a option and its value are added.
QStringList argumentsFor(const QString& option, const QString& command)
{
    QStringList arguments{command};
    const bool listsBus =
        QStringList{"plugin", "interface", "fd", "duration", "frames"}.contains(option) &&
        command == "ids";
    if (QStringList{"replay", "ids", "send", "show", "merge"}.contains(command))
        arguments += listsBus ? "live" : "some.file";
    if (command == "compare")
        arguments += {"some.file", "other.file"};
    if (QStringList{"replay", "live", "window"}.contains(command) && option != "dbc")
        arguments += {"--dbc", "some.dbc"};
    if (option == "label")
        arguments += {"--summary", "some.path"};
    if (option == "node")
        arguments += {"--eds", "some.eds"};
    if (option == "eds")
        arguments += {"--node", "9"};
    if (option == "publish-every" || option.startsWith("mqtt-"))
        arguments += {"--mqtt", "mqtt://broker/vantrel"};
    for (const char* needed : {"plugin", "interface"}) {
        if ((listsBus || QStringList{"live", "window", "send"}.contains(command)) &&
            option != needed)
            arguments += {QString("--") + needed, "some"};
    }
    return arguments;
}

QStringList commandNames()
{
    QStringList names;
    for (const CommandRow& row : monitor::commandRows())
        names += row.name;
    return names;
}

} // namespace

TEST(CommandLine, ReplayTakesARecordingADescriptionAndK)
{
    const auto options = accepted<ReplayOptions>(replay + QStringList{"--k", "1.5"});
    EXPECT_EQ(options.recordings, QStringList("bus.log"));
    ASSERT_EQ(options.descriptions.size(), 1);
    EXPECT_EQ(options.descriptions.at(0).reader->name, QString("dbc"));
    EXPECT_EQ(options.descriptions.at(0).file.fileName, QString("bus.dbc"));
    EXPECT_EQ(options.descriptions.at(0).file.node, std::nullopt);
    EXPECT_EQ(options.k, 1.5);
}

TEST(CommandLine, OptionsCanPrecedeTheCommandAndUseAnEqualsSign)
{
    const auto options =
        accepted<ReplayOptions>({"--dbc=bus.dbc", "replay", "-k", "2", "bus.log", "--config=c"});
    EXPECT_EQ(options.recordings, QStringList("bus.log"));
    EXPECT_EQ(options.descriptions.value(0).file.fileName, QString("bus.dbc"));
    EXPECT_EQ(options.k, 2);
    EXPECT_EQ(options.config, QString("c"));
}

TEST(CommandLine, OmittedOptionsHaveDefaults)
{
    const auto options = accepted<ReplayOptions>(replay);
    EXPECT_EQ(options.k, std::nullopt);
    EXPECT_EQ(options.keptRecords, 0);
    EXPECT_STREQ(options.printed->name, "table");
    EXPECT_TRUE(options.config.isEmpty() && options.patterns.isEmpty() && options.limits.isEmpty());
    EXPECT_TRUE(options.files.isEmpty());
    const auto onBus = accepted<LiveOptions>(live);
    EXPECT_EQ(onBus.bitRate, 250000);
    EXPECT_EQ(onBus.duration, LiveOptions::unlimited);
    EXPECT_EQ(onBus.frames, LiveOptions::unlimited);
    EXPECT_EQ(onBus.leastRating, 50);
    EXPECT_EQ(onBus.display, nullptr);
    EXPECT_FALSE(onBus.bus.fd);
    EXPECT_EQ(accepted<SendOptions>(send).speed, 1);
}

TEST(CommandLine, WindowNeedsNoBusOrDescriptionIfTheUserChoosesThem)
{
    const auto options = accepted<LiveOptions>({"window", "--choose", "--plugin", "virtualcan"});
    EXPECT_TRUE(options.choosesBus);
    EXPECT_EQ(options.bus.plugin, QString("virtualcan"));
    EXPECT_FALSE(accepted<LiveOptions>(live).choosesBus);
    EXPECT_TRUE(errorOf({"window", "--choose", "--eds", "drive.eds"}).contains("--node"));
}

TEST(CommandLine, OutputFilesAndKeptRecordsAreRead)
{
    const auto options = accepted<ReplayOptions>(
        replay + QStringList{"--keep", "50", "--plot", "plots", "--save", "run.series"});
    EXPECT_EQ(options.keptRecords, 50);
    ASSERT_EQ(options.files.size(), 2);
    EXPECT_STREQ(options.files.at(0).kind->name, "save"); // before the plots, which may take long
    EXPECT_EQ(options.files.at(0).path, QString("run.series"));
    EXPECT_STREQ(options.files.at(1).kind->name, "plot");
    EXPECT_EQ(options.files.at(1).path, QString("plots"));
}

TEST(CommandLine, OutputsNeedDifferentFiles)
{
    EXPECT_EQ(errorOf(replay + QStringList{"--summary", "x", "--save", "x"}),
              QString("replay needs different files for --save and --summary, but both are x"));
    EXPECT_EQ(errorOf(replay + QStringList{"--export", QDir::current().filePath("x.csv"), "--plot",
                                           "a/.././x.csv"}),
              QString("replay needs different files for --export and --plot, but both are "
                      "a/.././x.csv"));
    EXPECT_EQ(errorOf(replay + QStringList{"--summary", "x", "--save", "X"}), QString());
}

TEST(CommandLine, FormatIsTheNameOfAPrintedOutput)
{
    QStringList names;
    for (const monitor::OutputKind& kind : monitor::outputKinds()) {
        if (!kind.isPrinted())
            continue;
        names += kind.name;
        const auto options = accepted<ReplayOptions>(replay + QStringList{"--format", kind.name});
        EXPECT_EQ(options.printed, &kind);
    }
    for (const char* name : {"table", "json", "csv"})
        EXPECT_TRUE(names.contains(name)) << name;
    EXPECT_EQ(errorOf(replay + QStringList{"--format", "xml"}),
              "option --format needs " + monitor::joinWords(names, "or"));
}

TEST(CommandLine, NodesBelongToDescriptionsInOrder)
{
    const auto options =
        accepted<ReplayOptions>({"replay", "bus.log", "--eds", "a.eds", "--dbc", "bus.dbc",
                                 "--node", "5", "--node=0x7F", "--eds=b.dcf"});
    ASSERT_EQ(options.descriptions.size(), 3); // in the order of their formats
    EXPECT_EQ(options.descriptions.at(0).file.fileName, QString("bus.dbc"));
    EXPECT_EQ(options.descriptions.at(0).file.node, std::nullopt);
    EXPECT_EQ(options.descriptions.at(1).reader->name, QString("eds"));
    EXPECT_EQ(options.descriptions.at(1).file.fileName, QString("a.eds"));
    EXPECT_EQ(options.descriptions.at(1).file.node, 5);
    EXPECT_EQ(options.descriptions.at(2).file.fileName, QString("b.dcf"));
    EXPECT_EQ(options.descriptions.at(2).file.node, 127);
}

TEST(CommandLine, DescriptionsAndNodesMustComeInPairs)
{
    EXPECT_EQ(errorOf({"replay", "bus.log"}),
              QString("replay needs a description of the messages: --dbc FILE.dbc or --j1939 "
                      "FILE.dbc or --plain FILE.dbc or --eds FILE.eds --node N"));
    EXPECT_EQ(
        errorOf({"replay", "bus.log", "--eds", "a.eds"}),
        QString(
            "replay needs one node for each file: --eds FILE.eds --node N (files: 1, nodes: 0)"));
    EXPECT_EQ(
        errorOf(live + QStringList{"--node", "5"}),
        QString("live needs one node for each file: --eds FILE.eds --node N (files: 0, nodes: 1)"));
    EXPECT_EQ(errorOf({"replay", "bus.log", "--node", "5"}), errorOf({"replay", "bus.log"}));
    EXPECT_EQ(errorOf({"replay", "bus.log", "--eds", "a.eds", "--node", "5", "--eds", "b.eds",
                       "--node", "0x5"}),
              QString("replay needs a different node for each file, but --node 5 is repeated"));
}

TEST(CommandLine, SignalsAndLimitsCanBeRepeated)
{
    const auto options = accepted<ReplayOptions>(
        replay + QStringList{"--signal", "Engine*", "--signal", "Speed", "--limits",
                             "EngineSpeed=600:2200", "--limits", "a=b=-1.5:-1e-3"});
    EXPECT_EQ(options.patterns, (QStringList{"Engine*", "Speed"}));
    ASSERT_EQ(options.limits.size(), 2);
    EXPECT_EQ(options.limits.at(0).pattern, QString("EngineSpeed"));
    EXPECT_EQ(options.limits.at(0).limits->lowest, 600);
    EXPECT_EQ(options.limits.at(0).limits->highest, 2200);
    EXPECT_EQ(options.limits.at(1).pattern, QString("a=b"));
    EXPECT_EQ(options.limits.at(1).limits->lowest, -1.5);
    EXPECT_EQ(options.limits.at(1).limits->highest, -0.001);
}

TEST(CommandLine, DescribedLimitsCanBeCombinedWithOthers)
{
    EXPECT_FALSE(accepted<ReplayOptions>(replay).usesDescribedLimits);
    for (const char* source : {"described", "from-dbc"}) {
        const auto options =
            accepted<ReplayOptions>(replay + QStringList{"--limits", source, "--limits", "A=1:2"});
        EXPECT_TRUE(options.usesDescribedLimits) << source;
        EXPECT_EQ(options.limits.size(), 1) << source;
    }
}

TEST(CommandLine, LiveTakesABusAndTheOptionsOfReplay)
{
    const auto options = accepted<LiveOptions>(
        live + QStringList{"--k", "2", "--format", "json", "--bitrate", "500000", "--duration",
                           "1.5", "--frames", "7", "--highlight", "20", "--fd"});
    EXPECT_EQ(options.bus.name(), QString("socketcan can0"));
    EXPECT_TRUE(options.bus.fd);
    EXPECT_EQ(options.descriptions.value(0).file.fileName, QString("bus.dbc"));
    EXPECT_EQ(options.k, 2);
    EXPECT_STREQ(options.printed->name, "json");
    EXPECT_EQ(options.bitRate, 500000);
    EXPECT_EQ(options.duration, 1.5);
    EXPECT_EQ(options.frames, 7);
    EXPECT_EQ(options.leastRating, 20);
}

TEST(CommandLine, WindowTakesTheOptionsOfLive)
{
    const auto options = accepted<LiveOptions>(QStringList("window") + live.mid(1) +
                                               QStringList{"--duration", "1.5"});
    EXPECT_EQ(options.display, monitor::findDisplay("window"));
    EXPECT_EQ(options.duration, 1.5);
}

TEST(CommandLine, OptionsForABrokerNeedOne)
{
    const QStringList period{"--publish-every", "0.5"};
    const QStringList broker{"--mqtt", "mqtt://broker/vantrel"};
    EXPECT_EQ(errorOf(live + period),
              QString("option --publish-every has no effect without --mqtt"));
    const auto options = accepted<LiveOptions>(live + period + broker);
    EXPECT_EQ(options.publishing.period, 0.5);
    ASSERT_EQ(options.publishers.size(), 1);
    EXPECT_STREQ(options.publishers.at(0).kind->name, "mqtt");
    EXPECT_EQ(options.publishers.at(0).value, QString("mqtt://broker/vantrel"));
}

TEST(CommandLine, SendTakesARecordingABusAndASpeed)
{
    EXPECT_EQ(accepted<SendOptions>(send).recordings, QStringList("bus.log"));
    EXPECT_EQ(accepted<SendOptions>(send).bus.name(), QString("socketcan can0"));
    EXPECT_EQ(accepted<SendOptions>(send + QStringList{"--speed", "2.5"}).speed, 2.5);
    EXPECT_TRUE(std::isinf(accepted<SendOptions>(send + QStringList{"--speed", "max"}).speed));
    EXPECT_TRUE(accepted<SendOptions>(send + QStringList{"--fd"}).bus.fd);
}

TEST(CommandLine, SeveralRecordingsAreAccepted)
{
    const QStringList files{"a.log", "-", "b.mf4"};
    EXPECT_EQ(accepted<ReplayOptions>(QStringList("replay") + files + QStringList{"--dbc", "d"})
                  .recordings,
              files);
    EXPECT_EQ(accepted<SendOptions>(send + QStringList{"b.log"}).recordings,
              (QStringList{"bus.log", "b.log"}));
}

TEST(CommandLine, DescriptionCanBeForOneBus)
{
    const QTemporaryDir directory;
    const QString whole = directory.filePath("can0=x.dbc");
    QFile file(whole);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const auto options = accepted<ReplayOptions>(
        {"replay", "a", "--dbc", "can0=a=b.dbc", "--plain", "x/can0=a.dbc", "--dbc", whole, "--eds",
         "1=a.eds", "--eds", "2=a.eds", "--node", "5", "--node", "5"});
    QStringList found;
    for (const monitor::GivenDescription& given : options.descriptions)
        found += given.bus + ' ' + given.file.fileName;
    EXPECT_EQ(found,
              (QStringList{"can0 a=b.dbc", ' ' + whole, " x/can0=a.dbc", "1 a.eds", "2 a.eds"}));
    EXPECT_EQ(errorOf({"replay", "a", "--dbc", "can0="}),
              QString("option --dbc needs a file after the bus"));
    EXPECT_EQ(errorOf({"replay", "a", "--eds", "1=a.eds", "--eds", "1=b.eds", "--node", "5",
                       "--node", "5"}),
              QString("replay needs a different node for each file, but --node 5 is repeated"));
}

// The seconds come from `date -u -d ... +%s`.
TEST(CommandLine, TimesAreReadToTheNanosecond)
{
    const auto momentOf = [](const char* text) {
        return *accepted<ReplayOptions>(replay + QStringList{"--from", text}).choice.from;
    };
    for (const char* text : {"2021-10-25T19:00:55.02085Z", "2021-10-25 19:00:55.020850",
                             "2021-10-25T21:00:55.020850000+02:00"}) {
        EXPECT_EQ(momentOf(text).nanoseconds, 1635188455020850000) << text;
        EXPECT_TRUE(momentOf(text).isAbsolute) << text;
    }
    EXPECT_EQ(momentOf("2021-10-25").nanoseconds, 1635120000000000000);
    EXPECT_EQ(momentOf("2021-10-25T19:00").nanoseconds, 1635188400000000000);
    EXPECT_EQ(momentOf("12.000000001").nanoseconds, 12000000001);
    EXPECT_FALSE(momentOf("12").isAbsolute);
    EXPECT_TRUE(momentOf("1635188455.02085").isAbsolute); // as in exported values
    EXPECT_EQ(momentOf("1635188455.02085").nanoseconds, 1635188455020850000);
    EXPECT_EQ(errorOf(replay + QStringList{"--from", "2", "--to", "1"}),
              QString("replay needs a time for --to that is not before that for --from"));
}

TEST(CommandLine, IdsNeedsNoDescriptionAndWatchesABusOnRequest)
{
    EXPECT_EQ(accepted<ReplayOptions>({"ids", "a", "b"}).recordings, (QStringList{"a", "b"}));
    const auto options =
        accepted<LiveOptions>({"ids", "live", "--plugin", "virtualcan", "--interface", "can0"});
    EXPECT_EQ(options.bus.device, QString("can0"));
    EXPECT_EQ(options.subject, monitor::MonitorOptions::Subject::Ids);
}

TEST(CommandLine, IdsRejectsOptionsThatItWouldIgnore)
{
    const QStringList bus{"ids", "live", "--plugin", "virtualcan", "--interface", "can0"};
    EXPECT_EQ(errorOf(bus + QStringList{"--from", "1"}),
              QString("ids live takes no option --from, which is for recordings"));
    EXPECT_EQ(errorOf({"ids", "bus.log", "--plugin", "virtualcan"}),
              QString("ids takes the option --plugin only for a bus: vantrel ids live"));
}

TEST(CommandLine, ShowTakesAFileAndK)
{
    const auto options = accepted<ShowOptions>({"show", "a.series", "--k", "2", "--plot", "plots"});
    EXPECT_EQ(options.inputs, QStringList("a.series"));
    EXPECT_EQ(options.k, 2);
    EXPECT_EQ(options.files.value(0).path, QString("plots"));
}

TEST(CommandLine, MissingFilesAndOptionsAreNamed)
{
    for (const char* command : {"replay", "ids", "send"})
        EXPECT_EQ(errorOf({command}),
                  QString("%1 needs at least one file: vantrel %1 FILE...").arg(command));
    const QString oneFile = "show needs exactly one file: vantrel show FILE";
    EXPECT_EQ(errorOf({"show"}), oneFile);
    EXPECT_EQ(errorOf({"show", "a", "b"}), oneFile);
    EXPECT_EQ(errorOf({"compare", "a"}),
              QString("compare needs exactly two files: vantrel compare FILE FILE"));
    EXPECT_EQ(errorOf({"ids", "live", "--plugin", "socketcan"}),
              QString("ids needs --interface NAME"));
    EXPECT_EQ(errorOf(live + QStringList{"bus.log"}),
              QString("live takes no file, but \"bus.log\" was given"));
    EXPECT_EQ(errorOf({"live", "--dbc", "bus.dbc"}),
              QString("live needs --plugin PLUGIN and --interface NAME"));
    EXPECT_EQ(errorOf({"send", "bus.log", "--plugin", "socketcan"}),
              QString("send needs --interface NAME"));
}

TEST(CommandLine, UnknownCommandIsAnErrorWithASuggestion)
{
    EXPECT_EQ(errorOf({"replya", "bus.log"}),
              QString("unknown command \"replya\" (did you mean replay?)"));
    EXPECT_EQ(errorOf({"frob", "--help"}),
              QString("unknown command \"frob\" (available: replay, ids, live, window, send, show, "
                      "merge, compare)"));
    EXPECT_EQ(
        errorOf({}),
        QString(
            "no command given (available: replay, ids, live, window, send, show, merge, compare)"));
}

TEST(CommandLine, UnknownOptionIsAnErrorWithASuggestionForTheSameCommand)
{
    EXPECT_EQ(errorOf({"replay", "bus.log", "--dcb", "bus.dbc"}),
              QString("unknown option --dcb (did you mean --dbc?)"));
    EXPECT_EQ(errorOf({"--dcb", "bus.dbc", "replay", "bus.log"}),
              QString("unknown option --dcb (did you mean --dbc?)"));
    EXPECT_EQ(errorOf(send + QStringList{"--dcb"}), QString("unknown option --dcb"));
    EXPECT_EQ(errorOf({"--versoin"}),
              QString("unknown option --versoin (did you mean --version?)"));
    EXPECT_EQ(errorOf(replay + QStringList{"-x"}), QString("unknown option -x"));
}

TEST(CommandLine, UsageErrorNamesTheCommand)
{
    EXPECT_EQ(std::get<monitor::UsageError>(read({"live", "x"})).command, QString("live"));
    EXPECT_EQ(std::get<monitor::UsageError>(read({"live", "--frob"})).command, QString("live"));
    EXPECT_EQ(std::get<monitor::UsageError>(read({"frob"})).command, QString());
}

TEST(CommandLine, ErrorsInValuesSayWhatIsNeeded)
{
    const auto replayError = [](const QStringList& options) { return errorOf(replay + options); };
    EXPECT_EQ(replayError({"--keep", "1"}),
              QString("option --keep needs a whole number of at least 2"));
    for (const char* tooMany : {"1073741824", "3000000000"})
        EXPECT_EQ(replayError({"--keep", tooMany}),
                  QString("option --keep needs a number of at most 1073741823"));
    EXPECT_EQ(replayError({"--k", "x"}), QString("option --k needs a number of at least 0"));
    EXPECT_EQ(replayError({"--node", "128"}),
              QString("option --node needs a number from 1 to 127"));
    EXPECT_EQ(replayError({"--limits", "Speed=1"}),
              QString("option --limits needs SIGNAL=LOWER:UPPER, such as EngineSpeed=600:2200, "
                      "or described, not \"Speed=1\""));
    EXPECT_EQ(replayError({"--limits", "Speed=2:1"}),
              QString("option --limits needs a lower limit at or below the upper "
                      "limit, not \"Speed=2:1\""));
    EXPECT_EQ(replayError({"--plot", ""}),
              QString("option --plot needs a value: --plot DIRECTORY"));
    EXPECT_EQ(replayError({"--k"}), QString("option --k needs a value: --k K"));
    EXPECT_EQ(errorOf(live + QStringList{"--highlight", "101"}),
              QString("option --highlight needs a whole number from 0 to 100"));
    EXPECT_EQ(errorOf(live + QStringList{"--frames", "0"}),
              QString("option --frames needs a number above 0"));
    EXPECT_EQ(errorOf(send + QStringList{"--speed", "0"}),
              QString("option --speed needs a number above 0, or max"));
    EXPECT_EQ(errorOf(send + QStringList{"--fd=yes"}), QString("Unexpected value after '--fd'."));
}

TEST(CommandLine, HelpListsCommandsAndRecordingFormats)
{
    for (const char* option : {"--help", "-h"}) {
        const QString help = helpOf({option});
        for (const char* command :
             {"replay FILE...", "ids FILE...", "live", "window", "send FILE...", "show FILE"})
            EXPECT_TRUE(help.contains(QString("\n  %1\n      ").arg(command))) << command;
        for (const monitor::RecordingFormat& format : monitor::recordingFormats())
            EXPECT_TRUE(help.contains(format.name));
        EXPECT_TRUE(help.contains("\"vantrel COMMAND --help\""));
    }
}

TEST(CommandLine, HelpOfACommandNeedsNoOtherArguments)
{
    EXPECT_TRUE(helpOf({"send", "--help"}).startsWith("Usage: vantrel send FILE... [OPTION]...\n"));
    EXPECT_TRUE(helpOf({"-h", "window"}).startsWith("Usage: vantrel window [OPTION]...\n"));
    EXPECT_TRUE(helpOf({"send", "--help"}).contains("such as can0. Required.\n"));
    EXPECT_TRUE(helpOf({"replay", "--help"}).contains("node given by --node. May be repeated.\n"));
}

TEST(CommandLine, HelpFitsInto80Columns)
{
    QStringList texts{helpOf({"--help"})};
    for (const QString& command : commandNames())
        texts += helpOf({command, "--help"});
    for (const QString& line : texts.join('\n').split('\n'))
        EXPECT_LT(line.size(), 80) << line.toStdString();
}

TEST(CommandLine, VersionNeedsNoCommand)
{
    EXPECT_TRUE(std::holds_alternative<monitor::VersionRequest>(read({"--version"})));
}

TEST(OptionTable, NamesAreUnique)
{
    QSet<QString> names{"h", "help", "version"};
    const auto others = names.size();
    for (const OptionRow& row : monitor::optionRows())
        names += row.name;
    EXPECT_EQ(names.size(), monitor::optionRows().size() + others);
}

TEST(OptionTable, EveryOptionHasATestCase)
{
    QStringList rows;
    for (const OptionRow& row : monitor::optionRows())
        rows += row.name;
    QStringList tested;
    for (const OptionCase& option : optionCases())
        tested += option.name;
    rows.sort();
    tested.sort();
    EXPECT_EQ(rows.join(' ').toStdString(), tested.join(' ').toStdString());
}

TEST(OptionTable, OptionsAreAcceptedByTheirCommandsOnly)
{
    for (const OptionCase& option : optionCases()) {
        const QString given = "--" + option.name;
        for (const QString& command : commandNames()) {
            QStringList arguments{given};
            if (!option.valid.isEmpty())
                arguments += option.valid.first();
            arguments += argumentsFor(option.name, command);
            const QString error = errorOf(arguments);
            if (option.commands.contains(command))
                EXPECT_EQ(error, QString()) << arguments.join(' ').toStdString();
            else
                EXPECT_TRUE(error.startsWith("option " + given + " is for ") &&
                            error.endsWith(", not for " + command))
                    << error.toStdString();
        }
    }
    EXPECT_EQ(errorOf(replay + QStringList{"--fd"}),
              QString("option --fd is for ids, live, window and send, not for replay"));
}

TEST(OptionTable, OptionsAreInTheHelpOfTheirCommandsOnly)
{
    for (const OptionCase& option : optionCases()) {
        for (const QString& command : commandNames()) {
            const QRegularExpression line("\n  --" + option.name + "( [^ \n]+)?\n      [A-Z]");
            EXPECT_EQ(helpOf({command, "--help"}).contains(line), option.commands.contains(command))
                << command.toStdString() << " " << option.name.toStdString();
        }
    }
}

TEST(OptionTable, OptionsAcceptValidValuesOnly)
{
    for (const OptionCase& option : optionCases()) {
        const QStringList arguments = argumentsFor(option.name, option.commands.first());
        for (const QString& value : option.valid) {
            const QString given = "--" + option.name + "=" + value;
            EXPECT_EQ(errorOf(arguments + QStringList{given}), QString()) << given.toStdString();
        }
        for (const QString& value : option.invalid) {
            const QString error = errorOf(arguments + QStringList{"--" + option.name, value});
            EXPECT_TRUE(error.startsWith("option --" + option.name + " needs "))
                << value.toStdString() << ": " << error.toStdString();
        }
    }
}

TEST(OptionTable, OnlyRepeatableOptionsCanBeRepeated)
{
    for (const OptionCase& option : optionCases()) {
        QStringList arguments = argumentsFor(option.name, option.commands.first());
        const QString error = QString("option --%1 can be given only once").arg(option.name);
        const QString value = option.valid.isEmpty() ? QString() : "=" + option.valid.first();
        arguments += {"--" + option.name + value, "--" + option.name + value};
        EXPECT_EQ(errorOf(arguments) == error, !option.isRepeatable) << option.name.toStdString();
    }
}
