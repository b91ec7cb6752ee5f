#include "CommandLine.h"

#include <QtCore/QLoggingCategory>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <cstdio>
#include <memory>

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
    if (commandLine.show)
        return monitor::show(*commandLine.show, output, messages);
    if (commandLine.error.isEmpty()) {
        output << commandLine.help;
        return ExitCode::Success;
    }
    messages << "monitor: " << commandLine.error << "\nmonitor --help tells more.\n";
    return ExitCode::WrongUse;
}

/// Plots are painted by widgets, which need an application of their own kind. No display is needed
/// to write files, so none is looked for unless the environment names a platform.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char* argv[])
{
    const bool plots = std::any_of(argv, argv + argc, [](const char* argument) {
        return QByteArray(argument).startsWith("--plot");
    });
    if (!plots)
        return std::make_unique<QCoreApplication>(argc, argv);
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        return std::make_unique<QApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // It warns of an environment without a session, which makes no difference here.
    const QtMessageHandler usual = qInstallMessageHandler([](auto, const auto&, const auto&) {});
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usual);
    return application;
}

} // namespace

int main(int argc, char* argv[])
{
    const auto application = makeApplication(argc, argv);
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
