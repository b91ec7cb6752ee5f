#include "ReplayCommand.h"

#include "decoding/Decoder.h"
#include "descriptions/DbcReader.h"
#include "descriptions/EdsReader.h"
#include "descriptions/SignalNames.h"
#include "reading/LineReader.h"
#include "reading/RecordingReader.h"
#include "showing/ReportCsv.h"
#include "showing/ReportJson.h"
#include "showing/ReportTable.h"
#include "signals/SignalTable.h"

namespace monitor
{

namespace
{

void takeFrame(const Frame& frame, Decoder& decoder, SignalTable& table, FrameCounts& counts)
{
    ++counts.total;
    const QVector<DecodedSignal>& found = decoder.decode(frame);
    counts.decoded += found.isEmpty() ? 0 : 1;
    for (const DecodedSignal& decoded : found)
        table.feed(decoded);
}

/// Feeds the frames of the recording to \a table. Returns what made that impossible, if anything.
QString readRecording(const QString& fileName, QTextStream& messages, Decoder& decoder,
                      SignalTable& table, FrameCounts& counts)
{
    LineReader lines(fileName);
    LineWarnings warnings(messages, fileName);
    RecordingReader recording;
    Frame frame;
    for (QByteArray line; lines.readLine(line);) {
        const LineKind kind = recording.readLine(line, frame);
        if (kind == LineKind::Frame)
            takeFrame(frame, decoder, table, counts);
        else if (kind == LineKind::ErrorFrame)
            ++counts.errors;
        else if (kind == LineKind::NoFrame)
            warnings.add(lines.lineNumber(), QStringLiteral("not a frame"));
    }
    counts.dropped = recording.dropped();
    counts.noFrame = warnings.count();
    warnings.printTotal(QStringLiteral("line(s) in all that are no frame"));
    return lines.error();
}

QString formatOutput(const ReplayOptions& options, const FrameCounts& counts,
                     const QVector<SignalReport>& reports)
{
    switch (options.format) {
    case OutputFormat::Json:
        return formatJson(reports, counts);
    case OutputFormat::Csv:
        return formatCsv(reports);
    case OutputFormat::Table:
        break;
    }
    const QString summary = formatLimits(reports) + formatSummary(counts, options.k);
    return reports.isEmpty() ? summary : formatReports(reports) + '\n' + summary;
}

QStringList fileNamesOf(const ReplayOptions& options)
{
    QStringList names;
    if (!options.dbc.isEmpty())
        names += options.dbc;
    for (const NodeDescription& node : options.nodes)
        names += node.fileName;
    return names;
}

ExitCode show(const ReplayOptions& options, const FrameCounts& counts, SignalTable& table,
              QTextStream& output, QTextStream& messages)
{
    output << formatOutput(options, counts, table.report(options.k));
    if (counts.decoded > 0)
        return ExitCode::Success;
    messages << options.recording << ": no frame could be decoded with "
             << fileNamesOf(options).join(QStringLiteral(", ")) << '\n';
    return ExitCode::NothingDecoded;
}

/// The messages and signals to look for, or what made that impossible.
QString readDescriptions(const ReplayOptions& options, QTextStream& messages,
                         QVector<MessageDescription>& descriptions)
{
    QString error;
    if (!options.dbc.isEmpty())
        error = readDbcFile(options.dbc, messages, descriptions);
    for (const NodeDescription& node : options.nodes) {
        if (error.isEmpty())
            error = readEdsFile(node.fileName, node.node, messages, descriptions);
    }
    if (!error.isEmpty())
        return error;
    giveReportedNames(descriptions);
    error = chooseSignals(options.patterns, descriptions);
    return error.isEmpty() ? setLimits(options.limits, descriptions) : error;
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages)
{
    QVector<MessageDescription> descriptions;
    QString error = readDescriptions(options, messages, descriptions);
    Decoder decoder(std::move(descriptions));
    SignalTable table(decoder.messages());
    FrameCounts counts;
    if (error.isEmpty())
        error = readRecording(options.recording, messages, decoder, table, counts);
    table.stopUpdating();
    if (error.isEmpty())
        return show(options, counts, table, output, messages);
    messages << error << '\n';
    return ExitCode::WrongUse;
}

} // namespace monitor
