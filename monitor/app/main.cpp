#include "arguments/CommandLine.h"
#include "commands.h"
#include "text/Table.h"

#include <QtCore/QIODevice>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTextStream>
#include <QtGui/QIcon>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <variant>

using monitor::ExitCode;

namespace
{

/// Reads the command line before the final application object exists, since the type of that object
/// depends on the command.
monitor::Command readArguments(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    return monitor::readCommandLine(QCoreApplication::arguments());
}

/// Runs the command.
struct Run {
    QTextStream& output;
    QTextStream& diagnostics;

    ExitCode operator()(const monitor::ReplayOptions& options) const
    {
        return monitor::replay(options, output, diagnostics);
    }

    ExitCode operator()(const monitor::LiveOptions& options) const
    {
        return monitor::live(options, output, diagnostics);
    }

    ExitCode operator()(const monitor::SendOptions& options) const
    {
        return monitor::send(options, output, diagnostics);
    }

    ExitCode operator()(const monitor::ShowOptions& options) const
    {
        return monitor::show(options, output, diagnostics);
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
        diagnostics << "vantrel: " << monitor::printable(error.text) << "\nSee vantrel "
                    << (error.command.isEmpty() ? QString() : error.command + ' ') << "--help.\n";
        return ExitCode::Failure;
    }
};

/// Ends the program with a message where Qt would abort because there is no display.
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

/// Windows and plots need a QApplication. Plots need no display, so they are painted offscreen
/// unless the environment selects a platform.
std::unique_ptr<QCoreApplication> makeApplication(const monitor::Command& command, char* argv[])
{
    // Only the name of the program is passed, because Qt would take some of the options for its
    // own: on X11, its --display selects the X server.
    static int argc = 1;
    const auto* live = std::get_if<monitor::LiveOptions>(&command);
    const bool hasWindow = live && live->display && live->display->needsWidgets;
    if (!hasWindow && !drawsFiles(command))
        return std::make_unique<QCoreApplication>(argc, argv);
    if (!hasWindow && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QtMessageHandler usual = qInstallMessageHandler(endWithoutDisplay);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usual);
    // The desktop entry and the icon have the name of the executable.
    const QString name = QCoreApplication::applicationName();
    QApplication::setDesktopFileName(name);
    QApplication::setWindowIcon(QIcon::fromTheme(name));
    return application;
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): std::visit() throws only if there is no command.
int main(int argc, char* argv[])
{
    // Writing beyond a limit of file sizes then fails with an error that can be reported.
    std::signal(SIGXFSZ, SIG_IGN);
    const monitor::Command command = readArguments(argc, argv);
    const auto application = makeApplication(command, argv);
    // Log messages of plugins would corrupt the table. Their errors are reported in any case.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.canbus*=false"));
    QTextStream output(stdout, QIODevice::WriteOnly);
    QTextStream diagnostics(stderr, QIODevice::WriteOnly);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0) // later versions write UTF-8 in any case
    output.setCodec("UTF-8");
    diagnostics.setCodec("UTF-8");
#endif
    ExitCode code = ExitCode::Failure;
    try {
        code = std::visit(Run{output, diagnostics}, command);
    } catch (const std::bad_alloc&) {
        diagnostics << "vantrel: out of memory; the run has no results\n";
        return static_cast<int>(code);
    }
    output.flush();
    if (std::fflush(stdout) == 0 && output.status() == QTextStream::Ok)
        return static_cast<int>(code);
    diagnostics << "vantrel: cannot write to standard output\n";
    return static_cast<int>(ExitCode::Failure);
}
