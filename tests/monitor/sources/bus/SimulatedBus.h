#pragma once

#include "../../app/ExpectedStatistics.h"
#include "../../app/MonitorRun.h"

#include <gtest/gtest.h>

#include <QtNetwork/QTcpServer>

/// A virtualcan bus on a free local port, and the program run on it.
class SimulatedBus
{
public:
    SimulatedBus()
    {
        QTcpServer server;
        EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
        device = QStringLiteral("tcp://127.0.0.1:%1/can0").arg(server.serverPort());
    }

    QStringList options() const { return {"--plugin", "virtualcan", "--interface", device}; }

    QString name() const { return "virtualcan " + device; }

    /// Sends a recording as fast as possible.
    void send(const QString& recording, const QStringList& sendOptions = {"--speed", "max"}) const
    {
        const MonitorRun run = runMonitor(QStringList{"send", recording} + options() + sendOptions);
        EXPECT_EQ(run.exitCode, 0) << run.diagnostics.toStdString();
    }

private:
    QString device;
};

/// The options for the descriptions of the sample.
inline QStringList sampleOptions()
{
    return {"--dbc", sampleFile("engine.dbc"), "--eds", sampleFile("drive.eds"), "--node", "5"};
}

inline QString replayedSample(const QStringList& options = {})
{
    return runMonitor(QStringList{"replay", sampleFile("drive.log")} + sampleOptions() + options)
        .output;
}

/// Writes a recording of the sample's engine with more values than a saved run keeps in memory.
inline QString writeLongRecording(const QTemporaryDir& directory)
{
    QFile file(directory.filePath("long.log"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("(1.0) can0 0CF00400#F1FFAAF42EFFFFFF\n").repeated(20000));
    return file.fileName();
}
