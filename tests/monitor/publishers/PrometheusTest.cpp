// Runs the program on a simulated bus, with a real Prometheus server.

#include "../app/LiveRun.h"
#include "LocalServer.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QUrl>

namespace
{

/// The port that the program reports.
quint16 metricsPort(const LiveRun& run)
{
    static const QRegularExpression port("metrics: http://127.0.0.1:(\\d+)/metrics\n");
    return port.match(run.messages()).captured(1).toUShort();
}

/// Prometheus, which reads the metrics at a port every second.
class Prometheus
{
public:
    explicit Prometheus(quint16 metrics)
        : port(freePort()),
          server(PROMETHEUS_PROGRAM,
                 {"--config.file=" + configFile(metrics),
                  "--storage.tsdb.path=" + directory.filePath("data"),
                  QString("--web.listen-address=127.0.0.1:%1").arg(port)},
                 port)
    {
    }

    /// The newest values of a metric by the labels signal and source.
    QMap<QString, double> newest(const QString& metric) const
    {
        QMap<QString, double> values;
        const QByteArray answer =
            httpGet(port, "/api/v1/query?query=" + QUrl::toPercentEncoding(metric));
        const QJsonArray results = QJsonDocument::fromJson(answer)["data"]["result"].toArray();
        for (const QJsonValue result : results) {
            const QJsonValue labels = result["metric"];
            const QString key = labels["signal"].toString() + ' ' + labels["source"].toString();
            EXPECT_FALSE(values.contains(key)) << key.toStdString();
            values[key] = result["value"][1].toString().toDouble();
        }
        return values;
    }

private:
    QString configFile(quint16 metrics) const
    {
        QFile file(directory.filePath("prometheus.yml"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("global: {scrape_interval: 1s}\n"
                   "scrape_configs:\n"
                   "  - job_name: vantrel\n"
                   "    static_configs: [{targets: ['127.0.0.1:" +
                   QByteArray::number(metrics) + "']}]\n");
        return file.fileName();
    }

    const QTemporaryDir directory;
    const quint16 port;
    const LocalServer server;
};

struct Field {
    const char* metric;
    const char* member; ///< of the JSON of replay
};

constexpr Field fields[] = {{"newest", "newest"},
                            {"average", "average"},
                            {"deviation", "deviation"},
                            {"minimum", "minimum"},
                            {"maximum", "maximum"},
                            {"median", "median"},
                            {"rating", "rating"},
                            {"band_lower", "lowerThreshold"},
                            {"band_upper", "upperThreshold"},
                            {"values_total", "count"},
                            {"deviators_total", "deviators"},
                            {"not_available_total", "notAvailable"},
                            {"errors_total", "error"}};

} // namespace

TEST(PrometheusServer, AnswersWithTheStatisticsOfAReplayOfTheSameFrames)
{
    const SimulatedBus bus;
    LiveRun live(bus, {"--metrics", "127.0.0.1:0"});
    bus.send(sampleFile("drive.log"));
    const Prometheus prometheus(metricsPort(live));
    ASSERT_TRUE(LocalServer::waitUntil(
        [&] { return prometheus.newest("vantrel_frames_total").value(" ") == 1371; }));
    const QJsonArray replayed =
        QJsonDocument::fromJson(replayedSample({"--format", "json"}).toUtf8())["signals"].toArray();
    ASSERT_GT(replayed.size(), 5);
    for (const Field& field : fields) {
        const QMap<QString, double> values =
            prometheus.newest(QString("vantrel_signal_") + field.metric);
        int expected = 0;
        for (const QJsonValue signal : replayed) {
            const QJsonValue source = signal["source"];
            const QString key = signal["name"].toString() + ' ' +
                                (source.isNull() ? QString() : QString::number(source.toInt()));
            if (signal[QLatin1String(field.member)].isNull())
                continue;
            ++expected;
            ASSERT_TRUE(values.contains(key)) << field.metric << ' ' << key.toStdString();
            EXPECT_DOUBLE_EQ(values[key], signal[QLatin1String(field.member)].toDouble())
                << field.metric << ' ' << key.toStdString();
        }
        EXPECT_EQ(values.size(), expected) << field.metric;
    }
    const MonitorRun run = live.end();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, replayedSample());
}

TEST(PrometheusServer, ItsCheckerFindsNothingWrongWithTheMetrics)
{
    const SimulatedBus bus;
    LiveRun live(bus, {"--metrics", "0", "--frames", "2000"});
    bus.send(sampleFile("drive.log"));
    QByteArray metrics;
    ASSERT_TRUE(LocalServer::waitUntil([&] {
        metrics = httpGet(metricsPort(live), "/metrics");
        return metrics.contains("vantrel_frames_total{bus=\"tcp://127.0.0.1") &&
               metrics.contains("\"} 1371\n");
    }));
    QProcess checker;
    checker.setProcessChannelMode(QProcess::MergedChannels);
    checker.start(PROMTOOL_PROGRAM, {"check", "metrics"});
    checker.write(metrics);
    checker.closeWriteChannel();
    ASSERT_TRUE(checker.waitForFinished());
    EXPECT_EQ(checker.readAll(), QByteArray());
    EXPECT_EQ(checker.exitCode(), 0);
}

TEST(PrometheusServer, PortInUseIsReported)
{
    const SimulatedBus bus;
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress::LocalHost));
    const QString address = QString("127.0.0.1:%1").arg(other.serverPort());
    const MonitorRun run =
        runMonitor(QStringList{"live", "--metrics", address} + bus.options() + sampleOptions());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.diagnostics, "--metrics " + address +
                                   ": cannot listen there: the address is not one of this machine, "
                                   "the port is in use or not permitted, or there are too many "
                                   "threads\n");
}

TEST(PrometheusServer, TwoRunsCannotShareAPort)
{
    const SimulatedBus bus;
    const LiveRun first(bus, {"--metrics", "0"});
    const MonitorRun second =
        runMonitor(QStringList{"live", "--metrics", QString::number(metricsPort(first))} +
                   bus.options() + sampleOptions());
    EXPECT_EQ(second.exitCode, 2);
    EXPECT_TRUE(second.diagnostics.contains("cannot listen there"))
        << second.diagnostics.toStdString();
}

TEST(PrometheusServer, RunEndsEvenIfAClientNeverFinishesItsRequest)
{
    const SimulatedBus bus;
    LiveRun live(bus, {"--metrics", "0", "--frames", "1371"});
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, metricsPort(live));
    ASSERT_TRUE(client.waitForConnected());
    client.write("GET /metrics HTTP/1.1\r\nX: ");
    bus.send(sampleFile("drive.log"));
    // Each byte restarts the time after which the server gives up.
    ASSERT_TRUE(LocalServer::waitUntil([&] {
        client.write("a");
        client.waitForBytesWritten(100);
        return live.hasEnded();
    }));
    const MonitorRun run = live.waitForEnd();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, replayedSample());
}

TEST(PrometheusServer, OtherPathsAreNotFoundAndASilentClientDelaysNobody)
{
    const SimulatedBus bus;
    LiveRun live(bus, {"--metrics", "127.0.0.1:0"});
    bus.send(sampleFile("drive.log"));
    const quint16 port = metricsPort(live);
    QTcpSocket silent; // occupies one of the threads
    silent.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(silent.waitForConnected());
    EXPECT_EQ(httpGet(port, "/other"), QByteArray());
    EXPECT_EQ(httpGet(port, "/"), QByteArray("The metrics are at /metrics.\n"));
    EXPECT_EQ(live.end().output, replayedSample());
}
