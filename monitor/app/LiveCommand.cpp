#include "EndRequest.h"
#include "Preparation.h"
#include "commands.h"
#include "displays/window/BusDialog.h"
#include "sources/bus/BusConnection.h"
#include "sources/bus/BusSource.h"
#include "text/Progress.h"
#include "text/Table.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <memory>
#include <utility>
#include <vector>

namespace monitor
{

namespace
{

constexpr int refreshPeriod = 100; // in ms

/// The display that \a options select; null if none is wanted.
const DisplayKind* displayFor(const LiveOptions& options)
{
    const DisplayKind* kind = options.display;
    const DisplayKind& defaultKind = displayKinds().constFirst();
    if (kind == nullptr && options.subject != MonitorOptions::Subject::Ids &&
        options.printed == &defaultOutputKind() && defaultKind.check().isEmpty())
        kind = &defaultKind;
    return kind;
}

using Publishers = std::vector<std::unique_ptr<Publisher>>;

/// Starts the publishers that \a options select, and prints where they publish. Returns an error
/// message, which is empty if all could be started.
[[nodiscard]] QString startPublishers(const LiveOptions& options, QTextStream& diagnostics,
                                      Publishers& publishers)
{
    for (const GivenPublisher& given : options.publishers) {
        QString note;
        PublisherSettings settings = options.publishing;
        settings.value = given.value;
        settings.bus = options.bus.device;
        auto publisher = given.kind->start(settings, note);
        if (!publisher)
            return note;
        diagnostics << note << Qt::endl;
        publishers.push_back(std::move(publisher));
    }
    return QString();
}

void printMessages(const Publishers& publishers, QTextStream& diagnostics)
{
    for (const auto& publisher : publishers) {
        for (const QString& message : publisher->takeMessages())
            diagnostics << printable(message) << Qt::endl;
    }
}

/// A run on a bus.
class LiveRun
{
public:
    LiveRun(const LiveOptions& liveOptions, BusSource& busSource, PreparedRun& run,
            const Publishers& startedPublishers, QTextStream& messages)
        : publishers(startedPublishers),
          options(liveOptions),
          source(busSource),
          outputs(run.outputs),
          session(*run.session),
          diagnostics(messages),
          display(displayFor(liveOptions)),
          isScreenUsed(display != nullptr && !display->needsWidgets && isStandardErrorTerminal())
    {
    }

    /// Processes and shows frames until the run ends.
    void watch()
    {
        QEventLoop loop;
        const EndRequest endRequest([&loop] { loop.quit(); });
        // After endRequest, so that no signal can end the program before a display is closed.
        const std::unique_ptr<SnapshotSink> shown =
            display == nullptr ? nullptr
                               : display->make(session, {options.bus.name(), options.leastRating});
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            session.takeAll(source);
            if (!isScreenUsed) { // otherwise the display shows the remarks
                outputs.printUrgent(session, diagnostics);
                printMessages(publishers, diagnostics);
            }
            if (isOver() || !publish(shown.get()))
                loop.quit();
        });
        timer.start(refreshPeriod);
        loop.exec();
    }

private:
    bool isOver() const
    {
        return source.isLost() || static_cast<double>(source.now()) >= options.duration * 1e6 ||
               static_cast<double>(session.counts().total) >= options.frames;
    }

    /// Passes the current state of the run to the publishers and to the display \a shown, if there
    /// is one. Returns false if one of them ends the run.
    bool publish(SnapshotSink* shown)
    {
        if (publishers.empty() && shown == nullptr)
            return true;
        const Snapshot snapshot = session.getSnapshot(source.takenAt());
        const BusState bus{options.bus.name(), source.takenAt(), source.loadPercent(),
                           options.bitRate};
        bool isWanted = shown == nullptr || shown->take(snapshot, bus);
        for (const auto& publisher : publishers)
            isWanted = publisher->take(snapshot, bus) && isWanted;
        return isWanted;
    }

    const Publishers& publishers;
    const LiveOptions& options;
    BusSource& source;
    RunOutputs& outputs;
    Session& session;
    QTextStream& diagnostics;
    const DisplayKind* display;
    bool isScreenUsed; // so that nothing else may be printed on the terminal
};

/// Publishes the final statistics of \a session.
void finish(const Publishers& publishers, Session& session, QTextStream& diagnostics)
{
    if (publishers.empty())
        return;
    const Snapshot snapshot = session.calcSnapshot();
    for (const auto& publisher : publishers)
        publisher->finish(snapshot);
    printMessages(publishers, diagnostics);
}

ExitCode watch(const LiveOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    PreparedRun run = prepareRun(options, output, diagnostics);
    QString error = run.error;
    if (error.isEmpty() && options.display != nullptr)
        error = options.display->check();
    Publishers publishers;
    if (error.isEmpty())
        error = startPublishers(options, diagnostics, publishers);
    BusSource source(options.bus, options.bitRate);
    if (error.isEmpty())
        error = source.start();
    if (!error.isEmpty()) {
        diagnostics << printable(error) << '\n'; // may contain names of signals
        return ExitCode::Failure;
    }
    diagnostics << options.bus.name() << ": connected" << Qt::endl;
    LiveRun(options, source, run, publishers, diagnostics).watch();
    const bool isLost = source.isLost();
    source.stop();
    run.session->takeAll(source);
    finish(publishers, *run.session, diagnostics);
    printMissingBuses(options, source, diagnostics);
    const ExitCode code =
        run.outputs.finish({run.session.get()}, options, options.bus.name(), diagnostics);
    if (!source.error().isEmpty())
        diagnostics << source.error() << '\n';
    return isLost ? ExitCode::Failure : code;
}

/// Lets the user choose a bus, and watches it. If that fails, the user sees the error and can
/// choose again.
ExitCode watchChosenBus(const LiveOptions& given, QTextStream& output, QTextStream& diagnostics)
{
    BusDialog dialog(busPlugins(), busInterfaces, {given.bus.plugin, given.bus.device, QString()},
                     given.descriptions.isEmpty());
    QString error;
    while (dialog.ask(error)) {
        const BusChoice choice = dialog.choice();
        LiveOptions options = given;
        options.bus.plugin = choice.plugin;
        options.bus.device = choice.device;
        if (!choice.description.isEmpty()) {
            const DescriptionReader& reader = readerOf(choice.description);
            options.descriptions.append({&reader, {choice.description, std::nullopt}});
            if (reader.needsNode)
                options.descriptions.last().file.node = choice.node;
        }
        error.clear();
        QTextStream messages(&error);
        const ExitCode code = watch(options, output, messages);
        messages.flush();
        diagnostics << error;
        if (code != ExitCode::Failure)
            return code;
    }
    return error.isEmpty() ? ExitCode::NothingDecoded : ExitCode::Failure;
}

} // namespace

ExitCode live(const LiveOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    return options.choosesBus ? watchChosenBus(options, output, diagnostics)
                              : watch(options, output, diagnostics);
}

} // namespace monitor
