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

/// Records the signals of the recording in \a session. Returns why that failed, if it did.
[[nodiscard]] QString readRecording(const QString& fileName, QTextStream& messages,
                                    Session& session)
{
    const OpenedRecording opened = openRecording(fileName);
    if (!opened.source)
        return opened.error;
    FrameSource& source = *opened.source;
    {
        Progress progress(messages, QStringLiteral("reading"));
        session.takeAll(source, [&] {
            const SourceProgress read = source.progress();
            progress.update(read.done, read.total);
        });
    }
    print(source.problems(), messages);
    return source.error();
}

void printCounts(const BusSender& sender, const SourceCounts& counts, QTextStream& output)
{
    output << "sent        " << sender.sent() << '\n'
           << "not sent    " << counts.errorFrames << " error frame(s), " << sender.skipped()
           << " frame(s) of invalid length\n";
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages)
{
    Preparation prepared;
    RunOutputs outputs(options, output);
    QString error = prepare(options, messages, prepared);
    if (error.isEmpty())
        error = outputs.check();
    Session session(prepared.catalogue.messages(), prepared.k);
    if (error.isEmpty())
        error = readRecording(options.recording, messages, session);
    if (error.isEmpty())
        return outputs.finish(session, nothingDecoded(options.recording, options), messages);
    messages << printable(error) << '\n'; // it may contain names of signals
    return ExitCode::Failure;
}

ExitCode send(const SendOptions& options, QTextStream& output, QTextStream& messages)
{
    const OpenedRecording recording = openRecording(options.recording);
    QString error = recording.error;
    BusConnection connection;
    if (error.isEmpty())
        error = connection.connect(options.bus);
    if (!error.isEmpty()) {
        messages << error << '\n';
        return ExitCode::Failure;
    }
    FrameSource& source = *recording.source;
    BusSender sender(connection.device(), source, options.speed);
    const QString busError = sender.send();
    connection.disconnect();
    print(source.problems(), messages);
    printCounts(sender, source.counts(), output);
    if (!busError.isEmpty())
        messages << options.bus.name() << ": " << busError << '\n';
    if (!source.error().isEmpty())
        messages << source.error() << '\n';
    if (!busError.isEmpty() || !source.error().isEmpty())
        return ExitCode::Failure;
    if (sender.sent() > 0)
        return ExitCode::Success;
    messages << options.recording << ": contains no frame that can be sent\n";
    return ExitCode::NothingDecoded;
}

ExitCode show(const ShowOptions& options, QTextStream& output, QTextStream& messages)
{
    RunOutputs outputs(options, output);
    SavedRun run;
    QString error = outputs.check();
    if (error.isEmpty())
        error = readSavedRun(options.file, run);
    if (!error.isEmpty()) {
        messages << error << '\n';
        return ExitCode::Failure;
    }
    Session session({}, options.k.value_or(run.k)); // nothing is to be decoded
    restore(run, session);
    return outputs.finish(session, options.file + QStringLiteral(": contains no decoded frames"),
                          messages);
}

} // namespace monitor
