#include "FinalReport.h"

#include "Preparation.h"
#include "plotting/PlotFiles.h"
#include "showing/ReportTable.h"

namespace monitor
{

namespace
{

/// Returns what made it impossible, if anything.
QString writeFiles(const MonitorOptions& options, double k, const SignalTable& table,
                   QTextStream& messages)
{
    if (options.plotDirectory.isEmpty())
        return QString();
    return writePlots(options.plotDirectory, table, k, messages);
}

} // namespace

ExitCode printReport(const MonitorOptions& options, double k, const QString& origin,
                     SignalMonitor& signalMonitor, QTextStream& output, QTextStream& messages)
{
    const FrameCounts counts = signalMonitor.counts();
    output << formatReport(options.format, k, counts, signalMonitor.table().report(k));
    if (options.format != OutputFormat::Table)
        messages << formatTransport(counts.transport);
    const QString error = writeFiles(options, k, signalMonitor.table(), messages);
    if (!error.isEmpty())
        return messages << error << '\n', ExitCode::WrongUse;
    if (counts.decoded > 0)
        return ExitCode::Success;
    messages << origin << ": no frame could be decoded with " << descriptionFilesOf(options)
             << '\n';
    return ExitCode::NothingDecoded;
}

} // namespace monitor
