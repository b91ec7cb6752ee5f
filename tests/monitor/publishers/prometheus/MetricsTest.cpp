#include <publishers/prometheus/MetricsServer.h>
#include <publishers/prometheus/metrics.h>

#include <gtest/gtest.h>

#include <memory>

using monitor::BusState;
using monitor::MetricsServer;
using monitor::SignalStatistics;
using monitor::Snapshot;

namespace
{

Snapshot snapshotOf(const QVector<SignalStatistics>& all)
{
    Snapshot snapshot;
    snapshot.counts.total = 30;
    snapshot.counts.decoded = 10;
    snapshot.counts.dropped = 4;
    snapshot.counts.errors = 5;
    for (const SignalStatistics& statistics : all)
        snapshot.rows.append({static_cast<int>(snapshot.rows.size()),
                              std::make_shared<SignalStatistics>(statistics), false});
    return snapshot;
}

QStringList samplesOf(const Snapshot& snapshot)
{
    QStringList samples;
    const QByteArray text =
        monitor::formatMetrics(snapshot, {"virtualcan can0", 0, 12.5, 1}, "can0");
    EXPECT_TRUE(text.endsWith('\n'));
    for (const QString& line : QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts)) {
        if (!line.startsWith('#'))
            samples += line;
    }
    return samples;
}

} // namespace

TEST(Metrics, HaveTheCountsAndStatisticsOfASnapshot)
{
    SignalStatistics speed;
    speed.name = "Speed";
    speed.source = 49;
    speed.bus = "can1";
    speed.unit = "km/h";
    speed.count = 1000;
    speed.newest = 0.1;
    speed.average = -1e-300;
    speed.deviation = 2.5;
    speed.minimum = -4;
    speed.maximum = 1e22;
    speed.median = 7.125;
    speed.rating = 80;
    speed.lowerThreshold = -7;
    speed.upperThreshold = 8;
    speed.deviators = 3;
    speed.notAvailable = 2;
    speed.errors = 9007199254740991;
    const QString labels = "{signal=\"Speed\",source=\"49\",bus=\"can1\",unit=\"km/h\"} ";
    EXPECT_EQ(
        samplesOf(snapshotOf({speed})),
        (QStringList{
            "vantrel_frames_total{bus=\"can0\"} 30",
            "vantrel_frames_decoded_total{bus=\"can0\"} 10",
            "vantrel_frames_dropped_total{bus=\"can0\"} 4",
            "vantrel_error_frames_total{bus=\"can0\"} 5",
            "vantrel_bus_load_ratio{bus=\"can0\"} 0.125", "vantrel_signal_newest" + labels + "0.1",
            "vantrel_signal_average" + labels + "-1e-300",
            "vantrel_signal_deviation" + labels + "2.5", "vantrel_signal_minimum" + labels + "-4",
            "vantrel_signal_maximum" + labels + "1e+22", "vantrel_signal_median" + labels + "7.125",
            "vantrel_signal_rating" + labels + "80", "vantrel_signal_band_lower" + labels + "-7",
            "vantrel_signal_band_upper" + labels + "8",
            "vantrel_signal_values_total" + labels + "1000",
            "vantrel_signal_deviators_total" + labels + "3",
            "vantrel_signal_not_available_total" + labels + "2",
            "vantrel_signal_errors_total" + labels + "9007199254740991"}));
}

TEST(Metrics, StatisticsThatASignalDoesNotHaveAreLeftOut)
{
    SignalStatistics silent;
    silent.name = "Silent";
    SignalStatistics passedThrough;
    passedThrough.name = "Text";
    passedThrough.count = 1;
    passedThrough.isPassedThrough = true;
    SignalStatistics number = passedThrough;
    number.name = "Number";
    number.newestNumber = 5;
    QStringList names;
    for (const QString& sample : samplesOf(snapshotOf({silent, passedThrough, number})).mid(5))
        names += sample.section('{', 0, 0).mid(15) + ' ' + sample.section('"', 1, 1);
    EXPECT_EQ(names, (QStringList{"newest Number", "values_total Silent", "values_total Text",
                                  "values_total Number", "deviators_total Silent",
                                  "not_available_total Silent", "not_available_total Text",
                                  "not_available_total Number", "errors_total Silent",
                                  "errors_total Text", "errors_total Number"}));
}

TEST(Metrics, BackslashesQuotesAndLineBreaksInLabelsAreEscaped)
{
    SignalStatistics odd;
    odd.name = "a\\b\"c\nd\u00e9";
    odd.unit = "\u00b0C";
    EXPECT_TRUE(samplesOf(snapshotOf({odd}))
                    .contains("vantrel_signal_values_total{signal=\"a\\\\b\\\"c\\nd\u00e9\","
                              "source=\"\",bus=\"can0\",unit=\"\u00b0C\"} 0"));
}

TEST(MetricsServer, AddressIsAHostAndAPort)
{
    for (const char* const valid :
         {"127.0.0.1:9464", "0.0.0.0:0", "[::1]:80", "localhost:1", "9464"})
        EXPECT_EQ(MetricsServer::check(valid), QString()) << valid;
    for (const char* const invalid :
         {"", ":", ":9464", "127.0.0.1", "127.0.0.1:", "a:65536", "a:-1"})
        EXPECT_EQ(MetricsServer::check(invalid),
                  QString("needs ADDRESS:PORT, such as 127.0.0.1:9464, not \"%1\"").arg(invalid));
}
