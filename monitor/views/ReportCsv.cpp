#include "ReportCsv.h"

#include "ReportFields.h"

namespace monitor
{

namespace
{

QString quoted(QString text)
{
    const bool needsQuotes =
        text.contains(',') || text.contains('"') || text.contains('\r') || text.contains('\n');
    if (!needsQuotes)
        return text;
    text.replace('"', QStringLiteral("\"\""));
    return '"' + text + '"';
}

QString cellOf(const QJsonValue& value)
{
    if (value.isNull())
        return QString();
    return value.isString() ? quoted(value.toString()) : toJson(value);
}

QString lineOf(const QStringList& cells)
{
    return cells.join(',') + QStringLiteral("\r\n");
}

} // namespace

QString formatCsv(const QVector<SignalReport>& reports)
{
    QString csv = lineOf(reportFieldNames());
    for (const SignalReport& report : reports) {
        QStringList cells;
        for (const QJsonValue& value : reportFieldsOf(report))
            cells += cellOf(value);
        csv += lineOf(cells);
    }
    return csv;
}

} // namespace monitor
