#include "CommandLine.h"

#include <QtCore/QLoggingCategory>
#include <QtWidgets/QApplication>

#include <cstdio>
#include <cstdlib>
#include <memory>

using monitor::ExitCode;

namespace
{

monitor::CommandLine readArguments(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv); // its kind depends on what is asked for
    QCoreApplication::setApplicationName(QStringLiteral("vantrel"));
    return monitor::readCommandLine(QCoreApplication::arguments());
}

ExitCode run(const monitor::CommandLine& commandLine, QTextStream& output, QTextStream& messages)
{
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
    messages << "vantrel: " << commandLine.error << "\nSee vantrel --help.\n";
    return ExitCode::WrongUse;
}

/// Instead of the abort that follows if there is no display. Warnings of an environment without a
/// session make no difference here.
void endWithoutDisplay(QtMsgType type, const QMessageLogContext& /*context*/,
                       const QString& /*text*/)
{
    if (type != QtFatalMsg)
        return;
    std::fputs("vantrel: no display available; set DISPLAY or QT_QPA_PLATFORM\n", stderr);
    std::_Exit(static_cast<int>(ExitCode::WrongUse));
}

bool plots(const monitor::CommandLine& commandLine)
{
    return (commandLine.replay && !commandLine.replay->plotDirectory.isEmpty()) ||
           (commandLine.live && !commandLine.live->plotDirectory.isEmpty()) ||
           (commandLine.show && !commandLine.show->plotDirectory.isEmpty());
}

/// A window and plots are painted by widgets, which need an application of their own kind. No
/// display is needed to write files, so none is looked for unless the environment names a platform.
std::unique_ptr<QCoreApplication> makeApplication(const monitor::CommandLine& commandLine,
                                                  int& argc, char* argv[])
{
    const bool hasWindow = commandLine.live && commandLine.live->window;
    if (!hasWindow && !plots(commandLine))
        return std::make_unique<QCoreApplication>(argc, argv);
    if (!hasWindow && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QtMessageHandler usual = qInstallMessageHandler(endWithoutDisplay);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usual);
    return application;
}

} // namespace

int main(int argc, char* argv[])
{
    const monitor::CommandLine commandLine = readArguments(argc, argv);
    const auto application = makeApplication(commandLine, argc, argv);
    // What plugins log would be written across the table; their errors are told without it.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.canbus*=false"));
    QTextStream output(stdout, QIODevice::WriteOnly);
    QTextStream messages(stderr, QIODevice::WriteOnly);
    output.setCodec("UTF-8");
    messages.setCodec("UTF-8");
    const ExitCode code = run(commandLine, output, messages);
    output.flush();
    if (std::fflush(stdout) == 0 && output.status() == QTextStream::Ok)
        return static_cast<int>(code);
    messages << "vantrel: the output cannot be written\n";
    return static_cast<int>(ExitCode::WrongUse);
}
