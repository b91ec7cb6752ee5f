#include "LiveCommand.h"

#include "EndRequest.h"
#include "FinalReport.h"
#include "Preparation.h"
#include "displays/LiveSource.h"
#include "displays/terminal/LiveDisplay.h"
#include "displays/window/MonitorWindow.h"
#include "text/Table.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <memory>

namespace monitor
{

namespace
{

constexpr int refreshPeriod = 100; // in ms

bool isOver(const LiveOptions& options, LiveSource& source)
{
    return source.isLost() || source.seconds() >= options.duration ||
           static_cast<double>(source.signalMonitor().counts().total) >= options.frames;
}

/// A display of \a source as \a options ask for it; none if it is not to be shown until the end.
std::unique_ptr<Display> makeDisplay(const LiveOptions& options, double k, LiveSource& source)
{
    if (options.window)
        return std::make_unique<MonitorWindow>(options, k, source);
    if (options.format == OutputFormat::Table && Terminal::isThere())
        return std::make_unique<LiveDisplay>(options, k, source);
    return nullptr;
}

/// Takes in what comes, and shows it if there is a display for that, until somebody or something
/// ends it.
void watch(const LiveOptions& options, double k, LiveSource& source)
{
    QEventLoop loop;
    const EndRequest endRequest([&loop] { loop.quit(); });
    // After the other: it is to be ended in any case.
    const std::unique_ptr<Display> display = makeDisplay(options, k, source);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        source.takeFrames();
        if (isOver(options, source) || (display && !display->refresh()))
            loop.quit();
    });
    timer.start(refreshPeriod);
    loop.exec();
}

} // namespace

ExitCode live(const LiveOptions& options, QTextStream& output, QTextStream& messages)
{
    Preparation prepared;
    QString error = prepare(options, messages, prepared);
    LiveSource source(options.bus, options.bitRate, prepared.catalogue.messages());
    if (error.isEmpty())
        error = source.start();
    if (!error.isEmpty()) {
        messages << printable(error) << '\n'; // names of signals among it
        return ExitCode::WrongUse;
    }
    messages << options.bus.name() << ": connected" << Qt::endl;
    watch(options, prepared.k, source);
    const bool lost = source.isLost();
    const QString complaint = source.stop();
    const ExitCode code = printReport(options, prepared.k, options.bus.name(),
                                      source.signalMonitor(), output, messages);
    if (!complaint.isEmpty())
        messages << complaint << '\n';
    return lost ? ExitCode::WrongUse : code;
}

} // namespace monitor
