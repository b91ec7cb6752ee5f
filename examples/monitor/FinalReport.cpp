#include "FinalReport.h"

#include "Preparation.h"
#include "showing/ReportTable.h"

namespace monitor
{

ExitCode printReport(const MonitorOptions& options, double k, const QString& origin,
                     SignalMonitor& signalMonitor, QTextStream& output, QTextStream& messages)
{
    const FrameCounts counts = signalMonitor.counts();
    output << formatReport(options.format, k, counts, signalMonitor.table().report(k));
    if (options.format != OutputFormat::Table)
        messages << formatTransport(counts.transport);
    if (counts.decoded > 0)
        return ExitCode::Success;
    messages << origin << ": no frame could be decoded with " << descriptionFilesOf(options)
             << '\n';
    return ExitCode::NothingDecoded;
}

} // namespace monitor
