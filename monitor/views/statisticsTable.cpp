#include "statisticsTable.h"

#include "statisticsFields.h"
#include "text/numbers.h"

#include <algorithm>

namespace monitor
{

namespace
{

// The scaling determines how many digits an integer signal needs, but not an IEEE number.
QString formatValue(const SignalStatistics& statistics, double value)
{
    return statistics.isFloat ? formatComputed(value)
                              : formatMeasured(value, statistics.factor, statistics.offset);
}

QString formatMedianOf(const SignalStatistics& statistics)
{
    return statistics.isFloat
               ? formatComputed(statistics.median)
               : formatMedian(statistics.median, statistics.factor, statistics.offset);
}

QString formatNewest(const SignalStatistics& statistics)
{
    if (!statistics.isNewestKnown)
        return QString();
    const QString value = formatValue(statistics, statistics.newest);
    return statistics.newestMeaning.isEmpty()
               ? value
               : QStringLiteral("%1 (%2)").arg(value, statistics.newestMeaning);
}

/// The cells from the newest value to the deviators.
QStringList statisticsOf(const SignalStatistics& statistics)
{
    return {
        formatNewest(statistics),
        formatComputed(statistics.average),
        formatComputed(statistics.deviation),
        formatValue(statistics, statistics.minimum),
        formatValue(statistics, statistics.maximum),
        formatMedianOf(statistics),
        statistics.isNewestKnown ? QString::number(statistics.rating) : QString(),
        formatComputed(statistics.lowerThreshold) + " .. " +
            formatComputed(statistics.upperThreshold),
        QString::number(statistics.deviators),
    };
}

} // namespace

QVector<Column> statisticsColumns()
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

QStringList statisticsCells(const SignalStatistics& statistics)
{
    constexpr int statisticsCount = 9;
    QStringList row;
    row << statistics.name << (statistics.source ? QString::number(*statistics.source) : QString())
        << QString::number(statistics.count);
    if (statistics.isPassedThrough)
        row << statistics.newestText << QVector<QString>(statisticsCount - 1).toList();
    else if (statistics.count > 0)
        row << statisticsOf(statistics);
    else
        row << QVector<QString>(statisticsCount).toList();
    row << statistics.unit << QString::number(statistics.notAvailable)
        << QString::number(statistics.errors);
    return row;
}

QString formatStatistics(const Snapshot& snapshot)
{
    constexpr int busPlace = 1; // after the name
    const bool areLabelled = hasLabels(snapshot);
    const bool hasBuses =
        std::any_of(snapshot.rows.cbegin(), snapshot.rows.cend(),
                    [](const SnapshotRow& row) { return !row.statistics->bus.isEmpty(); });
    QVector<Column> columns = statisticsColumns();
    if (hasBuses)
        columns.insert(busPlace, {QStringLiteral("bus"), Alignment::Left});
    if (areLabelled)
        columns.insert(busPlace, {QStringLiteral("labels"), Alignment::Left});
    QVector<QStringList> rows;
    for (const SnapshotRow& row : snapshot.rows) {
        QStringList cells = statisticsCells(*row.statistics);
        if (hasBuses)
            cells.insert(busPlace, row.statistics->bus);
        if (areLabelled)
            cells.insert(busPlace, labelsOf(*row.statistics));
        rows.append(cells);
    }
    return formatTable(columns, rows);
}

QString busSuffix(const QString& bus)
{
    return bus.isEmpty() ? QString() : QStringLiteral(" on bus ") + printable(bus);
}

QString formatLimits(const Snapshot& snapshot)
{
    QString lines;
    for (const SnapshotRow& row : snapshot.rows) {
        const auto& limits = row.statistics->limits;
        if (limits)
            lines += QStringLiteral("limits      %1%2: %3 .. %4\n")
                         .arg(printable(row.statistics->name), busSuffix(row.statistics->bus),
                              formatComputed(limits->lowest), formatComputed(limits->highest));
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

QString formatSummary(const Snapshot& snapshot)
{
    return QStringLiteral("band        average +/- %1 deviations\n")
               .arg(QString::number(snapshot.k, 'g', 15)) +
           formatCounts(snapshot);
}

QString formatCounts(const Snapshot& snapshot)
{
    const FrameCounts& counts = snapshot.counts;
    return QStringLiteral("frames      %1\n"
                          "decoded     %2\n"
                          "undecoded   %3\n"
                          "dropped     %4\n"
                          "errors      %5\n"
                          "unreadable  %6\n")
        .arg(counts.total)
        .arg(counts.decoded)
        .arg(counts.total - counts.decoded)
        .arg(counts.dropped)
        .arg(counts.errors)
        .arg(counts.unreadable);
}

} // namespace monitor
