#include "../sources/bus/SimulatedBus.h"
#include "FileSizeLimit.h"
#include "LiveRun.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace
{

MonitorRun liveOn(const QString& plugin, const QString& device)
{
    return runMonitor(QStringList{"live", "--plugin", plugin, "--interface", device} +
                      sampleOptions());
}

QString write(const QTemporaryDir& directory, const QByteArray& log)
{
    QFile file(directory.filePath("bus.log"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(log);
    return file.fileName();
}

} // namespace

TEST(Bus, LiveShowsTheSameStatisticsAsReplay)
{
    const SimulatedBus bus;
    LiveRun live(bus);
    bus.send(sampleFile("drive.log"));
    const MonitorRun run = live.end();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.diagnostics, QString());
    EXPECT_EQ(run.output, replayedSample());
    EXPECT_TRUE(run.output.contains("frames      1371\n"));
}

TEST(Bus, LiveAcceptsTheOptionsOfReplay)
{
    const QStringList options{"--format", "json",    "--k",      "2",
                              "--signal", "Engine*", "--limits", "EngineSpeed=600:2200"};
    const SimulatedBus bus;
    LiveRun live(bus, options);
    bus.send(sampleFile("drive.log"));
    const MonitorRun run = live.end();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, replayedSample(options));
    EXPECT_TRUE(run.output.contains("\"EngineSpeed\""));
}

TEST(Bus, TwoListenersReceiveTheSame)
{
    const SimulatedBus bus;
    LiveRun first(bus, {"--frames", "1371"});
    LiveRun second(bus, {"--frames", "1371"});
    bus.send(sampleFile("drive.log"));
    const QString expected = replayedSample();
    EXPECT_EQ(second.waitForEnd().output, expected);
    EXPECT_EQ(first.waitForEnd().output, expected);
}

// 0.4 s of recording take 0.1 s. Frames with an earlier time or without one are sent at once.
TEST(Bus, RecordingIsSentDespiteBackwardAndMissingTimes)
{
    const QTemporaryDir directory;
    const QString recording = write(directory, " (1000.0)  can0  123   [2]  11 22\n"
                                               "can0  123   [2]  11 22\n"
                                               " (1000.4)  can0  123   [2]  11 22\n"
                                               " (0.0)  can0  123   [2]  remote request\n"
                                               " (0.0)  can0  20000088   [8]  00 00 00 00 00 00 "
                                               "00 00   ERRORFRAME\n");
    const SimulatedBus bus;
    LiveRun live(bus);
    const MonitorRun run =
        runMonitor(QStringList{"send", recording, "--speed", "4"} + bus.options());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output,
              QString("sent        4\nnot sent    1 error frame(s), 0 frame(s) of invalid "
                      "length\n"));
    EXPECT_TRUE(live.end().output.contains("frames      4\ndecoded     0\n"));
}

// The fields are bus, id, extended, transported, message, frames, remoteFrames, shortest, longest,
// changingBytes and times, which differ.
TEST(Bus, IdsOfABusAreThoseOfTheRecording)
{
    const QStringList format{"--format", "csv"};
    const auto idsIn = [](const MonitorRun& run) {
        QStringList ids;
        for (const QString& line : run.output.split("\r\n", Qt::SkipEmptyParts))
            ids += line.section(',', 0, 8);
        return ids;
    };
    const SimulatedBus bus;
    LiveRun live(bus, QStringList{"live"} + format, "ids");
    bus.send(sampleFile("drive.log"));
    const MonitorRun run = live.end();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_GT(idsIn(run).size(), 5);
    EXPECT_EQ(idsIn(run), idsIn(runMonitor(QStringList{"ids", sampleFile("drive.log")} +
                                           sampleOptions() + format)));
}

TEST(Bus, OneBusOfARecordingIsSentOnRequest)
{
    const QTemporaryDir directory;
    const QString recording =
        write(directory, "(1.0) can0 123#11\n(1.0) can1 124#22\n(1.0) can0 125#33\n");
    const SimulatedBus bus;
    LiveRun live(bus);
    const MonitorRun chosen =
        runMonitor(QStringList{"send", recording, "--bus", "can1"} + bus.options());
    EXPECT_TRUE(chosen.output.startsWith("sent        1\n"));
    EXPECT_EQ(chosen.diagnostics, QString());
    const MonitorRun all = runMonitor(QStringList{"send", recording} + bus.options());
    EXPECT_TRUE(all.output.startsWith("sent        3\n"));
    EXPECT_EQ(all.diagnostics,
              "the recording has frames of 2 buses (can0, can1), all of which were "
              "sent on " +
                  bus.name() + "; choose some with --bus\n");
    EXPECT_TRUE(live.end().output.contains("undecoded   124: 2 frame(s)\n"));
}

