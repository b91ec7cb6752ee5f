#include "ReplayCommand.h"

#include "Preparation.h"
#include "RunOutputs.h"
#include "printProblems.h"
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
    return ExitCode::WrongUse;
}

} // namespace monitor
