#include "commands.h"

#include "EndRequest.h"
#include "Preparation.h"
#include "RunOutputs.h"
#include "engine/saving/SavedRunReader.h"
#include "engine/summary/SummaryReader.h"
#include "sources/bus/BusConnection.h"
#include "sources/bus/BusSender.h"
#include "sources/recording/Recordings.h"
#include "text/Progress.h"
#include "text/Table.h"

#include <QtCore/QFile>
#include <QtCore/QThread>

#include <algorithm>

namespace monitor
{

namespace
{

/// As many as there are processors, but no more than can be kept busy.
int defaultThreads()
{
    constexpr int maxThreads = 4;
    return std::clamp(QThread::idealThreadCount(), 1, maxThreads);
}

void printRemarks(const FrameSource& source, QTextStream& diagnostics)
{
    for (const QString& note : source.notes())
        diagnostics << note << '\n';
    for (const Problems& problems : source.problems())
        print(problems, diagnostics);
}

/// Records the signals of the recordings in \a session. Returns an error message, which is empty if
/// all of them were read to their ends.
[[nodiscard]] QString readRecordings(const ReplayOptions& options, QTextStream& diagnostics,
                                     PreparedRun& run)
{
    Session& session = *run.session;
    const EndRequest endRequest;
    Recordings recordings(
        options.recordings, [&endRequest] { return endRequest.isRequested(); },
        endRequest.descriptor());
    FrameFilter source(recordings, options.choice);
    {
        Progress progress(diagnostics, QStringLiteral("reading"));
        session.takeAll(source, options.threads > 0 ? options.threads : defaultThreads(),
                        [&](const SourceProgress& read) {
                            progress.update(read.done, read.total);
                            run.outputs.printUrgent(session, diagnostics);
                        });
    }
    run.outputs.printUrgent(session, diagnostics);
    printRemarks(source, diagnostics);
    printMissingBuses(options, source, diagnostics);
    QString error = source.error();
    if (!endRequest.isRequested())
        return error;
    session.setIncomplete();
    return error + (error.isEmpty() ? "" : "\n") +
           QStringLiteral("interrupted: the statistics are incomplete");
}

void printCounts(const BusSender& sender, const SourceCounts& counts, QTextStream& output)
{
    output << "sent        " << sender.sent() << '\n'
           << "not sent    " << counts.errorFrames << " error frame(s), " << sender.skipped()
           << " frame(s) of invalid length\n";
}

/// An error message if \a options ask for a summary; otherwise an empty string. A saved run may
/// lack the names of buses and some of the values, so its summary could not be merged with others.
QString refusedSummary(const ShowOptions& options)
{
    return options.writes("summary")
               ? options.inputs.constFirst() +
                     QStringLiteral(": a summary cannot be made from a saved run; use "
                                    "--summary when you replay the recording")
               : QString();
}

ExitCode showSavedRun(const ShowOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    const QString& fileName = options.inputs.constFirst();
    RunOutputs outputs(options, output);
    QFile file(fileName);
    SavedRunReader reader(file);
    QString error = refusedSummary(options);
    if (error.isEmpty())
        error = outputs.check();
    if (error.isEmpty()) {
        error = reader.open();
        if (!error.isEmpty())
            error.prepend(fileName + QStringLiteral(": "));
    }
    if (!error.isEmpty()) {
        diagnostics << error << '\n';
        return ExitCode::Failure;
    }
    Session session({}, options.k.value_or(reader.k())); // decodes nothing
    session.origin().programs.insert(QStringLiteral(VANTREL_VERSION));
    outputs.connectTo(session);
    error = reader.restore(session, options.choice.from, options.choice.to);
    if (!error.isEmpty()) {
        diagnostics << fileName << ": " << error << '\n';
        return ExitCode::Failure;
    }
    if (!reader.isWhole())
        diagnostics << fileName
                    << ": the counts of frames, n/a and errors are those of the whole run\n";
    if (!reader.isWhole() && !reader.hasValues()) {
        diagnostics << fileName << ": contains no values in the time chosen by --from and --to\n";
        return ExitCode::NothingDecoded;
    }
    return outputs.finish({&session}, options, fileName, diagnostics);
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    PreparedRun run = prepareRun(options, output, diagnostics);
    if (!run.error.isEmpty()) {
        diagnostics << printable(run.error) << '\n'; // may contain names of signals
        return ExitCode::Failure;
    }
    const QString error = readRecordings(options, diagnostics, run);
    ExitCode code = ExitCode::Failure;
    if (error.isEmpty() || run.session->counts().total > 0)
        code = run.outputs.finish({run.session.get()}, options, options.recordings.join(' '),
                                  diagnostics);
    if (error.isEmpty())
        return code;
    diagnostics << error << '\n';
    return ExitCode::Failure;
}

ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    BusSender* running = nullptr;
    const EndRequest endRequest([&running] {
        if (running != nullptr)
            running->interrupt();
    });
    Recordings recordings(
        options.recordings, [&endRequest] { return endRequest.isRequested(); },
        endRequest.descriptor());
    QString error = recordings.error();
    BusConnection connection;
    if (error.isEmpty())
        error = connection.connect(options.bus);
    if (!error.isEmpty()) {
        diagnostics << error << '\n';
        return ExitCode::Failure;
    }
    FrameFilter source(recordings, options.choice);
    BusSender sender(connection.device(), source, options.speed);
    running = &sender;
    const QString busError =
        endRequest.isRequested() ? QStringLiteral("interrupted") : sender.send();
    running = nullptr;
    connection.disconnect();
    printRemarks(source, diagnostics);
    const QStringList buses = source.buses();
    if (options.choice.buses.isEmpty() && buses.size() > 1)
        diagnostics << QStringLiteral(
                           "the recording has frames of %1 buses (%2), all of which were "
                           "sent on %3; choose some with --bus\n")
                           .arg(buses.size())
                           .arg(buses.join(QStringLiteral(", ")), options.bus.name());
    printCounts(sender, source.counts(), output);
    if (!busError.isEmpty())
        diagnostics << options.bus.name() << ": " << busError << '\n';
    if (!source.error().isEmpty())
        diagnostics << source.error() << '\n';
    if (!busError.isEmpty() || !source.error().isEmpty())
        return ExitCode::Failure;
    if (sender.sent() > 0)
        return ExitCode::Success;
    diagnostics << options.recordings.join(' ') << ": contains no frames that can be sent\n";
    return ExitCode::NothingDecoded;
}

ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    return options.action != ShowOptions::Action::Show || isDatabase(options.inputs.constFirst())
               ? showSummaries(options, output, diagnostics)
               : showSavedRun(options, output, diagnostics);
}

} // namespace monitor
