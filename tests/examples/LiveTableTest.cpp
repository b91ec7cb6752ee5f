#include <VirtualDisplay.h>

#include <gtest/gtest.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtNetwork/QTcpServer>

#include <cmath>

namespace
{

constexpr int timeout = 60000; // milliseconds
const QString sample = QStringLiteral(SAMPLE_DIRECTORY "/");

/// live-table on a virtual display, with a preloaded library that prints its table after each
/// change.
class LiveTable
{
public:
    explicit LiveTable(const QString& interfaceName, const QString& plugin = "virtualcan")
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_PRELOAD", TABLE_PROBE);
        environment.insert("LC_ALL", "C.UTF-8");
        process.setProcessEnvironment(environment);
        process.start(LIVE_TABLE_PROGRAM, {plugin, interfaceName});
    }

    ~LiveTable()
    {
        process.kill();
        process.waitForFinished();
    }

    LiveTable(const LiveTable&) = delete;
    LiveTable& operator=(const LiveTable&) = delete;

    /// Waits for the first table that satisfies \a condition, and returns an empty one otherwise.
    template <typename Condition>
    QList<QStringList> waitForTable(Condition condition)
    {
        const QDeadlineTimer deadline(timeout);
        while (!deadline.hasExpired() &&
               (process.bytesAvailable() > 0 || process.waitForReadyRead(timeout))) {
            text += process.readAllStandardOutput().replace(",", ""); // thousands separators
            for (auto end = text.indexOf("\n\n"); end >= 0; end = text.indexOf("\n\n")) {
                QList<QStringList> rows;
                for (const QString& line : QString::fromUtf8(text.left(end)).split('\n'))
                    rows += line.split(';');
                text.remove(0, end + 2);
                if (condition(rows))
                    return rows;
            }
        }
        return {};
    }

    QList<QStringList> waitForTable()
    {
        return waitForTable([](const QList<QStringList>&) { return true; });
    }

    void closeWindow() { process.closeWriteChannel(); }

    int exitCode()
    {
        const bool ended = process.waitForFinished(timeout);
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    /// The diagnostics of the program itself, without those of Qt.
    std::string diagnostics()
    {
        QByteArrayList own;
        for (const QByteArray& line : process.readAllStandardError().split('\n')) {
            if (line.startsWith("live-table: "))
                own += line;
        }
        return own.join('\n').toStdString();
    }

private:
    VirtualDisplay display;
    QProcess process;
    QByteArray text; // printed but not yet parsed
};

/// A bus on a free port. The first program on it hosts it.
QString freeBus()
{
    QTcpServer server;
    EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
    return QStringLiteral("tcp://127.0.0.1:%1/can0").arg(server.serverPort());
}

void send(const QString& recording, const QString& bus)
{
    QProcess process;
    process.start(MONITOR_PROGRAM, {"send", recording, "--speed", "max", "--plugin", "virtualcan",
                                    "--interface", bus});
    EXPECT_TRUE(process.waitForFinished(timeout));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

/// The independently computed statistics of a signal of the sample from source 0: name, source,
/// count, newest, average, deviation, minimum, maximum, median, rating.
QStringList expectedStatistics(const QString& signal)
{
    QFile file(sample + "engine.expected");
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(signal.toLatin1() + ";0;"))
            return QString::fromLatin1(line).split(';');
    }
    return {};
}

/// Compares numbers to the six significant digits that are shown.
void expectNear(const QString& shown, const QString& expected)
{
    EXPECT_NEAR(shown.toDouble(), expected.toDouble(), 6e-6 * std::fabs(expected.toDouble()));
}

void expectStatistics(const QStringList& row, const QString& signal, const QString& unit)
{
    const QStringList expected = expectedStatistics(signal);
    ASSERT_GE(expected.size(), 10);
    ASSERT_EQ(row.size(), 7);
    EXPECT_EQ(row.at(0), signal);
    EXPECT_EQ(row.at(1), expected.at(2));
    expectNear(row.at(2), expected.at(3));
    expectNear(row.at(3), expected.at(4));
    expectNear(row.at(4), expected.at(5));
    EXPECT_EQ(row.at(5), expected.at(9));
    EXPECT_EQ(row.at(6), unit);
}

} // namespace

TEST(LiveTable, ShowsTheStatisticsOfASentRecording)
{
    const QString bus = freeBus();
    LiveTable table(bus);
    ASSERT_EQ(table.waitForTable().size(), 4);
    send(sample + "engine.log", bus);
    const QStringList expected = expectedStatistics("EngineSpeed");
    const QList<QStringList> rows = table.waitForTable(
        [&](const QList<QStringList>& shown) { return shown.at(1).at(1) == expected.at(2); });
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows.at(0).join(' ').toStdString(),
              "name count newest average deviation rating unit");
    expectStatistics(rows.at(1), "EngineSpeed", "rpm");
    expectStatistics(rows.at(2), "EngineOilTemperature1", QString::fromUtf8("°C"));
    EXPECT_EQ(rows.at(3).join(';').toStdString(), "WheelBasedVehicleSpeed;0;;;;;");
}

