#include "FinalReport.h"

#include "Preparation.h"
#include "engine/RunStorage.h"
#include "outputs/PlotFiles.h"
#include "outputs/SeriesFile.h"
#include "views/ReportTable.h"

namespace monitor
{

namespace
{

/// Writes each of the files whatever becomes of the others. Returns what went wrong, if anything.
QStringList writeFiles(const MonitorOptions& options, double k, const FrameCounts& counts,
                       const SignalTable& table, QTextStream& messages)
{
    QStringList errors;
    if (!options.saveFile.isEmpty())
        errors += writeSeriesFile(options.saveFile, runOf(table, k, counts));
    if (!options.plotDirectory.isEmpty())
        errors += writePlots(options.plotDirectory, table, k, messages);
    errors.removeAll(QString());
    return errors;
}

} // namespace

// The files come first: if nobody reads the output any more, writing it may end the program.
bool printFigures(const MonitorOptions& options, double k, const FrameCounts& counts,
                  SignalTable& table, QTextStream& output, QTextStream& messages)
{
    const QStringList errors = writeFiles(options, k, counts, table, messages);
    output << formatReport(options.format, k, counts, table.report(k));
    if (options.format != OutputFormat::Table)
        messages << formatTransport(counts.transport);
    for (const QString& error : errors)
        messages << error << '\n';
    return errors.isEmpty();
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
