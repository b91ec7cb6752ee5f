#include "printedOutputs.h"

#include "text/Table.h"
#include "text/numbers.h"
#include "views/statisticsFields.h"

#include <QtCore/QLocale>

namespace monitor
{

namespace
{

/// The names of the columns of \a run. Only groups have labels.
QStringList columnNames(const FinishedRun& run)
{
    QStringList names{QStringLiteral("name"),  QStringLiteral("source"), QStringLiteral("bus"),
                      QStringLiteral("raw"),   QStringLiteral("value"),  QStringLiteral("text"),
                      QStringLiteral("count"), QStringLiteral("unit")};
    if (hasLabels(run.snapshot))
        names += QStringLiteral("labels");
    return names;
}

/// A distinct value of a signal.
struct CountedValue {
    const SignalStatistics& signal;
    QString raw;
    double value;
    QString text;
    quint64 times;
};

/// Calls \a call with each value of each signal.
template <typename Call>
void forEachValue(const FinishedRun& run, Call call)
{
    for (const SnapshotRow& row : run.snapshot.rows) {
        const MonitoredSignal& signal = run.signalOf(row);
        const CatalogueSignal& description = signal.description();
        signal.values().forEachCount([&](quint64 bits, quint64 times) {
            const QVariant raw = rawValueOf(bits, description.layout);
            const QString rawText =
                description.layout.isFloat
                    ? QString::number(raw.toDouble(), 'g', QLocale::FloatingPointShortest)
                    : raw.toString(); // exact, unlike a JSON number
            call(CountedValue{*row.statistics, rawText, signal.values().scaled(bits),
                              description.valueTexts.value(bits), times});
        });
    }
}

QString cellOf(const std::optional<quint8>& source)
{
    return source ? QString::number(*source) : QString();
}

QString formatCountsTable(const FinishedRun& run)
{
    static const QStringList numbers{QStringLiteral("source"), QStringLiteral("raw"),
                                     QStringLiteral("value"), QStringLiteral("count")};
    const QStringList names = columnNames(run);
    QVector<Column> columns;
    for (const QString& name : names)
        columns.append({name, numbers.contains(name) ? Alignment::Right : Alignment::Left});
    QVector<QStringList> rows;
    forEachValue(run, [&](const CountedValue& counted) {
        const SignalStatistics& signal = counted.signal;
        const QString value = signal.isFloat
                                  ? formatComputed(counted.value)
                                  : formatMeasured(counted.value, signal.factor, signal.offset);
        QStringList cells{
            signal.name,  cellOf(signal.source),          signal.bus,  counted.raw,     value,
            counted.text, QString::number(counted.times), signal.unit, labelsOf(signal)};
        rows.append(cells.mid(0, names.size()));
    });
    return formatTable(columns, rows);
}

void printCsv(const FinishedRun& run, QTextStream& output)
{
    const bool areLabelled = hasLabels(run.snapshot);
    output << toCsvLine(columnNames(run));
    forEachValue(run, [&](const CountedValue& counted) {
        const SignalStatistics& signal = counted.signal;
        output << toCsvCell(signal.name) << ',' << cellOf(signal.source) << ','
               << toCsvCell(signal.bus) << ',' << counted.raw << ','
               << toJson(QJsonValue(counted.value)) << ',' << toCsvCell(counted.text) << ','
               << counted.times << ',' << toCsvCell(signal.unit)
               << (areLabelled ? ',' + toCsvCell(labelsOf(signal)) : QString()) << "\r\n";
    });
}

void printJson(const FinishedRun& run, QTextStream& output)
{
    const auto textOrNull = [](const QString& text) {
        return text.isEmpty() ? QStringLiteral("null") : toJson(QJsonValue(text));
    };
    const bool areLabelled = hasLabels(run.snapshot);
    bool isFirst = true;
    output << "{\n  \"counts\": [";
    forEachValue(run, [&](const CountedValue& counted) {
        const SignalStatistics& signal = counted.signal;
        const QString source = cellOf(signal.source);
        output << (isFirst ? "\n" : ",\n") << "    {\"name\": " << toJson(QJsonValue(signal.name))
               << ", \"source\": " << (source.isEmpty() ? QStringLiteral("null") : source)
               << ", \"bus\": " << textOrNull(signal.bus) << ", \"raw\": " << counted.raw
               << ", \"value\": " << toJson(QJsonValue(counted.value))
               << ", \"text\": " << textOrNull(counted.text) << ", \"count\": " << counted.times
               << ", \"unit\": " << toJson(QJsonValue(signal.unit))
               << (areLabelled ? QStringLiteral(", \"labels\": ") + toJson(labelsField(signal))
                               : QString())
               << '}';
        isFirst = false;
    });
    output << (isFirst ? "]\n}\n" : "\n  ]\n}\n");
}

} // namespace

OutputResult CountsOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    switch (format) {
    case PrintedForm::None:
        break;
    case PrintedForm::Table:
        output << formatCountsTable(run);
        break;
    case PrintedForm::Json:
        printJson(run, output);
        break;
    case PrintedForm::Csv:
        printCsv(run, output);
        break;
    }
    return {};
}

} // namespace monitor