// The recorded speeds are four times 80 km/h and once 84 km/h, with the average 80.8 and the
// deviation 1.6. 84 lies 1.6 below the upper end of the band, two thirds of a quarter of its width.
// The engine speed is the highest raw value that is neither an error nor "not available".
TEST(LiveTable, RecordsOnlyMeasuredValuesOfItsSignalsAndSources)
{
    const QTemporaryDir directory;
    QFile recording(directory.filePath("speed.log"));
    ASSERT_TRUE(recording.open(QIODevice::WriteOnly));
    recording.write("(1.0) can0 18FEF100#FF00FFFFFFFFFFFF\n" // not available
                    "(1.0) can0 18FEF100#FFFFFFFFFFFFFFFF\n"
                    "(1.0) can0 18FEF100#FF00FEFFFFFFFFFF\n" // error
                    "(1.0) can0 18FEF100#FFFFFEFFFFFFFFFF\n"
                    "(1.0) can0 18FEF100#FF00\n" // too short
                    "(1.0) can0 18FEF100#R\n"
                    "(1.0) can0 18FEF131#FF0010FFFFFFFFFF\n" // another source
                    "(1.0) can0 18FEF200#FF0010FFFFFFFFFF\n" // another parameter group
                    "(1.0) can0 19FEF100#FF0010FFFFFFFFFF\n" // the other data page
                    "(1.0) can0 100#FF0010FFFFFFFFFF\n"
                    "(1.0) can0 0CF00400#FFFFFFFFFDFFFFFF\n"
                    "(1.0) can0 18FEF100#FF0050FFFFFFFFFF\n"
                    "(1.0) can0 18FEF100#FF0050FFFFFFFFFF\n"
                    "(1.0) can0 0CFEF100#FF0050FFFFFFFFFF\n" // another priority
                    "(1.0) can0 18FEF100#FF0050FF\n"
                    "(1.0) can0 18FEF100#FF0054FFFFFFFFFF\n");
    recording.close();
    const QString bus = freeBus();
    LiveTable table(bus);
    ASSERT_EQ(table.waitForTable().size(), 4);
    send(recording.fileName(), bus);
    const QList<QStringList> rows = table.waitForTable(
        [](const QList<QStringList>& shown) { return shown.at(3).at(2) == "84"; });
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows.at(1).join(';').toStdString(), "EngineSpeed;1;8127.88;8127.88;0;100;rpm");
    EXPECT_EQ(rows.at(2).join(';').toStdString(), "EngineOilTemperature1;0;;;;;");
    EXPECT_EQ(rows.at(3).join(';').toStdString(), "WheelBasedVehicleSpeed;5;84;80.8;1.6;67;km/h");
}

TEST(LiveTable, ClosingTheWindowEndsTheProgram)
{
    LiveTable table(freeBus());
    ASSERT_EQ(table.waitForTable().size(), 4);
    table.closeWindow();
    EXPECT_EQ(table.exitCode(), 0);
    EXPECT_EQ(table.diagnostics(), "");
}

TEST(LiveTable, LostConnectionIsReportedWithExitCode2)
{
    const QString bus = freeBus();
    QProcess host; // the first program on the bus
    host.setReadChannel(QProcess::StandardError);
    host.start(MONITOR_PROGRAM, {"live", "--plugin", "virtualcan", "--interface", bus, "--dbc",
                                 sample + "engine.dbc"});
    QByteArray diagnostics;
    while (!diagnostics.contains("connected\n") && host.waitForReadyRead(timeout))
        diagnostics += host.readAllStandardError();
    LiveTable table(bus);
    EXPECT_EQ(table.waitForTable().size(), 4);
    host.kill();
    host.waitForFinished();
    EXPECT_EQ(table.exitCode(), 2);
    EXPECT_EQ(table.diagnostics().find("live-table: no connection to the bus"), 0u);
}

TEST(LiveTable, UnknownPluginIsReportedWithTheAvailablePlugins)
{
    LiveTable table("can0", "nonsense");
    EXPECT_EQ(table.exitCode(), 2);
    const std::string diagnostics = table.diagnostics();
    EXPECT_NE(diagnostics.find("'nonsense'"), std::string::npos) << diagnostics;
    EXPECT_NE(diagnostics.find("virtualcan"), std::string::npos) << diagnostics;
}

TEST(LiveTable, FailedConnectionIsReportedWithExitCode2)
{
    LiveTable table("nonsense0", "socketcan");
    EXPECT_EQ(table.exitCode(), 2);
    EXPECT_EQ(table.diagnostics().find("live-table: "), 0u);
}
