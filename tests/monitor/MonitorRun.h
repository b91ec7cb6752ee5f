#pragma once

#include <QtCore/QProcess>
#include <QtCore/QStringList>

/// A finished run of the monitor.
struct MonitorRun {
    int exitCode = -1;
    QString output;
    QString messages;
};

inline MonitorRun runMonitor(const QStringList& arguments)
{
    QProcess process;
    process.start(MONITOR_PROGRAM, arguments);
    MonitorRun run;
    if (process.waitForFinished(240000) && process.exitStatus() == QProcess::NormalExit)
        run.exitCode = process.exitCode();
    run.output = QString::fromUtf8(process.readAllStandardOutput());
    run.messages = QString::fromUtf8(process.readAllStandardError());
    return run;
}
