#include "printedOutputs.h"

#include "views/statisticsFields.h"
#include "views/statisticsTable.h"

namespace monitor
{

namespace
{

QString formatMembers(const SignalStatistics& statistics)
{
    const QVector<QJsonValue> fields = statisticsFieldsOf(statistics);
    QStringList members;
    for (int i = 0; i < fields.size(); ++i)
        members +=
            toJson(statisticsFieldNames().at(i)) + QStringLiteral(": ") + toJson(fields.at(i));
    return QStringLiteral("    {") + members.join(QStringLiteral(", ")) + '}';
}

QString formatFrames(const FrameCounts& counts)
{
    return QStringLiteral("  \"frames\": {\"total\": %1, \"decoded\": %2, \"undecoded\": %3, "
                          "\"dropped\": %4, \"errors\": %5},\n")
        .arg(counts.total)
        .arg(counts.decoded)
        .arg(counts.total - counts.decoded)
        .arg(counts.dropped)
        .arg(counts.errors);
}

/// The counts for which JSON and CSV have no fields.
QStringList transportNotes(const Snapshot& snapshot)
{
    const QString line = formatTransport(snapshot.counts.transport).trimmed();
    return line.isEmpty() ? QStringList() : QStringList(line);
}

} // namespace

OutputResult TableOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    output << formatTable(run.snapshot);
    return {};
}

OutputResult JsonOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    output << formatJson(run.snapshot);
    return {QString(), transportNotes(run.snapshot)};
}

OutputResult CsvOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    output << formatCsv(run.snapshot);
    return {QString(), transportNotes(run.snapshot)};
}

QString formatTable(const Snapshot& snapshot)
{
    const QString summary = formatLimits(snapshot) + formatSummary(snapshot) +
                            formatTransport(snapshot.counts.transport);
    return snapshot.rows.isEmpty() ? summary : formatStatistics(snapshot) + '\n' + summary;
}

QString formatJson(const Snapshot& snapshot)
{
    QStringList rows;
    for (const SnapshotRow& row : snapshot.rows)
        rows += formatMembers(*row.statistics);
    const QString list = rows.isEmpty()
                             ? QStringLiteral("[]")
                             : QStringLiteral("[\n") + rows.join(QStringLiteral(",\n")) + "\n  ]";
    return QStringLiteral("{\n") + formatFrames(snapshot.counts) + "  \"signals\": " + list +
           "\n}\n";
}

} // namespace monitor
