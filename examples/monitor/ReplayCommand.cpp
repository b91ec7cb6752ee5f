#include "ReplayCommand.h"

#include "decoding/Decoder.h"
#include "decoding/TransportProtocol.h"
#include "descriptions/ConfigFile.h"
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

constexpr double usualK = 3;

/// What takes the frames of a recording to the signals.
struct Replay {
    explicit Replay(QVector<MessageDescription> descriptions) : decoder(std::move(descriptions)) {}

    Decoder decoder;
    SignalTable table{decoder.messages()};
    TransportProtocol transport;
    FrameCounts counts;
};

/// Records what is found. Returns whether that is anything.
bool feed(const QVector<DecodedSignal>& found, SignalTable& table)
{
    for (const DecodedSignal& decoded : found)
        table.feed(decoded);
    return !found.isEmpty();
}

/// A frame counts as decoded if a signal is found in it, or in the message that it helps to bring.
void takeFrame(const Frame& frame, Replay& replay)
{
    ++replay.counts.total;
    const bool isDecoded = feed(replay.decoder.decode(frame), replay.table);
    replay.counts.decoded += isDecoded ? 1 : 0;
    const auto message = replay.transport.take(frame);
    if (message && feed(replay.decoder.decode(message->payload), replay.table))
        replay.counts.decoded += message->frames;
}

/// Feeds the frames of the recording to \a table. Returns what made that impossible, if anything.
QString readRecording(const QString& fileName, QTextStream& messages, Replay& replay)
{
    LineReader lines(fileName);
    LineWarnings warnings(messages, fileName);
    RecordingReader recording;
    Frame frame;
    for (QByteArray line; lines.readLine(line);) {
        const LineKind kind = recording.readLine(line, frame);
        if (kind == LineKind::Frame)
            takeFrame(frame, replay);
        else if (kind == LineKind::ErrorFrame)
            ++replay.counts.errors;
        else if (kind == LineKind::NoFrame)
            warnings.add(lines.lineNumber(), QStringLiteral("not a frame"));
    }
    replay.counts.dropped = recording.dropped();
    replay.counts.noFrame = warnings.count();
    replay.counts.transport = replay.transport.counts();
    warnings.printTotal(QStringLiteral("line(s) in all that are no frame"));
    return lines.error();
}

QString formatOutput(OutputFormat format, double k, const FrameCounts& counts,
                     const QVector<SignalReport>& reports)
{
    switch (format) {
    case OutputFormat::Json:
        return formatJson(reports, counts);
    case OutputFormat::Csv:
        return formatCsv(reports);
    case OutputFormat::Table:
        break;
    }
    const QString summary =
        formatLimits(reports) + formatSummary(counts, k) + formatTransport(counts.transport);
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

ExitCode show(const ReplayOptions& options, double k, Replay& replay, QTextStream& output,
              QTextStream& messages)
{
    const FrameCounts& counts = replay.counts;
    output << formatOutput(options.format, k, counts, replay.table.report(k));
    if (options.format != OutputFormat::Table)
        messages << formatTransport(counts.transport);
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
    giveReportedNames(descriptions);
    return error;
}

/// Reads the configuration, if there is one, and changes \a descriptions as it says.
QString applyConfig(const QString& fileName, Config& config,
                    QVector<MessageDescription>& descriptions)
{
    if (fileName.isEmpty())
        return QString();
    QString error = readConfigFile(fileName, config);
    if (!error.isEmpty())
        return error;
    for (const QString& complaint :
         {setScalings(config.scalings, descriptions), setLimits(config.limits, descriptions),
          setNotReserved(config.notReserved, descriptions)}) {
        if (!complaint.isEmpty())
            return fileName + QStringLiteral(": ") + complaint;
    }
    return QString();
}

/// Reads everything that tells what to look for. What stands in the arguments counts more than
/// the configuration.
QString prepare(const ReplayOptions& options, QTextStream& messages, Config& config,
                QVector<MessageDescription>& descriptions)
{
    QString error = readDescriptions(options, messages, descriptions);
    if (error.isEmpty())
        error = applyConfig(options.config, config, descriptions);
    if (error.isEmpty())
        error = chooseSignals(options.patterns, descriptions);
    return error.isEmpty() ? setLimits(options.limits, descriptions) : error;
}

} // namespace

ExitCode replay(const ReplayOptions& options, QTextStream& output, QTextStream& messages)
{
    QVector<MessageDescription> descriptions;
    Config config;
    QString error = prepare(options, messages, config, descriptions);
    Replay replaying(std::move(descriptions));
    if (error.isEmpty())
        error = readRecording(options.recording, messages, replaying);
    replaying.table.stopUpdating();
    if (error.isEmpty())
        return show(options, options.k.value_or(config.k.value_or(usualK)), replaying, output,
                    messages);
    messages << error << '\n';
    return ExitCode::WrongUse;
}

} // namespace monitor
