#include "printedOutputs.h"

#include "engine/summary/comparison.h"
#include "text/Table.h"
#include "text/numbers.h"
#include "views/statisticsFields.h"

#include <cmath>

namespace monitor
{

namespace
{

/// A field, and the title of its column in the table.
struct Field {
    const char* name;
    const char* title;
    QJsonValue (*valueOf)(const SignalComparison& comparison);
};

template <auto member>
QJsonValue inA(const SignalComparison& comparison)
{
    return comparison.a ? QJsonValue((*comparison.a).*member) : QJsonValue(QJsonValue::Null);
}

template <auto member>
QJsonValue inB(const SignalComparison& comparison)
{
    return comparison.b ? QJsonValue((*comparison.b).*member) : QJsonValue(QJsonValue::Null);
}

const Field fields[] = {
    {"name", "signal", [](const SignalComparison& c) { return QJsonValue(c.identity().name); }},
    {"source", "source",
     [](const SignalComparison& c) {
         const auto& source = c.identity().source;
         return source ? QJsonValue(*source) : QJsonValue(QJsonValue::Null);
     }},
    {"bus", "bus",
     [](const SignalComparison& c) {
         const QString& bus = c.identity().bus;
         return bus.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(bus);
     }},
    {"countA", "count A", inA<&SignalStatistics::count>},
    {"countB", "count B", inB<&SignalStatistics::count>},
    {"averageA", "average A", inA<&SignalStatistics::average>},
    {"averageB", "average B", inB<&SignalStatistics::average>},
    {"deviationA", "deviation A", inA<&SignalStatistics::deviation>},
    {"deviationB", "deviation B", inB<&SignalStatistics::deviation>},
    {"outsideA", "outside A",
     [](const SignalComparison& c) {
         return c.a ? QJsonValue(c.outsideA) : QJsonValue(QJsonValue::Null);
     }},
    {"outsideB", "outside B",
     [](const SignalComparison& c) {
         return c.a && c.b ? QJsonValue(c.outsideB) : QJsonValue(QJsonValue::Null);
     }},
    {"change", "change",
     [](const SignalComparison& c) {
         const std::optional<double> change = c.change();
         return change && std::isfinite(*change) ? QJsonValue(*change)
                                                 : QJsonValue(QJsonValue::Null);
     }},
    {"unit", "unit", [](const SignalComparison& c) { return QJsonValue(c.identity().unit); }},
};

QVector<QJsonValue> valuesOf(const SignalComparison& comparison)
{
    QVector<QJsonValue> values;
    for (const Field& field : fields)
        values.append(field.valueOf(comparison));
    return values;
}

QStringList fieldNames()
{
    QStringList names;
    for (const Field& field : fields)
        names += QLatin1String(field.name);
    return names;
}

QString formatComparison(const RunComparison& comparison)
{
    QVector<Column> columns;
    for (const Field& field : fields) {
        const QString title = QLatin1String(field.title);
        const bool isText = title == QLatin1String("signal") || title == QLatin1String("bus") ||
                            title == QLatin1String("unit");
        columns.append({title, isText ? Alignment::Left : Alignment::Right});
    }
    QVector<QStringList> rows;
    for (const SignalComparison& signal : comparison.comparisons) {
        QStringList cells;
        for (const QJsonValue& value : valuesOf(signal))
            cells += value.isDouble() ? formatComputed(value.toDouble()) : value.toString();
        rows.append(cells);
    }
    return formatTable(columns, rows);
}

} // namespace

OutputResult ComparisonOutput::write(const FinishedRun& run, const OutputProgress& /*progress*/)
{
    const RunComparison comparison = compareRuns(*run.groups.at(0), *run.groups.at(1));
    const QStringList names = fieldNames();
    QStringList items;
    switch (form) {
    case PrintedForm::None:
        break;
    case PrintedForm::Table:
        output << formatComparison(comparison) << "\nband        average of A +/- "
               << QString::number(run.session.k(), 'g', 15) << " deviations of A\n";
        break;
    case PrintedForm::Json:
        for (const SignalComparison& signal : comparison.comparisons)
            items += toJsonObject(names, valuesOf(signal));
        output << "{\n  \"k\": " << toJson(run.session.k())
               << ",\n  \"signals\": " << toJsonArray(items) << "\n}\n";
        break;
    case PrintedForm::Csv:
        output << toCsvLine(names);
        for (const SignalComparison& signal : comparison.comparisons)
            output << toCsvLine(valuesOf(signal));
        break;
    }
    return {QString(), comparison.notes};
}

} // namespace monitor
