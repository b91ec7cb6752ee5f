#include <outputs/printedOutputs.h>
#include <views/statisticsFields.h>
#include <views/statisticsTable.h>

#include <gtest/gtest.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>

using monitor::FrameCounts;
using monitor::Protocol;
using monitor::SignalStatistics;
using monitor::Snapshot;

namespace
{

SignalStatistics measured()
{
    SignalStatistics statistics;
    statistics.name = "EngineSpeed";
    statistics.protocol = Protocol::J1939;
    statistics.source = quint8{49};
    statistics.unit = "rpm";
    statistics.count = 5;
    statistics.newest = 14;
    statistics.average = 16.1;
    statistics.deviation = 1.0 / 3;
    statistics.minimum = -12;
    statistics.maximum = 1e21;
    statistics.median = 5e-324;
    statistics.rating = 73;
    statistics.lowerThreshold = 0.1 + 0.2;
    statistics.upperThreshold = -0.125;
    statistics.deviators = 2;
    statistics.notAvailable = 7;
    statistics.errors = 9;
    return statistics;
}

SignalStatistics empty()
{
    SignalStatistics statistics;
    statistics.name = "Page";
    statistics.errors = 1;
    return statistics;
}

Snapshot snapshotOf(const QVector<SignalStatistics>& all, const FrameCounts& counts = {})
{
    Snapshot snapshot;
    snapshot.counts = counts;
    for (const SignalStatistics& statistics : all)
        snapshot.rows.append({0, std::make_shared<SignalStatistics>(statistics), false});
    return snapshot;
}

QJsonObject parsed(const QString& json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << json.toStdString();
    return document.object();
}

} // namespace

TEST(JsonOutput, HasExactlyTheDocumentedMembers)
{
    FrameCounts counts;
    counts.total = 10;
    counts.decoded = 4;
    counts.dropped = 12;
    counts.errors = 3;
    const QJsonObject json = parsed(monitor::formatJson(snapshotOf({measured()}, counts)));
    EXPECT_EQ(json.keys(), (QStringList{"complete", "frames", "signals", "undecodedIds"}));
    const QJsonObject frames{
        {"total", 10}, {"decoded", 4}, {"undecoded", 6}, {"dropped", 12}, {"errors", 3}};
    EXPECT_EQ(json.value("frames").toObject(), frames);
    const QJsonObject signal{{"name", "EngineSpeed"},
                             {"kind", "j1939"},
                             {"source", 49},
                             {"count", 5},
                             {"notAvailable", 7},
                             {"error", 9},
                             {"newest", 14},
                             {"average", 16.1},
                             {"deviation", 1.0 / 3},
                             {"minimum", -12},
                             {"maximum", 1e21},
                             {"median", 5e-324},
                             {"rating", 73},
                             {"lowerThreshold", 0.1 + 0.2},
                             {"upperThreshold", -0.125},
                             {"deviators", 2},
                             {"unit", "rpm"},
                             {"newestText", QJsonValue::Null},
                             {"bus", QJsonValue::Null}};
    ASSERT_EQ(json.value("signals").toArray().size(), 1);
    EXPECT_EQ(json.value("signals").toArray().at(0).toObject(), signal);
}

TEST(JsonOutput, IncompleteRunAndUndecodedIdsAreMembers)
{
    monitor::Snapshot snapshot = snapshotOf({});
    EXPECT_EQ(parsed(monitor::formatJson(snapshot)).value("complete"), QJsonValue(true));
    EXPECT_EQ(parsed(monitor::formatJson(snapshot)).value("undecodedIds"), QJsonArray());
    snapshot.isComplete = false;
    snapshot.undecoded = {{QString(), 0x123, true, 7}, {"can1", 0x23, false, 5}};
    const QJsonObject json = parsed(monitor::formatJson(snapshot));
    EXPECT_EQ(json.value("complete"), QJsonValue(false));
    EXPECT_EQ(json.value("undecodedIds").toArray(),
              (QJsonArray{
                  QJsonObject{{"bus", QJsonValue::Null}, {"id", "00000123"}, {"frames", 7}},
                  QJsonObject{{"bus", "can1"}, {"id", "023"}, {"frames", 5}},
              }));
    EXPECT_TRUE(monitor::formatTable(snapshot).endsWith(
        "undecoded   00000123: 7 frame(s)\n"
        "undecoded   023 on bus can1: 5 frame(s)\n"
        "incomplete  stopped before the end of the recording\n"));
}

TEST(PrintedOutputs, BusIsShownIfItIsNamed)
{
    SignalStatistics first = measured();
    first.bus = "can0";
    const monitor::Snapshot snapshot = snapshotOf({first, measured()});
    const QJsonArray rows = parsed(monitor::formatJson(snapshot)).value("signals").toArray();
    EXPECT_EQ(rows.at(0).toObject().value("bus"), QJsonValue("can0"));
    EXPECT_EQ(rows.at(1).toObject().value("bus"), QJsonValue::Null);
    const QStringList lines = monitor::formatStatistics(snapshot).split('\n');
    EXPECT_EQ(lines.at(0).simplified().split(' ').mid(0, 3),
              (QStringList{"signal", "bus", "source"}));
    EXPECT_EQ(lines.at(1).simplified().split(' ').mid(0, 3),
              (QStringList{"EngineSpeed", "can0", "49"}));
    EXPECT_EQ(lines.at(2).simplified().split(' ').mid(0, 3),
              (QStringList{"EngineSpeed", "-", "49"}));
    EXPECT_FALSE(monitor::formatStatistics(snapshotOf({measured()})).contains("bus"));
}

