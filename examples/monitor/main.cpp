#include "CommandLine.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>

#include <cstdio>

using monitor::ExitCode;

namespace
{

ExitCode run(QTextStream& output, QTextStream& messages)
{
    const monitor::CommandLine commandLine =
        monitor::readCommandLine(QCoreApplication::arguments());
    if (commandLine.replay)
        return monitor::replay(*commandLine.replay, output, messages);
    if (commandLine.live)
        return monitor::live(*commandLine.live, output, messages);
    if (commandLine.send)
        return monitor::send(*commandLine.send, output, messages);
    if (commandLine.error.isEmpty()) {
        output << commandLine.help;
        return ExitCode::Success;
    }
    messages << "monitor: " << commandLine.error << "\nmonitor --help tells more.\n";
    return ExitCode::WrongUse;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("monitor"));
    // What plugins log would be written across the table; their errors are told without it.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.canbus*=false"));
    QTextStream output(stdout, QIODevice::WriteOnly);
    QTextStream messages(stderr, QIODevice::WriteOnly);
    output.setCodec("UTF-8");
    messages.setCodec("UTF-8");
    const ExitCode code = run(output, messages);
    output.flush();
    if (std::fflush(stdout) == 0 && output.status() == QTextStream::Ok)
        return static_cast<int>(code);
    messages << "monitor: the output cannot be written\n";
    return static_cast<int>(ExitCode::WrongUse);
}
