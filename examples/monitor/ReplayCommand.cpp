#include "ReplayCommand.h"

#include "FinalReport.h"
#include "Preparation.h"
#include "reading/LineReader.h"
#include "reading/LineWarnings.h"
#include "reading/RecordingReader.h"
#include "showing/Progress.h"

namespace monitor
{

namespace
{

constexpr qint64 linesPerUpdate = 4096; // so that asking costs nothing

void takeLine(LineKind kind, const Frame& frame, SignalMonitor& signalMonitor)
{
    if (kind == LineKind::Frame)
        signalMonitor.take(frame);
    else if (kind == LineKind::ErrorFrame)
        signalMonitor.countErrorFrames(1);
}

/// Feeds the frames of the recording to \a signalMonitor. Returns what made that impossible, if
/// anything.
QString readRecording(const QString& fileName, QTextStream& messages, SignalMonitor& signalMonitor)
{
    LineReader lines(fileName);
    LineWarnings warnings(messages, fileName);
    Progress progress(messages, QStringLiteral("reading"));
    RecordingReader recording;
    Frame frame;
    for (QByteArray line; lines.readLine(line);) {
        const LineKind kind = recording.readLine(line, frame);
        takeLine(kind, frame, signalMonitor);
        if (kind == LineKind::NoFrame)
            warnings.add(lines.lineNumber(), QStringLiteral("not a frame"));
        if (lines.lineNumber() % linesPerUpdate == 0)
            progress.update(lines.position(), lines.size());
    }
    signalMonitor.countDropped(recording.dropped());
    signalMonitor.countNoFrame(warnings.count());
    warnings.printTotal(QStringLiteral("line(s) in all that are no frame"));
    return lines.error();
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
    messages << error << '\n';
    return ExitCode::WrongUse;
}

} // namespace monitor
