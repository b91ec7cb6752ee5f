#include "commands.h"

#include "Preparation.h"
#include "RunOutputs.h"
#include "outputs/SavedRunFile.h"
#include "sources/bus/BusConnection.h"
#include "sources/bus/BusSender.h"
#include "sources/recording/formats.h"
#include "text/Progress.h"
#include "text/Table.h"

namespace monitor
{

namespace
{

void printRemarks(const FrameSource& source, QTextStream& diagnostics)
{
    for (const QString& note : source.notes())
        diagnostics << note << '\n';
    for (const Problems& problems : source.problems())
        print(problems, diagnostics);
}

/// Records the signals of a recording in \a session. Returns an error message, or an empty string
/// on success.
[[nodiscard]] QString readRecording(const QString& fileName, QTextStream& diagnostics,
                                    Session& session)
{
    const OpenedRecording opened = openRecording(fileName);
    if (!opened.source)
        return opened.error;
    FrameSource& source = *opened.source;
    {
        Progress progress(diagnostics, QStringLiteral("reading"));
        session.takeAll(source, [&] {
            const SourceProgress read = source.progress();
            progress.update(read.done, read.total);
        });
    }
    printRemarks(source, diagnostics);
    return source.error();
}

void printCounts(const BusSender& sender, const SourceCounts& counts, QTextStream& output)
{
    output << "sent        " << sender.sent() << '\n'
           << "not sent    " << counts.errorFrames << " error frame(s), " << sender.skipped()
           << " frame(s) of invalid length\n";
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    PreparedRun run = prepareRun(options, output, diagnostics);
    QString error = run.error;
    if (error.isEmpty())
        error = readRecording(options.recording, diagnostics, *run.session);
    if (error.isEmpty())
        return run.outputs.finish(*run.session, nothingDecoded(options.recording, options),
                                  diagnostics);
    diagnostics << printable(error) << '\n'; // may contain names of signals
    return ExitCode::Failure;
}

ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    const OpenedRecording recording = openRecording(options.recording);
    QString error = recording.error;
    BusConnection connection;
    if (error.isEmpty())
        error = connection.connect(options.bus);
    if (!error.isEmpty()) {
        diagnostics << error << '\n';
        return ExitCode::Failure;
    }
    FrameSource& source = *recording.source;
    BusSender sender(connection.device(), source, options.speed);
    const QString busError = sender.send();
    connection.disconnect();
    printRemarks(source, diagnostics);
    printCounts(sender, source.counts(), output);
    if (!busError.isEmpty())
        diagnostics << options.bus.name() << ": " << busError << '\n';
    if (!source.error().isEmpty())
        diagnostics << source.error() << '\n';
    if (!busError.isEmpty() || !source.error().isEmpty())
        return ExitCode::Failure;
    if (sender.sent() > 0)
        return ExitCode::Success;
    diagnostics << options.recording << ": contains no frames that can be sent\n";
    return ExitCode::NothingDecoded;
}

ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& diagnostics)
{
    RunOutputs outputs(options, output);
    SavedRun run;
    QString error = outputs.check();
    if (error.isEmpty())
        error = readSavedRun(options.file, run);
    if (!error.isEmpty()) {
        diagnostics << error << '\n';
        return ExitCode::Failure;
    }
    Session session({}, options.k.value_or(run.k)); // decodes nothing
    restore(run, session);
    return outputs.finish(session, options.file + QStringLiteral(": contains no decoded frames"),
                          diagnostics);
}

} // namespace monitor
