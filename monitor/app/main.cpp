#include "CommandLine.h"
#include "commands.h"
#include "text/Table.h"

#include <QtCore/QLoggingCategory>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <variant>

using monitor::ExitCode;

namespace
{

/// The type of the application object depends on the command, so the arguments come first.
monitor::Command readArguments(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    return monitor::readCommandLine(QCoreApplication::arguments());
}

/// Does what the command line asks for.
struct Run {
    QTextStream& output;
    QTextStream& messages;

    ExitCode operator()(const monitor::ReplayOptions& options) const
    {
        return monitor::replay(options, output, messages);
    }

    ExitCode operator()(const monitor::LiveOptions& options) const
    {
        return monitor::live(options, output, messages);
    }

    ExitCode operator()(const monitor::SendOptions& options) const
    {
        return monitor::send(options, output, messages);
    }

    ExitCode operator()(const monitor::ShowOptions& options) const
    {
        return monitor::show(options, output, messages);
    }

    ExitCode operator()(const monitor::HelpRequest& help) const
    {
        output << help.text;
        return ExitCode::Success;
    }

    ExitCode operator()(const monitor::VersionRequest& /*request*/) const
    {
        output << "vantrel " VANTREL_VERSION "\n";
        return ExitCode::Success;
    }

    ExitCode operator()(const monitor::UsageError& error) const
    {
        messages << "vantrel: " << monitor::printable(error.text) << "\nSee vantrel "
                 << (error.command.isEmpty() ? QString() : error.command + ' ') << "--help.\n";
        return ExitCode::Failure;
    }
};

/// Replaces the abort of Qt that follows if there is no display.
void endWithoutDisplay(QtMsgType type, const QMessageLogContext& /*context*/,
                       const QString& /*text*/)
{
    if (type != QtFatalMsg)
        return;
    std::fputs("vantrel: no display available; set DISPLAY or QT_QPA_PLATFORM\n", stderr);
    std::_Exit(static_cast<int>(ExitCode::Failure));
}

bool drawsFiles(const monitor::Command& command)
{
    const auto draws = [](const auto& options) {
        if constexpr (std::is_base_of_v<monitor::MonitorOptions, std::decay_t<decltype(options)>>)
            return std::any_of(
                options.files.begin(), options.files.end(),
                [](const monitor::GivenOutput& given) { return given.kind->needsWidgets; });
        else
            return false;
    };
    return std::visit(draws, command);
}

/// A window and plots are painted by widgets, which need a QApplication. Writing files needs no
/// display, so plots are painted offscreen unless the environment names a platform.
std::unique_ptr<QCoreApplication> makeApplication(const monitor::Command& command, int& argc,
                                                  char* argv[])
{
    const auto* live = std::get_if<monitor::LiveOptions>(&command);
    const bool hasWindow = live && live->display && live->display->needsWidgets;
    if (!hasWindow && !drawsFiles(command))
        return std::make_unique<QCoreApplication>(argc, argv);
    if (!hasWindow && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QtMessageHandler usual = qInstallMessageHandler(endWithoutDisplay);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usual);
    return application;
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): std::visit() throws only if there is no command.
int main(int argc, char* argv[])
{
    const monitor::Command command = readArguments(argc, argv);
    const auto application = makeApplication(command, argc, argv);
    // Log lines of plugins would spoil the table; their errors are reported anyway.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.canbus*=false"));
    QTextStream output(stdout, QIODevice::WriteOnly);
    QTextStream messages(stderr, QIODevice::WriteOnly);
    output.setCodec("UTF-8");
    messages.setCodec("UTF-8");
    const ExitCode code = std::visit(Run{output, messages}, command);
    output.flush();
    if (std::fflush(stdout) == 0 && output.status() == QTextStream::Ok)
        return static_cast<int>(code);
    messages << "vantrel: cannot write the output\n";
    return static_cast<int>(ExitCode::Failure);
}
