#pragma once

#include "../sources/bus/SimulatedBus.h"

/// `vantrel live` or `vantrel window` in the background.
class LiveRun
{
public:
    explicit LiveRun(const SimulatedBus& bus, const QStringList& options = {},
                     const QString& command = "live")
    {
        process.setReadChannel(QProcess::StandardError);
        process.start(MONITOR_PROGRAM,
                      QStringList(command) + bus.options() + sampleOptions() + options);
        waitForDiagnostics("connected\n");
        EXPECT_TRUE(diagnostics.endsWith(bus.name() + ": connected\n"))
            << diagnostics.toStdString();
    }

    ~LiveRun() { kill(); }

    LiveRun(const LiveRun&) = delete;
    LiveRun& operator=(const LiveRun&) = delete;

    void kill()
    {
        process.kill();
        process.waitForFinished();
    }

    /// Waits until the program has printed \a text as a diagnostic message.
    bool waitForDiagnostics(const QString& text)
    {
        while (!diagnostics.contains(text) && process.waitForReadyRead(10000))
            diagnostics += process.readAllStandardError();
        return diagnostics.contains(text);
    }

    /// The diagnostic messages until the connection.
    const QString& messages() const { return diagnostics; }

    /// Whether the program has ended. Processes its events.
    bool hasEnded()
    {
        return process.state() == QProcess::NotRunning || process.waitForFinished(1);
    }

    MonitorRun end()
    {
        process.terminate();
        return waitForEnd();
    }

    MonitorRun waitForEnd()
    {
        MonitorRun run;
        if ((hasEnded() || process.waitForFinished(60000)) &&
            process.exitStatus() == QProcess::NormalExit)
            run.exitCode = process.exitCode();
        run.output = QString::fromUtf8(process.readAllStandardOutput());
        run.diagnostics = QString::fromUtf8(process.readAllStandardError());
        return run;
    }

private:
    QProcess process;
    QString diagnostics;
};
