#include "ReplayCommand.h"

#include "FinalReport.h"
#include "Preparation.h"
#include "engine/SignalMonitor.h"
#include "printProblems.h"
#include "sources/recording/formats.h"
#include "text/Progress.h"
#include "text/Table.h"

namespace monitor
{

namespace
{

constexpr qint64 framesPerUpdate = 4096; // so that asking costs nothing

/// Feeds the frames of the recording to \a signalMonitor. Returns why that failed, if it did.
[[nodiscard]] QString readRecording(const QString& fileName, QTextStream& messages,
                                    SignalMonitor& signalMonitor)
{
    const OpenedRecording opened = openRecording(fileName);
    if (!opened.source)
        return opened.error;
    FrameSource& source = *opened.source;
    {
        Progress progress(messages, QStringLiteral("reading"));
        qint64 frames = 0;
        for (Frame frame; source.next(frame);) {
            signalMonitor.take(frame);
            if (++frames % framesPerUpdate == 0)
                progress.update(source.progress().done, source.progress().total);
        }
    }
    print(source.problems(), messages);
    signalMonitor.count(source.counts());
    return source.error();
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages)
{
    Preparation prepared;
    QString error = prepare(options, messages, prepared);
    SignalMonitor signalMonitor(prepared.catalogue.messages());
    if (error.isEmpty())
        error = readRecording(options.recording, messages, signalMonitor);
    if (error.isEmpty())
        return printReport(options, prepared.k, options.recording, signalMonitor, output, messages);
    messages << printable(error) << '\n'; // names of signals among it
    return ExitCode::WrongUse;
}

} // namespace monitor
