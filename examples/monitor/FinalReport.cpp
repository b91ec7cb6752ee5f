#include "FinalReport.h"

#include "Preparation.h"
#include "plotting/PlotFiles.h"
#include "saving/RunStorage.h"
#include "saving/SeriesFile.h"
#include "showing/ReportTable.h"

namespace monitor
{

namespace
{

/// Returns what made it impossible, if anything.
QString writeFiles(const MonitorOptions& options, double k, const FrameCounts& counts,
                   const SignalTable& table, QTextStream& messages)
{
    QString error;
    if (!options.saveFile.isEmpty())
        error = writeSeriesFile(options.saveFile, runOf(table, k, counts));
    if (error.isEmpty() && !options.plotDirectory.isEmpty())
        error = writePlots(options.plotDirectory, table, k, messages);
    return error;
}

} // namespace

bool printFigures(const MonitorOptions& options, double k, const FrameCounts& counts,
                  SignalTable& table, QTextStream& output, QTextStream& messages)
{
    output << formatReport(options.format, k, counts, table.report(k));
    if (options.format != OutputFormat::Table)
        messages << formatTransport(counts.transport);
    const QString error = writeFiles(options, k, counts, table, messages);
    if (!error.isEmpty())
        messages << error << '\n';
    return error.isEmpty();
}

ExitCode printReport(const MonitorOptions& options, double k, const QString& origin,
                     SignalMonitor& signalMonitor, QTextStream& output, QTextStream& messages)
{
    const FrameCounts counts = signalMonitor.counts();
    if (!printFigures(options, k, counts, signalMonitor.table(), output, messages))
        return ExitCode::WrongUse;
    if (counts.decoded > 0)
        return ExitCode::Success;
    messages << origin << ": no frame could be decoded with " << descriptionFilesOf(options)
             << '\n';
    return ExitCode::NothingDecoded;
}

} // namespace monitor
