#pragma once

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

/// The result of a run of the program.
struct MonitorRun {
    int exitCode = -1;
    QString output;
    QString diagnostics;
};

inline MonitorRun runProgram(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    MonitorRun run;
    if (process.waitForFinished(240000) && process.exitStatus() == QProcess::NormalExit)
        run.exitCode = process.exitCode();
    run.output = QString::fromUtf8(process.readAllStandardOutput());
    run.diagnostics = QString::fromUtf8(process.readAllStandardError());
    return run;
}

inline MonitorRun runMonitor(const QStringList& arguments)
{
    return runProgram(MONITOR_PROGRAM, arguments);
}

/// The same where no file can grow beyond \a kilobytes.
inline MonitorRun runMonitorWithFileLimit(int kilobytes, const QStringList& arguments)
{
    const QString script = QString("ulimit -f %1 && exec \"$0\" \"$@\"").arg(2 * kilobytes);
    return runProgram("/bin/sh", QStringList{"-c", script, MONITOR_PROGRAM} + arguments);
}

/// Runs the program on files that the test writes.
class MonitorFiles : public testing::Test
{
protected:
    QString path(const QString& name) const { return directory.filePath(name); }

    QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    MonitorRun replay(const QByteArray& log, const QByteArray& dbc,
                      const QStringList& options = {}) const
    {
        return runMonitor(
            QStringList{"replay", write("bus.log", log), "--dbc", write("bus.dbc", dbc)} + options);
    }

    QTemporaryDir directory;
};
