#include "ReplayCommand.h"

#include "FinalReport.h"
#include "Preparation.h"
#include "sources/recording/RecordingFile.h"
#include "text/Progress.h"
#include "text/Table.h"
#include "engine/SignalMonitor.h"

namespace monitor
{

namespace
{

constexpr qint64 framesPerUpdate = 4096; // so that asking costs nothing

/// Feeds the frames of the recording to \a signalMonitor. Returns what made that impossible, if
/// anything.
QString readRecording(const QString& fileName, QTextStream& messages, SignalMonitor& signalMonitor)
{
    RecordingFile recording(fileName, messages);
    Progress progress(messages, QStringLiteral("reading"));
    qint64 frames = 0;
    for (Frame frame; recording.readFrame(frame);) {
        signalMonitor.take(frame);
        if (++frames % framesPerUpdate == 0)
            progress.update(recording.position(), recording.size());
    }
    signalMonitor.countErrorFrames(recording.errorFrames());
    signalMonitor.countDropped(recording.dropped());
    signalMonitor.countNoFrame(recording.noFrame());
    return recording.error();
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages)
{
    Preparation prepared;
    QString error = prepare(options, messages, prepared);
    SignalMonitor signalMonitor(prepared.descriptions);
    if (error.isEmpty())
        error = readRecording(options.recording, messages, signalMonitor);
    if (error.isEmpty())
        return printReport(options, prepared.k, options.recording, signalMonitor, output, messages);
    messages << printable(error) << '\n'; // names of signals among it
    return ExitCode::WrongUse;
}

} // namespace monitor
