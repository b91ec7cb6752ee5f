#include "ReportTable.h"

#include "FigureFormat.h"

namespace monitor
{

namespace
{

// What the scaling tells about the digits of whole raw values it does not tell of IEEE numbers.
QString formatValue(const SignalReport& report, double value)
{
    return report.isFloat ? formatComputed(value)
                          : formatMeasured(value, report.factor, report.offset);
}

QString formatMedianOf(const SignalReport& report)
{
    return report.isFloat ? formatComputed(report.median)
                          : formatMedian(report.median, report.factor, report.offset);
}

/// The cells from the newest value to the deviators.
QStringList figuresOf(const SignalReport& report)
{
    return {
        formatValue(report, report.newest),
        formatComputed(report.average),
        formatComputed(report.deviation),
        formatValue(report, report.minimum),
        formatValue(report, report.maximum),
        formatMedianOf(report),
        QString::number(report.rating),
        formatComputed(report.lowerThreshold) + " .. " + formatComputed(report.upperThreshold),
        QString::number(report.deviators),
    };
}

} // namespace

QVector<Column> reportColumns()
{
    return {
        {QStringLiteral("signal"), Alignment::Left},
        {QStringLiteral("source"), Alignment::Right},
        {QStringLiteral("count"), Alignment::Right},
        {QStringLiteral("newest"), Alignment::Right},
        {QStringLiteral("average"), Alignment::Right},
        {QStringLiteral("deviation"), Alignment::Right},
        {QStringLiteral("minimum"), Alignment::Right},
        {QStringLiteral("maximum"), Alignment::Right},
        {QStringLiteral("median"), Alignment::Right},
        {QStringLiteral("rating"), Alignment::Right},
        {QStringLiteral("band"), Alignment::Right},
        {QStringLiteral("deviators"), Alignment::Right},
        {QStringLiteral("unit"), Alignment::Left},
        {QStringLiteral("n/a"), Alignment::Right},
        {QStringLiteral("error"), Alignment::Right},
    };
}

QStringList reportRow(const SignalReport& report)
{
    constexpr int figures = 9;
    QStringList row;
    row << report.name << (report.source ? QString::number(*report.source) : QString())
        << QString::number(report.count);
    if (report.carried)
        row << report.newestText << QVector<QString>(figures - 1).toList();
    else if (report.count > 0)
        row << figuresOf(report);
    else
        row << QVector<QString>(figures).toList();
    row << report.unit << QString::number(report.notAvailable) << QString::number(report.errors);
    return row;
}

QString formatReports(const QVector<SignalReport>& reports)
{
    QVector<QStringList> rows;
    for (const SignalReport& report : reports)
        rows.append(reportRow(report));
    return formatTable(reportColumns(), rows);
}

QString formatLimits(const QVector<SignalReport>& reports)
{
    QString lines;
    for (const SignalReport& report : reports) {
        if (report.limits)
            lines += QStringLiteral("limits      %1 .. %2 rate %3\n")
                         .arg(formatComputed(report.limits->lowest),
                              formatComputed(report.limits->highest), printable(report.name));
    }
    return lines;
}

QString formatTransport(const TransportCounts& counts)
{
    if ((counts.messages | counts.lost | counts.outOfOrder | counts.interrupted) == 0)
        return QString();
    return QStringLiteral("transport   %1 message(s), %2 interrupted; packets: %3 lost, %4 out of "
                          "order\n")
        .arg(counts.messages)
        .arg(counts.interrupted)
        .arg(counts.lost)
        .arg(counts.outOfOrder);
}

QString formatSummary(const FrameCounts& counts, double k)
{
    return QStringLiteral("band        average -/+ %1 deviations\n"
                          "frames      %2\n"
                          "decoded     %3\n"
                          "undecoded   %4\n"
                          "dropped     %5\n"
                          "errors      %6\n"
                          "no frame    %7\n")
        .arg(QString::number(k, 'g', 15))
        .arg(counts.total)
        .arg(counts.decoded)
        .arg(counts.total - counts.decoded)
        .arg(counts.dropped)
        .arg(counts.errors)
        .arg(counts.noFrame);
}

} // namespace monitor
