#include "Report.h"

#include "ReportJson.h"
#include "views/ReportCsv.h"
#include "views/ReportTable.h"

namespace monitor
{

QString formatReport(OutputFormat format, double k, const FrameCounts& counts,
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

} // namespace monitor