TEST(Bus, CanFdFramesRequireTheOptionFd)
{
    const QTemporaryDir directory;
    const QString recording =
        write(directory, "(1.0) can0 123##1" + QByteArray("5A").repeated(64) + '\n');
    const SimulatedBus bus;
    LiveRun live(bus, {"--fd"});
    bus.send(recording, {"--fd"});
    const MonitorRun run = runMonitor(QStringList{"send", recording} + bus.options());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.diagnostics, bus.name() + ": the recording contains CAN FD frames; use --fd\n");
    EXPECT_TRUE(live.end().output.contains("frames      1\n"));
}

TEST(Bus, LiveEndsAfterItsDuration)
{
    const SimulatedBus bus;
    LiveRun live(bus, {"--duration", "0.1"});
    const MonitorRun run = live.waitForEnd();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.output.contains("frames      0\n"));
    EXPECT_EQ(run.diagnostics, bus.name() + ": no frames\n");
}

TEST(Bus, LostConnectionPrintsTheStatisticsSoFarWithExitCode2)
{
    const SimulatedBus bus;
    LiveRun host(bus); // the first program on a virtualcan bus hosts it
    LiveRun live(bus);
    host.kill();
    const MonitorRun run = live.waitForEnd();
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.output.contains("frames      0\n"));
    EXPECT_TRUE(run.diagnostics.endsWith(bus.name() + ": connection lost\n"));
}

TEST(Bus, FailureToWriteIsReportedDuringTheRunWhichGoesOn)
{
    const QTemporaryDir directory;
    const SimulatedBus bus;
    auto limit = std::make_unique<FileSizeLimit>(8192); // the program inherits it
    LiveRun live(bus, {"--save", directory.filePath("run"), "--format", "csv"});
    limit.reset();
    bus.send(writeLongRecording(directory));
    EXPECT_TRUE(live.waitForDiagnostics(directory.filePath("run") + ": cannot be written: "));
    bus.send(sampleFile("drive.log"));
    const MonitorRun run = live.end();
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_FALSE(run.diagnostics.contains("cannot be written")); // only once
    EXPECT_TRUE(run.output.contains("Velocity actual value"));
}

TEST(Bus, FailedConnectionIsReportedWithExitCode2)
{
    const MonitorRun noPlugin = liveOn("nonsense", "can0");
    EXPECT_EQ(noPlugin.exitCode, 2);
    EXPECT_TRUE(noPlugin.diagnostics.startsWith(
        "nonsense can0: cannot connect: unknown plugin (available: "));
    EXPECT_TRUE(noPlugin.diagnostics.contains("virtualcan"));
    const MonitorRun noDevice = liveOn("socketcan", "nonsense0");
    EXPECT_EQ(noDevice.exitCode, 2);
    EXPECT_TRUE(noDevice.diagnostics.startsWith("socketcan nonsense0: cannot connect: "));
    EXPECT_EQ(noDevice.output, QString());
}

TEST(Bus, RecordingWithNothingToSendIsReportedWithExitCode1)
{
    const QTemporaryDir directory;
    for (const char* log : {"", "(1.0) can0 20000088#0000000000000000\n"}) {
        const SimulatedBus bus;
        const QString recording = write(directory, log);
        const MonitorRun run = runMonitor(QStringList{"send", recording} + bus.options());
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.diagnostics.endsWith(recording + ": contains no frames that can be sent\n"))
            << run.diagnostics.toStdString();
    }
}

TEST(Bus, UnreadableRecordingIsReportedWithExitCode2)
{
    const SimulatedBus bus;
    const MonitorRun run = runMonitor(QStringList{"send", "/nonsense.log"} + bus.options());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.diagnostics.startsWith("/nonsense.log: cannot be read: "));
}