TEST(JsonOutput, MissingValuesAreNull)
{
    const QJsonObject json = parsed(monitor::formatJson(snapshotOf({empty()})));
    const QJsonObject signal = json.value("signals").toArray().at(0).toObject();
    EXPECT_EQ(signal.size(), 19);
    for (const char* name :
         {"source", "newest", "average", "deviation", "minimum", "maximum", "median", "rating",
          "lowerThreshold", "upperThreshold", "deviators", "newestText", "bus"})
        EXPECT_TRUE(signal.value(QLatin1String(name)).isNull()) << name;
    EXPECT_EQ(signal.value("kind"), QJsonValue("canopen"));
    EXPECT_EQ(signal.value("count"), QJsonValue(0));
    EXPECT_EQ(signal.value("error"), QJsonValue(1));
    EXPECT_EQ(signal.value("unit"), QJsonValue(""));
}

TEST(JsonOutput, SignalsArrayCanBeEmpty)
{
    const QJsonObject json = parsed(monitor::formatJson(snapshotOf({})));
    EXPECT_TRUE(json.value("signals").isArray());
    EXPECT_TRUE(json.value("signals").toArray().isEmpty());
}

// Read back by the C library, which is independent of the formatting by Qt.
TEST(JsonOutput, DoublesAreReadBackExactly)
{
    std::mt19937_64 random(1939);
    for (int i = 0; i < 100000; ++i) {
        const quint64 bits = random();
        double number = 0;
        static_assert(sizeof number == sizeof bits);
        std::memcpy(&number, &bits, sizeof number);
        if (!std::isfinite(number))
            continue;
        const QByteArray text = monitor::toJson(number).toLatin1();
        ASSERT_EQ(std::strtod(text.constData(), nullptr), number) << text.constData();
    }
}

TEST(JsonOutput, TextsAreEscaped)
{
    SignalStatistics statistics = empty();
    statistics.name = "a\"b\\c\n\x01";
    statistics.unit = QString::fromUtf8("°C");
    const QString json = monitor::formatJson(snapshotOf({statistics}));
    const QJsonObject signal = parsed(json).value("signals").toArray().at(0).toObject();
    EXPECT_EQ(signal.value("name").toString(), statistics.name);
    EXPECT_EQ(signal.value("unit").toString(), statistics.unit);
}

TEST(CsvOutput, HasTheSameFieldsAsJson)
{
    EXPECT_EQ(
        monitor::formatCsv(snapshotOf({measured()})),
        QString("name,kind,source,count,notAvailable,error,newest,average,deviation,minimum,"
                "maximum,median,rating,lowerThreshold,upperThreshold,deviators,unit,newestText,"
                "bus\r\n"
                "EngineSpeed,j1939,49,5,7,9,14,16.1,0.3333333333333333,-12,1e+21,5e-324,73,"
                "0.30000000000000004,-0.125,2,rpm,,\r\n"));
}

TEST(PrintedOutputs, MeaningOfTheNewestValueIsNextToIt)
{
    SignalStatistics statistics = measured();
    statistics.newestMeaning = "On, fast";
    const QJsonObject json = parsed(monitor::formatJson(snapshotOf({statistics})));
    const QJsonObject signal = json.value("signals").toArray().at(0).toObject();
    EXPECT_EQ(signal.value("newest"), QJsonValue(14));
    EXPECT_EQ(signal.value("newestText"), QJsonValue("On, fast"));
    EXPECT_TRUE(monitor::formatCsv(snapshotOf({statistics})).endsWith(",rpm,\"On, fast\",\r\n"));
    EXPECT_EQ(monitor::statisticsCells(statistics).at(3), QString("14 (On, fast)"));
}

TEST(CsvOutput, MissingValuesAreEmptyAndTextsAreQuotedIfNeeded)
{
    SignalStatistics statistics = empty();
    statistics.name = "a,\"b\"";
    statistics.unit = "m\r\ns";
    EXPECT_EQ(monitor::formatCsv(snapshotOf({statistics})).section("\r\n", 1),
              QString("\"a,\"\"b\"\"\",canopen,,0,0,1,,,,,,,,,,,\"m\r\ns\",,\r\n"));
}

TEST(TableOutput, TransportCountsAreShownUnlessAllAreZero)
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    EXPECT_EQ(monitor::formatTransport({0, 0, 0, 0}), QString());
    EXPECT_EQ(monitor::formatTransport({most, most, 2, 0}),
              QString("transport   9223372036854775807 message(s), 0 interrupted; packets: "
                      "9223372036854775807 lost, 2 out of order\n"));
}

TEST(TableOutput, SignalWithoutValuesShowsDashesForItsStatistics)
{
    SignalStatistics statistics;
    statistics.name = "Sensor";
    statistics.source = quint8{3};
    statistics.unit = "V";
    statistics.notAvailable = 7;
    statistics.errors = 2;
    const QString row =
        monitor::formatStatistics(snapshotOf({statistics})).section('\n', 1, 1).simplified();
    EXPECT_EQ(row, QString("Sensor 3 0 - - - - - - - - - V 7 2"));
}

TEST(TableOutput, SummaryShowsTheBandAndAllCounts)
{
    Snapshot snapshot;
    snapshot.k = 2.5;
    snapshot.counts = {10, 7, 5, 4, 2};
    const QString summary = monitor::formatSummary(snapshot);
    EXPECT_EQ(summary, QString("band        average +/- 2.5 deviations\n"
                               "frames      10\n"
                               "decoded     7\n"
                               "undecoded   3\n"
                               "dropped     5\n"
                               "errors      4\n"
                               "unreadable  2\n"));
}
