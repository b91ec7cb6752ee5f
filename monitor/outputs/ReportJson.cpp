#include "ReportJson.h"

#include "views/ReportFields.h"

namespace monitor
{

namespace
{

QString formatSignal(const SignalReport& report)
{
    const QVector<QJsonValue> fields = reportFieldsOf(report);
    QStringList members;
    for (int i = 0; i < fields.size(); ++i)
        members += toJson(reportFieldNames().at(i)) + QStringLiteral(": ") + toJson(fields.at(i));
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

} // namespace

QString formatJson(const QVector<SignalReport>& reports, const FrameCounts& counts)
{
    QStringList rows;
    for (const SignalReport& report : reports)
        rows += formatSignal(report);
    const QString list = rows.isEmpty()
                             ? QStringLiteral("[]")
                             : QStringLiteral("[\n") + rows.join(QStringLiteral(",\n")) + "\n  ]";
    return QStringLiteral("{\n") + formatFrames(counts) + "  \"signals\": " + list + "\n}\n";
}

} // namespace monitor
