#include "printedOutputs.h"

#include "views/idTable.h"
#include "views/statisticsFields.h"
#include "views/statisticsTable.h"

#include <algorithm>

namespace monitor
{

namespace
{

QString formatUndecodedIds(const QVector<UndecodedId>& ids)
{
    static const QStringList names{QStringLiteral("bus"), QStringLiteral("id"),
                                   QStringLiteral("frames")};
    QStringList items;
    for (const UndecodedId& id : ids)
        items += toJsonObject(names,
                              {id.bus.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(id.bus),
                               formatId(id.id, id.extended), id.frames});
    return toJsonArray(items);
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

/// A line that says that the run was ended early, if it was.
QString formatCompleteness(const Snapshot& snapshot)
{
    return snapshot.isComplete
               ? QString()
               : QStringLiteral("incomplete  stopped before the end of the recording\n");
}

/// The lines of the table for which JSON and CSV have no fields.
QStringList transportNotes(const Snapshot& snapshot)
{
    return formatTransport(snapshot.counts.transport).split('\n', Qt::SkipEmptyParts);
}

/// The lines of the table for which CSV has no fields.
QStringList csvNotes(const Snapshot& snapshot)
{
    const QString lines = formatCompleteness(snapshot) + formatUndecoded(snapshot.undecoded);
    return transportNotes(snapshot) + lines.split('\n', Qt::SkipEmptyParts);
}

QString formatFrames(const Snapshot& snapshot)
{
    return formatFrames(snapshot.counts) + QStringLiteral("  \"complete\": ") +
           toJson(snapshot.isComplete) + QStringLiteral(",\n");
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
    return {QString(), csvNotes(run.snapshot)};
}

QString formatTable(const Snapshot& snapshot)
{
    const QString summary = formatLimits(snapshot) + formatSummary(snapshot) +
                            formatTransport(snapshot.counts.transport) +
                            formatUndecoded(snapshot.undecoded) + formatCompleteness(snapshot);
    return snapshot.rows.isEmpty() ? summary : formatStatistics(snapshot) + '\n' + summary;
}

QString formatJson(const Snapshot& snapshot)
{
    const QStringList names = statisticsFieldNames(snapshot);
    QStringList rows;
    for (const SnapshotRow& row : snapshot.rows)
        rows += toJsonObject(names, statisticsFieldsOf(*row.statistics, names));
    return QStringLiteral("{\n") + formatFrames(snapshot) +
           "  \"undecodedIds\": " + formatUndecodedIds(snapshot.undecoded) +
           ",\n  \"signals\": " + toJsonArray(rows) + "\n}\n";
}

OutputResult IdOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    QVector<IdStatistics> ids = run.session.calcIdStatistics();
    const auto isUnwanted = [this](const IdStatistics& id) {
        return onlyDescribed ? id.message.isEmpty() : id.isTransported || id.frames == 0;
    };
    ids.erase(std::remove_if(ids.begin(), ids.end(), isUnwanted), ids.end());
    switch (format) {
    case PrintedForm::None:
        break;
    case PrintedForm::Table:
        output << formatIds(ids) << '\n'
               << formatCounts(run.snapshot) << formatCompleteness(run.snapshot);
        return {};
    case PrintedForm::Json: {
        QStringList items;
        for (const IdStatistics& id : qAsConst(ids))
            items += toJsonObject(idFieldNames(), idFieldsOf(id));
        output << QStringLiteral("{\n") + formatFrames(run.snapshot) +
                      "  \"ids\": " + toJsonArray(items) + "\n}\n";
        return {};
    }
    case PrintedForm::Csv:
        output << toCsvLine(idFieldNames());
        for (const IdStatistics& id : qAsConst(ids))
            output << toCsvLine(idFieldsOf(id));
        return {QString(), formatCompleteness(run.snapshot).split('\n', Qt::SkipEmptyParts)};
    }
    return {};
}

} // namespace monitor
